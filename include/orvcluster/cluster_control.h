#pragma once

#include <windows.h>

#include <cstdlib>
#include <cwchar>

#include "orvcluster/cluster_property_list.h"
#include "orvcluster/mscs_cluster_glue.h"

namespace orv {

// The output of a control call: a block from malloc and the bytes the
// platform wrote into it. Released with free when the holder goes.
class ControlOutput {
public:
    ControlOutput() = default;
    ~ControlOutput() { std::free(data_); }
    ControlOutput(const ControlOutput&) = delete;
    ControlOutput& operator=(const ControlOutput&) = delete;

    unsigned char* Data() const { return data_; }
    DWORD Size() const { return size_; }
    // Hands the block to the caller, who frees it.
    unsigned char* Release() {
        unsigned char* data = data_;
        data_ = nullptr;
        size_ = 0;
        return data;
    }

    unsigned char** DataSlot() { return &data_; }
    DWORD* SizeSlot() { return &size_; }

private:
    unsigned char* data_ = nullptr;
    DWORD size_ = 0;
};

// Makes one control call and collects its answer. `call(buffer, size,
// &returned)` sends the control. When the buffer is too small (or there is
// none yet) it is replaced by one of the size the platform asks for plus 64
// spare bytes, and the call is made again. Answers 0 or the platform's error
// (the buffer then freed); 14 when memory runs out.
template <typename Call>
DWORD ControlWithGrowingBuffer(Call call, ControlOutput& output) {
    constexpr DWORD kSpareBytes = 64;
    unsigned char** buffer = output.DataSlot();
    DWORD* size = output.SizeSlot();
    DWORD returned = 0;
    DWORD result = call(*buffer, *buffer ? *size : 0, &returned);
    if (result == ERROR_SUCCESS && *buffer) {
        *size = returned;
        return ERROR_SUCCESS;
    }
    if (result == ERROR_MORE_DATA || result == ERROR_SUCCESS) {
        std::free(*buffer);
        *size = returned + kSpareBytes;
        *buffer = static_cast<unsigned char*>(std::malloc(*size));
        if (!*buffer) {
            *size = 0;
            return ERROR_OUTOFMEMORY;
        }
        result = call(*buffer, *size, &returned);
        if (result == ERROR_SUCCESS) {
            *size = returned;
            return ERROR_SUCCESS;
        }
    }
    std::free(*buffer);
    *buffer = nullptr;
    *size = 0;
    return result;
}

// One resource control code through the failover cluster binding.
inline DWORD ResourceControl(HRESOURCE resource, DWORD code, const void* input, DWORD inputSize,
                             ControlOutput& output) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    void* in = const_cast<void*>(input);
    return ControlWithGrowingBuffer(
        [&](void* buffer, DWORD size, DWORD* returned) {
            return glue->ClusterResourceControl(resource, nullptr, code, in, inputSize, buffer, size, returned);
        },
        output);
}

// Sets private properties of a resource. The platform answers
// ERROR_RESOURCE_PROPERTIES_STORED when they take effect at the next online:
// see PropertiesTaken.
inline DWORD SetPrivateProperties(HRESOURCE resource, const ClusterPropertyList& properties) {
    DWORD returned = 0;
    return MSCSClusterGlue::GetInstance()->ClusterResourceControl(
        resource, nullptr, CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, const_cast<void*>(properties.Data()),
        properties.Size(), nullptr, 0, &returned);
}

inline bool PropertiesTaken(DWORD result) {
    return result == ERROR_SUCCESS || result == ERROR_RESOURCE_PROPERTIES_STORED;
}

// Adds or deletes (`code`) the registry checkpoint `key` of a resource; the
// key goes with its terminator.
inline DWORD RegistryCheckpointControl(HRESOURCE resource, DWORD code, const wchar_t* key) {
    DWORD returned = 0;
    const DWORD keyBytes = static_cast<DWORD>((wcslen(key) + 1) * sizeof(wchar_t));
    return MSCSClusterGlue::GetInstance()->ClusterResourceControl(resource, nullptr, code, const_cast<wchar_t*>(key),
                                                                  keyBytes, nullptr, 0, &returned);
}

}  // namespace orv

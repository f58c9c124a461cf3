#pragma once

#include <windows.h>

#include <cstdlib>

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

}  // namespace orv

#pragma once

#include <windows.h>

#include <cstring>
#include <string>
#include <utility>

#include "orvcluster/nrx_cluster_glue.h"

namespace orv {

// A record the NRX library handed out, given back through its one matching
// free wrapper when the scope ends, so that no early return leaks it.
template <typename Record, void (*Free)(NRXClusterGlue&, Record*)>
class NrxRecord {
public:
    explicit NrxRecord(NRXClusterGlue& glue) : glue_(glue) {}
    ~NrxRecord() { Reset(); }
    NrxRecord(const NrxRecord&) = delete;
    NrxRecord& operator=(const NrxRecord&) = delete;

    // For the wrappers that hand out a record through an out pointer.
    Record** Receive() {
        Reset();
        return &record_;
    }
    Record* Get() const { return record_; }
    Record* operator->() const { return record_; }
    explicit operator bool() const { return record_ != nullptr; }

    void Reset() {
        if (record_) Free(glue_, std::exchange(record_, nullptr));
    }

private:
    NRXClusterGlue& glue_;
    Record* record_ = nullptr;
};

namespace nrx_free {
// An attribute read from an object goes back through NRXFreeObjAttr.
inline void ReadAttribute(NRXClusterGlue& glue, NRXAttr* value) { glue.CloseClusterResource(&value); }
inline void State(NRXClusterGlue& glue, NRXStateInfo* state) { glue.FreeResourceStateInfo(state); }
inline void Control(NRXClusterGlue& glue, NRXCntlInfo* control) { glue.FreeCntlInfo(control); }
inline void Names(NRXClusterGlue& glue, NRXObjNames* names) { glue.FreeObjNames(names); }
inline void Text(NRXClusterGlue& glue, char* text) { glue.FreeStr(text); }
inline void Object(NRXClusterGlue& glue, NRXObject* object) { glue.FreeClusterObject(object); }
}  // namespace nrx_free

using NrxAttribute = NrxRecord<NRXAttr, &nrx_free::ReadAttribute>;
using NrxState = NrxRecord<NRXStateInfo, &nrx_free::State>;
using NrxControl = NrxRecord<NRXCntlInfo, &nrx_free::Control>;
using NrxNames = NrxRecord<NRXObjNames, &nrx_free::Names>;
using NrxText = NrxRecord<char, &nrx_free::Text>;
using NrxObject = NrxRecord<NRXObject, &nrx_free::Object>;

// A name on its way to NRX, in the fixed buffer NRX names are given in:
// 16 bytes for a system (a computer name), 256 for a resource or group.
template <size_t Bytes>
class NrxName {
public:
    // A wide name in UTF-8; false when it is null or does not fit with its
    // terminator.
    bool Assign(const wchar_t* name) {
        bytes_[0] = '\0';
        return name && WideCharToMultiByte(CP_UTF8, 0, name, -1, bytes_, Bytes, nullptr, nullptr) != 0;
    }
    bool Assign(const std::wstring& name) { return Assign(name.c_str()); }
    // An 8-bit name as it stands, under the same bound.
    bool Assign(const char* name) {
        bytes_[0] = '\0';
        if (!name) return false;
        const size_t length = strnlen(name, Bytes);
        if (length == Bytes) return false;
        std::memcpy(bytes_, name, length + 1);
        return true;
    }

    const char* c_str() const { return bytes_; }
    // The control records take their values as a writable array.
    char* Data() { return bytes_; }

private:
    char bytes_[Bytes] = {};
};

using SystemName = NrxName<16>;
using ObjectName = NrxName<256>;

// NRX text as a wide string, each byte one character of the same value, as
// the engine's names and values are read back; null is empty.
inline std::wstring Widen(const char* text) {
    std::wstring wide;
    for (; text && *text; ++text) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*text)));
    return wide;
}
inline std::wstring Widen(const std::string& text) { return Widen(text.c_str()); }

// Calls `visit` with every value of every entry of the attribute, in order,
// until it answers true; whether it did.
template <typename Visit>
bool AnyValue(const NRXAttr* value, Visit visit) {
    if (!value || !value->entries) return false;
    for (int entry = 0; entry < value->count; ++entry) {
        const NRXAttrValue& values = value->entries[entry];
        for (int i = 0; values.values && i < values.count; ++i)
            if (values.values[i] && visit(values.values[i])) return true;
    }
    return false;
}

// The first value of a resource's attribute. An attribute that cannot be
// read, or whose first entry holds no value, is a failed read.
inline bool ReadFirstValue(NRXClusterGlue& glue, NRXHandle cluster, const char* resource, const char* attribute,
                           std::string& value) {
    NrxAttribute read(glue);
    if (!cluster || glue.OpenClusterResource(cluster, resource, attribute, read.Receive()) != NRX_SUCCESS || !read ||
        read->count < 1 || !read->entries || read->entries[0].count < 1 || !read->entries[0].values ||
        !read->entries[0].values[0])
        return false;
    value = read->entries[0].values[0];
    return true;
}

// A control record that names one system, for a state query on it.
inline bool SystemControl(NRXClusterGlue& glue, SystemName& system, NrxControl& control) {
    char* values[] = {system.Data()};
    return glue.FillCntlInfo(NRX_CNTL_SYSTEM, values, 1, control.Receive()) == NRX_SUCCESS && control;
}

// The resource's state on the system its control record names; false when
// the query fails or answers no entry.
inline bool ResourceStateOn(NRXClusterGlue& glue, NRXHandle cluster, const char* resource, NrxControl& control,
                            int& state) {
    NrxState info(glue);
    if (!cluster ||
        glue.GetClusterResourceState(cluster, NRX_OBJ_RESOURCE, resource, info.Receive(), control.Get()) !=
            NRX_SUCCESS ||
        !info || info->count < 1 || !info->entries)
        return false;
    state = info->entries[0].state;
    return true;
}

}  // namespace orv

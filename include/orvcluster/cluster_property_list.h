#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "orvcluster/export.h"

// One buffer in the failover cluster's property list format: a 32-bit count,
// then per property a name entry, its value entries and an end mark, every
// entry a syntax word, a byte length and data padded to 4 bytes. It holds
// what a get-properties control returned, or builds what a set-properties
// control is sent.
class ORVCLUSTER_API ClusterPropertyList {
public:
    ClusterPropertyList();
    ClusterPropertyList(const void* data, size_t size);
    ClusterPropertyList(const ClusterPropertyList& other);
    ClusterPropertyList& operator=(const ClusterPropertyList& other);
    ~ClusterPropertyList();

    // Replaces the list by a copy of `size` bytes of `data`.
    void Assign(const void* data, size_t size);

    void Append(const wchar_t* name, const wchar_t* value);
    void Append(const wchar_t* name, DWORD value);

    // A string property, found by name without regard to case. The pointer
    // form points into the list's own buffer. False with last error 2 when the
    // name is absent or its first value is not a string, 13 when the list is
    // malformed.
    bool GetValue(const wchar_t* name, const wchar_t** value) const;
    bool GetValue(const wchar_t* name, std::wstring& value) const;
    // A 32-bit property, found by the platform's own lookup; false with the
    // platform's error (127 without resutils.dll), `value` left alone.
    bool GetValue(const wchar_t* name, DWORD& value) const;

    // The bytes to pass to a control code.
    const void* Data() const { return buffer_; }
    void* Data() { return buffer_; }
    DWORD Size() const { return static_cast<DWORD>(used_); }
    // The size of the block behind Data(); never less than Size().
    unsigned long long Capacity() const { return capacity_; }

private:
    unsigned char* Reserve(unsigned long long bytes);
    void AppendEntry(DWORD syntax, const void* data, DWORD length);

    unsigned char* buffer_ = nullptr;
    unsigned long long capacity_ = 0;
    unsigned long long used_ = 0;
};

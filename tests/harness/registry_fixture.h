#pragma once

#include <windows.h>

#include <string>

namespace orvtest {

// Creates a key below HKEY_LOCAL_MACHINE for the life of a test and removes
// it (with everything below it, and any parent it had to create) afterwards.
// A key that already existed is removed first, so each test starts from a
// known machine.
class ScopedMachineKey {
public:
    explicit ScopedMachineKey(const std::wstring& path);
    ~ScopedMachineKey();
    ScopedMachineKey(const ScopedMachineKey&) = delete;
    ScopedMachineKey& operator=(const ScopedMachineKey&) = delete;

    void SetString(const wchar_t* name, const std::wstring& value);
    void SetDword(const wchar_t* name, DWORD value);

private:
    std::wstring path_;
    std::wstring topCreated_;
    HKEY key_ = nullptr;
};

// Removes a key below HKEY_LOCAL_MACHINE if it exists.
void DeleteMachineKey(const std::wstring& path);

}  // namespace orvtest

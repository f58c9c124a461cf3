#include "harness/registry_fixture.h"

#include <stdexcept>

namespace orvtest {

void DeleteMachineKey(const std::wstring& path) {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str());
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str());
}

namespace {

bool MachineKeyExists(const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

}  // namespace

ScopedMachineKey::ScopedMachineKey(const std::wstring& path) : path_(path) {
    DeleteMachineKey(path_);
    // Remember the topmost key this fixture creates, to leave no parent behind.
    topCreated_ = path_;
    for (size_t slash = path_.rfind(L'\\'); slash != std::wstring::npos && slash > 0;
         slash = path_.rfind(L'\\', slash - 1)) {
        if (MachineKeyExists(path_.substr(0, slash))) break;
        topCreated_ = path_.substr(0, slash);
    }
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key_, nullptr) != ERROR_SUCCESS)
        throw std::runtime_error("cannot create the test registry key");
}

ScopedMachineKey::~ScopedMachineKey() {
    RegCloseKey(key_);
    DeleteMachineKey(topCreated_);
}

void ScopedMachineKey::SetString(const wchar_t* name, const std::wstring& value) {
    RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void ScopedMachineKey::SetDword(const wchar_t* name, DWORD value) {
    RegSetValueExW(key_, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

}  // namespace orvtest

#include "orvclass_mini.h"

#include <memory>
#include <new>

namespace {

bool MachineKeyExists(const wchar_t* path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

wchar_t UpperCase(wchar_t character) {
    // CharUpperW maps a single character passed in the low word of the pointer.
    return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(
        CharUpperW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(character)))));
}

}  // namespace

extern "C" {

int CMS_GetProd(void) {
    if (MachineKeyExists(L"Software\\PENTRY\\Kelvane\\ORVDS\\13.0\\Install")) return CMS_PRODUCT_KELVANE;
    if (MachineKeyExists(L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Install"))
        return CMS_PRODUCT_ORVANE;
    return CMS_PRODUCT_NONE;
}

DWORD NTFS_GetFileVersionInfo(const wchar_t* path, DWORD* major, DWORD* minor, DWORD* build,
                              DWORD* revision) {
    if (!path || !major || !minor || !build || !revision) return ERROR_INVALID_PARAMETER;
    DWORD ignored = 0;
    DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    if (size == 0) return GetLastError();
    std::unique_ptr<BYTE[]> data(new (std::nothrow) BYTE[size]);
    if (!data) return ERROR_NOT_ENOUGH_MEMORY;
    if (!GetFileVersionInfoW(path, 0, size, data.get())) return GetLastError();
    VS_FIXEDFILEINFO* info = nullptr;
    UINT infoSize = 0;
    if (!VerQueryValueW(data.get(), L"\\", reinterpret_cast<void**>(&info), &infoSize) || !info ||
        infoSize < sizeof(VS_FIXEDFILEINFO))
        return ERROR_RESOURCE_TYPE_NOT_FOUND;
    *major = HIWORD(info->dwFileVersionMS);
    *minor = LOWORD(info->dwFileVersionMS);
    *build = HIWORD(info->dwFileVersionLS);
    *revision = LOWORD(info->dwFileVersionLS);
    return ERROR_SUCCESS;
}

int comparei(wchar_t left, wchar_t right) {
    return static_cast<int>(UpperCase(left)) - static_cast<int>(UpperCase(right));
}

}  // extern "C"

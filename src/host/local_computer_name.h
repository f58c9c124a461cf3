#pragma once

#include <windows.h>

#include <string>

namespace orv {

// The computer name as the system gives it, or empty when it cannot be read.
inline std::wstring LocalComputerName() {
    wchar_t name[257] = {};
    DWORD size = ARRAYSIZE(name);
    return GetComputerNameW(name, &size) ? std::wstring(name, size) : std::wstring();
}

}  // namespace orv

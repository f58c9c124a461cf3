#pragma once

#include <windows.h>

#include <string>

namespace simcluster {

bool ReadWholeFile(const std::wstring& path, std::string& contents);

// Creates or replaces the file; a read-only or hidden file is replaced too.
// On failure GetLastError() tells why.
bool WriteWholeFile(const std::wstring& path, const std::string& contents, DWORD attributes = FILE_ATTRIBUTE_NORMAL);

}  // namespace simcluster

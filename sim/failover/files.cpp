#include "files.h"

namespace simcluster {

bool ReadWholeFile(const std::wstring& path, std::string& contents) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    LARGE_INTEGER size = {};
    bool ok = GetFileSizeEx(file, &size) && size.QuadPart < 64 * 1024 * 1024;
    contents.assign(ok ? static_cast<size_t>(size.QuadPart) : 0, '\0');
    DWORD read = 0;
    if (ok && !contents.empty())
        ok = ReadFile(file, &contents[0], static_cast<DWORD>(contents.size()), &read, nullptr) &&
             read == contents.size();
    CloseHandle(file);
    return ok;
}

bool WriteWholeFile(const std::wstring& path, const std::string& contents, DWORD attributes) {
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    bool ok =
        contents.empty() || (WriteFile(file, contents.data(), static_cast<DWORD>(contents.size()), &written, nullptr) &&
                             written == contents.size());
    DWORD error = ok ? ERROR_SUCCESS : GetLastError();
    CloseHandle(file);
    if (!ok) {
        SetLastError(error);
        return false;
    }
    return attributes == FILE_ATTRIBUTE_NORMAL || SetFileAttributesW(path.c_str(), attributes);
}

}  // namespace simcluster

#include "sim_host.h"

#include "orvcluster/unique_handle.h"

namespace simhost {

std::wstring ModuleFolder() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ModuleFolder), &module);
    wchar_t path[MAX_PATH * 4];
    DWORD length = GetModuleFileNameW(module, path, ARRAYSIZE(path));
    std::wstring folder(path, length < ARRAYSIZE(path) ? length : 0);
    return folder.substr(0, folder.find_last_of(L'\\') + 1);
}

std::wstring Environment(const wchar_t* name) {
    wchar_t value[MAX_PATH * 4];
    DWORD length = GetEnvironmentVariableW(name, value, ARRAYSIZE(value));
    return length > 0 && length < ARRAYSIZE(value) ? std::wstring(value, length) : std::wstring();
}

std::wstring Widen(const std::string& utf8) {
    if (utf8.empty()) return std::wstring();
    int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), &wide[0], length);
    return wide;
}

std::string Narrow(const std::wstring& wide) {
    if (wide.empty()) return std::string();
    int length =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), &utf8[0], length, nullptr, nullptr);
    return utf8;
}

bool ReadWholeFile(const std::wstring& path, std::string& contents) {
    orv::UniqueFileHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return false;
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file.Get(), &size) || size.QuadPart >= 64 * 1024 * 1024) return false;
    contents.assign(static_cast<size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    return contents.empty() ||
           (ReadFile(file.Get(), &contents[0], static_cast<DWORD>(contents.size()), &read, nullptr) &&
            read == contents.size());
}

bool WriteWholeFile(const std::wstring& path, const std::string& contents, DWORD attributes) {
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    orv::UniqueFileHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return false;
    DWORD written = 0;
    if (!contents.empty() &&
        !(WriteFile(file.Get(), contents.data(), static_cast<DWORD>(contents.size()), &written, nullptr) &&
          written == contents.size()))
        return false;  // the handle's close keeps the last error
    file.Reset();
    return attributes == FILE_ATTRIBUTE_NORMAL || SetFileAttributesW(path.c_str(), attributes);
}

}  // namespace simhost

#include "text.h"

#include <cwchar>

namespace simcluster {

bool SameName(const wchar_t* a, size_t aLength, const std::wstring& b) {
    return aLength == b.size() &&
           CompareStringOrdinal(a, static_cast<int>(aLength), b.data(), static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

bool StartsWithName(const std::wstring& text, const std::wstring& prefix) {
    return text.size() >= prefix.size() && SameName(text.substr(0, prefix.size()), prefix);
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

DWORD CopyName(const std::wstring& text, wchar_t* buffer, DWORD* length) {
    if (!length) return ERROR_INVALID_PARAMETER;
    DWORD needed = static_cast<DWORD>(text.size());
    if (!buffer || *length <= needed) {
        *length = needed;
        return ERROR_MORE_DATA;
    }
    wmemcpy(buffer, text.c_str(), text.size() + 1);
    *length = needed;
    return ERROR_SUCCESS;
}

}  // namespace simcluster

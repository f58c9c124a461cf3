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

#pragma once

#include <windows.h>

#include <string>

namespace orv {

// Case-insensitive equality of two wide strings, as machine and node names are
// compared. A null pointer equals only another null pointer.
inline bool EqualsIgnoreCase(const wchar_t* left, const wchar_t* right) {
    if (!left || !right) return left == right;
    return CompareStringOrdinal(left, -1, right, -1, TRUE) == CSTR_EQUAL;
}

inline bool EqualsIgnoreCase(const std::wstring& left, const std::wstring& right) {
    return left.size() == right.size() &&
           CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace orv

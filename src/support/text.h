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

// The name without its leading backslashes ("\\\\host" and "host" are one machine).
inline const wchar_t* SkipLeadingBackslashes(const wchar_t* name) {
    if (!name) return name;
    while (*name == L'\\') ++name;
    return name;
}

// Each character cut to its low eight bits, without a code page.
inline std::string LowBytes(const std::wstring& text) {
    std::string narrow(text.size(), '\0');
    for (size_t i = 0; i < text.size(); ++i) narrow[i] = static_cast<char>(text[i] & 0xFF);
    return narrow;
}

}  // namespace orv

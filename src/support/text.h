#pragma once

#include <windows.h>

#include <string>

#include "orvcluster/names.h"

namespace orv {

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

#pragma once

#include <windows.h>

#include <string>

namespace orvtest {

// A wide text as UTF-8, for comparing with a program's output and for
// failure messages.
inline std::string Utf8(const std::wstring& text) {
    if (text.empty()) return std::string();
    const int length = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(bytes > 0 ? bytes : 0, '\0');
    if (bytes > 0) WideCharToMultiByte(CP_UTF8, 0, text.data(), length, &utf8[0], bytes, nullptr, nullptr);
    return utf8;
}

}  // namespace orvtest

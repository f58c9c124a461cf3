// Everything orvclus prints goes through here, so that output is UTF-8
// wherever it lands and error lines all look alike.

#include "console.h"

#include <windows.h>

namespace orvclus {

namespace {

bool WriteAll(HANDLE handle, const std::wstring& text) {
    if (!handle || handle == INVALID_HANDLE_VALUE) return false;
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode)) {
        // A console shows wide characters as they are, whatever its code page.
        const wchar_t* next = text.data();
        size_t left = text.size();
        while (left > 0) {
            DWORD written = 0;
            const DWORD chunk = left > 16384 ? 16384 : static_cast<DWORD>(left);
            if (!WriteConsoleW(handle, next, chunk, &written, nullptr) || written == 0) return false;
            next += written;
            left -= written;
        }
        return true;
    }
    const std::string bytes = ToUtf8(text);
    const char* next = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
        DWORD written = 0;
        const DWORD chunk = left > 65536 ? 65536 : static_cast<DWORD>(left);
        if (!WriteFile(handle, next, chunk, &written, nullptr) || written == 0) return false;
        next += written;
        left -= written;
    }
    return true;
}

}  // namespace

std::string ToUtf8(const std::wstring& text) {
    if (text.empty()) return std::string();
    const int length = static_cast<int>(text.size());
    // Unpaired surrogates come out as U+FFFD, so the result is always valid UTF-8.
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) return std::string();
    std::string utf8(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, &utf8[0], bytes, nullptr, nullptr);
    return utf8;
}

bool WriteOut(const std::wstring& text) { return WriteAll(GetStdHandle(STD_OUTPUT_HANDLE), text); }

bool WriteErr(const std::wstring& text) { return WriteAll(GetStdHandle(STD_ERROR_HANDLE), text); }

int UsageError(const std::wstring& message) {
    WriteErr(L"orvclus: " + message + L"\n");
    return kExitUsage;
}

int Failure(const std::wstring& message) {
    WriteErr(L"orvclus: " + message + L"\n");
    return kExitFailure;
}

}  // namespace orvclus

// Everything orvclus prints goes through here, so that output is UTF-8
// wherever it lands and error lines all look alike.

#include "console.h"

#include <nlohmann/json.hpp>

#include "orvcluster.h"

namespace orvclus {

namespace {

bool jsonFailures = false;

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

int Fail(int code, const std::wstring& message, const nlohmann::ordered_json& facts = nlohmann::ordered_json()) {
    WriteErr(L"orvclus: " + message + L"\n");
    if (jsonFailures) {
        nlohmann::ordered_json failure = {{"error", ToUtf8(message)}, {"code", code}};
        if (facts.is_object()) failure.update(facts);
        WriteOut(FromUtf8(failure.dump(2)) + L"\n");
    }
    return code;
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

std::wstring FromUtf8(const std::string& text) {
    if (text.empty()) return std::wstring();
    const int length = static_cast<int>(text.size());
    const int characters = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    if (characters <= 0) return std::wstring();
    std::wstring wide(static_cast<size_t>(characters), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, &wide[0], characters);
    return wide;
}

bool WriteOut(const std::wstring& text) { return WriteAll(GetStdHandle(STD_OUTPUT_HANDLE), text); }

bool WriteErr(const std::wstring& text) { return WriteAll(GetStdHandle(STD_ERROR_HANDLE), text); }

void SetJsonFailures(bool on) { jsonFailures = on; }

int UsageError(const std::wstring& message) { return Fail(kExitUsage, message); }

int Failure(const std::wstring& message) { return Fail(kExitFailure, message); }

int Failure(const std::wstring& message, const nlohmann::ordered_json& facts) {
    return Fail(kExitFailure, message, facts);
}

int Win32Failure(const std::wstring& what, DWORD error) {
    orv::UniqueLocalMemory text;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, error, 0, reinterpret_cast<wchar_t*>(text.Receive()), 0, nullptr);
    std::wstring reason = length && text ? std::wstring(static_cast<const wchar_t*>(text.Get()), length) : L"";
    // The system's sentence ends in a full stop and a line break; here the
    // error number follows it in brackets.
    reason.erase(reason.find_last_not_of(L" .\r\n") + 1);
    const std::wstring code = L"error " + std::to_wstring(error);
    return Fail(kExitFailure, L"cannot " + what + L": " + (reason.empty() ? code : reason + L" (" + code + L")"),
                error != ERROR_SUCCESS ? nlohmann::ordered_json{{"system_error", error}} : nlohmann::ordered_json());
}

void Progress(const std::wstring& message) { WriteErr(L"orvclus: " + message + L"\n"); }

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

}  // namespace orvclus

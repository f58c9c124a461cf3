#include "nrx_text.h"

#include "orvcluster/unique_handle.h"

namespace simnrx {

namespace {

char FoldAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

bool SameSystem(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (FoldAscii(a[i]) != FoldAscii(b[i])) return false;
    return true;
}

bool Matches(const std::string& pattern, const std::string& name, bool foldCase) {
    // Iterative wildcard match: on a mismatch after a "*", let the star take
    // one more character and try again.
    size_t p = 0, n = 0, starP = std::string::npos, starN = 0;
    auto next = [&](size_t at) {
        ++at;
        while (at < name.size() && IsContinuation(name[at])) ++at;
        return at;
    };
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starN = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n = next(n);
        } else if (p < pattern.size() &&
                   (foldCase ? FoldAscii(pattern[p]) == FoldAscii(name[n]) : pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (starP != std::string::npos) {
            p = starP + 1;
            n = starN = next(starN);
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
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

std::string ThisComputer() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = ARRAYSIZE(name);
    return GetComputerNameW(name, &length) ? Narrow(std::wstring(name, length)) : std::string();
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

}  // namespace simnrx

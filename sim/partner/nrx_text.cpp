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

std::string ThisComputer() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = ARRAYSIZE(name);
    return GetComputerNameW(name, &length) ? Narrow(std::wstring(name, length)) : std::string();
}

}  // namespace simnrx

#pragma once

#include <windows.h>

#include <string>

namespace simnrx {

// System names compare without regard to the case of ASCII letters; every
// other name compares byte for byte.
bool SameSystem(const std::string& a, const std::string& b);

// Whether `name` matches `pattern` ("*" any run, "?" one UTF-8 character),
// ASCII case folded when `foldCase`.
bool Matches(const std::string& pattern, const std::string& name, bool foldCase);

std::wstring Widen(const std::string& utf8);
std::string Narrow(const std::wstring& wide);

// A name handed in by a caller, which may be null.
inline std::string FromCaller(const char* text) { return text ? std::string(text) : std::string(); }

// 'name', for sentences.
inline std::string Quote(const std::string& name) { return "'" + name + "'"; }

// This computer's name as GetComputerNameW gives it, in UTF-8.
std::string ThisComputer();

// The file's whole contents; false when it cannot be read.
bool ReadWholeFile(const std::wstring& path, std::string& contents);

}  // namespace simnrx

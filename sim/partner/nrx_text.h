#pragma once

#include <windows.h>

#include <string>

#include "sim_host.h"

namespace simnrx {

// System names compare without regard to the case of ASCII letters; every
// other name compares byte for byte.
bool SameSystem(const std::string& a, const std::string& b);

// Whether `name` matches `pattern` ("*" any run, "?" one UTF-8 character),
// ASCII case folded when `foldCase`.
bool Matches(const std::string& pattern, const std::string& name, bool foldCase);

using simhost::Narrow;
using simhost::ReadWholeFile;
using simhost::Widen;

// A name handed in by a caller, which may be null.
inline std::string FromCaller(const char* text) { return text ? std::string(text) : std::string(); }

// 'name', for sentences.
inline std::string Quote(const std::string& name) { return "'" + name + "'"; }

// This computer's name as GetComputerNameW gives it, in UTF-8.
std::string ThisComputer();


}  // namespace simnrx

#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// Names of hosts as the stand-ins compare them: the platform compares
// machine names without regard to case, after any leading backslashes.

namespace simnet {

// `name` without its leading backslashes.
std::wstring_view WithoutLeadingBackslashes(std::wstring_view name);

bool SameName(std::wstring_view left, std::wstring_view right);

// This computer's NetBIOS name, the form in which the network spells it.
std::wstring ThisComputer();

// Whether `name` (backslashes already removed) is one of this computer's
// names: its NetBIOS name, DNS host name or fully qualified DNS name.
bool IsThisComputer(std::wstring_view name);

}  // namespace simnet

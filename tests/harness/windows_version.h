#pragma once

#include <windows.h>

#include <string>

namespace orvtest {

// The major version GetVersionExW answers in this program (0 if it fails).
DWORD WindowsMajorVersion();

// Runs the tests that `filter` selects (a --gtest_filter value) in a second
// copy of this program, which inherits this one's environment; answers the
// copy's exit code, or -1 when it could not be run. For what a program does
// only once (a binding that loads its library when first used, say).
int RunThisProgram(const std::wstring& filter);

// Runs the tests that `filter` selects (a --gtest_filter value) in a second
// copy of this program, for which Wine reports the Windows version `version`
// ("win2003", "winxp", ...): the version is chosen per program name under
// HKCU\Software\Wine\AppDefaults and removed again afterwards. Answers the
// copy's exit code, or -1 when it could not be run.
int RunUnderWindowsVersion(const std::wstring& version, const std::wstring& filter);

}  // namespace orvtest

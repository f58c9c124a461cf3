#pragma once

#include <windows.h>

#include <string>

// Paths of the build machine as the Windows programs under Wine see them:
// the host's root is drive Z:. ORVTEST_EXAMPLES_DIR (the project's examples
// folder on the host) is defined for every test program and the benchmark.

namespace orvtest {

inline std::wstring WinePath(const std::string& hostPath) {
    std::wstring path = L"Z:";
    for (char c : hostPath) path += c == '/' ? L'\\' : static_cast<wchar_t>(c);
    return path;
}

// The examples folder, or a file below it ("clusconfig.xml", "scenarios/...").
inline std::wstring ExamplePath(const std::string& relative = std::string()) {
    return WinePath(relative.empty() ? std::string(ORVTEST_EXAMPLES_DIR)
                                     : std::string(ORVTEST_EXAMPLES_DIR) + "/" + relative);
}

// The bundled two-node failover cluster. Its first node is this computer
// (ThisComputer()), the second NODE2.
inline std::wstring ExampleScenario() { return ExamplePath("scenarios/two-node-failover.json"); }

// This computer's name, which a scenario writes "%COMPUTERNAME%".
inline std::wstring ThisComputer() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = ARRAYSIZE(name);
    return GetComputerNameW(name, &length) ? std::wstring(name, length) : std::wstring();
}

}  // namespace orvtest

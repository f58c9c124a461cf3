// Where the NRX client is not on the search path (this program's folder has
// none), the binding loads it from the NRX console's "InstallLocation",
// which ends with a backslash. Each case runs in a child copy of this
// program, since the binding loads once per process.

#include <windows.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/wine_paths.h"
#include "harness/windows_version.h"
#include "orvcluster.h"

namespace {

const wchar_t kConsoleKey[] = L"SOFTWARE\\PENTRY\\Vontar Console";
const wchar_t kChildVariable[] = L"ORVTEST_NRX_EXPECTED";  // the path the child must load, or "none"

// Runs the child test with `expected` in its environment; its exit code.
int RunChild(const std::wstring& expected) {
    SetEnvironmentVariableW(kChildVariable, expected.c_str());
    SetEnvironmentVariableW(L"ORVNRX_SCENARIO", orvtest::ExamplePath("scenarios/two-node-nrx.json").c_str());
    const int exitCode = orvtest::RunThisProgram(L"ConsoleFolderChild.*");
    SetEnvironmentVariableW(kChildVariable, nullptr);
    return exitCode;
}

TEST(ConsoleFolderChild, LoadsWhatTheParentExpects) {
    wchar_t expected[MAX_PATH] = {};
    if (!GetEnvironmentVariableW(kChildVariable, expected, MAX_PATH)) GTEST_SKIP() << "run by the other tests";
    const bool loads = std::wstring(expected) != L"none";
    EXPECT_EQ(loads, NRXClusterGlue::GetInstance()->OK());
    HMODULE client = GetModuleHandleW(L"nrxapi_mt.dll");
    ASSERT_EQ(loads, client != nullptr);
    if (!loads) return;
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(client, path, MAX_PATH);
    EXPECT_EQ(0, _wcsicmp(expected, path)) << "loaded from " << std::string(path, path + wcslen(path));
    // The client it found was initialised: it connects to the bundled cluster.
    EXPECT_NE(nullptr, NRXClusterGlue::GetInstance()->OpenCluster(nullptr));
}

class ConsoleFolder : public ::testing::Test {
protected:
    void SetUp() override {
        // The client and the clock it imports, under "nrxapi" as installed.
        const std::wstring from = orvtest::ProgramFolder() + L"..\\nrxapi_mt.dll";
        CreateDirectoryW((folder_.Path() + L"\\nrxapi").c_str(), nullptr);
        ASSERT_TRUE(CopyFileW(from.c_str(), client_.c_str(), FALSE)) << GetLastError();
    }

    orvtest::ScratchFolder folder_{L"nrx-console"};
    const std::wstring client_ = folder_.Path() + L"\\nrxapi\\nrxapi_mt.dll";
};

TEST_F(ConsoleFolder, InstallLocationWithItsBackslashLoadsTheClient) {
    orvtest::ScopedMachineKey console(kConsoleKey);
    console.SetString(L"InstallLocation", folder_.Path() + L"\\");
    EXPECT_EQ(0, RunChild(client_));
}

// Anything else loads nothing: no key, a location without the backslash (no
// separator is added), an empty one, one of another type, one too long for
// the 522 bytes read.
TEST_F(ConsoleFolder, AnyOtherLocationLoadsNothing) {
    EXPECT_EQ(0, RunChild(L"none")) << "no key";
    struct Case {
        const char* what;
        void (*set)(orvtest::ScopedMachineKey&, const std::wstring& folder);
    };
    const std::vector<Case> cases = {
        {"no backslash", [](orvtest::ScopedMachineKey& key, const std::wstring& folder) {
             key.SetString(L"InstallLocation", folder);
         }},
        {"empty", [](orvtest::ScopedMachineKey& key, const std::wstring&) { key.SetString(L"InstallLocation", L""); }},
        {"a number", [](orvtest::ScopedMachineKey& key, const std::wstring&) { key.SetDword(L"InstallLocation", 1); }},
        {"too long", [](orvtest::ScopedMachineKey& key, const std::wstring& folder) {
             key.SetString(L"InstallLocation", folder + L"\\" + std::wstring(261, L'x') + L"\\");
         }},
    };
    for (const Case& c : cases) {
        orvtest::ScopedMachineKey console(kConsoleKey);
        c.set(console, folder_.Path());
        EXPECT_EQ(0, RunChild(L"none")) << c.what;
    }
}

}  // namespace

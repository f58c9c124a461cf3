// Process inspection against real processes: copies of the sleeper program
// running under the name the wizard looks for.

#include <windows.h>
#include <psapi.h>

#include <cwchar>

#include <gtest/gtest.h>

#include "harness/scratch_files.h"
#include "orvcluster.h"

namespace {

TEST(ProcessOps, MatchesTheWholeNameInAnyCaseAndFindsThePathOfTheFirstMatch) {
    orvtest::ScratchFolder folder(L"orv-process-ops");
    CProcessOps ops;
    EXPECT_EQ(0, ops.IsProcessRunning(L"setup.exe"));
    {
        const std::wstring paths[] = {folder.Path() + L"\\one\\setup.exe",
                                      folder.Path() + L"\\two\\SETUP.exe"};
        orvtest::RunningCopy first(paths[0]), second(paths[1]);
        const std::pair<const wchar_t*, int> rows[] = {
            {L"SETUP.EXE", 1}, {L"setup.exe", 1}, {L"setup", 0},    {L"setup.ex", 0},
            {L"etup.exe", 0},  {L"setup.exe2", 0}, {L"", 0},         {nullptr, 0},
        };
        for (const auto& [name, running] : rows)
            EXPECT_EQ(running, ops.IsProcessRunning(name)) << (name ? name : L"(null)");
        EXPECT_EQ(1, ops.GetProcessNameEx(first.ProcessId(), L"Setup.Exe"));
        EXPECT_EQ(0, ops.GetProcessNameEx(first.ProcessId(), L"setup"));
        EXPECT_EQ(0, ops.GetProcessNameEx(GetCurrentProcessId(), L"setup.exe"));

        // The path of whichever of the two the system lists first.
        DWORD ids[1024];
        DWORD bytes = 0;
        ASSERT_TRUE(EnumProcesses(ids, sizeof(ids), &bytes));
        std::wstring expected;
        for (DWORD i = 0; i < bytes / sizeof(DWORD) && expected.empty(); ++i) {
            if (ids[i] == first.ProcessId()) expected = paths[0];
            if (ids[i] == second.ProcessId()) expected = paths[1];
        }
        wchar_t path[MAX_PATH];
        ASSERT_EQ(1, ops.GetProcPath(L"Setup.exe", path));
        EXPECT_EQ(0, _wcsicmp(expected.c_str(), path)) << path;

        // Nothing found: the buffer is left as it was.
        wmemset(path, L'#', MAX_PATH);
        EXPECT_EQ(0, ops.GetProcPath(L"setup", path));
        EXPECT_EQ(L'#', path[0]);
        EXPECT_EQ(0, ops.GetProcPath(L"setup.exe", nullptr));
        EXPECT_EQ(0, ops.GetProcPath(nullptr, path));
    }
    EXPECT_EQ(0, ops.IsProcessRunning(L"setup.exe"));
}

}  // namespace

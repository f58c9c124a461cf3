// Runs in the folder of the simulator variant that lacks some entry points
// and checks that it lacks exactly those.

#include <algorithm>

#include "sim_test.h"

namespace {

using simtest::ListOf;

std::wstring FolderOf(HMODULE module) {
    wchar_t path[MAX_PATH];
    std::wstring text(path, GetModuleFileNameW(module, path, MAX_PATH));
    return text.substr(0, text.find_last_of(L'\\'));
}

void CheckExports(const wchar_t* library, const std::string& exports, const std::string& missing) {
    HMODULE module = LoadLibraryW(library);
    ASSERT_NE(nullptr, module);
    EXPECT_EQ(FolderOf(nullptr), FolderOf(module)) << "loaded from beside the program";
    std::vector<std::string> absent = ListOf(missing);
    ASSERT_FALSE(absent.empty());
    for (const std::string& name : ListOf(exports)) {
        bool expected = std::find(absent.begin(), absent.end(), name) == absent.end();
        EXPECT_EQ(expected, GetProcAddress(module, name.c_str()) != nullptr) << name;
    }
}

TEST(PartialExports, TheVariantLacksExactlyTheChosenEntryPoints) {
    CheckExports(L"clusapi.dll", SIMTEST_CLUSAPI_EXPORTS, SIMTEST_CLUSAPI_MISSING);
    CheckExports(L"resutils.dll", SIMTEST_RESUTILS_EXPORTS, SIMTEST_RESUTILS_MISSING);
}

TEST(PartialExports, TheRemainingEntryPointsWork) {
    typedef DWORD(WINAPI * FindDword)(const void*, DWORD, LPCWSTR, LPDWORD);
    auto find = reinterpret_cast<FindDword>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"resutils.dll"), "ResUtilFindDwordProperty")));
    ASSERT_NE(nullptr, find);
    const DWORD empty = 0;
    DWORD value = 0;
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), find(&empty, sizeof empty, L"Anything", &value));
}

}  // namespace

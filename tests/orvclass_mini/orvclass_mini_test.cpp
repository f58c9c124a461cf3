// The in-house class library: installed product, file versions, and the
// case-insensitive character comparison.

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "orvclass_mini.h"

namespace {

const wchar_t kKelvaneInstall[] = L"Software\\PENTRY\\Kelvane\\ORVDS\\13.0\\Install";
const wchar_t kOrvaneInstall[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Install";

TEST(InstalledProduct, FollowsTheInstallKeys) {
    orvtest::DeleteMachineKey(kKelvaneInstall);
    orvtest::DeleteMachineKey(kOrvaneInstall);
    EXPECT_EQ(CMS_PRODUCT_NONE, CMS_GetProd());
    {
        orvtest::ScopedMachineKey orvane(kOrvaneInstall);
        EXPECT_EQ(CMS_PRODUCT_ORVANE, CMS_GetProd());
        orvtest::ScopedMachineKey kelvane(kKelvaneInstall);
        EXPECT_EQ(CMS_PRODUCT_KELVANE, CMS_GetProd());
    }
    EXPECT_EQ(CMS_PRODUCT_NONE, CMS_GetProd());
}

TEST(FileVersion, ReadsTheFixedVersionOrAnswersTheSystemError) {
    wchar_t path[MAX_PATH];
    GetSystemDirectoryW(path, MAX_PATH);
    wcscat(path, L"\\kernel32.dll");
    DWORD parts[4] = {};
    ASSERT_EQ(0u, NTFS_GetFileVersionInfo(path, &parts[0], &parts[1], &parts[2], &parts[3]));
    // What the version API itself reports for the same file, most significant part first.
    DWORD handle = 0;
    std::vector<BYTE> data(GetFileVersionInfoSizeW(path, &handle));
    ASSERT_TRUE(GetFileVersionInfoW(path, 0, static_cast<DWORD>(data.size()), data.data()));
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &length));
    EXPECT_EQ((std::vector<DWORD>{HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                                  HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS)}),
              std::vector<DWORD>(parts, parts + 4));
    EXPECT_GE(parts[0], 5u);

    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND),
              NTFS_GetFileVersionInfo(L"C:\\windows\\no-such-file.dll", &parts[0], &parts[1],
                                      &parts[2], &parts[3]));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER),
              NTFS_GetFileVersionInfo(nullptr, &parts[0], &parts[1], &parts[2], &parts[3]));
}

TEST(CompareIgnoringCase, OrdersLikeUpperCase) {
    EXPECT_EQ(0, comparei(L's', L'S'));
    EXPECT_EQ(0, comparei(L'\x00E9', L'\x00C9'));
    EXPECT_LT(comparei(L'a', L'B'), 0);
    EXPECT_GT(comparei(L'z', L'A'), 0);
    EXPECT_NE(0, comparei(L'.', L'e'));
}

}  // namespace

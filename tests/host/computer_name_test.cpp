// The product's computer name in its three forms.

#include <cstring>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

std::wstring SystemComputerName() {
    wchar_t name[300];
    DWORD size = 300;
    return GetComputerNameW(name, &size) ? name : L"";
}

TEST(ComputerName, IsTheNodeNameAndStaysTheSame) {
    const std::wstring& name = OrvGetComputerName();
    EXPECT_EQ(SystemComputerName(), name);
    EXPECT_EQ(&name, &OrvComputerName::GetInstanceRef().GetOrvComputerName());
    SetVirtualNameForNodeName(true);
    EXPECT_EQ(SystemComputerName(), OrvGetComputerName());
    SetVirtualNameForNodeName(false);
    EXPECT_EQ(&name, &OrvGetComputerName());
}

TEST(ComputerName, WideCopyKeepsTheSizeWhenTooSmall) {
    const std::wstring name = OrvGetComputerName();
    ASSERT_FALSE(name.empty());
    wchar_t buffer[300];
    wmemset(buffer, L'#', 300);

    unsigned long size = static_cast<unsigned long>(name.size());
    EXPECT_EQ(0, OrvGetComputerNameW(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(L'#', buffer[0]);

    size = static_cast<unsigned long>(name.size() + 1);
    EXPECT_EQ(1, OrvGetComputerName(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(name, buffer);

    size = 0;
    EXPECT_EQ(0, OrvGetComputerNameW(buffer, &size));
    EXPECT_EQ(0, OrvGetComputerNameW(nullptr, &size));
    EXPECT_EQ(0, OrvGetComputerNameW(buffer, nullptr));
}

TEST(ComputerName, NarrowCopyEmptiesTheSizeWhenTooSmall) {
    const std::wstring name = OrvGetComputerName();
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));

    unsigned long size = static_cast<unsigned long>(name.size());
    EXPECT_EQ(0, OrvGetComputerNameA(buffer, &size));
    EXPECT_EQ(0u, size);
    EXPECT_EQ(std::string(name.size(), '\0'), std::string(buffer, name.size()));
    EXPECT_EQ('#', buffer[name.size()]);  // only the bytes it was given

    size = static_cast<unsigned long>(name.size() + 1);
    EXPECT_EQ(1, OrvGetComputerNameA(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(std::string(name.begin(), name.end()), buffer);

    EXPECT_EQ(0, OrvGetComputerNameA(nullptr, &size));
    EXPECT_EQ(0, OrvGetComputerNameA(buffer, nullptr));
}

}  // namespace

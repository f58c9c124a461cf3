// The product's computer name in its three forms.

#include <cstring>

#include <gtest/gtest.h>

#include "harness/name_copy.h"
#include "orvcluster.h"

namespace {

TEST(ComputerName, IsTheNodeNameAndStaysTheSame) {
    wchar_t system[300];
    DWORD systemSize = 300;
    ASSERT_TRUE(GetComputerNameW(system, &systemSize));
    EXPECT_EQ(std::wstring(system), Cluster::GetNetworkNodeName());  // off cluster
    const std::wstring& name = OrvGetComputerName();
    EXPECT_EQ(std::wstring(system), name);
    SetVirtualNameForNodeName(true);  // deliberately changes nothing
    EXPECT_EQ(&name, &OrvGetComputerName());
    EXPECT_EQ(std::wstring(system), name);
}

TEST(ComputerName, WideCopies) {
    orvtest::ExpectWideNameCopy(OrvGetComputerName(), [](wchar_t* buffer, unsigned long* size) {
        return OrvGetComputerName(buffer, size);
    });
    orvtest::ExpectWideNameCopy(OrvGetComputerName(), OrvGetComputerNameW);
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

    size = 300;
    EXPECT_EQ(0, OrvGetComputerNameA(nullptr, &size));
    EXPECT_EQ(0, OrvGetComputerNameA(buffer, nullptr));
}

}  // namespace

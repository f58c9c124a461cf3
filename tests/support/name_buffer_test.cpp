// The C-style name copies and the byte narrowing shared by the name getters.

#include <gtest/gtest.h>

#include "support/name_buffer.h"
#include "support/text.h"

namespace {

TEST(NameBuffer, EmptyNameClearsOnlyHalfTheBuffer) {
    wchar_t buffer[8];
    wmemset(buffer, L'#', 8);
    unsigned long size = 8;
    EXPECT_FALSE(orv::CopyNameToBuffer(L"", buffer, &size));
    EXPECT_EQ(0u, size);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(L'\0', buffer[i]) << i;  // 8 bytes are 4 characters
    for (int i = 4; i < 8; ++i) EXPECT_EQ(L'#', buffer[i]) << i;
}

TEST(NameBuffer, ExactFitAndOneShort) {
    wchar_t buffer[8];
    wmemset(buffer, L'#', 8);
    unsigned long size = 4;
    EXPECT_FALSE(orv::CopyNameToBuffer(L"NODE", buffer, &size));
    EXPECT_EQ(4u, size);
    EXPECT_EQ(L'#', buffer[0]);
    size = 5;
    EXPECT_TRUE(orv::CopyNameToBuffer(L"NODE", buffer, &size));
    EXPECT_EQ(4u, size);
    EXPECT_STREQ(L"NODE", buffer);
}

TEST(Text, NarrowingKeepsTheLowByteOnly) {
    EXPECT_EQ(std::string("N\x01" "D\xE9"), orv::LowBytes(L"N\x0101" L"D\x00E9"));
}

TEST(Text, NamesCompareWithoutCaseAfterBackslashes) {
    EXPECT_TRUE(orv::EqualsIgnoreCase(orv::SkipLeadingBackslashes(L"\\\\node1"), L"NODE1"));
    EXPECT_FALSE(orv::EqualsIgnoreCase(L"NODE1", L"NODE"));
    EXPECT_FALSE(orv::EqualsIgnoreCase(L"NODE1", nullptr));
    EXPECT_TRUE(orv::EqualsIgnoreCase(std::wstring(L"\x00C9t\x00E9"), std::wstring(L"\x00E9T\x00C9")));
}

}  // namespace

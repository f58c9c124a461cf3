// The C-style name copy and the text helpers shared by the name getters.
// (Copies of a name that fits or not are checked through the getters.)

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
    // 8 bytes are 4 characters.
    EXPECT_EQ(std::wstring(L"\0\0\0\0####", 8), std::wstring(buffer, 8));
}

TEST(Text, NarrowingAndComparingNames) {
    EXPECT_EQ(std::string("N\x01" "D\xE9"), orv::LowBytes(L"N\x0101" L"D\x00E9"));
    EXPECT_TRUE(orv::EqualsIgnoreCase(orv::SkipLeadingBackslashes(L"\\\\node1"), L"NODE1"));
    EXPECT_FALSE(orv::EqualsIgnoreCase(L"NODE1", L"NODE"));
    EXPECT_FALSE(orv::EqualsIgnoreCase(L"NODE1", nullptr));
    EXPECT_TRUE(orv::EqualsIgnoreCase(std::wstring(L"\x00C9t\x00E9"), std::wstring(L"\x00E9T\x00C9")));
}

}  // namespace

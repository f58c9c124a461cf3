#pragma once

#include <cwchar>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace orvtest {

// The product's C-style copy of a name into a caller's wide buffer, as every
// wide name getter answers it (1 copied, 0 not): too small for the terminator
// leaves buffer and size alone (the needed size is not told); a fit puts the
// length in *size; no buffer, no size or a size of 0 answers 0.
inline void ExpectWideNameCopy(const std::wstring& name,
                               const std::function<int(wchar_t*, unsigned long*)>& copy) {
    ASSERT_FALSE(name.empty());
    wchar_t buffer[300];
    wmemset(buffer, L'#', 300);
    unsigned long size = static_cast<unsigned long>(name.size());
    EXPECT_EQ(0, copy(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(L'#', buffer[0]);

    size = static_cast<unsigned long>(name.size() + 1);
    EXPECT_EQ(1, copy(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(name, buffer);

    size = 0;
    EXPECT_EQ(0, copy(buffer, &size));
    size = 300;
    EXPECT_EQ(0, copy(nullptr, &size));
    EXPECT_EQ(0, copy(buffer, nullptr));
}

}  // namespace orvtest

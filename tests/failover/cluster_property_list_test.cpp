// The property list codec: the bytes it builds, its lookups (which answer as
// the platform's lookups do), and its walk over lists that lie about their own
// lengths.

#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "failover/value_list.h"
#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace {

std::vector<DWORD> Words(const ClusterPropertyList& list) {
    std::vector<DWORD> words(list.Size() / 4);
    std::memcpy(words.data(), list.Data(), words.size() * 4);
    return words;
}

DWORD Chars(const wchar_t* a, const wchar_t* b) {  // two wide characters as one little-endian word
    return static_cast<DWORD>(*a) | static_cast<DWORD>(*b) << 16;
}

TEST(PropertyList, AppendsNameValueAndEndMarkFourByteAligned) {
    ClusterPropertyList list;
    list.Append(L"ABC", L"xy");
    list.Append(L"N", 0x12345678ul);
    const std::vector<DWORD> expected = {
        2,                                                    // count
        0x00040003, 8, Chars(L"A", L"B"), Chars(L"C", L"\0"),  // name "ABC", 8 bytes
        0x00010003, 6, Chars(L"x", L"y"), 0,                   // value "xy", 6 bytes + padding
        0,                                                    // end mark
        0x00040003, 4, Chars(L"N", L"\0"),                     // name "N"
        0x00010002, 4, 0x12345678,                            // 32-bit value
        0,                                                    // end mark
    };
    EXPECT_EQ(expected, Words(list));
    EXPECT_EQ(expected.size() * 4, list.Size());
}

TEST(PropertyList, CopiesAreDeepAndAssignedListsGrowOnAppend) {
    ClusterPropertyList built;
    built.Append(L"Name", L"ORVANESRV");
    ClusterPropertyList assigned(built.Data(), built.Size());
    ClusterPropertyList copy(assigned);
    assigned.Append(L"DnsName", L"orvanesrv");
    EXPECT_EQ(2u, Words(assigned)[0]);
    EXPECT_EQ(1u, Words(copy)[0]);
    std::wstring value;
    EXPECT_TRUE(assigned.GetValue(L"dnsname", value));
    EXPECT_EQ(L"orvanesrv", value);
    EXPECT_FALSE(copy.GetValue(L"DnsName", value));
    EXPECT_TRUE(copy.GetValue(L"NAME", value));
    EXPECT_EQ(L"ORVANESRV", value);
}

TEST(PropertyList, StringLookupRules) {
    ClusterPropertyList empty;
    const wchar_t* found = L"stale";
    SetLastError(0);
    EXPECT_FALSE(empty.GetValue(L"Name", &found));
    EXPECT_EQ(nullptr, found);
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());

    ClusterPropertyList list;
    list.Append(L"Signature", 0xCAFEul);
    list.Append(L"Address", L"10.20.30.40");
    list.Append(L"Address", L"10.0.0.99");  // a later twin is never looked at
    list.Append(L"Twin", 7ul);
    list.Append(L"TWIN", L"text");

    ASSERT_TRUE(list.GetValue(L"address", &found));
    EXPECT_STREQ(L"10.20.30.40", found);
    EXPECT_GE(reinterpret_cast<const unsigned char*>(found), static_cast<const unsigned char*>(list.Data()));

    std::wstring text = L"old";
    SetLastError(0);
    EXPECT_FALSE(list.GetValue(L"Signature", text));  // a number is not a string
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(list.GetValue(L"twin", text));  // the first of the name decides
    EXPECT_FALSE(list.GetValue(L"Addres", text));
    EXPECT_FALSE(list.GetValue(nullptr, text));
}

// A list placed flush against an inaccessible page: any read past its end
// faults and ends the test run.
class GuardedBytes {
public:
    explicit GuardedBytes(const std::vector<unsigned char>& bytes) {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        const size_t page = info.dwPageSize;
        const size_t pages = (bytes.size() + page - 1) / page + 1;
        base_ = static_cast<unsigned char*>(
            VirtualAlloc(nullptr, pages * page, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base_ + (pages - 1) * page, page, PAGE_NOACCESS, &old);
        data_ = base_ + (pages - 1) * page - bytes.size();
        if (!bytes.empty()) std::memcpy(data_, bytes.data(), bytes.size());
    }
    ~GuardedBytes() { VirtualFree(base_, 0, MEM_RELEASE); }
    const unsigned char* Data() const { return data_; }

private:
    unsigned char* base_;
    unsigned char* data_;
};

TEST(PropertyList, WalkNeverReadsPastTheBytesItWasGiven) {
    ClusterPropertyList source;
    source.Append(L"Name", L"ORVANESRV");
    source.Append(L"EnableNetBios", 1ul);
    source.Append(L"DnsName", L"orvanesrv.example");
    const auto* bytes = static_cast<const unsigned char*>(source.Data());
    const std::vector<unsigned char> whole(bytes, bytes + source.Size());

    std::mt19937 random(20261121);
    for (int round = 0; round < 20000; ++round) {
        std::vector<unsigned char> damaged(whole.begin(), whole.begin() + random() % (whole.size() + 1));
        // Now and then overwrite a word with a lying length or count.
        if (!damaged.empty() && round % 2) {
            const size_t at = (random() % damaged.size()) & ~size_t(3);
            const DWORD lie = round % 4 == 1 ? static_cast<DWORD>(random()) : 0xFFFFFFF0u + (random() % 16);
            std::memcpy(&damaged[at], &lie, std::min<size_t>(4, damaged.size() - at));
        }
        GuardedBytes guarded(damaged);
        size_t entries = 0;
        orv::ForEachValue(guarded.Data() + std::min<size_t>(4, damaged.size()),
                          damaged.size() - std::min<size_t>(4, damaged.size()),
                          [&](const orv::ValueEntry& entry) {
                              ++entries;
                              ASSERT_LE(entry.data + entry.length, guarded.Data() + damaged.size());
                          });
        ASSERT_LE(entries, damaged.size() / 4);

        ClusterPropertyList list(damaged.data(), damaged.size());
        const wchar_t* found = nullptr;
        if (list.GetValue(L"DnsName", &found)) {
            const auto* start = static_cast<const unsigned char*>(list.Data());
            const auto* text = reinterpret_cast<const unsigned char*>(found);
            ASSERT_TRUE(text >= start && text + (wcslen(found) + 1) * 2 <= start + list.Size());
        } else {
            const DWORD error = GetLastError();
            ASSERT_TRUE(error == ERROR_FILE_NOT_FOUND || error == ERROR_INVALID_DATA) << error;
        }
    }
}

// Entries take their padded length; every growth must leave room for it, so
// the used size never passes the block and a later growth copies only bytes
// of the old block. A 2-character name and a 124-character value once ended
// 2 bytes past the block.
TEST(PropertyList, UsedSizeNeverPassesTheBlock) {
    for (size_t nameChars = 1; nameChars <= 4; ++nameChars) {
        for (size_t valueChars = 0; valueChars <= 140; ++valueChars) {
            const std::wstring name(nameChars, L'n'), value(valueChars, L'v');
            ClusterPropertyList list;
            list.Append(name.c_str(), value.c_str());
            ASSERT_LE(list.Size(), list.Capacity()) << nameChars << "/" << valueChars;
            list.Append(L"Next", 7ul);
            ASSERT_LE(list.Size(), list.Capacity()) << nameChars << "/" << valueChars;
            std::wstring found;
            ASSERT_TRUE(list.GetValue(name.c_str(), found));
            ASSERT_EQ(value, found);
            ASSERT_EQ(2u, Words(list)[0]);
        }
    }
}

TEST(PropertyList, LyingCountIsMalformedNotAnOverrun) {
    ClusterPropertyList source;
    source.Append(L"Name", L"A");
    std::vector<unsigned char> bytes(static_cast<const unsigned char*>(source.Data()),
                                     static_cast<const unsigned char*>(source.Data()) + source.Size());
    bytes[0] = 5;  // five properties claimed, one present
    ClusterPropertyList list(bytes.data(), bytes.size());
    std::wstring value;
    SetLastError(0);
    EXPECT_FALSE(list.GetValue(L"Other", value));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_DATA), GetLastError());
    EXPECT_TRUE(list.GetValue(L"Name", value));  // found before the lie matters
}

// On many generated lists: names differing only in case, wrong types, repeated names.
const wchar_t* const kNames[] = {L"Name", L"NAME", L"name", L"Address", L"ADDRESS", L"DnsName",
                                 L"ServiceName", L"Signature", L"VmId", L"Nam", L"Names"};

using PropertyLookupAgreement = orvtest::SimulatedClusterTest;

TEST_F(PropertyLookupAgreement, OwnStringLookupAndPlatformLookupsAgree) {
    orvclass::shared_ptr<ResourceGlue> platform = ResourceGlue::GetInstance();
    std::mt19937 random(1121);
    int found = 0;
    int missed = 0;
    for (int round = 0; round < 3000; ++round) {
        ClusterPropertyList list;
        const int count = 1 + random() % 8;
        for (int i = 0; i < count; ++i) {
            const wchar_t* name = kNames[random() % 9];  // queried names include two never stored
            if (random() % 3 == 0)
                list.Append(name, static_cast<DWORD>(random()));
            else
                list.Append(name, (std::wstring(L"value-") + std::to_wstring(random() % 1000)).c_str());
        }
        for (const wchar_t* query : kNames) {
            const wchar_t* ours = nullptr;
            const bool ourAnswer = list.GetValue(query, &ours);
            wchar_t* theirs = nullptr;
            const DWORD theirAnswer = platform->ResUtilFindSzProperty(list.Data(), list.Size(), query, &theirs);
            ASSERT_EQ(theirAnswer == ERROR_SUCCESS, ourAnswer) << "round " << round;
            if (ourAnswer) {
                EXPECT_STREQ(theirs, ours);
                ++found;
            } else {
                ++missed;
            }
            LocalFree(theirs);

            DWORD ourNumber = 0xFFFF;
            DWORD theirNumber = 0xEEEE;
            const bool numberFound = list.GetValue(query, ourNumber);
            ASSERT_EQ(platform->ResUtilFindDwordProperty(list.Data(), list.Size(), query, &theirNumber) ==
                          ERROR_SUCCESS,
                      numberFound);
            if (numberFound) {
                EXPECT_EQ(theirNumber, ourNumber);
            }
        }
    }
    // Both outcomes occurred often enough to mean something.
    EXPECT_GT(found, 3000);
    EXPECT_GT(missed, 3000);
}

}  // namespace

// The list's own string lookup answers as the platform's lookup does, on many
// generated lists: names differing only in case, wrong types, repeated names.

#include <random>

#include <gtest/gtest.h>

#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace {

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

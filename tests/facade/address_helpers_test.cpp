// IPv4 address text and name resolution.

#include <winsock2.h>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

const bool kSockets = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}();

TEST(Address, IsIpAcceptsWhatTheSocketLayerParses) {
    ASSERT_TRUE(kSockets);
    const std::pair<const wchar_t*, bool> rows[] = {
        {L"10.0.0.1", true},
        {L"10.1", true},          // short form
        {L"0x0A.010.0.1", true},  // hexadecimal and octal parts
        {L"10\x012E" L"0.0.1", true},  // each character keeps its low byte: U+012E is '.'
        {L"", false},
        {L"255.255.255.255", false},  // indistinguishable from failure
        {L"node1.example", false},
        {L"10.0.0.1.5", false},
    };
    for (const auto& [text, isIp] : rows) EXPECT_EQ(isIp, Cluster::IsIp(text)) << text;
}

TEST(Address, ResolvesNamesToTheirFirstAddressAndLeavesUnknownOnesAlone) {
    ASSERT_TRUE(kSockets);
    std::wstring name = L"127.0.0.1";
    EXPECT_TRUE(Cluster::FromNetworkNameToIp(name));
    EXPECT_EQ(L"127.0.0.1", name);
    name = L"localhost";
    EXPECT_TRUE(Cluster::FromNetworkNameToIp(name));
    EXPECT_TRUE(Cluster::IsIp(name)) << name;

    name = L"no-such-host.invalid";
    EXPECT_FALSE(Cluster::FromNetworkNameToIp(name));
    EXPECT_EQ(L"no-such-host.invalid", name);
    name.assign(600, L'a');  // cut to the resolver's buffer, never overrun
    EXPECT_FALSE(Cluster::FromNetworkNameToIp(name));
    EXPECT_EQ(std::wstring(600, L'a'), name);
}

}  // namespace

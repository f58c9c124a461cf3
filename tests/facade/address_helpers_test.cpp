// IPv4 address text, name resolution and the node name.

#include <winsock2.h>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

class Sockets : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        WSADATA data;
        ASSERT_EQ(0, WSAStartup(MAKEWORD(2, 2), &data));
    }
    static void TearDownTestSuite() { WSACleanup(); }
};

TEST_F(Sockets, IsIpAcceptsWhatTheSocketLayerParses) {
    EXPECT_TRUE(Cluster::IsIp(L"10.0.0.1"));
    EXPECT_TRUE(Cluster::IsIp(L"10.1"));        // short form
    EXPECT_TRUE(Cluster::IsIp(L"0x0A.010.0.1"));  // hexadecimal and octal parts
    EXPECT_FALSE(Cluster::IsIp(L""));
    EXPECT_FALSE(Cluster::IsIp(L"255.255.255.255"));  // indistinguishable from failure
    EXPECT_FALSE(Cluster::IsIp(L"node1.example"));
    EXPECT_FALSE(Cluster::IsIp(L"10.0.0.1.5"));
    // Each character keeps only its low byte: U+012E becomes '.'.
    EXPECT_TRUE(Cluster::IsIp(L"10\x012E" L"0.0.1"));
}

TEST_F(Sockets, ResolvesNamesToTheirFirstAddress) {
    std::wstring name = L"127.0.0.1";
    EXPECT_TRUE(Cluster::FromNetworkNameToIp(name));
    EXPECT_EQ(L"127.0.0.1", name);

    name = L"localhost";
    EXPECT_TRUE(Cluster::FromNetworkNameToIp(name));
    EXPECT_TRUE(Cluster::IsIp(name)) << name;
}

TEST_F(Sockets, UnknownNamesStayAsTheyWere) {
    std::wstring name = L"no-such-host.invalid";
    EXPECT_FALSE(Cluster::FromNetworkNameToIp(name));
    EXPECT_EQ(L"no-such-host.invalid", name);

    std::wstring longName(600, L'a');  // cut to the resolver's buffer, never overrun
    EXPECT_FALSE(Cluster::FromNetworkNameToIp(longName));
    EXPECT_EQ(600u, longName.size());
}

TEST(NodeName, IsTheComputerNameOffClusterAndNeverChanges) {
    wchar_t computer[300];
    DWORD size = 300;
    ASSERT_TRUE(GetComputerNameW(computer, &size));
    const std::wstring& first = Cluster::GetNetworkNodeName();
    EXPECT_EQ(std::wstring(computer), first);
    EXPECT_EQ(&first, &Cluster::GetNetworkNodeName());
}

}  // namespace

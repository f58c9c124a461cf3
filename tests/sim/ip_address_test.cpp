// IP Address resources on their way online: the network decides whether the
// address comes up, for the scenario's resources and created ones alike.

#include "sim_test.h"

namespace simtest {
namespace {

class IpAddresses : public SimulatorTest {
protected:
    // A scratch group and IP Address resource "TestNullRes13", made and
    // given its private properties (those not null) as a program does.
    void CreateAddress(const wchar_t* address, const wchar_t* network, DWORD anyNetwork) {
        Owned<HGROUP> group(Sim().CreateClusterGroup(cluster_.get(), L"NULLTESTGRP13"));
        Owned<HRESOURCE> resource(Sim().CreateClusterResource(group.get(), L"TestNullRes13", L"IP Address", 0));
        ASSERT_TRUE(resource);
        ListBuilder properties;
        properties.Text(L"SubnetMask", L"255.255.255.0").Number(L"OverrideAddressMatch", anyNetwork);
        if (address) properties.Text(L"Address", address);
        if (network) properties.Text(L"Network", network);
        ASSERT_EQ(DWORD(ERROR_SUCCESS),
                  ControlStatus(L"TestNullRes13", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, properties.Bytes()));
    }
    // Asks the resource online: it stays pending for the cluster's 500 ms,
    // then ends in the state answered.
    CLUSTER_RESOURCE_STATE OnlineOutcome(const wchar_t* name) {
        EXPECT_EQ(DWORD(ERROR_IO_PENDING), Online(name));
        SimClock_Sleep(499);
        EXPECT_EQ(ClusterResourceOnlinePending, StateOf(name));  // the query takes the last millisecond
        return StateOf(name);
    }
};

TEST_F(IpAddresses, ACreatedAddressComesUpUnlessTheNetworkRefusesIt) {
    const CLUSTER_RESOURCE_STATE online = ClusterResourceOnline, failed = ClusterResourceFailed;
    struct Case {
        const char* what;
        const wchar_t* address;  // null: not set
        const wchar_t* network;  // null: not set
        DWORD anyNetwork;        // OverrideAddressMatch
        const wchar_t* inUse;    // in use elsewhere on the network
        CLUSTER_RESOURCE_STATE end;
    } cases[] = {
        {"free address", L"10.20.30.99", L"Public", 0, nullptr, online},
        {"another address in use", L"10.20.30.99", L"Public", 0, L"10.20.30.98", online},
        {"on the other network", L"192.168.100.7", L"Heartbeat", 0, nullptr, online},
        {"held by an online resource", L"10.20.30.40", L"Public", 0, nullptr, failed},
        {"in use elsewhere", L"10.20.30.99", L"Public", 0, L"10.20.30.99", failed},
        {"outside the subnet", L"10.20.31.99", L"Public", 0, nullptr, failed},
        {"outside the subnet, any network allowed", L"10.20.31.99", L"Public", 1, nullptr, online},
        {"unknown network", L"10.20.30.99", L"Backbone", 0, nullptr, failed},
        {"no network", L"10.20.30.99", nullptr, 0, nullptr, failed},
        {"not an address", L"10.20.30.299", L"Public", 0, nullptr, failed},
        {"no address", nullptr, L"Public", 0, nullptr, failed},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Load(ExampleScenario());
        if (test.inUse) {
            ASSERT_TRUE(SimCluster_SetAddressInUse(test.inUse, TRUE));
        }
        CreateAddress(test.address, test.network, test.anyNetwork);
        EXPECT_EQ(test.end, OnlineOutcome(L"TestNullRes13"));
    }
}

TEST_F(IpAddresses, TheScenariosAddressesFollowTheSameRulesAndAScriptedEndWins) {
    // Another resource holds the address while online or on its way there.
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Exchange IP Address", FALSE, L"Address", "\"10.20.30.40\""));
    SetOffline({L"Exchange IP Address"});
    EXPECT_EQ(ClusterResourceFailed, OnlineOutcome(L"Exchange IP Address"));
    SetOffline({L"Exchange IP Address", L"Orvane IP Address"});
    ASSERT_EQ(DWORD(ERROR_IO_PENDING), Online(L"Orvane IP Address"));
    EXPECT_EQ(ClusterResourceFailed, OnlineOutcome(L"Exchange IP Address"));
    SetOffline({L"Exchange IP Address", L"Orvane IP Address"});
    EXPECT_EQ(ClusterResourceOnline, OnlineOutcome(L"Exchange IP Address"));
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane IP Address", ClusterResourceOnline, 500, ClusterResourceOnline));
    EXPECT_EQ(ClusterResourceOnline, OnlineOutcome(L"Orvane IP Address"));

    // Brought online for a resource that depends on it, the address fails
    // and takes its dependent with it; free again, it comes up.
    SetOffline({L"SQL IP Address", L"SQL Network Name (SQLVS01)"});
    ASSERT_TRUE(SimCluster_SetAddressInUse(L"10.20.30.50", TRUE));
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Online(L"SQL Network Name (SQLVS01)"));
    SimClock_Sleep(500);
    EXPECT_EQ(ClusterResourceFailed, StateOf(L"SQL IP Address"));
    SimClock_Sleep(500);
    EXPECT_EQ(ClusterResourceFailed, StateOf(L"SQL Network Name (SQLVS01)"));
    ASSERT_TRUE(SimCluster_SetAddressInUse(L"10.20.30.50", FALSE));
    SetOffline({L"SQL IP Address", L"SQL Network Name (SQLVS01)"});
    EXPECT_EQ(ClusterResourceOnline, OnlineOutcome(L"SQL IP Address"));

    EXPECT_FALSE(SimCluster_SetAddressInUse(L"10.20.30", TRUE));
    EXPECT_EQ("'10.20.30' is not an IPv4 address", Utf8(SimCluster_LastError()));
}

TEST_F(IpAddresses, AddressesInUseAndScriptedEndsSurviveSaveAndLoad) {
    LoadText(R"({"cluster": {"name": "C", "pendingMs": 0, "addressesInUse": ["10.20.30.77"]},
        "nodes": [{"name": "N", "local": true}],
        "networks": [{"name": "Public", "address": "10.20.30.0", "mask": "255.255.255.0"}], "groups": [{"name": "G"}],
        "resources": [
          {"name": "A", "type": "IP Address", "group": "G", "private": {"Address": "10.20.30.77", "Network": "Public"}},
          {"name": "B", "type": "IP Address", "group": "G", "private": {"Address": "10.20.30.78", "Network": "Public"}},
          {"name": "C", "type": "IP Address", "group": "G", "private": {"Address": "10.20.30.79", "Network": "Public"},
           "transitions": {"online": {"result": "failed"}}}]})");
    ASSERT_TRUE(SimCluster_SetAddressInUse(L"10.20.30.78", TRUE));
    ASSERT_TRUE(SimCluster_LoadScenarioText(SavedScenario().c_str())) << Utf8(SimCluster_LastError());
    cluster_ = OpenLocal();
    for (const wchar_t* name : {L"A", L"B", L"C"}) EXPECT_EQ(DWORD(ERROR_RESOURCE_FAILED), Online(name)) << Utf8(name);
    ASSERT_TRUE(SimCluster_SetAddressInUse(L"10.20.30.77", FALSE));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Online(L"A"));  // failed before: a failed resource may be started again
}

}  // namespace
}  // namespace simtest

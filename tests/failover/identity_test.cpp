// Who the product is on a failover cluster. The cluster's first node is this
// computer spelt in lower case, so every node comparison must ignore case.

#include <algorithm>
#include <cwctype>

#include <gtest/gtest.h>

#include "harness/simulated_cluster.h"
#include "harness/utf8.h"
#include "orvcluster.h"
#include "orvcluster/mscs_cluster.h"

namespace {

using orvtest::Utf8;

const char kCluster[] = R"json({"cluster": {"name": "IDCLUS"},
  "nodes": [{"name": "@HERE@", "local": true}, {"name": "NODE2"}],
  "networks": [{"name": "Public", "role": 3, "address": "10.20.30.0", "mask": "255.255.255.0"},
    {"name": "Heartbeat", "role": 1, "address": "192.168.100.0", "mask": "255.255.255.0"},
    {"name": "Backup LAN", "role": 2, "address": "10.40.0.0", "mask": "255.255.0.0"},
    {"name": "Spare", "role": 0, "address": "10.50.0.0", "mask": "255.255.0.0"}],
  "groups": [{"name": "Orvane", "owner": "@HERE@"}, {"name": "Other", "owner": "NODE2"}],
  "resources": [
    {"name": "Orvane IP Address", "type": "IP Address", "group": "Orvane", "state": "online",
     "private": {"Address": "10.20.30.40", "SubnetMask": "255.255.255.0", "Network": "Public"}},
    {"name": "Orvane Server Name", "type": "Network Name", "group": "Orvane", "state": "online",
     "dependencies": ["Orvane IP Address"], "private": {"Name": "ORVANESRV"}},
    {"name": "Orvane Job Engine", "type": "Generic Service", "group": "Orvane", "state": "online",
     "possibleOwners": ["@HERE@", "NODE2"], "dependencies": ["Orvane Server Name"],
     "private": {"ServiceName": "OrvJobEngine"}},
    {"name": "Orvane RPC Service", "type": "Generic Service", "group": "Orvane", "state": "online",
     "private": {"ServiceName": "OrvaneRPCService"}},
    {"name": "Other IP Address", "type": "IP Address", "group": "Other", "state": "online",
     "private": {"Address": "192.168.100.150", "SubnetMask": "255.255.255.0", "Network": "Heartbeat"}},
    {"name": "Other Service", "type": "Generic Service", "group": "Other", "dependencies": ["Other IP Address"],
     "private": {"ServiceName": "OtherService"}},
    {"name": "Other Name", "type": "Network Name", "group": "Other", "state": "online",
     "dependencies": ["Other IP Address"], "private": {"Name": "OTHERVS"}},
    {"name": "Lone IP Address", "type": "IP Address", "group": "Other", "state": "online",
     "private": {"Address": "10.20.30.60", "SubnetMask": "255.255.255.0", "Network": "Public"}}]})json";

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::wstring Here() {  // this computer as the cluster spells it
    std::wstring here = orvtest::ThisComputer();
    std::transform(here.begin(), here.end(), here.begin(), towlower);
    return here;
}

class Identity : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(Load(kCluster));
        // The product definition names the marker service: the job engine's.
        static const unsigned loaded =
            Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, orvtest::ExamplePath().c_str());
        ASSERT_EQ(1u, loaded);
    }
    // The handles IsActiveClusterNode kept stay counted for the rest of the process.
    void TearDown() override {
        SimCluster_ClearFailures();
        cluster_.reset();
        EXPECT_EQ(kept_, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "cluster handles left open";
    }
    void Load(const std::string& scenario) {
        cluster_.reset();
        ASSERT_TRUE(SimCluster_LoadScenarioText(Replace(scenario, "@HERE@", Utf8(Here())).c_str()))
            << Utf8(SimCluster_LastError());
        cluster_ = MSCSCluster::GetInstance(nullptr);
        ASSERT_TRUE(cluster_->ClusterOpen());
    }
    // After an operation: nothing open but the backend's own connection.
    static void ExpectOnlyTheConnection() { EXPECT_EQ(kept_ + 1, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)); }
    static void SetPrivate(const wchar_t* resource, const wchar_t* name, const char* json) {
        ASSERT_TRUE(SimCluster_SetResourceProperty(resource, FALSE, name, json)) << Utf8(SimCluster_LastError());
    }
    unsigned Trial(const wchar_t* address) {
        return address ? cluster_->IsValidNetworkConfig(address, L"255.255.255.0", L"Public")
                       : cluster_->IsValidNetworkConfig(nullptr, nullptr, nullptr);
    }
    static bool TrialGroupExists() {
        return SimCluster_SetGroupState(L"NULLTESTGRP13", SIMCLUSTER_GROUP_STATE_DERIVED);
    }

    static DWORD kept_;
    boost::shared_ptr<MSCSCluster> cluster_;
    MSCSCluster closed_{nullptr};
};

DWORD Identity::kept_ = 0;

TEST_F(Identity, VirtualNameOnlyWhereTheJobEngineMayRun) {
    std::wstring name = L"stale";
    EXPECT_TRUE(cluster_->GetOrvVirtualName(name));
    EXPECT_EQ(L"ORVANESRV", name);
    // The engine, its network name or its owners unreadable: no name.
    for (const wchar_t* failing : {L"OpenClusterResource", L"GetClusterResourceNetworkName",
                                   L"ClusterResourceOpenEnum", L"ClusterResourceEnum"}) {
        ASSERT_TRUE(SimCluster_InjectFailure(failing, 1, 1, ERROR_NOT_READY));
        EXPECT_FALSE(cluster_->GetOrvVirtualName(name)) << Utf8(failing);
        EXPECT_EQ(L"", name);
        ExpectOnlyTheConnection();
        name = L"stale";
    }
    ASSERT_NO_FATAL_FAILURE(Load(Replace(kCluster, "\"@HERE@\", \"NODE2\"", "\"NODE2\"")));
    EXPECT_FALSE(cluster_->GetOrvVirtualName(name));
    EXPECT_EQ(L"", name);
}

TEST_F(Identity, NodeBehindANetworkNameOrAddress) {
    const struct { std::wstring name; bool found; std::wstring node; } cases[] = {
        {L"OTHERVS", true, L"NODE2"},          {L"\\\\othervs", true, L"NODE2"},
        {L"\\\\\\OrVaNeSrV", true, Here()},    {L"192.168.100.150", true, L"NODE2"},
        {L"10.20.30.40", true, Here()},        {L"ORVANESRV2", false, L"ORVANESRV2"},
        {L"\\\\NoSuchVs", false, L"NoSuchVs"}, {L"10.20.30.99", false, L"10.20.30.99"},
        {L"", false, L"stale"},
    };
    for (const auto& c : cases) {
        std::wstring node = L"stale";
        EXPECT_EQ(c.found, cluster_->NetworkNameToNodeName(c.name, node)) << Utf8(c.name);
        EXPECT_EQ(c.node, node);
        ExpectOnlyTheConnection();
    }
    // The resource vanishes between the listing and its opening (the last
    // resource a successful search opens is the one found).
    std::wstring node;
    SimCluster_ResetCounters();
    ASSERT_TRUE(cluster_->NetworkNameToNodeName(L"OTHERVS", node));
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenClusterResource", SimCluster_CallCount(L"OpenClusterResource"), 1,
                                         ERROR_RESOURCE_NOT_FOUND));
    EXPECT_FALSE(cluster_->NetworkNameToNodeName(L"OTHERVS", node));
    EXPECT_EQ(L"OTHERVS", node);
    // Two resources publish ORVANESRV and the first one's owner cannot be read: the search ends there.
    SetPrivate(L"Other Name", L"Name", "\"ORVANESRV\"");
    ASSERT_TRUE(SimCluster_InjectFailure(L"GetClusterResourceState", 1, 1, ERROR_NOT_READY));
    EXPECT_FALSE(cluster_->NetworkNameToNodeName(L"\\\\orvanesrv", node));
    EXPECT_EQ(L"orvanesrv", node);
    ExpectOnlyTheConnection();
}

TEST_F(Identity, VirtualNameOfAnAddress) {
    const struct { const wchar_t* ip; bool found; const wchar_t* name; } cases[] = {
        {L"10.20.30.40", true, L"ORVANESRV"},
        {L"192.168.100.150", true, L"OTHERVS"},  // a service depends on it first
        {L"10.20.30.60", true, L"stale"},        // nothing depends on it: the name is kept
        {L"10.20.30.99", false, L"stale"},      {L"", false, L"stale"}, {nullptr, false, L"stale"},
    };
    for (const auto& c : cases) {
        std::wstring name = L"stale";
        EXPECT_EQ(c.found, cluster_->GetVirtualNameFromIp(name, c.ip)) << Utf8(c.ip ? c.ip : L"(null)");
        EXPECT_EQ(c.name, name);
        ExpectOnlyTheConnection();
    }
    std::wstring name;
    EXPECT_TRUE(cluster_->GetVirtualNameFromIp(name, "192.168.100.150"));  // the longest address
    EXPECT_EQ(L"OTHERVS", name);
    SimCluster_ResetCounters();
    EXPECT_FALSE(cluster_->GetVirtualNameFromIp(name, "192.168.100.1500"));  // 16 characters: not looked for
    EXPECT_EQ(0u, SimCluster_CallCount(L"ClusterOpenEnum"));
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterResourceOpenEnum", 1, 1, ERROR_NOT_READY));  // no dependents known
    EXPECT_FALSE(cluster_->GetVirtualNameFromIp(name, L"10.20.30.40"));
    EXPECT_EQ(L"OTHERVS", name);
    ExpectOnlyTheConnection();
}

TEST_F(Identity, ClusteredWhereAGenericServiceRunsTheMarkerService) {
    EXPECT_EQ(1u, cluster_->IsClusteredOrv(wcstring()));
    SetPrivate(L"Orvane Job Engine", L"ServiceName", "\"ORVJOBENGINE\"");
    EXPECT_EQ(1u, cluster_->IsClusteredOrv(L"unrelated"));  // the argument is not used
    // The service name on a resource of another type does not count.
    SetPrivate(L"Orvane Job Engine", L"ServiceName", "\"OrvJobEngine2\"");
    SetPrivate(L"Orvane Server Name", L"ServiceName", "\"OrvJobEngine\"");
    EXPECT_EQ(0u, cluster_->IsClusteredOrv(wcstring()));
    EXPECT_EQ(0u, cluster_->IsNode(L"NODE2"));  // not clustered: no node, active or not
    EXPECT_EQ(0u, cluster_->IsActiveClusterNode(nullptr));
    EXPECT_EQ(0u, closed_.IsClusteredOrv(wcstring()));
    EXPECT_EQ(0u, closed_.IsValidNetworkConfig(L"10.20.30.99", L"255.255.255.0", L"Public"));
}

TEST_F(Identity, NodesMayOwnTheMarkerResource) {
    std::list<wcstring>* nodes = nullptr;
    EXPECT_EQ(0u, cluster_->GetClusterNodes(&nodes));
    ASSERT_NE(nullptr, nodes);
    EXPECT_EQ((std::list<wcstring>{Here(), L"NODE2"}), *nodes);
    delete nodes;
    const struct { const wchar_t* failing; DWORD nth; size_t listed; } failures[] = {
        {L"OpenClusterResource", 1, 0}, {L"ClusterResourceOpenEnum", 1, 0}, {L"ClusterResourceEnum", 2, 1}};
    for (const auto& f : failures) {
        ASSERT_TRUE(SimCluster_InjectFailure(f.failing, f.nth, 1, ERROR_NOT_READY));
        nodes = nullptr;
        EXPECT_EQ(static_cast<unsigned>(ERROR_NOT_READY), cluster_->GetClusterNodes(&nodes)) << Utf8(f.failing);
        ASSERT_NE(nullptr, nodes);  // a list even on failure
        EXPECT_EQ(f.listed, nodes->size());
        delete nodes;
        ExpectOnlyTheConnection();
    }
    SetLastError(ERROR_NOT_CONNECTED);
    nodes = nullptr;
    EXPECT_EQ(static_cast<unsigned>(ERROR_NOT_CONNECTED), closed_.GetClusterNodes(&nodes));
    EXPECT_NE(nullptr, nodes);
    delete nodes;

    for (const std::wstring& node : {OrvGetComputerName(), std::wstring(L"node2")})
        EXPECT_EQ(1u, cluster_->IsNode(node.c_str())) << Utf8(node);
    for (const wchar_t* other : {L"NODE3", L"", static_cast<const wchar_t*>(nullptr)})
        EXPECT_EQ(0u, cluster_->IsNode(other));
    ExpectOnlyTheConnection();
}

// The active node runs the RPC service and owns the product's address.
TEST_F(Identity, ActiveNode) {
    std::wstring node;
    EXPECT_TRUE(cluster_->GetOrvActiveNodeName(node));
    EXPECT_EQ(Here(), node);
    EXPECT_EQ(1u, cluster_->IsActiveClusterNode(nullptr));
    EXPECT_EQ(1u, cluster_->IsActiveClusterNode(OrvGetComputerName().c_str()));
    EXPECT_EQ(0u, cluster_->IsActiveClusterNode(L"NODE2"));
    EXPECT_EQ(0u, cluster_->IsActiveClusterNode(L""));
    ASSERT_TRUE(SimCluster_MoveGroup(L"Orvane", L"NODE2"));
    EXPECT_TRUE(cluster_->GetOrvActiveNodeName(node));
    EXPECT_EQ(L"NODE2", node);
    EXPECT_EQ(0u, cluster_->IsActiveClusterNode(nullptr));
    EXPECT_EQ(1u, cluster_->IsActiveClusterNode(L"node2"));
    SetPrivate(L"Orvane RPC Service", L"ServiceName", "\"OrvaneRPC\"");
    EXPECT_FALSE(cluster_->GetOrvActiveNodeName(node));
    ExpectOnlyTheConnection();
    // The address's state unknown: its resource handle is kept open.
    ASSERT_TRUE(SimCluster_InjectFailure(L"GetClusterResourceState", 1, 0, ERROR_NOT_READY));
    EXPECT_EQ(0u, cluster_->IsActiveClusterNode(L"NODE2"));
    EXPECT_EQ(kept_ + 1, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_RESOURCE));
    EXPECT_EQ(kept_ + 2, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));
    kept_ = SimCluster_OpenHandles(SIMCLUSTER_HANDLE_RESOURCE);
}

TEST_F(Identity, NetworksOpenToClients) {
    std::list<wcstring> names;
    EXPECT_EQ(1u, cluster_->GetNetworkNames(names, nullptr));
    EXPECT_EQ((std::list<wcstring>{L"Public", L"Backup LAN"}), names);
    names.clear();
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterOpenEnum", 1, 1, ERROR_NOT_READY));
    EXPECT_EQ(0u, cluster_->GetNetworkNames(names, L"NODE2"));
    EXPECT_TRUE(names.empty());
    ExpectOnlyTheConnection();
}

// The trial tells whether the address comes up, online at once or after a
// wait. Its group and resource go whatever fails; what cannot be deleted the
// next trial takes over and removes.
TEST_F(Identity, AddressTrial) {
    const struct { const wchar_t *address, *failing; unsigned valid; bool leftOver; } trials[] = {
        {L"10.20.30.99", nullptr, 1, false},
        {L"10.20.30.40", nullptr, 0, false},  // the product's own address, online
        {nullptr, nullptr, 0, false},
        {L"10.20.30.99", L"CreateClusterGroup", 0, false},     {L"10.20.30.99", L"CreateClusterResource", 0, false},
        {L"10.20.30.99", L"ClusterResourceControl", 0, false}, {L"10.20.30.99", L"OnlineClusterResource", 0, false},
        {L"10.20.30.99", L"DeleteClusterGroup", 1, true},      {L"10.20.30.99", L"DeleteClusterResource", 1, true},
    };
    for (DWORD pendingMs : {500u, 0u}) {
        ASSERT_TRUE(SimCluster_SetPendingTime(pendingMs));
        for (const auto& t : trials) {
            SCOPED_TRACE(Utf8(std::wstring(t.address ? t.address : L"(null)") + L" " + (t.failing ? t.failing : L"")));
            if (t.failing) {
                ASSERT_TRUE(SimCluster_InjectFailure(t.failing, 1, 1, ERROR_ACCESS_DENIED));
            }
            EXPECT_EQ(t.valid, Trial(t.address));
            EXPECT_EQ(t.leftOver, TrialGroupExists());
            ExpectOnlyTheConnection();
            if (!t.leftOver) continue;
            // A resource left over online: its new properties wait for its next start.
            if (SimCluster_GetResourceState(L"TestNullRes13") != -1) {
                ASSERT_TRUE(SimCluster_SetResourceState(L"TestNullRes13", ClusterResourceOnline));
            }
            EXPECT_EQ(1u, Trial(L"10.20.30.99"));
            EXPECT_FALSE(TrialGroupExists());
            EXPECT_EQ(-1, SimCluster_GetResourceState(L"TestNullRes13"));
        }
    }
}

}  // namespace

// What the product asks of a failover cluster: who it is (its virtual name,
// nodes, active node, networks), and the SQL Server, Exchange and product
// services it finds there. The first node is this computer spelt in lower
// case, so every node comparison must ignore case.

#include <algorithm>
#include <cwctype>
#include <functional>

#include <gtest/gtest.h>

#include "harness/example_definition.h"
#include "harness/utf8.h"
#include "orvcluster.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/mscs_cluster.h"

namespace {

using orvtest::Utf8;

const char kIdentityCluster[] = R"json({"cluster": {"name": "IDCLUS"},
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

const char kApplicationCluster[] = R"json({"cluster": {"name": "APPCLUS"},
  "nodes": [{"name": "@HERE@", "local": true}, {"name": "NODE2"}],
  "resourceTypes": [{"name": "SQL Server"}, {"name": "SQL Server Agent"}, {"name": "SQL Server 7.0"},
    {"name": "Microsoft Exchange Information Store"}],
  "groups": [{"name": "Orvane", "owner": "@HERE@"}, {"name": "SQL", "owner": "NODE2"}, {"name": "SQL7"},
    {"name": "Exchange", "owner": "NODE2"}],
  "resources": [
    {"name": "ORVANESRV", "type": "Network Name", "group": "Orvane", "state": "online",
     "private": {"Name": "ORVANESRV"}},
    {"name": "Orvane Job Engine", "type": "Generic Service", "group": "Orvane", "dependencies": ["ORVANESRV"],
     "private": {"ServiceName": "OrvJobEngine"}},
    {"name": "Orvane RPC Service", "type": "Generic Service", "group": "Orvane", "state": "online",
     "dependencies": ["ORVANESRV"], "private": {"ServiceName": "OrvaneRPCService"}},
    {"name": "SQLVS01", "type": "Network Name", "group": "SQL", "state": "online", "private": {"Name": "SQLVS01"}},
    {"name": "SQL Server (MSSQLSERVER)", "type": "SQL Server", "group": "SQL", "dependencies": ["SQLVS01"]},
    {"name": "SQL Server Agent (MSSQLSERVER)", "type": "SQL Server Agent", "group": "SQL", "state": "online"},
    {"name": "SQLVS00", "type": "Network Name", "group": "SQL7", "state": "online", "private": {"Name": "SQLVS00"}},
    {"name": "SQL Server 7.0 (SQLVS00)", "type": "SQL Server 7.0", "group": "SQL7", "dependencies": ["SQLVS00"]},
    {"name": "EXVS01", "type": "Network Name", "group": "Exchange", "state": "online", "private": {"Name": "EXVS01"}},
    {"name": "Exchange Information Store", "type": "Microsoft Exchange Information Store", "group": "Exchange",
     "dependencies": ["EXVS01"]}]})json";

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

// The product definition names the marker service: the job engine's.
class Operations : public orvtest::DefinitionLoadedTest {
protected:
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

    static DWORD kept_;
    boost::shared_ptr<MSCSCluster> cluster_;
    MSCSCluster closed_{nullptr};
};

DWORD Operations::kept_ = 0;

template <const char* Scenario>
class On : public Operations {
protected:
    void SetUp() override {
        Operations::SetUp();
        ASSERT_NO_FATAL_FAILURE(Load(Scenario));
    }
};

class Identity : public On<kIdentityCluster> {
protected:
    unsigned Trial(const wchar_t* address) {
        return address ? cluster_->IsValidNetworkConfig(address, L"255.255.255.0", L"Public")
                       : cluster_->IsValidNetworkConfig(nullptr, nullptr, nullptr);
    }
    static bool TrialGroupExists() {
        return SimCluster_SetGroupState(L"NULLTESTGRP13", SIMCLUSTER_GROUP_STATE_DERIVED);
    }
};

class Applications : public On<kApplicationCluster> {
protected:
    void Remove(const wchar_t* resource) {
        ASSERT_TRUE(SimCluster_SetResourceState(resource, ClusterResourceOffline));
        orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
        orv::UniqueClusterResource handle(glue->OpenClusterResource(cluster_->GetClusterHandle(), resource));
        ASSERT_EQ(0u, glue->DeleteClusterResource(handle.Get()));
    }
    // Asks a detector about `server`; `isNode` starts out as the opposite of what is expected.
    void Detect(Cluster::appState (MSCSCluster::*detect)(const wchar_t*, bool*), const wchar_t* server,
                Cluster::appState expected, bool isNode) {
        bool node = !isNode;
        EXPECT_EQ(expected, ((*cluster_).*detect)(server, &node)) << Utf8(server ? server : L"(null)");
        EXPECT_EQ(isNode, node) << Utf8(server ? server : L"(null)");
        ExpectOnlyTheConnection();
    }
    static std::wstring NameOf(const ClusterResource* resource) {
        return resource ? *resource->GetResourceName() : L"(none)";
    }

};

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
    ASSERT_NO_FATAL_FAILURE(Load(Replace(kIdentityCluster, "\"@HERE@\", \"NODE2\"", "\"NODE2\"")));
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

TEST_F(Applications, SqlServerByTheVirtualServerOfItsOldestType) {
    const auto sql = &MSCSCluster::IsServerRunningSQL;
    Detect(sql, L"sqlvs00", Cluster::AppClustered, false);
    Detect(sql, L"SQLVS01", Cluster::AppOtherServer, false);  // not of type "SQL Server 7.0"
    Detect(sql, L"\\\\node2", Cluster::AppOtherServer, true);
    Detect(sql, OrvGetComputerName().c_str(), Cluster::AppOtherServer, true);
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterOpenEnum", 1, 0, ERROR_NOT_READY));
    Detect(sql, L"NODE2", Cluster::AppNotClustered, false);  // the nodes unknown too
    SimCluster_ClearFailures();
    ASSERT_NO_FATAL_FAILURE(Remove(L"SQL Server 7.0 (SQLVS00)"));
    Detect(sql, L"SQLVS00", Cluster::AppNotClustered, false);
    Detect(sql, L"NODE2", Cluster::AppNotClustered, true);
}

TEST_F(Applications, ExchangeBySystemAttendantElseInformationStore) {
    const auto exchange = &MSCSCluster::IsServerRunningExchange;
    Detect(exchange, L"\\\\exvs01", Cluster::AppClustered, false);
    Detect(exchange, nullptr, Cluster::AppOtherServer, true);  // this computer
    Detect(exchange, L"\\\\NODE2", Cluster::AppOtherServer, true);
    Detect(exchange, L"ELSEWHERE", Cluster::AppOtherServer, false);
    // A system attendant's resource decides alone.
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane RPC Service", FALSE, L"ServiceName", "\"msexchangesa\""));
    Detect(exchange, L"EXVS01", Cluster::AppOtherServer, false);
    Detect(exchange, L"\\\\orvanesrv", Cluster::AppClustered, false);
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterOpenEnum", 1, 0, ERROR_NOT_READY));
    Detect(exchange, L"NODE2", Cluster::AppNotClustered, false);
    SimCluster_ClearFailures();
    // Unlike SQL Server, an empty list of information stores means another server.
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane RPC Service", FALSE, L"ServiceName", "\"OrvaneRPCService\""));
    ASSERT_NO_FATAL_FAILURE(Remove(L"Exchange Information Store"));
    Detect(exchange, L"EXVS01", Cluster::AppOtherServer, false);
}

TEST_F(Applications, ResourcesBySqlResourceNameOrServiceName) {
    const struct { const wchar_t* name; std::wstring sql, service; } cases[] = {
        {L"SQL Server (MSSQLSERVER)", L"SQL Server (MSSQLSERVER)", L"(none)"},
        {L"sql server agent (mssqlserver)", L"SQL Server Agent (MSSQLSERVER)", L"(none)"},
        {L"SQL Server 7.0 (SQLVS00)", L"SQL Server 7.0 (SQLVS00)", L"(none)"},
        {L"orvanerpcservice", L"(none)", L"Orvane RPC Service"},
        {L"Orvane Job Engine", L"(none)", L"(none)"},  // neither SQL Server nor a service name
        {L"", L"(none)", L"(none)"},
        {nullptr, L"(none)", L"(none)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Utf8(c.name ? c.name : L"(null)"));
        EXPECT_EQ(c.sql, NameOf(std::unique_ptr<ClusterResource>(cluster_->OpenSqlResource(c.name)).get()));
        SetLastError(0xDEADBEEF);
        std::unique_ptr<ClusterServiceResource> service(cluster_->OpenGenericServiceResource(c.name));
        EXPECT_EQ(c.service, NameOf(service.get()));
        if (!service) {
            EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
        }
    }
    ExpectOnlyTheConnection();

    // The resource vanishes between the listing and its opening (the last
    // resource a successful search opens is the one found).
    SimCluster_ResetCounters();
    delete cluster_->OpenSqlResource(L"SQL Server (MSSQLSERVER)");
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenClusterResource", SimCluster_CallCount(L"OpenClusterResource"), 1,
                                         ERROR_RESOURCE_NOT_FOUND));
    EXPECT_EQ(nullptr, cluster_->OpenSqlResource(L"SQL Server (MSSQLSERVER)"));
    ExpectOnlyTheConnection();
}

TEST_F(Applications, UnreadableServiceNameEndsTheSearch) {
    // The service resources listed before it are found, those after it not.
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane Job Engine", FALSE, L"ServiceName", nullptr));
    EXPECT_EQ(nullptr, cluster_->OpenGenericServiceResource(L"OrvaneRPCService"));
    EXPECT_EQ(0, cluster_->OfflineService(L"OrvaneRPCService", 1000));
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane Job Engine", FALSE, L"ServiceName", "\"OrvJobEngine\""));
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane RPC Service", FALSE, L"ServiceName", nullptr));
    EXPECT_EQ(L"Orvane Job Engine",
              NameOf(std::unique_ptr<ClusterResource>(cluster_->OpenGenericServiceResource(L"OrvJobEngine")).get()));
    // The reason the read failed is the last error, not "not found".
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterResourceControl", 1, 0, ERROR_NOT_READY));
    EXPECT_EQ(nullptr, cluster_->OpenGenericServiceResource(L"OrvJobEngine"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_READY), GetLastError());
    ExpectOnlyTheConnection();
}

TEST_F(Applications, OnlineAndOfflineByNameOrService) {
    using Run = std::function<unsigned long(MSCSCluster&, const wchar_t*)>;
    const auto call = [](auto operation) {
        return Run([operation](MSCSCluster& c, const wchar_t* name) -> unsigned long {
            return (c.*operation)(name, 60000);
        });
    };
    const wchar_t *sql = L"SQL Server (MSSQLSERVER)", *agent = L"SQL Server Agent (MSSQLSERVER)";
    const wchar_t *rpc = L"Orvane RPC Service", *online = L"OnlineClusterResource", *offline = L"OfflineClusterResource";
    const struct {
        Run run;
        const wchar_t *name, *resource, *refusing;
        unsigned long done, missing, refused;
        int state;
    } cases[] = {
        {call(&MSCSCluster::OnlineSqlServer), L"sql server (mssqlserver)", sql, online, 0, 1, 2, ClusterResourceOnline},
        {call(&MSCSCluster::OfflineSqlServer), agent, agent, offline, 0, 1, 2, ClusterResourceOffline},
        {call(&MSCSCluster::OfflineExchangeServer), L"OrvaneRPCService", rpc, offline, 0, 1, 2,
         ClusterResourceOffline},
        {call(&MSCSCluster::OnlineService), L"orvjobengine", L"Orvane Job Engine", online, 1, 0, 0,
         ClusterResourceOnline},
        {call(&MSCSCluster::OfflineService), L"OrvaneRPCService", rpc, offline, 1, 0, 0, ClusterResourceOffline},
        // Removing a service takes its resource offline and leaves it in the cluster.
        {call(&MSCSCluster::RemoveService), L"OrvaneRPCService", rpc, offline, 1, 0, 0, ClusterResourceOffline},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        ASSERT_NO_FATAL_FAILURE(Load(kApplicationCluster));
        const int before = SimCluster_GetResourceState(c.resource);
        EXPECT_EQ(c.missing, c.run(*cluster_, L"No Such Thing"));
        EXPECT_EQ(c.missing, c.run(*cluster_, nullptr));
        ASSERT_TRUE(SimCluster_InjectFailure(c.refusing, 1, 1, ERROR_RESOURCE_NOT_AVAILABLE));
        EXPECT_EQ(c.refused, c.run(*cluster_, c.name));
        EXPECT_EQ(before, SimCluster_GetResourceState(c.resource));
        EXPECT_EQ(c.done, c.run(*cluster_, c.name));
        EXPECT_EQ(c.state, SimCluster_GetResourceState(c.resource));
        ExpectOnlyTheConnection();
    }
}

// The resource's own pending timeout, when it has one, wins over the caller's.
TEST_F(Applications, ResourcesOwnPendingTimeoutWinsOverTheCallers) {
    const wchar_t agent[] = L"SQL Server Agent (MSSQLSERVER)";
    for (const char* own : {"5000", static_cast<const char*>(nullptr)}) {
        ASSERT_NO_FATAL_FAILURE(Load(kApplicationCluster));
        ASSERT_TRUE(SimCluster_SetResourceProperty(agent, TRUE, L"PendingTimeout", own));
        ASSERT_TRUE(SimCluster_ScriptTransition(agent, ClusterResourceOffline, 8000, ClusterResourceOffline));
        EXPECT_EQ(own ? 2u : 0u, cluster_->OfflineSqlServer(agent, 600000)) << (own ? own : "none of its own");
        ExpectOnlyTheConnection();
    }
}

TEST_F(Applications, RegistryCheckpointOfAServiceResource) {
    const std::wstring key = L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine";
    EXPECT_EQ(0u, cluster_->RecheckpointRegistry(L"orvjobengine", key));
    EXPECT_EQ(0u, cluster_->RecheckpointRegistry(L"OrvJobEngine", key));  // replaced, not added twice
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, cluster_->RecheckpointRegistry(L"OrvJobEngine", L""));
    EXPECT_EQ(0xFFFFFFFFu, cluster_->RecheckpointRegistry(L"NoSuchService", key));
    ExpectOnlyTheConnection();
}

}  // namespace

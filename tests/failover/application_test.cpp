// SQL Server, Exchange and the product's services on a failover cluster. The
// cluster's first node is this computer spelt in lower case.

#include <algorithm>
#include <cwctype>
#include <functional>

#include <gtest/gtest.h>

#include "harness/simulated_cluster.h"
#include "harness/utf8.h"
#include "orvcluster.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/mscs_cluster.h"

namespace {

using orvtest::Utf8;

const char kCluster[] = R"json({"cluster": {"name": "APPCLUS"},
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

class Applications : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(Load());
    }
    void TearDown() override {
        SimCluster_ClearFailures();
        cluster_.reset();
        SimulatedClusterTest::TearDown();
    }
    void Load() {
        std::wstring here = orvtest::ThisComputer();
        std::transform(here.begin(), here.end(), here.begin(), towlower);
        std::string text = kCluster;
        for (size_t at; (at = text.find("@HERE@")) != std::string::npos;) text.replace(at, 6, Utf8(here));
        cluster_.reset();
        ASSERT_TRUE(SimCluster_LoadScenarioText(text.c_str())) << Utf8(SimCluster_LastError());
        cluster_ = MSCSCluster::GetInstance(nullptr);
        ASSERT_TRUE(cluster_->ClusterOpen());
    }
    // After an operation: nothing open but the backend's own connection.
    static void ExpectOnlyTheConnection() { EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)); }
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

    boost::shared_ptr<MSCSCluster> cluster_;
};

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
        ASSERT_NO_FATAL_FAILURE(Load());
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
        ASSERT_NO_FATAL_FAILURE(Load());
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

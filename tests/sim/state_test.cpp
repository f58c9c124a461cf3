// Resource, group and node states, and transitions in virtual time.

#include <functional>

#include "sim_test.h"

namespace simtest {
namespace {

class States : public SimulatorTest {
protected:
    // Sleeps until `ms` after `start`, which must not have passed yet.
    void SleepUntil(ULONGLONG start, DWORD ms) {
        const ULONGLONG now = SimClock_GetTickCount64();
        ASSERT_LE(now, start + ms);
        SimClock_Sleep(static_cast<DWORD>(start + ms - now));
    }
    // Online then offline again: pending for `delay` each way, or done within the call.
    void ExpectRoundTrip(const wchar_t* name, DWORD delay) {
        for (CLUSTER_RESOURCE_STATE target : {ClusterResourceOnline, ClusterResourceOffline}) {
            SCOPED_TRACE(target);
            DWORD answer = target == ClusterResourceOnline ? Online(name) : Offline(name);
            if (delay == 0) {
                EXPECT_EQ(DWORD(ERROR_SUCCESS), answer);
            } else {
                EXPECT_EQ(DWORD(ERROR_IO_PENDING), answer);
                SimClock_Sleep(delay - 1);
                EXPECT_NE(target, StateOf(name));  // the query takes the last millisecond
            }
            EXPECT_EQ(target, StateOf(name));
        }
    }
};

TEST_F(States, ResourcesPassThroughTheirPendingStateForTheTimeTheScenarioGives) {
    const wchar_t discovery[] = L"Orvane Discovery Service";
    SetOffline({discovery});
    ExpectRoundTrip(discovery, 500);  // the default
    ASSERT_TRUE(SimCluster_SetPendingTime(2000));
    ExpectRoundTrip(discovery, 2000);
    ASSERT_TRUE(SimCluster_ScriptTransition(discovery, ClusterResourceOnline, 3000, ClusterResourceOnline));
    ASSERT_TRUE(SimCluster_ScriptTransition(discovery, ClusterResourceOffline, 3000, ClusterResourceOffline));
    ExpectRoundTrip(discovery, 3000);
    ASSERT_TRUE(SimCluster_SetPendingTime(0));
    ExpectRoundTrip(discovery, 0);

    LoadText(R"({"cluster": {"name": "C", "pendingMs": 0}, "nodes": [{"name": "N", "local": true}],
        "groups": [{"name": "G"}], "resources": [{"name": "Quick", "type": "Generic Service", "group": "G"},
        {"name": "Slow", "type": "Generic Service", "group": "G", "transitions": {"online": {"delayMs": 700}}}]})");
    ExpectRoundTrip(L"Quick", 0);
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Online(L"Slow"));
}

TEST_F(States, APendingResourceRefusesOnlineAndOfflineUntilItsTransitionEnds) {
    SetOffline({L"Orvane Discovery Service"});
    ASSERT_EQ(DWORD(ERROR_IO_PENDING), Online(L"Orvane Discovery Service"));
    EXPECT_EQ(ClusterResourceOnlinePending, StateOf(L"Orvane Discovery Service"));
    EXPECT_EQ(ClusterGroupPending, GroupStateOf(L"Orvane Group"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Online(L"Orvane Discovery Service"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Offline(L"Orvane Discovery Service"));
    SimClock_Sleep(500);
    EXPECT_EQ(ClusterGroupOnline, GroupStateOf(L"Orvane Group"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Online(L"Orvane Discovery Service"));

    ASSERT_EQ(DWORD(ERROR_IO_PENDING), Offline(L"Orvane Discovery Service"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Offline(L"Orvane Discovery Service"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Online(L"Orvane Discovery Service"));
    // A pending state set by hand lasts.
    SimCluster_SetResourceState(L"Orvane IP Address", ClusterResourceOnlinePending);
    SimClock_Sleep(600000);
    EXPECT_EQ(ClusterResourceOnlinePending, StateOf(L"Orvane IP Address"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Offline(L"Orvane IP Address"));
}

TEST_F(States, AScriptedFailureEndsFailedAndOfflineOfAFailedResourceFollowsTheVersion) {
    SetOffline({L"Orvane Discovery Service"});
    SimCluster_ScriptTransition(L"Orvane Discovery Service", ClusterResourceOnline, 500, ClusterResourceFailed);
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Online(L"Orvane Discovery Service"));
    SimClock_Sleep(500);
    EXPECT_EQ(ClusterResourceFailed, StateOf(L"Orvane Discovery Service"));
    SimCluster_ScriptTransition(L"Orvane Discovery Service", ClusterResourceOnline, 0, ClusterResourceFailed);
    EXPECT_EQ(DWORD(ERROR_RESOURCE_FAILED), Online(L"Orvane Discovery Service"));

    // Before 6.1 a failed resource stays failed; from 6.1 on it goes offline.
    struct Case {
        int major, minor;
        DWORD answer;
        CLUSTER_RESOURCE_STATE after;
    } cases[] = {{5, 2, ERROR_RESOURCE_FAILED, ClusterResourceFailed},
                 {6, 0, ERROR_RESOURCE_FAILED, ClusterResourceFailed},
                 {6, 1, ERROR_SUCCESS, ClusterResourceOffline},
                 {6, 3, ERROR_SUCCESS, ClusterResourceOffline}};
    for (const Case& version : cases) {
        std::string json = R"({"cluster": {"name": "C", "version": {"major": )" + std::to_string(version.major) +
                           R"(, "minor": )" + std::to_string(version.minor) +
                           R"(}}, "nodes": [{"name": "N", "local": true}], "groups": [{"name": "G"}],
            "resources": [{"name": "R", "type": "Generic Service", "group": "G", "state": "failed"}]})";
        LoadText(json.c_str());
        EXPECT_EQ(version.answer, Offline(L"R")) << version.major << "." << version.minor;
        EXPECT_EQ(version.after, StateOf(L"R")) << version.major << "." << version.minor;
    }
}

TEST_F(States, OnlineWaitsForTheResourcesDependedOnAndOfflineForTheirDependents) {
    SetOffline({L"Orvane Job Engine", L"Orvane Tape Engine", L"Orvane Discovery Service", L"Orvane Server Name",
                L"Orvane IP Address"});
    SimCluster_ScriptTransition(L"Orvane IP Address", ClusterResourceOnline, 1000, ClusterResourceOnline);
    SimCluster_ScriptTransition(L"Orvane Server Name", ClusterResourceOnline, 2000, ClusterResourceOnline);
    const ULONGLONG start = SimClock_GetTickCount64();
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Online(L"Orvane Job Engine"));
    EXPECT_EQ(ClusterResourceOnlinePending, StateOf(L"Orvane IP Address"));
    SleepUntil(start, 1000);
    EXPECT_EQ(ClusterResourceOnline, StateOf(L"Orvane IP Address"));
    EXPECT_EQ(ClusterResourceOnlinePending, StateOf(L"Orvane Server Name"));
    SleepUntil(start, 1000 + 2000 + 499);  // then the job engine's own 500 ms
    EXPECT_EQ(ClusterResourceOnlinePending, StateOf(L"Orvane Job Engine"));
    EXPECT_EQ(ClusterResourceOnline, StateOf(L"Orvane Job Engine"));  // 1 ms later, after the query
    EXPECT_EQ(ClusterResourceOffline, StateOf(L"Orvane Tape Engine"));  // not asked for

    SimCluster_ScriptTransition(L"Orvane Job Engine", ClusterResourceOffline, 1000, ClusterResourceOffline);
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Offline(L"Orvane Server Name"));
    EXPECT_EQ(ClusterResourceOfflinePending, StateOf(L"Orvane Job Engine"));
    EXPECT_EQ(ClusterResourceOfflinePending, StateOf(L"Orvane Server Name"));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Online(L"Orvane Job Engine"));
    SimClock_Sleep(1000);
    EXPECT_EQ(ClusterResourceOffline, StateOf(L"Orvane Job Engine"));
    EXPECT_EQ(ClusterResourceOfflinePending, StateOf(L"Orvane Server Name"));
    SimClock_Sleep(500);
    EXPECT_EQ(ClusterResourceOffline, StateOf(L"Orvane Server Name"));
    EXPECT_EQ(ClusterResourceOnline, StateOf(L"Orvane IP Address"));
}

TEST_F(States, EachStateQueryTakesAMillisecondSoThatAPollWithoutPauseSeesTheResourceArrive) {
    SetOffline({L"Orvane Discovery Service"});
    Owned<HRESOURCE> resource = Resource(L"Orvane Discovery Service");
    const ULONGLONG start = SimClock_GetTickCount64();
    ASSERT_EQ(DWORD(ERROR_IO_PENDING), Sim().OnlineClusterResource(resource.get()));
    CLUSTER_RESOURCE_STATE state = ClusterResourceStateUnknown;
    DWORD queries = 0;
    do {
        state = Sim().GetClusterResourceState(resource.get(), nullptr, nullptr, nullptr, nullptr);
    } while (++queries < 1000 && state == ClusterResourceOnlinePending);
    EXPECT_EQ(ClusterResourceOnline, state);
    EXPECT_EQ(501u, queries);  // asked at 0, 1, ... 500 ms
    EXPECT_EQ(start + 501, SimClock_GetTickCount64());

    // Every answer takes the time but one that an injected failure gives.
    wchar_t node[2];
    DWORD length = 2;
    const auto query = Sim().GetClusterResourceState;
    struct Query {
        const char* what;
        std::function<CLUSTER_RESOURCE_STATE()> call;
        DWORD error;
        ULONGLONG cost;
    } cases[] = {
        {SIMTEST_CALL(query(resource.get(), node, &length, nullptr, nullptr)), ERROR_MORE_DATA, 1},
        {SIMTEST_CALL(query(resource.get(), node, nullptr, nullptr, nullptr)), ERROR_INVALID_PARAMETER, 1},
        {SIMTEST_CALL(query(nullptr, nullptr, nullptr, nullptr, nullptr)), ERROR_INVALID_HANDLE, 1},
        {SIMTEST_CALL((SimCluster_InjectFailure(L"GetClusterResourceState", 1, 1, ERROR_GEN_FAILURE),
                       query(resource.get(), nullptr, nullptr, nullptr, nullptr))),
         ERROR_GEN_FAILURE, 0},
    };
    for (const Query& query : cases) {
        const ULONGLONG before = SimClock_GetTickCount64();
        SetLastError(0xDEADBEEF);
        EXPECT_EQ(ClusterResourceStateUnknown, query.call()) << query.what;
        EXPECT_EQ(query.error, GetLastError()) << query.what;
        EXPECT_EQ(before + query.cost, SimClock_GetTickCount64()) << query.what;
    }
}

TEST_F(States, OnlineClusterGroupMovesTheGroupAndBringsItsResourcesOnline) {
    SetOffline({L"SQL IP Address", L"SQL Network Name (SQLVS01)", L"Cluster Disk 4", L"SQL Server (MSSQLSERVER)",
                L"SQL Server Agent (MSSQLSERVER)"});
    Owned<HGROUP> sql = Group(L"SQL Server (MSSQLSERVER)");
    Owned<HNODE> local = Node(ThisComputer().c_str());
    EXPECT_EQ(ClusterGroupOffline, Sim().GetClusterGroupState(sql.get(), nullptr, nullptr));
    SimCluster_ScriptTransition(L"Cluster Disk 4", ClusterResourceOnline, 5000, ClusterResourceOnline);
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Sim().OnlineClusterGroup(sql.get(), local.get()));
    EXPECT_EQ(ClusterGroupPending, Sim().GetClusterGroupState(sql.get(), nullptr, nullptr));
    SimClock_Sleep(5000 + 500 + 500);  // the disk, then the server, then its agent
    wchar_t owner[16];
    DWORD length = 16;
    EXPECT_EQ(ClusterGroupOnline, Sim().GetClusterGroupState(sql.get(), owner, &length));
    EXPECT_EQ(ThisComputer(), owner);

    SimCluster_SetNodeState(L"NODE2", ClusterNodeDown);
    Owned<HNODE> node2 = Node(L"NODE2");
    EXPECT_EQ(DWORD(ERROR_HOST_NODE_NOT_AVAILABLE), Sim().OnlineClusterGroup(sql.get(), node2.get()));
}

TEST_F(States, NodeClusterStateFollowsTheNodes) {
    auto state = [](const wchar_t* node) {
        DWORD value = 99;
        EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().GetNodeClusterState(node, &value));
        return value;
    };
    EXPECT_EQ(DWORD(ClusterStateRunning), state(nullptr));
    SimCluster_SetNodeState(L"NODE2", ClusterNodePaused);
    EXPECT_EQ(DWORD(ClusterStateRunning), state(L"node2"));
    SimCluster_SetNodeState(ThisComputer().c_str(), ClusterNodeDown);
    EXPECT_EQ(DWORD(ClusterStateNotRunning), state(nullptr));
    EXPECT_EQ(nullptr, Sim().OpenCluster(nullptr));
    Owned<HCLUSTER> byName(Sim().OpenCluster(L"ORVCLUS01"));  // reaches the other node
    EXPECT_TRUE(byName);
    EXPECT_EQ(DWORD(ClusterStateNotInstalled), state(L"PC-OUTSIDE"));

    ASSERT_TRUE(SimCluster_LoadScenarioText(R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}]})"));
    EXPECT_EQ(DWORD(ClusterStateNotConfigured), state(nullptr));
    ASSERT_TRUE(SimCluster_LoadScenarioText(
        R"({"cluster": {"name": "C", "installed": false}, "nodes": [{"name": "N", "local": true}]})"));
    EXPECT_EQ(DWORD(ClusterStateNotInstalled), state(nullptr));
    EXPECT_EQ(nullptr, Sim().OpenCluster(nullptr));
}

}  // namespace
}  // namespace simtest

// The simulator's control API and its handles: scenarios, failure
// injection, counters, handles that die with their cluster handle.

#include <functional>

#include "sim_test.h"

namespace simtest {
namespace {

using ControlApi = SimulatorTest;

TEST_F(ControlApi, EachBundledScenarioSavesToTextThatLoadsBackToTheSameCluster) {
    for (const std::wstring& scenario : {ExampleScenario(), ExampleScenario52()}) {
        ASSERT_TRUE(SimCluster_LoadScenarioFile(scenario.c_str())) << Utf8(SimCluster_LastError());
        std::string saved = SavedScenario();
        ASSERT_TRUE(SimCluster_LoadScenarioText(saved.c_str())) << Utf8(SimCluster_LastError());
        EXPECT_EQ(saved, SavedScenario()) << Utf8(scenario);
    }
}

TEST_F(ControlApi, BadScenarioIsRefusedWithASentenceNamingTheProblemAndTheClusterStays) {
    // A cluster "C" of one node "N", with the rest of the scenario.
    auto oneNode = [](const char* rest) {
        return R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], )" + std::string(rest);
    };
    struct Case {
        std::string json;
        const char* problem;
    } cases[] = {
        {"{\"cluster\": ", "scenario: not valid JSON"},
        {oneNode(R"("groups": [], "resources": [{"name": "X", "type": "Generic Service", "group": "Y"}]})"),
         "scenario: resource 'X' names unknown group 'Y'"},
        {oneNode(R"("groups": [{"name": "G"}], "resources": [{"name": "X", "type": "Toaster", "group": "G"}]})"),
         "scenario: resource 'X' names unknown resource type 'Toaster'"},
        {R"({"cluster": {"name": "C", "version": {"major": 5, "minor": 2}}, "nodes": [{"name": "N"}],
             "groups": [{"name": "G"}], "resources": [{"name": "X", "type": "IPv6 Address", "group": "G"}]})",
         "scenario: resource 'X' names unknown resource type 'IPv6 Address'"},
        {oneNode(R"("groups": [{"name": "G"}],
             "resources": [{"name": "A", "type": "IP Address", "group": "G", "dependencies": ["B"]},
                           {"name": "B", "type": "IP Address", "group": "G", "dependencies": ["A"]}]})"),
         "scenario: resource 'B' and 'A' depend on each other"},
        {oneNode(R"("groups": [{"name": "G"}, {"name": "H"}],
             "resources": [{"name": "A", "type": "IP Address", "group": "G"},
                           {"name": "B", "type": "IP Address", "group": "H", "dependencies": ["A"]}]})"),
         "scenario: resource 'B' depends on 'A' of another group"},
        {oneNode(R"("groups": [{"name": "G"}], "resources": [{"name": "D", "type": "Physical Disk", "group": "G",
             "disk": {"partitions": [{"device": "S:\\"}]}}]})"),
         "scenario: partition 'S:\\' of the disk of resource 'D' ends its 'device' with a backslash"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N", "stat": "up"}]})",
         "scenario: node 'N' has unknown field 'stat'"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N", "state": "sleeping"}]})",
         "scenario: the state of node 'N' is \"sleeping\", which is not one of its known values"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "A", "local": true}, {"name": "B", "local": true}]})",
         "scenario: nodes 'A' and 'B' are both marked local"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}, {"name": "n"}]})", "scenario: two nodes are named 'n'"},
        {R"({"cluster": {"name": "C"}, "nodes": []})", "scenario: the cluster has no nodes"},
        {R"({"cluster": {"name": "C", "quorum": {"resource": "Q"}}, "nodes": [{"name": "N"}]})",
         "scenario: the quorum names unknown resource 'Q'"},
        {oneNode(R"("groups": [{"name": "G", "owner": "M"}]})"), "scenario: group 'G' names unknown node 'M'"},
        {R"({"cluster": {"name": "C", "addressesInUse": ["10.20.30.256"]}, "nodes": [{"name": "N"}]})",
         "scenario: cluster 'C' has an 'addressesInUse' item '10.20.30.256' that is not an IPv4 address"},
    };
    for (const Case& bad : cases) {
        EXPECT_FALSE(SimCluster_LoadScenarioText(bad.json.c_str())) << bad.problem;
        EXPECT_EQ(0u, Utf8(SimCluster_LastError()).find(bad.problem)) << Utf8(SimCluster_LastError());
    }
    wchar_t name[64];
    DWORD length = 64;
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().GetClusterInformation(cluster_.get(), name, &length, nullptr));
    EXPECT_STREQ(L"ORVCLUS01", name);
    EXPECT_TRUE(SimCluster_LoadScenarioText(R"({"cluster": {"name": "SMALL"}, "nodes": [{"name": "N1"}]})"));
    EXPECT_STREQ(L"", SimCluster_LastError());
}

TEST_F(ControlApi, PercentComputerNameIsThisComputerWhereverAScenarioNamesANode) {
    LoadText(R"({"cluster": {"name": "C"}, "nodes": [{"name": "%COMPUTERNAME%", "local": true}, {"name": "B"}],
        "groups": [{"name": "G", "owner": "%computername%", "preferredOwners": ["B", "%COMPUTERNAME%"]}],
        "resources": [{"name": "R", "type": "Generic Service", "group": "G", "possibleOwners": ["%COMPUTERNAME%"]}]})");
    const std::wstring self = ThisComputer();
    ASSERT_FALSE(self.empty());
    EXPECT_EQ((std::vector<std::wstring>{self, L"B"}), ClusterNames(CLUSTER_ENUM_NODE));
    EXPECT_TRUE(Owned<HCLUSTER>(Sim().OpenCluster(self.c_str())));
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = ARRAYSIZE(name), type = 0;
    Owned<HGROUP> group = Group(L"G");
    EXPECT_EQ(ClusterGroupOffline, Sim().GetClusterGroupState(group.get(), name, &length));
    EXPECT_EQ(self, name);
    Owned<HGROUPENUM> preferred(Sim().ClusterGroupOpenEnum(group.get(), CLUSTER_GROUP_ENUM_NODES));
    length = ARRAYSIZE(name);
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().ClusterGroupEnum(preferred.get(), 1, &type, name, &length));
    EXPECT_EQ(self, name);
    Owned<HRESOURCE> resource = Resource(L"R");
    Owned<HRESENUM> possible(Sim().ClusterResourceOpenEnum(resource.get(), CLUSTER_RESOURCE_ENUM_NODES));
    length = ARRAYSIZE(name);
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().ClusterResourceEnum(possible.get(), 0, &type, name, &length));
    EXPECT_EQ(self, name);
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), Sim().ClusterResourceEnum(possible.get(), 1, &type, name, &length));
    // A saved scenario names the computer itself.
    EXPECT_EQ(std::string::npos, SavedScenario().find("%COMPUTERNAME%"));
    EXPECT_NE(std::string::npos, SavedScenario().find("\"name\": \"" + Utf8(self) + "\""));
}

TEST_F(ControlApi, WithoutScenarioThereIsNoCluster) {
    SimCluster_Unload();
    SetLastError(0);
    EXPECT_EQ(nullptr, Sim().OpenCluster(nullptr));
    EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), GetLastError());
    DWORD state = 99;
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().GetNodeClusterState(nullptr, &state));
    EXPECT_EQ(DWORD(ClusterStateNotInstalled), state);
    // A handle of the old cluster now reaches nothing.
    EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), Sim().GetClusterInformation(cluster_.get(), nullptr, &state, nullptr));
    EXPECT_FALSE(SimCluster_SetPendingTime(0));
}

TEST_F(ControlApi, InjectedFailureHitsTheNthCallsOnlyAndIsReportedTheWayTheFunctionReports) {
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenClusterResource", 2, 1, ERROR_NOT_ENOUGH_MEMORY));
    ASSERT_TRUE(SimCluster_InjectFailure(L"GetClusterResourceState", 1, 1, ERROR_GEN_FAILURE));
    ASSERT_TRUE(SimCluster_InjectFailure(L"CloseClusterResource", 1, 1, ERROR_ACCESS_DENIED));
    ASSERT_TRUE(SimCluster_InjectFailure(L"OnlineClusterResource", 1, 0, ERROR_BUSY));

    Owned<HRESOURCE> first = Resource(L"Orvane IP Address");
    EXPECT_EQ(nullptr, Sim().OpenClusterResource(cluster_.get(), L"Orvane IP Address"));
    EXPECT_EQ(DWORD(ERROR_NOT_ENOUGH_MEMORY), GetLastError());
    Owned<HRESOURCE> third = Resource(L"Orvane IP Address");
    EXPECT_TRUE(first && third);

    EXPECT_EQ(ClusterResourceStateUnknown,
              Sim().GetClusterResourceState(first.get(), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(DWORD(ERROR_GEN_FAILURE), GetLastError());
    EXPECT_EQ(ClusterResourceOnline, Sim().GetClusterResourceState(first.get(), nullptr, nullptr, nullptr, nullptr));

    EXPECT_FALSE(Sim().CloseClusterResource(third.get()));  // a failed close leaves the handle open
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ(2u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_RESOURCE));

    for (int call = 0; call < 3; ++call) EXPECT_EQ(DWORD(ERROR_BUSY), Sim().OnlineClusterResource(first.get()));
    SimCluster_ClearFailures();
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().OnlineClusterResource(first.get()));

    EXPECT_EQ(4u, SimCluster_CallCount(L"OnlineClusterResource"));  // failed calls included
    EXPECT_EQ(0u, SimCluster_CallCount(L"NoSuchFunction"));
    EXPECT_FALSE(SimCluster_InjectFailure(L"OpenClusterWidget", 1, 1, ERROR_BUSY));
    EXPECT_EQ("no entry point is named 'OpenClusterWidget'", Utf8(SimCluster_LastError()));
    SimCluster_ResetCounters();
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenClusterResource"));
}

// Every handle obtained from a cluster handle, directly or through another
// handle, is invalid once that cluster handle is closed, and counts as open
// until its close function is called.
TEST_F(ControlApi, HandlesDieWithTheirClusterHandleAndStayCountedUntilClosed) {
    HCLUSTER cluster = Sim().OpenCluster(nullptr);
    HRESOURCE resource = Sim().OpenClusterResource(cluster, L"Orvane Job Engine");
    HGROUP group = Sim().OpenClusterGroup(cluster, L"Orvane Group");
    HNODE node = Sim().OpenClusterNode(cluster, ThisComputer().c_str());
    HNETWORK network = Sim().OpenClusterNetwork(cluster, L"Public");
    HCLUSENUM nodes = Sim().ClusterOpenEnum(cluster, CLUSTER_ENUM_NODE);
    HRESENUM owners = Sim().ClusterResourceOpenEnum(resource, CLUSTER_RESOURCE_ENUM_NODES);
    HGROUPENUM members = Sim().ClusterGroupOpenEnum(group, CLUSTER_GROUP_ENUM_CONTAINS);
    Owned<HRESOURCE> elsewhere = Resource(L"Orvane Job Engine");  // from the fixture's own cluster handle
    ASSERT_TRUE(resource && group && node && network && nodes && owners && members && elsewhere);
    EXPECT_EQ(10u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));

    EXPECT_TRUE(Sim().CloseCluster(cluster));
    EXPECT_TRUE(Sim().CloseCluster(cluster));  // documented to answer TRUE always
    EXPECT_EQ(9u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));

    wchar_t name[64];
    DWORD length = 64, type = 0, returned = 0;
    auto lastError = [](bool failed) { return failed ? GetLastError() : DWORD(ERROR_SUCCESS); };
    const DWORD classInfo = CLUSCTL_RESOURCE_GET_CLASS_INFO, common = CLUSCTL_NETWORK_GET_COMMON_PROPERTIES;
    const DWORD bytes = sizeof name;
    struct Use {
        const char* what;
        std::function<DWORD()> call;
    } uses[] = {
        {SIMTEST_CALL(Sim().GetClusterInformation(cluster, name, &length, nullptr))},
        {SIMTEST_CALL(lastError(!Sim().OpenClusterResource(cluster, L"Orvane Job Engine")))},
        {SIMTEST_CALL(lastError(Sim().GetClusterResourceState(resource, nullptr, nullptr, nullptr, nullptr) < 0))},
        {SIMTEST_CALL(Sim().OnlineClusterResource(resource))},
        {SIMTEST_CALL(Sim().ClusterResourceControl(resource, nullptr, classInfo, nullptr, 0, name, bytes, &returned))},
        {SIMTEST_CALL(lastError(!Sim().GetClusterResourceNetworkName(resource, name, &length)))},
        {SIMTEST_CALL(lastError(!Sim().ClusterResourceOpenEnum(resource, CLUSTER_RESOURCE_ENUM_NODES)))},
        {SIMTEST_CALL(lastError(Sim().GetClusterGroupState(group, nullptr, nullptr) < 0))},
        {SIMTEST_CALL(Sim().OnlineClusterGroup(group, nullptr))},
        {SIMTEST_CALL(Sim().AddClusterResourceNode(elsewhere.get(), node))},
        {SIMTEST_CALL(Sim().ClusterNetworkControl(network, nullptr, common, nullptr, 0, name, bytes, &returned))},
        {SIMTEST_CALL(Sim().ClusterEnum(nodes, 0, &type, name, &length))},
        {SIMTEST_CALL(Sim().ClusterResourceEnum(owners, 0, &type, name, &length))},
        {SIMTEST_CALL(Sim().ClusterGroupEnum(members, 0, &type, name, &length))},
        // Closing a dead handle fails too, but forgets it: the second close of the node finds nothing.
        {SIMTEST_CALL(lastError(!Sim().CloseClusterResource(resource)))},
        {SIMTEST_CALL(lastError(!Sim().CloseClusterGroup(group)))},
        {SIMTEST_CALL(lastError(!Sim().CloseClusterNode(node)))},
        {SIMTEST_CALL(lastError(!Sim().CloseClusterNetwork(network)))},
        {SIMTEST_CALL(Sim().ClusterCloseEnum(nodes))},
        {SIMTEST_CALL(Sim().ClusterResourceCloseEnum(owners))},
        {SIMTEST_CALL(Sim().ClusterGroupCloseEnum(members))},
        {SIMTEST_CALL(lastError(!Sim().CloseClusterNode(node)))},
    };
    for (const Use& use : uses) {
        SetLastError(0);
        EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), use.call()) << use.what;
    }
    EXPECT_EQ(2u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));
    EXPECT_EQ(ClusterResourceOnline,
              Sim().GetClusterResourceState(elsewhere.get(), nullptr, nullptr, nullptr, nullptr));
    // A handle of another kind is never taken for the one asked for.
    EXPECT_FALSE(Sim().CloseClusterNode(reinterpret_cast<HNODE>(elsewhere.get())));
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_RESOURCE));
}

TEST_F(ControlApi, StateControlsChangeWhatTheEntryPointsAnswer) {
    ASSERT_TRUE(SimCluster_MoveGroup(L"Orvane Group", L"NODE2"));
    Owned<HRESOURCE> resource = Resource(L"Orvane Job Engine");
    wchar_t node[16];
    DWORD length = 16;
    Sim().GetClusterResourceState(resource.get(), node, &length, nullptr, nullptr);
    EXPECT_STREQ(L"NODE2", node);

    ASSERT_TRUE(SimCluster_SetResourceState(L"Orvane Job Engine", ClusterResourceFailed));
    EXPECT_EQ(ClusterGroupPartialOnline, GroupStateOf(L"Orvane Group"));
    ASSERT_TRUE(SimCluster_SetGroupState(L"Orvane Group", ClusterGroupFailed));
    EXPECT_EQ(ClusterGroupFailed, GroupStateOf(L"Orvane Group"));
    ASSERT_TRUE(SimCluster_SetGroupState(L"Orvane Group", SIMCLUSTER_GROUP_STATE_DERIVED));
    EXPECT_EQ(ClusterGroupPartialOnline, GroupStateOf(L"Orvane Group"));

    EXPECT_FALSE(SimCluster_SetResourceState(L"Nothing", ClusterResourceOnline));
    EXPECT_EQ("no resource is named 'Nothing'", Utf8(SimCluster_LastError()));
    EXPECT_FALSE(SimCluster_SetResourceState(L"Orvane Job Engine", 77));
    EXPECT_FALSE(SimCluster_SetResourceProperty(L"Orvane Job Engine", FALSE, L"X", "{\"binary\": \"ABC\"}"));
}

// Runs this program again, with ORVSIM_SCENARIO naming `scenario`, and
// answers its exit code: the child's simulator loads on its own.
DWORD RunWithScenario(const std::wstring& scenario) {
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(self) + L"\" --gtest_filter=AutomaticLoadingChild.*";
    SetEnvironmentVariableW(L"ORVSIM_SCENARIO", scenario.c_str());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    BOOL started =
        CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableW(L"ORVSIM_SCENARIO", nullptr);
    if (!started) return GetLastError();
    WaitForSingleObject(process.hProcess, 60000);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

TEST(AutomaticLoading, TheFirstCallLoadsTheScenarioTheEnvironmentNames) {
    EXPECT_EQ(0u, RunWithScenario(ExampleScenario()));
    EXPECT_EQ(0u, RunWithScenario(L"Z:\\no\\such\\scenario.json"));
}

TEST(AutomaticLoadingChild, SeesTheClusterOfItsEnvironment) {
    wchar_t named[MAX_PATH];
    if (!GetEnvironmentVariableW(L"ORVSIM_SCENARIO", named, MAX_PATH)) GTEST_SKIP() << "runs in a child process";
    HCLUSTER cluster = Sim().OpenCluster(nullptr);
    if (ExampleScenario() == named) {
        ASSERT_NE(nullptr, cluster);
        wchar_t name[16];
        DWORD length = 16;
        EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().GetClusterInformation(cluster, name, &length, nullptr));
        EXPECT_STREQ(L"ORVCLUS01", name);
        Sim().CloseCluster(cluster);
    } else {
        EXPECT_EQ(nullptr, cluster);
        EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), GetLastError());
        EXPECT_EQ("scenario: cannot read " + Utf8(named), Utf8(SimCluster_LastError()));
    }
}

}  // namespace
}  // namespace simtest

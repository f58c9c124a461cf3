// The simulator's control API: scenarios, failure injection, counters.

#include "sim_test.h"

namespace simtest {
namespace {

std::string SavedScenario() {
    DWORD size = 0;
    EXPECT_FALSE(SimCluster_SaveScenarioText(nullptr, &size));
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), GetLastError());
    std::string text(size, '\0');
    EXPECT_TRUE(SimCluster_SaveScenarioText(&text[0], &size));
    text.resize(size - 1);
    return text;
}

const char kSmallCluster[] = R"({
  "cluster": {"name": "SMALL"},
  "nodes": [{"name": "N1", "local": true}],
  "groups": [{"name": "G"}],
  "resources": [{"name": "R", "type": "Generic Service", "group": "G"}]
})";

using ControlApi = SimulatorTest;

TEST_F(ControlApi, SavedScenarioLoadsBackToTheSameCluster) {
    std::string saved = SavedScenario();
    ASSERT_TRUE(SimCluster_LoadScenarioText(saved.c_str())) << Utf8(SimCluster_LastError());
    EXPECT_EQ(saved, SavedScenario());
    EXPECT_NE(std::string::npos, saved.find("\"SharedVolumesRoot\": \"C:\\\\ClusterStorage\""));
}

TEST_F(ControlApi, BadScenarioIsRefusedWithASentenceNamingTheProblemAndTheClusterStays) {
    struct Case {
        const char* json;
        const char* problem;
    } cases[] = {
        {"{\"cluster\": ", "scenario: not valid JSON"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], "groups": [],
             "resources": [{"name": "X", "type": "Generic Service", "group": "Y"}]})",
         "scenario: resource 'X' names unknown group 'Y'"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], "groups": [{"name": "G"}],
             "resources": [{"name": "X", "type": "Toaster", "group": "G"}]})",
         "scenario: resource 'X' names unknown resource type 'Toaster'"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], "groups": [{"name": "G"}],
             "resources": [{"name": "A", "type": "IP Address", "group": "G", "dependencies": ["B"]},
                           {"name": "B", "type": "IP Address", "group": "G", "dependencies": ["A"]}]})",
         "scenario: resource 'B' and 'A' depend on each other"},
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], "groups": [{"name": "G"}, {"name": "H"}],
             "resources": [{"name": "A", "type": "IP Address", "group": "G"},
                           {"name": "B", "type": "IP Address", "group": "H", "dependencies": ["A"]}]})",
         "scenario: resource 'B' depends on 'A' of another group"},
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
        {R"({"cluster": {"name": "C"}, "nodes": [{"name": "N"}], "groups": [{"name": "G", "owner": "M"}]})",
         "scenario: group 'G' names unknown node 'M'"},
    };
    for (const Case& bad : cases) {
        EXPECT_FALSE(SimCluster_LoadScenarioText(bad.json)) << bad.problem;
        EXPECT_EQ(0u, Utf8(SimCluster_LastError()).find(bad.problem)) << Utf8(SimCluster_LastError());
    }
    wchar_t name[64];
    DWORD length = 64;
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().GetClusterInformation(cluster_.get(), name, &length, nullptr));
    EXPECT_STREQ(L"ORVCLUS01", name);
    EXPECT_TRUE(SimCluster_LoadScenarioText(kSmallCluster));
    EXPECT_STREQ(L"", SimCluster_LastError());
}

TEST_F(ControlApi, WithoutScenarioThereIsNoCluster) {
    SimCluster_Unload();
    SetLastError(0);
    EXPECT_EQ(nullptr, Sim().OpenCluster(nullptr));
    EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), GetLastError());
    EXPECT_EQ(nullptr, Sim().OpenCluster(L"ORVCLUS01"));
    DWORD state = 99;
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().GetNodeClusterState(nullptr, &state));
    EXPECT_EQ(DWORD(ClusterStateNotInstalled), state);
    // A handle of the old cluster now reaches nothing.
    EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), Sim().GetClusterInformation(cluster_.get(), nullptr, &state, nullptr));
}

TEST_F(ControlApi, InjectedFailureHitsTheNthCallOnlyAndIsReportedTheWayTheFunctionReports) {
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenClusterResource", 2, 1, ERROR_NOT_ENOUGH_MEMORY));
    ASSERT_TRUE(SimCluster_InjectFailure(L"GetClusterResourceState", 1, 1, ERROR_GEN_FAILURE));
    ASSERT_TRUE(SimCluster_InjectFailure(L"CloseClusterResource", 1, 1, ERROR_ACCESS_DENIED));
    ASSERT_TRUE(SimCluster_InjectFailure(L"OnlineClusterResource", 1, 0, ERROR_BUSY));

    Owned<HRESOURCE> first = Resource(L"Orvane IP Address");
    EXPECT_TRUE(first);
    SetLastError(0);
    EXPECT_EQ(nullptr, Sim().OpenClusterResource(cluster_.get(), L"Orvane IP Address"));
    EXPECT_EQ(DWORD(ERROR_NOT_ENOUGH_MEMORY), GetLastError());
    Owned<HRESOURCE> third = Resource(L"Orvane IP Address");
    EXPECT_TRUE(third);

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

    EXPECT_FALSE(SimCluster_InjectFailure(L"OpenClusterWidget", 1, 1, ERROR_BUSY));
    EXPECT_EQ("no entry point is named 'OpenClusterWidget'", Utf8(SimCluster_LastError()));
}

TEST_F(ControlApi, CallsAreCountedPerEntryPointFailuresIncluded) {
    EXPECT_EQ(1u, SimCluster_CallCount(L"OpenCluster"));  // by the fixture
    SimCluster_InjectFailure(L"OpenClusterGroup", 1, 1, ERROR_BUSY);
    Owned<HGROUP> failed = Group(L"Orvane Group");
    Owned<HGROUP> group = Group(L"Orvane Group");
    EXPECT_FALSE(failed);
    EXPECT_EQ(2u, SimCluster_CallCount(L"OpenClusterGroup"));
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenClusterNode"));
    EXPECT_EQ(0u, SimCluster_CallCount(L"NoSuchFunction"));
    SimCluster_ResetCounters();
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenClusterGroup"));
}

TEST_F(ControlApi, OpenHandlesAreCountedPerKindAndClosingTwiceFails) {
    Owned<HNODE> node = Node(L"NODE2");
    Owned<HGROUP> group = Group(L"Orvane Group");
    Owned<HCLUSENUM> enumeration(Sim().ClusterOpenEnum(cluster_.get(), CLUSTER_ENUM_NODE));
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_CLUSTER));
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_NODE));
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_CLUSTER_ENUM));
    EXPECT_EQ(0u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_RESOURCE));
    EXPECT_EQ(4u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));

    HNODE raw = node.release();
    EXPECT_TRUE(Sim().CloseClusterNode(raw));
    EXPECT_FALSE(Sim().CloseClusterNode(raw));
    EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), GetLastError());
    // A handle of another kind is not taken for a node.
    EXPECT_FALSE(Sim().CloseClusterNode(reinterpret_cast<HNODE>(group.get())));
    EXPECT_EQ(3u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));
}

TEST_F(ControlApi, EveryEntryPointIsExported) {
    HMODULE clusapi = GetModuleHandleW(L"clusapi.dll");
    HMODULE resutils = LoadLibraryW(L"resutils.dll");
    for (const std::string& name : ListOf(SIMTEST_CLUSAPI_EXPORTS))
        EXPECT_NE(nullptr, GetProcAddress(clusapi, name.c_str())) << name;
    for (const std::string& name : ListOf(SIMTEST_RESUTILS_EXPORTS))
        EXPECT_NE(nullptr, GetProcAddress(resutils, name.c_str())) << name;
}

TEST_F(ControlApi, StateControlsChangeWhatTheEntryPointsAnswer) {
    DWORD state = 0;
    ASSERT_TRUE(SimCluster_SetNodeState(L"node2", ClusterNodeDown));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().GetNodeClusterState(L"NODE2", &state));
    EXPECT_EQ(DWORD(ClusterStateNotRunning), state);
    EXPECT_EQ(nullptr, Sim().OpenCluster(L"NODE2"));
    EXPECT_EQ(DWORD(RPC_S_SERVER_UNAVAILABLE), GetLastError());

    ASSERT_TRUE(SimCluster_MoveGroup(L"Orvane Group", L"NODE2"));
    Owned<HRESOURCE> resource = Resource(L"Orvane Job Engine");
    wchar_t node[16];
    DWORD length = 16;
    Sim().GetClusterResourceState(resource.get(), node, &length, nullptr, nullptr);
    EXPECT_STREQ(L"NODE2", node);

    ASSERT_TRUE(SimCluster_SetResourceState(L"Orvane Job Engine", ClusterResourceFailed));
    EXPECT_EQ(ClusterResourceFailed, SimCluster_GetResourceState(L"Orvane Job Engine"));
    Owned<HGROUP> group = Group(L"Orvane Group");
    EXPECT_EQ(ClusterGroupPartialOnline, Sim().GetClusterGroupState(group.get(), nullptr, nullptr));
    ASSERT_TRUE(SimCluster_SetGroupState(L"Orvane Group", ClusterGroupFailed));
    EXPECT_EQ(ClusterGroupFailed, Sim().GetClusterGroupState(group.get(), nullptr, nullptr));
    ASSERT_TRUE(SimCluster_SetGroupState(L"Orvane Group", SIMCLUSTER_GROUP_STATE_DERIVED));
    EXPECT_EQ(ClusterGroupPartialOnline, Sim().GetClusterGroupState(group.get(), nullptr, nullptr));

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

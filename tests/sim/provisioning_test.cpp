// Changes to the cluster: groups, resources, dependencies, possible owners,
// and the cluster database's backup and restore.

#include <functional>
#include <string>

#include "harness/scratch_files.h"
#include "sim_test.h"

namespace simtest {
namespace {

class Provisioning : public SimulatorTest {
protected:
    std::wstring GroupOf(HRESOURCE resource) {
        wchar_t group[64];
        DWORD length = 64;
        Sim().GetClusterResourceState(resource, nullptr, nullptr, group, &length);
        return group;
    }
};

TEST_F(Provisioning, CreatedGroupsAndResourcesCanBeUsedAndDeletedAndLeaveNoTrace) {
    const size_t count = ClusterNames(CLUSTER_ENUM_RESOURCE).size();
    Owned<HGROUP> group(Sim().CreateClusterGroup(cluster_.get(), L"NULLTESTGRP13"));
    ASSERT_TRUE(group);
    EXPECT_EQ(nullptr, Sim().CreateClusterGroup(cluster_.get(), L"nulltestgrp13"));
    EXPECT_EQ(DWORD(ERROR_OBJECT_ALREADY_EXISTS), GetLastError());
    EXPECT_EQ(nullptr, Sim().CreateClusterResource(group.get(), L"Toast", L"Toaster", 0));
    EXPECT_EQ(DWORD(ERROR_CLUSTER_RESOURCE_TYPE_NOT_FOUND), GetLastError());

    Owned<HRESOURCE> resource(Sim().CreateClusterResource(group.get(), L"TestNullRes13", L"IP Address", 0));
    ASSERT_TRUE(resource);
    EXPECT_EQ(L"NULLTESTGRP13", GroupOf(resource.get()));
    EXPECT_EQ(DWORD(ERROR_DIR_NOT_EMPTY), Sim().DeleteClusterGroup(group.get()));
    ListBuilder address;
    address.Text(L"Address", L"10.20.30.99").Text(L"SubnetMask", L"255.255.255.0").Text(L"Network", L"Public");
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              ControlStatus(L"TestNullRes13", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, address.Bytes()));
    EXPECT_EQ(DWORD(ERROR_IO_PENDING), Sim().OnlineClusterResource(resource.get()));  // like any other resource
    SimClock_Sleep(500);
    EXPECT_EQ(DWORD(ERROR_RESOURCE_ONLINE), Sim().DeleteClusterResource(resource.get()));
    ASSERT_TRUE(SimCluster_SetResourceState(L"TestNullRes13", ClusterResourceOffline));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().DeleteClusterResource(resource.get()));
    // The handle outlives the resource and finds nothing, even once another takes its place.
    Owned<HRESOURCE> next(Sim().CreateClusterResource(group.get(), L"TestNullRes14", L"Generic Service", 0));
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_FOUND), Sim().OnlineClusterResource(resource.get()));
    EXPECT_EQ(nullptr, Sim().OpenClusterResource(cluster_.get(), L"TestNullRes13"));
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_FOUND), GetLastError());
    EXPECT_EQ(count + 1, ClusterNames(CLUSTER_ENUM_RESOURCE).size());
    for (const std::wstring& name : ClusterNames(CLUSTER_ENUM_RESOURCE)) {
        EXPECT_TRUE(Resource(name.c_str())) << Utf8(name);
    }
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().DeleteClusterResource(next.get()));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().DeleteClusterGroup(group.get()));
    EXPECT_EQ(nullptr, Sim().OpenClusterGroup(cluster_.get(), L"NULLTESTGRP13"));
    EXPECT_EQ(DWORD(ERROR_GROUP_NOT_FOUND), GetLastError());
}

TEST_F(Provisioning, DependenciesAndPossibleOwnersFollowTheDocumentedRules) {
    Owned<HRESOURCE> job = Resource(L"Orvane Job Engine");
    Owned<HRESOURCE> name = Resource(L"Orvane Server Name");
    Owned<HRESOURCE> ip = Resource(L"Orvane IP Address");
    Owned<HRESOURCE> sql = Resource(L"SQL Server (MSSQLSERVER)");
    EXPECT_EQ(DWORD(ERROR_CIRCULAR_DEPENDENCY), Sim().AddClusterResourceDependency(job.get(), job.get()));
    EXPECT_EQ(DWORD(ERROR_CIRCULAR_DEPENDENCY), Sim().AddClusterResourceDependency(ip.get(), job.get()));
    EXPECT_EQ(DWORD(ERROR_DEPENDENCY_ALREADY_EXISTS), Sim().AddClusterResourceDependency(job.get(), name.get()));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), Sim().AddClusterResourceDependency(job.get(), sql.get()));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().AddClusterResourceDependency(job.get(), ip.get()));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().RemoveClusterResourceDependency(job.get(), ip.get()));
    EXPECT_EQ(DWORD(ERROR_DEPENDENCY_NOT_FOUND), Sim().RemoveClusterResourceDependency(job.get(), ip.get()));

    SimCluster_SetResourceState(L"Orvane IP Address", ClusterResourceOffline);
    EXPECT_EQ(DWORD(ERROR_DEPENDENT_RESOURCE_EXISTS), Sim().DeleteClusterResource(ip.get()));
    SimCluster_SetResourceState(L"Cluster Disk Q", ClusterResourceOffline);
    Owned<HRESOURCE> quorum = Resource(L"Cluster Disk Q");
    EXPECT_EQ(DWORD(ERROR_CORE_RESOURCE), Sim().DeleteClusterResource(quorum.get()));
    Owned<HRESOURCE> clusterIp = Resource(L"Cluster IP Address");
    EXPECT_EQ(DWORD(ERROR_DEPENDENCY_NOT_ALLOWED), Sim().AddClusterResourceDependency(quorum.get(), clusterIp.get()));

    Owned<HNODE> local = Node(ThisComputer().c_str());
    Owned<HNODE> node2 = Node(L"NODE2");
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().RemoveClusterResourceNode(job.get(), node2.get()));
    EXPECT_EQ(DWORD(ERROR_CLUSTER_NODE_NOT_FOUND), Sim().RemoveClusterResourceNode(job.get(), node2.get()));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().AddClusterResourceNode(job.get(), node2.get()));
    EXPECT_EQ(DWORD(ERROR_OBJECT_ALREADY_EXISTS), Sim().AddClusterResourceNode(job.get(), node2.get()));
    EXPECT_EQ(DWORD(ERROR_INVALID_STATE), Sim().RemoveClusterResourceNode(job.get(), local.get()));  // its online owner
}

TEST_F(Provisioning, ChangingTheGroupOfAResourceMovesItsWholeDependencyTree) {
    Owned<HGROUP> target(Sim().CreateClusterGroup(cluster_.get(), L"New Orvane Group"));
    Owned<HRESOURCE> discovery = Resource(L"Orvane Discovery Service");
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().ChangeClusterResourceGroup(discovery.get(), target.get()));
    for (const wchar_t* moved : {L"Orvane Discovery Service", L"Orvane Server Name", L"Orvane IP Address",
                                 L"Orvane Job Engine", L"Cluster Disk 1", L"Cluster Disk 2"})
        EXPECT_EQ(L"New Orvane Group", GroupOf(Resource(moved).get())) << Utf8(moved);
    Owned<HGROUP> old = Group(L"Orvane Group");
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().DeleteClusterGroup(old.get()));

    // The groups must have the same owner.
    Owned<HCLUSTER> node2(Sim().OpenCluster(L"NODE2"));
    Owned<HGROUP> elsewhere(Sim().CreateClusterGroup(node2.get(), L"Group On NODE2"));
    EXPECT_EQ(DWORD(ERROR_HOST_NODE_NOT_GROUP_OWNER),
              Sim().ChangeClusterResourceGroup(discovery.get(), elsewhere.get()));
}

// Names come in characters, the terminator counted on the way in but not on
// the way out; a buffer one short gets ERROR_MORE_DATA and the length needed.
TEST_F(Provisioning, NamesFollowTheLengthConventions) {
    Owned<HRESOURCE> sql = Resource(L"SQL Server (MSSQLSERVER)"), job = Resource(L"Orvane Job Engine");
    Owned<HGROUP> sqlGroup = Group(L"SQL Server (MSSQLSERVER)");
    wchar_t other[64];
    DWORD otherLength = 64, logSize = 0;
    auto ok = [](bool succeeded) { return succeeded ? DWORD(ERROR_SUCCESS) : GetLastError(); };
    const auto state = Sim().GetClusterResourceState;
    const auto quorum = Sim().GetClusterQuorumResource;
    struct NameQuery {
        const char* what;
        std::wstring expected;
        std::function<DWORD(wchar_t*, DWORD*)> call;
    } queries[] = {
#define SIMTEST_NAME(what, expected, call) {what, expected, [&](wchar_t* t, DWORD* n) { return call; }}
        SIMTEST_NAME("resource owner", L"NODE2", ok(state(sql.get(), t, n, nullptr, nullptr) == ClusterResourceOnline)),
        SIMTEST_NAME("resource group", L"SQL Server (MSSQLSERVER)",
                     ok(state(sql.get(), nullptr, nullptr, t, n) == ClusterResourceOnline)),
        SIMTEST_NAME("group owner", L"NODE2",
                     ok(Sim().GetClusterGroupState(sqlGroup.get(), t, n) == ClusterGroupOnline)),
        SIMTEST_NAME("network name", L"ORVANESRV", ok(Sim().GetClusterResourceNetworkName(job.get(), t, n))),
        SIMTEST_NAME("quorum resource", L"Cluster Disk Q",
                     quorum(cluster_.get(), t, n, other, &(otherLength = 64), &logSize)),
        SIMTEST_NAME("quorum device", L"Q:\\Cluster\\",
                     quorum(cluster_.get(), other, &(otherLength = 64), t, n, &logSize)),
        SIMTEST_NAME("cluster name", L"ORVCLUS01", Sim().GetClusterInformation(cluster_.get(), t, n, nullptr)),
#undef SIMTEST_NAME
    };
    for (const NameQuery& query : queries) {
        SCOPED_TRACE(query.what);
        wchar_t text[64];
        const DWORD size = static_cast<DWORD>(query.expected.size());
        DWORD length = size + 1;
        ASSERT_EQ(DWORD(ERROR_SUCCESS), query.call(text, &length));
        EXPECT_EQ(query.expected, text);
        EXPECT_EQ(size, length);
        length = size;
        EXPECT_EQ(DWORD(ERROR_MORE_DATA), query.call(text, &length));
        EXPECT_EQ(size, length);
    }
    EXPECT_EQ(4194304u, logSize);
    Owned<HRESOURCE> disk = Resource(L"Cluster Disk 1");
    EXPECT_FALSE(Sim().GetClusterResourceNetworkName(disk.get(), other, &otherLength));
    EXPECT_EQ(DWORD(ERROR_DEPENDENCY_NOT_FOUND), GetLastError());

    CLUSTERVERSIONINFO version = {};
    version.dwVersionInfoSize = sizeof version;
    otherLength = 64;
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().GetClusterInformation(cluster_.get(), other, &otherLength, &version));
    EXPECT_EQ(6, version.MajorVersion);
    EXPECT_EQ(7601, version.BuildNumber);
    EXPECT_STREQ(L"Service Pack 1", version.szCSDVersion);
    Owned<HCLUSTER> byAddress(Sim().OpenCluster(L"10.20.30.10"));
    EXPECT_TRUE(byAddress);
}

class Backup : public Provisioning {
protected:
    bool Exists(const wchar_t* file) { return GetFileAttributesW((folder_ + file).c_str()) != INVALID_FILE_ATTRIBUTES; }
    orvtest::ScratchFolder scratch_{L"orvsim-backup"};
    const std::wstring folder_ = scratch_.Path();
};

TEST_F(Backup, FromVersion6BackupAndRestoreDoNothingAndAreNotImplemented) {
    EXPECT_EQ(DWORD(ERROR_CALL_NOT_IMPLEMENTED), Sim().BackupClusterDatabase(cluster_.get(), folder_.c_str()));
    EXPECT_FALSE(Exists(L"\\chk0001.tmp"));
    EXPECT_EQ(DWORD(ERROR_CALL_NOT_IMPLEMENTED), Sim().BackupClusterDatabase(nullptr, nullptr));
    EXPECT_EQ(DWORD(ERROR_CALL_NOT_IMPLEMENTED), Sim().RestoreClusterDatabase(folder_.c_str(), TRUE, nullptr));
    EXPECT_EQ(DWORD(ERROR_CALL_NOT_IMPLEMENTED), Sim().RestoreClusterDatabase(nullptr, FALSE, L"QQ"));
}

TEST_F(Backup, OnVersion5BackupWritesTheDocumentedFilesAndRestoreBringsThatClusterBack) {
    Load(ExampleScenario52());
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().BackupClusterDatabase(cluster_.get(), folder_.c_str()));
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().BackupClusterDatabase(cluster_.get(), (folder_ + L"\\").c_str()));
    DWORD marker = GetFileAttributesW((folder_ + L"\\Clusbackup.dat").c_str());
    EXPECT_EQ(DWORD(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN),
              marker & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    EXPECT_TRUE(Exists(L"\\quolog.log"));
    EXPECT_EQ(DWORD(ERROR_PATH_NOT_FOUND),
              Sim().BackupClusterDatabase(cluster_.get(), (folder_ + L"\\missing\\deeper").c_str()));
    EXPECT_EQ(DWORD(ERROR_DIRECTORY), Sim().BackupClusterDatabase(cluster_.get(), (folder_ + L"\\quolog.log").c_str()));

    { Owned<HGROUP> added(Sim().CreateClusterGroup(cluster_.get(), L"Made After The Backup")); }
    EXPECT_EQ(DWORD(ERROR_CLUSTER_NODE_UP), Sim().RestoreClusterDatabase(folder_.c_str(), FALSE, nullptr));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), Sim().RestoreClusterDatabase(folder_.c_str(), TRUE, L"QQ"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().RestoreClusterDatabase(folder_.c_str(), TRUE, L"Q:"));
    EXPECT_EQ(nullptr, Sim().OpenClusterGroup(cluster_.get(), L"Made After The Backup"));
    DWORD state = 0;
    Sim().GetNodeClusterState(L"NODE2", &state);
    EXPECT_EQ(DWORD(ClusterStateNotRunning), state);  // the forced restore stopped the other node
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().RestoreClusterDatabase(folder_.c_str(), FALSE, nullptr));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), Sim().RestoreClusterDatabase(L"C:\\windows", TRUE, nullptr));
}

}  // namespace
}  // namespace simtest

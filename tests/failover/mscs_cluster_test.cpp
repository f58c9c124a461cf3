// The failover backend on the simulated two-node cluster: what the factory
// hands out, and the inventory the other operations rest on.

#include <algorithm>
#include <cwctype>

#include <gtest/gtest.h>

#include "harness/simulated_cluster.h"
#include "harness/trace_capture.h"
#include "orvcluster.h"
#include "orvcluster/mscs_cluster.h"

namespace {

using orvtest::TraceCapture;

class FailoverBackend : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        SimClock_Sleep(0x10000);  // every test starts with a fresh detection
        cluster_ = MSCSCluster::GetInstance(nullptr);
        ASSERT_TRUE(cluster_->ClusterOpen());
    }
    void TearDown() override {
        cluster_.reset();
        SimulatedClusterTest::TearDown();
    }
    boost::shared_ptr<MSCSCluster> cluster_;
};

template <typename T>
std::list<std::wstring> NamesOf(const std::list<T*>& resources) {
    std::list<std::wstring> names;
    for (T* resource : resources) {
        names.push_back(*resource->GetResourceName());
        delete resource;
    }
    return names;
}

// The factory hands out the open failover backend; this computer in any form
// is the local target; an unreachable cluster is traced with its name.
TEST_F(FailoverBackend, Opening) {
    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
    EXPECT_EQ(Cluster::MSCS, cluster->GetClusterType());
    EXPECT_TRUE(cluster->Open());
    EXPECT_STREQ(L"ORVCLUS01", cluster->GetClusterName());
    EXPECT_TRUE(Cluster::IsCluster(nullptr));
    EXPECT_TRUE(Cluster::IsCluster(L"orvclus01"));  // asked by cluster name: remote, uncached
    bool isNode = false;
    EXPECT_TRUE(cluster->GetMachineNodeStatus(L"\\\\node2", &isNode));
    EXPECT_TRUE(isNode);

    std::wstring local = OrvGetComputerName();
    std::transform(local.begin(), local.end(), local.begin(), towlower);
    MSCSCluster byName((L"\\\\" + local).c_str());
    EXPECT_STREQ(L"", byName.GetClusterName());
    EXPECT_EQ(Cluster::MSCS, byName.GetClusterType());
    ASSERT_TRUE(byName.ClusterOpen());
    EXPECT_STREQ(L"ORVCLUS01", byName.GetClusterName());  // the cluster's own name once open
    byName.Close();
    byName.Close();  // closing twice is harmless

    TraceCapture capture;
    MSCSCluster remote(L"\\\\NO-SUCH-CLUSTER");
    EXPECT_FALSE(remote.ClusterOpen());
    EXPECT_FALSE(remote.Open());
    EXPECT_EQ(std::vector<std::wstring>{L"Failed to open Microsoft cluster (NO-SUCH-CLUSTER)"}, capture.Messages());
}

TEST_F(FailoverBackend, NameEnumerations) {
    std::list<std::wstring> names = {L"stale"};
    EXPECT_TRUE(cluster_->GetNodes(names));
    EXPECT_EQ((std::list<std::wstring>{orvtest::ThisComputer(), L"NODE2"}), names);
    EXPECT_TRUE(cluster_->GetNetworks(names));
    EXPECT_EQ((std::list<std::wstring>{L"Public", L"Heartbeat"}), names);
    EXPECT_TRUE(cluster_->GetTypes(names));
    EXPECT_NE(names.end(), std::find(names.begin(), names.end(), L"Physical Disk"));
    EXPECT_TRUE(cluster_->GetResources(names));
    EXPECT_EQ(20u, names.size());

    // An enumeration that breaks off is a failure with the platform's reason.
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterEnum", 2, 1, ERROR_NOT_READY));
    EXPECT_FALSE(cluster_->GetNodes(names));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_READY), GetLastError());
    EXPECT_EQ(std::list<std::wstring>{orvtest::ThisComputer()}, names);
    SimCluster_ClearFailures();

    // Resources by type: case-sensitive, keeping those that cannot be opened.
    EXPECT_TRUE(cluster_->GetResources(names, L"Network Name"));
    EXPECT_EQ((std::list<std::wstring>{L"Cluster Name", L"Orvane Server Name", L"SQL Network Name (SQLVS01)",
                                       L"Exchange Network Name"}),
              names);
    EXPECT_TRUE(cluster_->GetResources(names, L"network name"));
    EXPECT_TRUE(names.empty());
    // The first resource ("Cluster IP Address") cannot be opened: it stays.
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenClusterResource", 1, 1, ERROR_ACCESS_DENIED));
    EXPECT_TRUE(cluster_->GetResources(names, L"Network Name"));
    EXPECT_EQ(5u, names.size());
    EXPECT_EQ(L"Cluster IP Address", names.front());
}

// The backend's names fit 260 characters; a longer one ends its walk as a
// failure, while the shared enumeration can grow its buffer for it.
TEST_F(FailoverBackend, NameLongerThanTheBufferEndsTheBackendsWalk) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    const std::wstring longName(300, L'R');
    orv::UniqueClusterGroup group(glue->OpenClusterGroup(cluster_->GetClusterHandle(), L"Orvane Group"));
    orv::UniqueClusterResource created(
        glue->CreateClusterResource(group.Get(), longName.c_str(), L"Generic Service", 0));
    ASSERT_TRUE(created);
    std::list<std::wstring> names;
    SetLastError(0xDEADBEEF);
    EXPECT_FALSE(cluster_->GetResources(names));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MORE_DATA), GetLastError());
    EXPECT_EQ(20u, names.size());  // those before it

    orv::ClusterObjects grown(cluster_->GetClusterHandle(), CLUSTER_ENUM_RESOURCE, true);
    names.clear();
    ASSERT_TRUE(grown && grown.AppendNames(names));
    EXPECT_EQ(longName, names.back());
}

// A resource handle dies with its cluster handle: the resources a backend
// hands out keep its connection open for as long as they live.
TEST_F(FailoverBackend, ResourcesOutliveTheirBackend) {
    auto networkNames = cluster_->GetNetworkNameResources();
    std::unique_ptr<ClusterResource> engine(cluster_->OpenResource(L"Orvane Job Engine"));
    ASSERT_TRUE(engine && !networkNames->empty());
    cluster_.reset();
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_CLUSTER));
    std::wstring text;
    EXPECT_TRUE(networkNames->front()->GetNetworkName(text));
    EXPECT_EQ(L"ORVCLUS01", text);
    EXPECT_TRUE(engine->GetTypeName(text));
    EXPECT_EQ(L"Generic Service", text);
    networkNames.reset();
    EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_CLUSTER));
    engine.reset();
    EXPECT_EQ(0u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL));
}

TEST_F(FailoverBackend, TypedListsOfNewObjects) {
    std::list<ClusterServiceResource*> services;
    EXPECT_TRUE(cluster_->GetResources(services));
    EXPECT_EQ((std::list<std::wstring>{L"Orvane Job Engine", L"Orvane Tape Engine", L"Orvane Discovery Service",
                                       L"Orvane RPC Service"}),
              NamesOf(services));
    std::list<ClusterIPResource*> addresses;
    EXPECT_TRUE(cluster_->GetResources(addresses));
    EXPECT_EQ(4u, NamesOf(addresses).size());
    std::list<ClusterNetworkNameResource*> nameResources;
    EXPECT_TRUE(cluster_->GetResources(nameResources));
    EXPECT_EQ(4u, NamesOf(nameResources).size());
    std::list<ClusterDiskResource*> disks;
    EXPECT_TRUE(cluster_->GetResources(disks));
    std::list<std::wstring> diskNames = NamesOf(disks);
    EXPECT_NE(diskNames.end(), std::find(diskNames.begin(), diskNames.end(), L"Cluster Disk 1"));
    for (const std::wstring& name : diskNames) EXPECT_EQ(0u, name.find(L"Cluster Disk")) << name;

    // The shared pointer lists are built afresh.
    auto volumes = cluster_->GetClusterSharedVolumeResources();
    ASSERT_EQ(1u, volumes->size());
    EXPECT_EQ(L"Cluster Disk 3", *volumes->front()->GetResourceName());
    auto networkNames = cluster_->GetNetworkNameResources();
    EXPECT_EQ(4u, networkNames->size());
    EXPECT_NE(networkNames.get(), cluster_->GetNetworkNameResources().get());
    EXPECT_TRUE(cluster_->GetVMResources()->empty());
    EXPECT_TRUE(cluster_->GetVMConfigResources()->empty());
    EXPECT_FALSE(cluster_->GetClusterDiskResources()->empty());

    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterOpenEnum", 1, 1, ERROR_NOT_READY));
    auto none = cluster_->GetNetworkNameResources();
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());
}

TEST_F(FailoverBackend, SharedVolumesRootIsAskedUntilFound) {
    ASSERT_TRUE(SimCluster_SetClusterProperty(TRUE, L"SharedVolumesRoot", nullptr));
    EXPECT_STREQ(L"", cluster_->GetSharedVolumesRoot());
    ASSERT_TRUE(SimCluster_SetClusterProperty(TRUE, L"SharedVolumesRoot", "\"C:\\\\ClusterStorage\""));
    EXPECT_STREQ(L"C:\\ClusterStorage\\", cluster_->GetSharedVolumesRoot());
    const DWORD calls = SimCluster_CallCount(L"ClusterControl");
    EXPECT_STREQ(L"C:\\ClusterStorage\\", cluster_->GetSharedVolumesRoot());
    EXPECT_EQ(calls, SimCluster_CallCount(L"ClusterControl"));

    boost::shared_ptr<MSCSCluster> other = MSCSCluster::GetInstance(nullptr);
    ASSERT_TRUE(other->ClusterOpen());
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterControl", 1, 1, ERROR_ACCESS_DENIED));
    TraceCapture capture;
    EXPECT_STREQ(L"", other->GetSharedVolumesRoot());
    EXPECT_EQ(std::vector<std::wstring>{L"Failed to query cluster read-only common properties (0x00000005)"},
              capture.Messages());
}

TEST_F(FailoverBackend, DrivesOfTheSharedDisksAndResourcesOpenedByName) {
    std::list<std::wstring> drives;
    EXPECT_TRUE(cluster_->GetDriveNames(drives));
    for (const wchar_t* drive : {L"Q:", L"S:", L"T:"})
        EXPECT_NE(drives.end(), std::find(drives.begin(), drives.end(), drive)) << drive;
    std::list<wcstring> wide;
    EXPECT_EQ(1u, cluster_->GetDriveNames(wide));
    EXPECT_EQ(std::list<std::wstring>(wide.begin(), wide.end()), drives);

    MSCSCluster closed(nullptr);
    EXPECT_EQ(0u, closed.GetDriveNames(wide));

    // Resources opened by name.
    std::unique_ptr<ClusterResource> resource(cluster_->OpenResource(L"Orvane Job Engine"));
    ASSERT_TRUE(resource);
    std::wstring type;
    EXPECT_TRUE(resource->GetTypeName(type));
    EXPECT_EQ(L"Generic Service", type);
    EXPECT_EQ(nullptr, cluster_->OpenResource(L"No Such Resource"));
    std::unique_ptr<ClusterDiskResource> disk(cluster_->OpenDiskResource(L"Cluster Disk 2"));
    ASSERT_TRUE(disk);
    EXPECT_TRUE(disk->GetDrives(drives));
    EXPECT_EQ(std::list<std::wstring>{L"T:"}, drives);
}

// Clusters of version 6.0 on no longer back up their database; older ones do.
TEST_F(FailoverBackend, DatabaseBackupFollowsTheClusterVersion) {
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    const std::wstring backup = std::wstring(folder) + L"orvcluster-backup-test";
    CreateDirectoryW(backup.c_str(), nullptr);
    SetLastError(0xDEADBEEF);
    EXPECT_FALSE(cluster_->BackupDatabase(backup));
    EXPECT_EQ(static_cast<DWORD>(ERROR_CALL_NOT_IMPLEMENTED), GetLastError());

    cluster_.reset();
    ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-failover-2003.json").c_str()));
    MSCSCluster older(nullptr);
    ASSERT_TRUE(older.ClusterOpen());
    EXPECT_TRUE(older.BackupDatabase(backup));
    for (const wchar_t* file : {L"\\Clusbackup.dat", L"\\quolog.log", L"\\chk0001.tmp"}) {
        EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((backup + file).c_str())) << file;
        SetFileAttributesW((backup + file).c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW((backup + file).c_str());
    }
    RemoveDirectoryW(backup.c_str());
    EXPECT_FALSE(older.BackupDatabase(L"C:\\no\\such\\folder"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError());
}

}  // namespace

// Resource objects against the simulated two-node cluster: state changes and
// their waits in virtual time, the questions asked of each kind of resource,
// and the handles they leave behind (none).

#include <gtest/gtest.h>

#include "orvcluster/cluster_handles.h"
#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace {

class Resources : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        cluster_.Reset(MSCSClusterGlue::GetInstance()->OpenCluster(nullptr));
        ASSERT_TRUE(cluster_);
    }
    void TearDown() override {
        cluster_.Reset();
        SimulatedClusterTest::TearDown();
    }
    HRESOURCE Open(const wchar_t* name) {
        HRESOURCE resource = MSCSClusterGlue::GetInstance()->OpenClusterResource(cluster_.Get(), name);
        EXPECT_NE(nullptr, resource) << GetLastError();
        return resource;
    }

    orv::UniqueCluster cluster_;
};

TEST_F(Resources, OnlineWaitsInVirtualTimeUntilTheResourceArrives) {
    ClusterResource resource(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    ASSERT_TRUE(resource.TakeOffline(60000));  // through the resource's own short pending time
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane Job Engine", ClusterResourceOnline, 4500,
                                            ClusterResourceOnline));
    const ULONGLONG start = SimClock_GetTickCount64();
    EXPECT_TRUE(resource.BringOnline(30000));
    // Polled once a second: five pauses, and six state queries of 1 ms each,
    // the last of which sees the resource online.
    EXPECT_EQ(5u * 1000 + 6, SimClock_GetTickCount64() - start);
    EXPECT_EQ(ClusterResourceOnline, SimCluster_GetResourceState(L"Orvane Job Engine"));
}

TEST_F(Resources, FailedResourceEndsTheWaitAtOnce) {
    ClusterResource resource(Open(L"Orvane Tape Engine"), L"Orvane Tape Engine");
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane Tape Engine", ClusterResourceOffline, 2000,
                                            ClusterResourceFailed));
    const ULONGLONG start = SimClock_GetTickCount64();
    SetLastError(0);
    EXPECT_FALSE(resource.TakeOffline(600000));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_PENDING), GetLastError());
    EXPECT_EQ(2u * 1000 + 3, SimClock_GetTickCount64() - start);  // the third query of 1 ms sees it failed
}

TEST_F(Resources, ZeroTimeoutFailsUnlessAlreadyThere) {
    ClusterResource resource(Open(L"Orvane Discovery Service"), L"Orvane Discovery Service");
    ASSERT_TRUE(resource.TakeOffline(60000));
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane Discovery Service", ClusterResourceOnline, 1000,
                                            ClusterResourceOnline));
    const ULONGLONG start = SimClock_GetTickCount64();
    SetLastError(0);
    EXPECT_FALSE(resource.BringOnline(0));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_PENDING), GetLastError());
    EXPECT_EQ(start + 1, SimClock_GetTickCount64());  // no pause, one state query of 1 ms

    // A timeout that ends between two polls is waited out to the millisecond.
    ClusterResource again(Open(L"Orvane Discovery Service"), L"Orvane Discovery Service");
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane Discovery Service", ClusterResourceOffline, 10000,
                                            ClusterResourceOffline));
    SimClock_Sleep(1000);  // let the online transition finish first
    EXPECT_FALSE(again.TakeOffline(2500));
    // Pauses of 1000, 1000 and 500 ms between four state queries of 1 ms.
    EXPECT_EQ(start + 1 + 1000 + 2500 + 4, SimClock_GetTickCount64());
}

TEST_F(Resources, PlatformRefusalIsTheLastError) {
    ClusterResource resource(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    ASSERT_TRUE(SimCluster_InjectFailure(L"OnlineClusterResource", 1, 1, ERROR_RESOURCE_NOT_AVAILABLE));
    EXPECT_FALSE(resource.BringOnline(1000));
    EXPECT_EQ(static_cast<DWORD>(ERROR_RESOURCE_NOT_AVAILABLE), GetLastError());
}

TEST_F(Resources, GroupOwnerNetworkNameAndType) {
    ClusterNetworkNameResource name(Open(L"Orvane Server Name"), L"Orvane Server Name");
    std::wstring text;
    EXPECT_TRUE(name.GetGroupName(text));
    EXPECT_EQ(L"Orvane Group", text);
    EXPECT_TRUE(name.GetNodeName(text));
    EXPECT_EQ(orvtest::ThisComputer(), text);
    EXPECT_TRUE(name.GetTypeName(text));
    EXPECT_EQ(L"Network Name", text);
    EXPECT_TRUE(name.GetNetworkName(text));
    EXPECT_EQ(L"ORVANESRV", text);
    EXPECT_TRUE(name.GetDNSName(text));
    EXPECT_FALSE(text.empty());
    EXPECT_TRUE(name.MatchNetworkName(L"\\\\orvanesrv"));
    EXPECT_FALSE(name.MatchNetworkName(L"ORVANESRV2"));
    EXPECT_FALSE(name.MatchNetworkName(L"ORVANE"));
    EXPECT_EQ(L"Orvane Server Name", *name.GetResourceName());

    // The plain resource asks the platform for the network name its group publishes.
    ClusterResource service(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    EXPECT_TRUE(service.MatchNetworkName(L"orvanesrv"));

    CLUS_RESOURCE_CLASS_INFO classInfo = {};
    ClusterDiskResource disk(Open(L"Cluster Disk 1"), L"Cluster Disk 1");
    EXPECT_TRUE(disk.GetClassInfoW(&classInfo));
    EXPECT_EQ(CLUS_RESCLASS_STORAGE, classInfo.rc);
}

TEST_F(Resources, PrivatePropertiesOfEachKind) {
    std::wstring text;
    ClusterIPResource address(Open(L"Orvane IP Address"), L"Orvane IP Address");
    EXPECT_TRUE(address.GetIPAddress(text));
    EXPECT_EQ(L"10.20.30.40", text);
    ClusterServiceResource service(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    EXPECT_TRUE(service.GetServiceName(text));
    EXPECT_EQ(L"OrvJobEngine", text);
    DWORD timeout = 0;
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane Job Engine", TRUE, L"PendingTimeout", "240000"));
    EXPECT_TRUE(service.GetPendingTimeout(timeout));
    EXPECT_EQ(240000u, timeout);

    ClusterDiskResource disk(Open(L"Cluster Disk 1"), L"Cluster Disk 1");
    DWORD signature = 0;
    EXPECT_TRUE(disk.GetSignature(signature));
    EXPECT_NE(0u, signature);

    // Virtual machine ids: any resource may carry them.
    ASSERT_TRUE(SimCluster_SetResourceProperty(L"Orvane Discovery Service", FALSE, L"VmId",
                                               "\"6f1d2c3b-0000-4000-8000-00000000abcd\""));
    ClusterVMConfigurationResource vm(Open(L"Orvane Discovery Service"), L"Orvane Discovery Service");
    EXPECT_STREQ(L"6f1d2c3b-0000-4000-8000-00000000abcd", vm.GetVmGUID());
    EXPECT_STREQ(L"", vm.GetStoreRootPath());  // readable properties, no such value
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterResourceControl", 1, 1, ERROR_RESOURCE_NOT_ONLINE));
    EXPECT_EQ(nullptr, vm.GetStoreRootPath());
}

TEST_F(Resources, DiskPartitionsAndDrives) {
    ClusterDiskResource disk(Open(L"Cluster Disk Q"), L"Cluster Disk Q");
    std::list<std::wstring> drives;
    EXPECT_TRUE(disk.GetDrives(drives));
    EXPECT_EQ(std::list<std::wstring>{L"Q:"}, drives);
    MSCSPartitionList partitions = disk.GetPartitionInfo();
    ASSERT_EQ(1u, partitions->size());
    const MSCSPartitionInfo& partition = *partitions->front();
    EXPECT_STREQ(L"Quorum", partition.GetVolumeLabel());
    EXPECT_EQ(1u, partition.GetPartitionNumber());
    EXPECT_EQ(0x0c7e43abu, partition.GetVolumeGUID().Data1);
}

TEST_F(Resources, DiskWithoutDiskInformation) {
    // Both disk information controls refused when the object is made.
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterResourceControl", 1, 2, ERROR_INVALID_FUNCTION));
    ClusterDiskResource disk(Open(L"Cluster Disk 1"), L"Cluster Disk 1");
    std::list<std::wstring> drives = {L"stale"};
    EXPECT_FALSE(disk.GetDrives(drives));
    EXPECT_TRUE(drives.empty());
    MSCSPartitionList partitions = disk.GetPartitionInfo();
    ASSERT_TRUE(partitions);
    EXPECT_TRUE(partitions->empty());
    EXPECT_EQ(2u, SimCluster_CallCount(L"ClusterResourceControl"));
}

TEST_F(Resources, SharedVolumeInformation) {
    MSCSClusterSharedVolumeResource volume(Open(L"Cluster Disk 3"), L"Cluster Disk 3");
    MSCSClusterSharedVolumeResource::SharedVolumeList volumes = volume.GetSharedVolumesInfo();
    ASSERT_EQ(1u, volumes->size());
    EXPECT_STREQ(L"Volume1", volumes->front()->GetFriendlyName());
    EXPECT_STREQ(L"\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\", volumes->front()->GetVolumeName());
    EXPECT_EQ(2u, volumes->front()->GetPartitionNumber());
    EXPECT_EQ(135266304u, volumes->front()->GetVolumeOffset());
    MSCSPartitionList partitions = volume.GetPartitionInfo();
    ASSERT_FALSE(partitions->empty());
    EXPECT_NE(0xFFFFFFFFu, partitions->front()->GetPartitionNumber());
}

TEST_F(Resources, RegistryCheckpointIsReplaced) {
    ClusterResource resource(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    const std::wstring key = L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\Cluster";
    EXPECT_EQ(0u, resource.RecheckpointRegistry(key.c_str()));
    EXPECT_EQ(0u, resource.RecheckpointRegistry(key.c_str()));
    EXPECT_EQ(4u, SimCluster_CallCount(L"ClusterResourceControl"));  // delete, add; twice

    // The key is checkpointed once, not twice.
    wchar_t checkpoints[2048] = {};
    DWORD returned = 0;
    ASSERT_EQ(0u, MSCSClusterGlue::GetInstance()->ClusterResourceControl(
                      resource.GetHandle(), nullptr, CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS, nullptr, 0,
                      checkpoints, sizeof(checkpoints), &returned));
    int found = 0;
    for (const wchar_t* entry = checkpoints; *entry; entry += wcslen(entry) + 1) found += key == entry;
    EXPECT_EQ(1, found);
}

TEST_F(Resources, NameOnlyObjectClosesNothing) {
    {
        ClusterResource named(L"Orvane Job Engine");
        EXPECT_EQ(nullptr, named.GetHandle());
    }
    EXPECT_EQ(0u, SimCluster_CallCount(L"CloseClusterResource"));
    { ClusterResource owned(Open(L"Orvane Job Engine"), L"Orvane Job Engine"); }
    EXPECT_EQ(1u, SimCluster_CallCount(L"CloseClusterResource"));
}

}  // namespace

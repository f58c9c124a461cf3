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

// A state change is polled once a second in virtual time, each state query
// taking 1 ms; a failed resource or a platform refusal ends the wait at once.
TEST_F(Resources, StateChangesAreAwaitedInVirtualTime) {
    const struct {
        const wchar_t *name, *refusing;
        bool online;          // brought online (after being taken offline), else taken offline
        DWORD pendingMs;      // scripted pending time before `reached`; 0: none scripted
        CLUSTER_RESOURCE_STATE reached;
        DWORD timeout;
        bool done;
        DWORD error;          // the last error when not done
        ULONGLONG elapsed;
    } rows[] = {
        // Five pauses and six queries, the last of which sees the resource online.
        {L"Orvane Job Engine", nullptr, true, 4500, ClusterResourceOnline, 30000, true, 0, 5 * 1000 + 6},
        // The third query sees it failed.
        {L"Orvane Tape Engine", nullptr, false, 2000, ClusterResourceFailed, 600000, false, ERROR_IO_PENDING, 2003},
        // A zero timeout: no pause, one query.
        {L"Orvane Discovery Service", nullptr, true, 1000, ClusterResourceOnline, 0, false, ERROR_IO_PENDING, 1},
        // A timeout that ends between two polls is waited out to the millisecond:
        // pauses of 1000, 1000 and 500 ms between four queries.
        {L"Orvane RPC Service", nullptr, false, 10000, ClusterResourceOffline, 2500, false, ERROR_IO_PENDING, 2504},
        {L"Orvane Job Engine", L"OnlineClusterResource", true, 0, ClusterResourceOnline, 1000, false,
         ERROR_RESOURCE_NOT_AVAILABLE, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        ClusterResource resource(Open(row.name), row.name);
        if (row.online) {
            ASSERT_TRUE(resource.TakeOffline(60000));  // through the resource's own short pending time
        }
        if (row.pendingMs) {
            ASSERT_TRUE(SimCluster_ScriptTransition(
                row.name, row.online ? ClusterResourceOnline : ClusterResourceOffline, row.pendingMs, row.reached));
        }
        if (row.refusing) {
            ASSERT_TRUE(SimCluster_InjectFailure(row.refusing, 1, 1, ERROR_RESOURCE_NOT_AVAILABLE));
        }
        const ULONGLONG start = SimClock_GetTickCount64();
        SetLastError(0xDEADBEEF);
        EXPECT_EQ(row.done, row.online ? resource.BringOnline(row.timeout) : resource.TakeOffline(row.timeout));
        EXPECT_EQ(row.elapsed, SimClock_GetTickCount64() - start);
        if (row.done) {
            EXPECT_EQ(row.reached, SimCluster_GetResourceState(row.name));
        } else {
            EXPECT_EQ(row.error, GetLastError());
        }
    }
}

TEST_F(Resources, WhatEachKindOfResourceTells) {
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
    ClusterResource plain(Open(L"Orvane Job Engine"), L"Orvane Job Engine");
    EXPECT_TRUE(plain.MatchNetworkName(L"orvanesrv"));

    CLUS_RESOURCE_CLASS_INFO classInfo = {};
    ClusterDiskResource disk(Open(L"Cluster Disk 1"), L"Cluster Disk 1");
    EXPECT_TRUE(disk.GetClassInfoW(&classInfo));
    EXPECT_EQ(CLUS_RESCLASS_STORAGE, classInfo.rc);
    DWORD signature = 0;
    EXPECT_TRUE(disk.GetSignature(signature));
    EXPECT_NE(0u, signature);

    // The private properties of each kind.
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

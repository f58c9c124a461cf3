// The bindings against cluster libraries that lack some entry points (an
// older system): only the missing wrappers take their fixed answers, and each
// binding's OK() says whether it can be relied on.

#include <gtest/gtest.h>

#include "orvcluster/cluster_handles.h"
#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace {

using OlderLibraries = orvtest::SimulatedClusterTest;

TEST_F(OlderLibraries, MissingClusterEntryPointsAnswerTheirOwnWay) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    EXPECT_FALSE(glue->OK());
    EXPECT_FALSE(glue->BackupAndRestoreSupported());  // "RestoreClusterDatabase" is missing

    // What exists still works.
    orv::UniqueCluster cluster(glue->OpenCluster(nullptr));
    ASSERT_TRUE(cluster);
    orv::UniqueClusterGroup group(glue->OpenClusterGroup(cluster.Get(), L"Orvane Group"));
    ASSERT_TRUE(group);
    orv::UniqueClusterResource resource(glue->OpenClusterResource(cluster.Get(), L"Orvane Job Engine"));
    ASSERT_TRUE(resource);

    SetLastError(0xDEAD);
    EXPECT_EQ(ClusterResourceStateUnknown,
              glue->GetClusterResourceState(resource.Get(), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0xDEADu, GetLastError());

    orv::UniqueGroupEnum contents(glue->ClusterGroupOpenEnum(group.Get(), CLUSTER_GROUP_ENUM_CONTAINS));
    ASSERT_TRUE(contents);
    wchar_t name[64];
    DWORD length = 64;
    DWORD type = 0;
    EXPECT_EQ(0u, glue->ClusterGroupEnum(contents.Get(), 0, &type, name, &length));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PROC_NOT_FOUND), GetLastError());

    EXPECT_EQ(static_cast<DWORD>(ERROR_OPEN_FAILED), glue->DeleteClusterGroup(group.Get()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PROC_NOT_FOUND), GetLastError());
    EXPECT_EQ(0u, SimCluster_CallCount(L"DeleteClusterGroup"));
}

TEST_F(OlderLibraries, ResourceObjectsSeeTheUnknownState) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    orv::UniqueCluster cluster(glue->OpenCluster(nullptr));
    ClusterResource resource(glue->OpenClusterResource(cluster.Get(), L"Orvane Job Engine"),
                             L"Orvane Job Engine");
    std::wstring group = L"old";
    EXPECT_FALSE(resource.GetGroupName(group));
    EXPECT_TRUE(group.empty());
    // Asked offline, the resource goes pending; the wait sees only "unknown".
    ASSERT_TRUE(SimCluster_ScriptTransition(L"Orvane Job Engine", ClusterResourceOffline, 3000,
                                            ClusterResourceOffline));
    EXPECT_FALSE(resource.TakeOffline(10000));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_PENDING), GetLastError());
}

TEST_F(OlderLibraries, ResourceUtilitiesWithoutSharedVolumesAreStillUsable) {
    orvclass::shared_ptr<ResourceGlue> glue = ResourceGlue::GetInstance();
    EXPECT_TRUE(glue->OK());
    DWORD volumePathLength = 0;
    DWORD volumeNameLength = 0;
    EXPECT_EQ(static_cast<DWORD>(ERROR_PROC_NOT_FOUND),
              glue->ClusterPrepareSharedVolumeForBackup(L"C:\\ClusterStorage\\Volume1\\data", nullptr,
                                                        &volumePathLength, nullptr, &volumeNameLength));
    EXPECT_FALSE(glue->ClusterIsPathOnSharedVolume(L"C:\\ClusterStorage\\Volume1"));

    ClusterPropertyList list;
    list.Append(L"PendingTimeout", 180000ul);
    DWORD value = 0;
    EXPECT_TRUE(list.GetValue(L"pendingtimeout", value));
    EXPECT_EQ(180000u, value);
}

}  // namespace

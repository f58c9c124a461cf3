#pragma once

// Every entry point of the simulated platform libraries, clusapi.dll's then
// resutils.dll's: SIMCLUSTER_ENTRY_POINTS(X) applies X to each name.
#define SIMCLUSTER_ENTRY_POINTS(X)                                                                                    \
    X(AddClusterResourceDependency)                                                                                   \
    X(AddClusterResourceNode) X(BackupClusterDatabase) X(ChangeClusterResourceGroup) X(CloseCluster)                  \
        X(CloseClusterGroup) X(CloseClusterNetwork) X(CloseClusterNode) X(CloseClusterResource) X(ClusterCloseEnum)   \
            X(ClusterControl) X(ClusterEnum) X(ClusterGroupCloseEnum) X(ClusterGroupEnum) X(ClusterGroupOpenEnum)     \
                X(ClusterNetworkControl) X(ClusterOpenEnum) X(ClusterResourceCloseEnum) X(ClusterResourceControl)     \
                    X(ClusterResourceEnum) X(ClusterResourceOpenEnum) X(CreateClusterGroup) X(CreateClusterResource)  \
                        X(DeleteClusterGroup) X(DeleteClusterResource) X(GetClusterGroupState)                        \
                            X(GetClusterInformation) X(GetClusterQuorumResource) X(GetClusterResourceNetworkName)     \
                                X(GetClusterResourceState) X(GetNodeClusterState) X(OfflineClusterResource)           \
                                    X(OnlineClusterGroup) X(OnlineClusterResource) X(OpenCluster) X(OpenClusterGroup) \
                                        X(OpenClusterNetwork) X(OpenClusterNode) X(OpenClusterResource)               \
                                            X(RemoveClusterResourceDependency) X(RemoveClusterResourceNode)           \
                                                X(RestoreClusterDatabase) X(ResUtilFindSzProperty)                    \
                                                    X(ResUtilFindDwordProperty) X(ClusterIsPathOnSharedVolume)        \
                                                        X(ClusterGetVolumePathName)                                   \
                                                            X(ClusterGetVolumeNameForVolumeMountPoint)                \
                                                                X(ClusterPrepareSharedVolumeForBackup)                \
                                                                    X(ClusterClearBackupStateForSharedVolume)

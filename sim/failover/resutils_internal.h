#pragma once

#include <windows.h>

// The resource utility entry points are implemented in the simulator's
// clusapi.dll, next to the cluster they read and the counters they keep;
// resutils.dll passes each call on to these.

#if defined(SIMCLUSTER_BUILDING)
#define SIMCLUSTER_INTERNAL
#else
#define SIMCLUSTER_INTERNAL __declspec(dllimport)
#endif

extern "C" {
SIMCLUSTER_INTERNAL DWORD WINAPI SimClusterInternal_ResUtilFindSzProperty(const void* list, DWORD size, LPCWSTR name,
                                                                          LPWSTR* value);
SIMCLUSTER_INTERNAL DWORD WINAPI SimClusterInternal_ResUtilFindDwordProperty(const void* list, DWORD size, LPCWSTR name,
                                                                             LPDWORD value);
SIMCLUSTER_INTERNAL BOOL WINAPI SimClusterInternal_ClusterIsPathOnSharedVolume(LPCWSTR path);
SIMCLUSTER_INTERNAL BOOL WINAPI SimClusterInternal_ClusterGetVolumePathName(LPCWSTR file, LPWSTR volumePath,
                                                                            DWORD length);
SIMCLUSTER_INTERNAL BOOL WINAPI SimClusterInternal_ClusterGetVolumeNameForVolumeMountPoint(LPCWSTR mountPoint,
                                                                                           LPWSTR volumeName,
                                                                                           DWORD length);
SIMCLUSTER_INTERNAL DWORD WINAPI SimClusterInternal_ClusterPrepareSharedVolumeForBackup(LPCWSTR file, LPWSTR volumePath,
                                                                                        LPDWORD volumePathLength,
                                                                                        LPWSTR volumeName,
                                                                                        LPDWORD volumeNameLength);
SIMCLUSTER_INTERNAL DWORD WINAPI SimClusterInternal_ClusterClearBackupStateForSharedVolume(LPCWSTR volumePath);
}

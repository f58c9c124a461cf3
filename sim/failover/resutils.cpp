// resutils.dll of the simulator: each entry point passes the call on to the
// simulator's clusapi.dll, which holds the cluster.

#include "resutils_internal.h"

extern "C" {

DWORD WINAPI ResUtilFindSzProperty(const void* list, DWORD size, LPCWSTR name, LPWSTR* value) {
    return SimClusterInternal_ResUtilFindSzProperty(list, size, name, value);
}

DWORD WINAPI ResUtilFindDwordProperty(const void* list, DWORD size, LPCWSTR name, LPDWORD value) {
    return SimClusterInternal_ResUtilFindDwordProperty(list, size, name, value);
}

BOOL WINAPI ClusterIsPathOnSharedVolume(LPCWSTR path) { return SimClusterInternal_ClusterIsPathOnSharedVolume(path); }

BOOL WINAPI ClusterGetVolumePathName(LPCWSTR file, LPWSTR volumePath, DWORD length) {
    return SimClusterInternal_ClusterGetVolumePathName(file, volumePath, length);
}

BOOL WINAPI ClusterGetVolumeNameForVolumeMountPoint(LPCWSTR mountPoint, LPWSTR volumeName, DWORD length) {
    return SimClusterInternal_ClusterGetVolumeNameForVolumeMountPoint(mountPoint, volumeName, length);
}

DWORD WINAPI ClusterPrepareSharedVolumeForBackup(LPCWSTR file, LPWSTR volumePath, LPDWORD volumePathLength,
                                                 LPWSTR volumeName, LPDWORD volumeNameLength) {
    return SimClusterInternal_ClusterPrepareSharedVolumeForBackup(file, volumePath, volumePathLength, volumeName,
                                                                  volumeNameLength);
}

DWORD WINAPI ClusterClearBackupStateForSharedVolume(LPCWSTR volumePath) {
    return SimClusterInternal_ClusterClearBackupStateForSharedVolume(volumePath);
}

}  // extern "C"

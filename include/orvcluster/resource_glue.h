#pragma once

#include "orvcluster/cluster_api.h"
#include "orvcluster/export.h"
#include "orvcluster/singleton.h"
#include "orvcluster/unique_handle.h"

// The failover cluster's resource utility library, resutils.dll, loaded by
// name once per process. A wrapper whose entry point is missing answers a
// fixed result (127 or FALSE) and leaves the last error alone.
class ORVCLUSTER_API ResourceGlue {
public:
    static orvclass::shared_ptr<ResourceGlue> GetInstance();

    // The two property-list lookups were found. The shared-volume functions
    // exist only on newer systems and are left out on purpose.
    bool OK() const;

    DWORD ResUtilFindSzProperty(const void* list, DWORD size, const wchar_t* name, wchar_t** found);
    DWORD ResUtilFindDwordProperty(const void* list, DWORD size, const wchar_t* name, DWORD* found);
    BOOL ClusterIsPathOnSharedVolume(const wchar_t* path);
    BOOL ClusterGetVolumePathName(const wchar_t* file, wchar_t* volumePath, DWORD length);
    BOOL ClusterGetVolumeNameForVolumeMountPoint(const wchar_t* mountPoint, wchar_t* volumeName,
                                                 DWORD length);
    DWORD ClusterPrepareSharedVolumeForBackup(const wchar_t* file, wchar_t* volumePath,
                                              DWORD* volumePathLength, wchar_t* volumeName,
                                              DWORD* volumeNameLength);
    DWORD ClusterClearBackupStateForSharedVolume(const wchar_t* volumePath);

    ResourceGlue(const ResourceGlue&) = delete;
    ResourceGlue& operator=(const ResourceGlue&) = delete;

private:
    friend class orvclass::singleton<ResourceGlue>;
    ResourceGlue();
    ~ResourceGlue();

    static constexpr size_t kEntryPoints = 7;

    orv::UniqueModule module_;
    // One address per entry point, in lookup order; null when not found.
    FARPROC entryPoints_[kEntryPoints] = {};
};

// resutils.dll, bound by name. None of the wrappers touches the last error.

#include "orvcluster/resource_glue.h"

#include "bindings/library_binding.h"

using orv::kMissingEntryPoint;

orvclass::shared_ptr<ResourceGlue> ResourceGlue::GetInstance() {
    return orvclass::singleton<ResourceGlue>::instance();
}

ResourceGlue::ResourceGlue() {
    module_ = orv::BindLibrary(
        L"resutils.dll",
        {
            {"ResUtilFindSzProperty", &resUtilFindSzProperty_},
            {"ResUtilFindDwordProperty", &resUtilFindDwordProperty_},
            {"ClusterIsPathOnSharedVolume", &clusterIsPathOnSharedVolume_},
            {"ClusterGetVolumePathName", &clusterGetVolumePathName_},
            {"ClusterGetVolumeNameForVolumeMountPoint", &clusterGetVolumeNameForVolumeMountPoint_},
            {"ClusterPrepareSharedVolumeForBackup", &clusterPrepareSharedVolumeForBackup_},
            {"ClusterClearBackupStateForSharedVolume", &clusterClearBackupStateForSharedVolume_},
        });
}

ResourceGlue::~ResourceGlue() {
    if (module_) FreeLibrary(module_);
}

bool ResourceGlue::OK() const { return resUtilFindSzProperty_ && resUtilFindDwordProperty_; }

DWORD ResourceGlue::ResUtilFindSzProperty(const void* list, DWORD size, const wchar_t* name,
                                          wchar_t** found) {
    return resUtilFindSzProperty_ ? resUtilFindSzProperty_(list, size, name, found)
                                  : kMissingEntryPoint;
}

DWORD ResourceGlue::ResUtilFindDwordProperty(const void* list, DWORD size, const wchar_t* name,
                                             DWORD* found) {
    return resUtilFindDwordProperty_ ? resUtilFindDwordProperty_(list, size, name, found)
                                     : kMissingEntryPoint;
}

BOOL ResourceGlue::ClusterIsPathOnSharedVolume(const wchar_t* path) {
    return clusterIsPathOnSharedVolume_ ? clusterIsPathOnSharedVolume_(path) : FALSE;
}

BOOL ResourceGlue::ClusterGetVolumePathName(const wchar_t* file, wchar_t* volumePath, DWORD length) {
    return clusterGetVolumePathName_ ? clusterGetVolumePathName_(file, volumePath, length) : FALSE;
}

BOOL ResourceGlue::ClusterGetVolumeNameForVolumeMountPoint(const wchar_t* mountPoint,
                                                           wchar_t* volumeName, DWORD length) {
    return clusterGetVolumeNameForVolumeMountPoint_
               ? clusterGetVolumeNameForVolumeMountPoint_(mountPoint, volumeName, length)
               : FALSE;
}

DWORD ResourceGlue::ClusterPrepareSharedVolumeForBackup(const wchar_t* file, wchar_t* volumePath,
                                                        DWORD* volumePathLength,
                                                        wchar_t* volumeName,
                                                        DWORD* volumeNameLength) {
    return clusterPrepareSharedVolumeForBackup_
               ? clusterPrepareSharedVolumeForBackup_(file, volumePath, volumePathLength, volumeName,
                                                      volumeNameLength)
               : kMissingEntryPoint;
}

DWORD ResourceGlue::ClusterClearBackupStateForSharedVolume(const wchar_t* volumePath) {
    return clusterClearBackupStateForSharedVolume_
               ? clusterClearBackupStateForSharedVolume_(volumePath)
               : kMissingEntryPoint;
}

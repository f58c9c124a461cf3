// resutils.dll, bound by name. None of the wrappers touches the last error.

#include "orvcluster/resource_glue.h"

#include "bindings/library_binding.h"

namespace {

// resutils.dll's entry points in lookup order, each with what its wrapper
// answers when it is missing.
#define RESUTILS_ENTRY_POINTS(X)                                                \
    X(ResUtilFindSzProperty, Code127)                                       \
    X(ResUtilFindDwordProperty, Code127)                                    \
    X(ClusterIsPathOnSharedVolume, Zero)                                    \
    X(ClusterGetVolumePathName, Zero)                                       \
    X(ClusterGetVolumeNameForVolumeMountPoint, Zero)                        \
    X(ClusterPrepareSharedVolumeForBackup, Code127)                         \
    X(ClusterClearBackupStateForSharedVolume, Code127)

ORV_BINDING_TABLE(RESUTILS_ENTRY_POINTS)

}  // namespace

orvclass::shared_ptr<ResourceGlue> ResourceGlue::GetInstance() {
    return orvclass::singleton<ResourceGlue>::instance();
}

ResourceGlue::ResourceGlue() {
    static_assert(kEntryPointCount == kEntryPoints, "one address per entry point");
    module_.Reset(orv::BindLibrary(L"resutils.dll", kNames, entryPoints_, kEntryPoints));
}

ResourceGlue::~ResourceGlue() = default;

// The shared-volume functions exist only on newer systems and are left out.
bool ResourceGlue::OK() const { return entryPoints_[kResUtilFindSzProperty] && entryPoints_[kResUtilFindDwordProperty]; }

DWORD ResourceGlue::ResUtilFindSzProperty(const void* list, DWORD size, const wchar_t* name,
                                          wchar_t** found) {
    return Forward<kResUtilFindSzProperty>(entryPoints_, list, size, name, found);
}

DWORD ResourceGlue::ResUtilFindDwordProperty(const void* list, DWORD size, const wchar_t* name,
                                             DWORD* found) {
    return Forward<kResUtilFindDwordProperty>(entryPoints_, list, size, name, found);
}

BOOL ResourceGlue::ClusterIsPathOnSharedVolume(const wchar_t* path) {
    return Forward<kClusterIsPathOnSharedVolume>(entryPoints_, path);
}

BOOL ResourceGlue::ClusterGetVolumePathName(const wchar_t* file, wchar_t* volumePath, DWORD length) {
    return Forward<kClusterGetVolumePathName>(entryPoints_, file, volumePath, length);
}

BOOL ResourceGlue::ClusterGetVolumeNameForVolumeMountPoint(const wchar_t* mountPoint,
                                                           wchar_t* volumeName, DWORD length) {
    return Forward<kClusterGetVolumeNameForVolumeMountPoint>(entryPoints_, mountPoint, volumeName, length);
}

DWORD ResourceGlue::ClusterPrepareSharedVolumeForBackup(const wchar_t* file, wchar_t* volumePath,
                                                        DWORD* volumePathLength,
                                                        wchar_t* volumeName,
                                                        DWORD* volumeNameLength) {
    return Forward<kClusterPrepareSharedVolumeForBackup>(entryPoints_, file, volumePath, volumePathLength, volumeName, volumeNameLength);
}

DWORD ResourceGlue::ClusterClearBackupStateForSharedVolume(const wchar_t* volumePath) {
    return Forward<kClusterClearBackupStateForSharedVolume>(entryPoints_, volumePath);
}

// The resource utility entry points: property lookups in a caller's list,
// and the cluster shared volume queries answered from the scenario.

#include <cstring>

#include "resutils_internal.h"
#include "simulator.h"
#include "text.h"

using namespace simcluster;

namespace {

const wchar_t kLongPrefix[] = L"\\\\?\\";

// Where a path lies on a cluster shared volume.
struct VolumeMatch {
    SharedVolume* volume = nullptr;
    std::wstring root;  // the volume's root as the path names it, with a trailing backslash
    std::wstring rest;  // what follows the root
};

bool MatchRoot(const std::wstring& path, const std::wstring& root, VolumeMatch& match) {
    if (SameName(path, root)) {
        match.rest.clear();
    } else if (StartsWithName(path, root + L"\\")) {
        match.rest = path.substr(root.size() + 1);
    } else {
        return false;
    }
    match.root = root + L"\\";
    return true;
}

// Finds the shared volume that holds `path`, named through its mount point
// (plain or with the "\\?\" prefix) or through its volume GUID path.
bool FindSharedVolume(Cluster& cluster, std::wstring path, VolumeMatch& match) {
    std::wstring prefix;
    if (StartsWithName(path, kLongPrefix)) {
        prefix = kLongPrefix;
        path = path.substr(prefix.size());
    }
    for (Resource& resource : cluster.resources) {
        for (SharedVolume& volume : resource.sharedVolumes) {
            // "\\?\Volume{GUID}\" without its prefix and trailing backslash
            std::wstring guidRoot = volume.volumeName.substr(4, volume.volumeName.size() - 5);
            if (MatchRoot(path, volume.path, match) || (!prefix.empty() && MatchRoot(path, guidRoot, match))) {
                match.volume = &volume;
                match.root = prefix + match.root;
                return true;
            }
        }
    }
    return false;
}

// Copies into a buffer of `length` characters, the way the volume path
// functions of the system do: too small is ERROR_FILENAME_EXCED_RANGE.
DWORD CopyPath(const std::wstring& text, wchar_t* buffer, DWORD length) {
    if (text.size() >= length) return ERROR_FILENAME_EXCED_RANGE;
    std::memcpy(buffer, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    return ERROR_SUCCESS;
}

// Copies into a buffer whose size the caller gives and gets back: the
// length written without the terminator, or ERROR_MORE_DATA and the size
// needed with the terminator.
DWORD CopySized(const std::wstring& text, wchar_t* buffer, DWORD* length) {
    DWORD needed = static_cast<DWORD>(text.size() + 1);
    if (!buffer || *length < needed) {
        *length = needed;
        return ERROR_MORE_DATA;
    }
    std::memcpy(buffer, text.c_str(), needed * sizeof(wchar_t));
    *length = needed - 1;
    return ERROR_SUCCESS;
}

// A system call made on the caller's behalf: its result, and its error on failure.
DWORD SystemResult(BOOL done) { return done ? ERROR_SUCCESS : GetLastError(); }

}  // namespace

extern "C" {

DWORD WINAPI SimClusterInternal_ResUtilFindSzProperty(const void* list, DWORD size, LPCWSTR name, LPWSTR* value) {
    return RunEntryPoint(EntryPoint::ResUtilFindSzProperty, [&](Simulator&) -> DWORD {
        FoundValue found;
        DWORD error = FindProperty(list, size, name, found);
        if (error != ERROR_SUCCESS) return error;
        PropertyValue property = BinaryValue(found.data, found.length, found.syntax);
        if (!property.IsString()) return ERROR_INVALID_DATA;
        if (!value) return ERROR_SUCCESS;
        std::wstring text = property.Text();
        wchar_t* copy = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, (text.size() + 1) * sizeof(wchar_t)));
        if (!copy) return ERROR_NOT_ENOUGH_MEMORY;
        std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
        *value = copy;
        return ERROR_SUCCESS;
    });
}

DWORD WINAPI SimClusterInternal_ResUtilFindDwordProperty(const void* list, DWORD size, LPCWSTR name, LPDWORD value) {
    return RunEntryPoint(EntryPoint::ResUtilFindDwordProperty, [&](Simulator&) -> DWORD {
        FoundValue found;
        DWORD error = FindProperty(list, size, name, found);
        if (error != ERROR_SUCCESS) return error;
        if ((found.syntax & 0xFFFF) != CLUSPROP_FORMAT_DWORD || found.length != sizeof(DWORD))
            return ERROR_INVALID_DATA;
        if (value) std::memcpy(value, found.data, sizeof(DWORD));
        return ERROR_SUCCESS;
    });
}

BOOL WINAPI SimClusterInternal_ClusterIsPathOnSharedVolume(LPCWSTR path) {
    BOOL onVolume = FALSE;
    DWORD error = RunEntryPoint(EntryPoint::ClusterIsPathOnSharedVolume, [&](Simulator& simulator) -> DWORD {
        if (!path) return ERROR_INVALID_PARAMETER;
        VolumeMatch match;
        onVolume = FindSharedVolume(simulator.cluster, path, match);
        return ERROR_SUCCESS;
    });
    if (error != ERROR_SUCCESS) SetLastError(error);
    return onVolume;
}

BOOL WINAPI SimClusterInternal_ClusterGetVolumePathName(LPCWSTR file, LPWSTR volumePath, DWORD length) {
    bool emptyPath = false;
    BOOL done = RunBoolEntryPoint(EntryPoint::ClusterGetVolumePathName, [&](Simulator& simulator) -> DWORD {
        if (!file || !volumePath) return ERROR_INVALID_PARAMETER;
        emptyPath = !*file;
        if (emptyPath) return ERROR_SUCCESS;
        VolumeMatch match;
        if (FindSharedVolume(simulator.cluster, file, match)) return CopyPath(match.root, volumePath, length);
        return SystemResult(GetVolumePathNameW(file, volumePath, length));
    });
    // An empty path fails with no error to tell, as documented.
    if (emptyPath) {
        SetLastError(ERROR_SUCCESS);
        return FALSE;
    }
    return done;
}

BOOL WINAPI SimClusterInternal_ClusterGetVolumeNameForVolumeMountPoint(LPCWSTR mountPoint, LPWSTR volumeName,
                                                                       DWORD length) {
    return RunBoolEntryPoint(EntryPoint::ClusterGetVolumeNameForVolumeMountPoint, [&](Simulator& simulator) -> DWORD {
        if (!mountPoint || !volumeName) return ERROR_INVALID_PARAMETER;
        std::wstring path(mountPoint);
        bool longForm = StartsWithName(path, kLongPrefix);
        if (longForm && !StartsWithName(path, L"\\\\?\\Volume{") && !StartsWithName(path, L"\\\\?\\GLOBALROOT\\"))
            return ERROR_INVALID_PARAMETER;
        VolumeMatch match;
        if (!FindSharedVolume(simulator.cluster, path, match))
            return SystemResult(GetVolumeNameForVolumeMountPointW(mountPoint, volumeName, length));
        if (!match.rest.empty()) return ERROR_INVALID_NAME;  // a folder or file inside the volume
        if (path.back() != L'\\') return ERROR_INVALID_PARAMETER;
        if (match.volume->redirected) return ERROR_CSV_VOLUME_NOT_LOCAL;
        return CopyPath(match.volume->volumeName, volumeName, length);
    });
}

DWORD WINAPI SimClusterInternal_ClusterPrepareSharedVolumeForBackup(LPCWSTR file, LPWSTR volumePath,
                                                                    LPDWORD volumePathLength, LPWSTR volumeName,
                                                                    LPDWORD volumeNameLength) {
    return RunEntryPoint(EntryPoint::ClusterPrepareSharedVolumeForBackup, [&](Simulator& simulator) -> DWORD {
        VolumeMatch match;
        if (!file || !volumePathLength || !volumeNameLength || !FindSharedVolume(simulator.cluster, file, match))
            return ERROR_INVALID_PARAMETER;
        SharedVolume& volume = *match.volume;
        DWORD error = CopySized(volume.path + L"\\", volumePath, volumePathLength);
        DWORD nameError = CopySized(volume.volumeName, volumeName, volumeNameLength);
        if (error == ERROR_SUCCESS) error = nameError;
        if (error == ERROR_SUCCESS) volume.backupInProgress = true;
        return error;
    });
}

DWORD WINAPI SimClusterInternal_ClusterClearBackupStateForSharedVolume(LPCWSTR volumePath) {
    return RunEntryPoint(EntryPoint::ClusterClearBackupStateForSharedVolume, [&](Simulator& simulator) -> DWORD {
        VolumeMatch match;
        if (!volumePath || !FindSharedVolume(simulator.cluster, volumePath, match)) return ERROR_INVALID_PARAMETER;
        match.volume->backupInProgress = false;
        return ERROR_SUCCESS;
    });
}

}  // extern "C"

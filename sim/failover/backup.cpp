#include "backup.h"

#include <cwctype>

#include "text.h"
#include "scenario.h"

namespace simcluster {

namespace {

const wchar_t kSnapshot[] = L"chk0001.tmp";
const wchar_t kQuorumLog[] = L"quolog.log";
const wchar_t kMarker[] = L"Clusbackup.dat";

std::wstring InFolder(std::wstring folder, const wchar_t* file) {
    if (!folder.empty() && folder.back() != L'\\' && folder.back() != L'/') folder += L'\\';
    return folder + file;
}

// The folder must exist and be a folder: a file name gives ERROR_DIRECTORY.
DWORD CheckFolder(const std::wstring& folder) {
    if (folder.empty()) return ERROR_INVALID_PARAMETER;
    DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? DWORD(ERROR_PATH_NOT_FOUND) : error;
    }
    return attributes & FILE_ATTRIBUTE_DIRECTORY ? DWORD(ERROR_SUCCESS) : DWORD(ERROR_DIRECTORY);
}

bool ValidDrive(const wchar_t* drive) { return iswalpha(drive[0]) && drive[1] == L':' && drive[2] == L'\0'; }

}  // namespace

bool DatabaseBackupRemoved(const Cluster& cluster) { return cluster.present && !cluster.BeforeVersion6(); }

DWORD BackupDatabase(Cluster& cluster, const std::wstring& folder) {
    DWORD error = CheckFolder(folder);
    if (error != ERROR_SUCCESS) return error;
    if (!WriteWholeFile(InFolder(folder, kSnapshot), WriteScenario(cluster)) ||
        !WriteWholeFile(InFolder(folder, kQuorumLog), std::string()) ||
        !WriteWholeFile(InFolder(folder, kMarker), std::string(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN))
        return GetLastError();
    return ERROR_SUCCESS;
}

DWORD RestoreDatabase(Cluster& cluster, const std::wstring& folder, bool force, const wchar_t* quorumDrive) {
    if (quorumDrive && !ValidDrive(quorumDrive)) return ERROR_INVALID_PARAMETER;
    DWORD error = CheckFolder(folder);
    if (error != ERROR_SUCCESS) return error;
    std::string snapshot;
    if (GetFileAttributesW(InFolder(folder, kMarker).c_str()) == INVALID_FILE_ATTRIBUTES ||
        !ReadWholeFile(InFolder(folder, kSnapshot), snapshot))
        return ERROR_FILE_NOT_FOUND;
    bool othersUp = false;
    for (const Node& node : cluster.nodes)
        othersUp = othersUp || (node.id != cluster.localNode && node.state != ClusterNodeDown);
    if (othersUp && !force) return ERROR_CLUSTER_NODE_UP;
    Cluster restored;
    try {
        restored = ReadScenario(snapshot);
    } catch (const ScenarioError&) {
        return ERROR_INVALID_DATA;
    }
    if (othersUp)
        for (Node& node : restored.nodes)
            if (node.id != restored.localNode) node.state = ClusterNodeDown;
    cluster = std::move(restored);
    return ERROR_SUCCESS;
}

}  // namespace simcluster

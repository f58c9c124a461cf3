#pragma once

#include <windows.h>

#include <string>

#include "model.h"

// Backup and restore of the cluster database. A backup folder holds the
// files the platform documents: the snapshot "chk0001.tmp" (here the cluster
// as a scenario), the quorum log "quolog.log" and the completion marker
// "Clusbackup.dat" (empty, read-only, hidden).

namespace simcluster {

// The platform removed both functions in Windows Server 2008: on a cluster
// of version 6.0 or later they do nothing and answer
// ERROR_CALL_NOT_IMPLEMENTED, whatever their arguments.
bool DatabaseBackupRemoved(const Cluster& cluster);

DWORD BackupDatabase(Cluster& cluster, const std::wstring& folder);

// Replaces the cluster by the one in the backup. Without `force` it refuses
// while nodes other than this one are up (ERROR_CLUSTER_NODE_UP); with it,
// the cluster service of those nodes is stopped (they come back down).
DWORD RestoreDatabase(Cluster& cluster, const std::wstring& folder, bool force, const wchar_t* quorumDrive);

}  // namespace simcluster

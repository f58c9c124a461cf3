// Restoring the failover cluster's database, for the product's disaster recovery.

#include "orvcluster/cluster.h"
#include "orvcluster/mscs_cluster_glue.h"

bool Cluster::RestoreDatabase(const wchar_t* path, int force, const wchar_t* quorumDrive) {
    DWORD result = MSCSClusterGlue::GetInstance()->RestoreClusterDatabase(path, force, quorumDrive);
    if (result == ERROR_SUCCESS) return true;
    SetLastError(result);
    return false;
}

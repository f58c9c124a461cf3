#pragma once

#include <windows.h>

#include "orvcluster/cluster_resource.h"

namespace orv {

// The partitions in a disk or shared-volume value list: PARTITION_INFO_EX
// entries always, plain PARTITION_INFO entries when asked. Never null; a
// missing or damaged list gives what could be read of it.
MSCSPartitionList ReadPartitions(const unsigned char* list, DWORD size, bool withPlainPartitions);

}  // namespace orv

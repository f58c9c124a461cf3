// Partition records of the disk and shared-volume value lists.

#include "failover/partition_list.h"

#include "failover/value_list.h"

namespace orv {

MSCSPartitionList ReadPartitions(const unsigned char* list, DWORD size, bool withPlainPartitions) {
    auto partitions = boost::shared_ptr<std::list<boost::shared_ptr<MSCSPartitionInfo>>>(
        new std::list<boost::shared_ptr<MSCSPartitionInfo>>());
    orv::ForEachValue(list, size, [&](const orv::ValueEntry& entry) {
        CLUS_PARTITION_INFO_EX extended;
        CLUS_PARTITION_INFO plain;
        if (entry.syntax == CLUSPROP_SYNTAX_PARTITION_INFO_EX && orv::ReadRecord(entry, extended)) {
            partitions->push_back(boost::shared_ptr<MSCSPartitionInfo>(new MSCSPartitionInfo(
                orv::FieldText(extended.szDeviceName), orv::FieldText(extended.szVolumeLabel),
                extended.VolumeGuid, extended.PartitionNumber)));
        } else if (withPlainPartitions && entry.syntax == CLUSPROP_SYNTAX_PARTITION_INFO &&
                   orv::ReadRecord(entry, plain)) {
            partitions->push_back(boost::shared_ptr<MSCSPartitionInfo>(
                new MSCSPartitionInfo(orv::FieldText(plain.szDeviceName),
                                      orv::FieldText(plain.szVolumeLabel), GUID(), 0xFFFFFFFF)));
        }
    });
    return partitions;
}

}  // namespace orv

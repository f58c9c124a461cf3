#include "controls.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "state.h"
#include "text.h"

namespace simcluster {

namespace {

// Hands an answer to the caller. A buffer too small gets ERROR_MORE_DATA
// and the size needed; no buffer at all (null, size 0) is the documented
// way to ask for the size, answered with ERROR_SUCCESS and the size.
DWORD Reply(const std::vector<BYTE>& data, const ControlCall& call) {
    if (!call.output && call.outputSize != 0) return ERROR_INVALID_PARAMETER;
    DWORD size = static_cast<DWORD>(data.size());
    if (call.returned) *call.returned = size;
    if (!call.output) return ERROR_SUCCESS;
    if (call.outputSize < size) return ERROR_MORE_DATA;
    if (size) std::memcpy(call.output, data.data(), size);
    return ERROR_SUCCESS;
}

DWORD NoReply(const ControlCall& call) {
    if (call.returned) *call.returned = 0;
    return ERROR_SUCCESS;
}

template <class T>
std::vector<BYTE> BytesOf(const T& record) {
    const BYTE* first = reinterpret_cast<const BYTE*>(&record);
    return std::vector<BYTE>(first, first + sizeof record);
}

std::vector<BYTE> TextBytes(const std::wstring& text) { return StringValue(text).data; }

// The input of the checkpoint controls: a key name below HKEY_LOCAL_MACHINE.
bool InputText(const ControlCall& call, std::wstring& text) {
    if (!call.input || call.inputSize < sizeof(wchar_t)) return false;
    text.assign(call.inputSize / sizeof(wchar_t), L'\0');
    std::memcpy(&text[0], call.input, text.size() * sizeof(wchar_t));
    text.resize(std::min(text.size(), text.find(L'\0')));
    return true;
}

bool ValidCheckpointKey(const std::wstring& key) { return !key.empty() && key.front() != L'\\'; }

template <size_t N>
void CopyText(wchar_t (&field)[N], const std::wstring& text) {
    wcsncpy(field, text.c_str(), N - 1);
    field[N - 1] = L'\0';
}

template <class Record>
void FillPartition(Record& record, const Partition& partition) {
    record.dwFlags = partition.flags;
    CopyText(record.szDeviceName, partition.device);
    CopyText(record.szVolumeLabel, partition.label);
    record.dwSerialNumber = partition.serialNumber;
    record.rgdwMaximumComponentLength = partition.maximumComponentLength;
    record.dwFileSystemFlags = partition.fileSystemFlags;
    CopyText(record.szFileSystem, partition.fileSystem);
}

CLUS_PARTITION_INFO_EX ExtendedRecord(const Partition& partition) {
    CLUS_PARTITION_INFO_EX record = {};
    FillPartition(record, partition);
    record.TotalSizeInBytes.QuadPart = partition.totalSize;
    record.FreeSizeInBytes.QuadPart = partition.freeSize;
    record.DeviceNumber = partition.deviceNumber;
    record.PartitionNumber = partition.number;
    record.VolumeGuid = partition.volumeGuid;
    return record;
}

// The value list of the disk information controls: signature, SCSI
// address, disk number and size, then one entry per partition.
std::vector<BYTE> DiskInformation(const Resource& resource, bool extended) {
    Disk disk = resource.disk ? *resource.disk : Disk();
    ValueListWriter writer;
    writer.AddDword(CLUSPROP_SYNTAX_DISK_SIGNATURE, disk.signature);
    writer.AddDword(CLUSPROP_SYNTAX_SCSI_ADDRESS, disk.scsiAddress);
    writer.AddDword(CLUSPROP_SYNTAX_DISK_NUMBER, disk.diskNumber);
    writer.Add(CLUSPROP_SYNTAX_DISK_SIZE, &disk.size, sizeof disk.size);
    for (const Partition& partition : disk.partitions) {
        if (extended) {
            CLUS_PARTITION_INFO_EX record = ExtendedRecord(partition);
            writer.Add(CLUSPROP_SYNTAX_PARTITION_INFO_EX, &record, sizeof record);
        } else {
            CLUS_PARTITION_INFO record = {};
            FillPartition(record, partition);
            writer.Add(CLUSPROP_SYNTAX_PARTITION_INFO, &record, sizeof record);
        }
    }
    writer.EndMark();
    return std::move(writer.Bytes());
}

std::vector<BYTE> SharedVolumePartitions(const Resource& resource) {
    ValueListWriter writer;
    if (resource.disk)
        for (const Partition& partition : resource.disk->partitions) {
            CLUS_PARTITION_INFO_EX record = ExtendedRecord(partition);
            writer.Add(CLUSPROP_SYNTAX_PARTITION_INFO_EX, &record, sizeof record);
        }
    writer.EndMark();
    return std::move(writer.Bytes());
}

std::vector<BYTE> SharedVolumeInformation(const Resource& resource) {
    ValueListWriter writer;
    for (const SharedVolume& volume : resource.sharedVolumes) {
        CLUS_CSV_VOLUME_INFO record = {};
        record.VolumeOffset.QuadPart = volume.offset;
        record.PartitionNumber = volume.partitionNumber;
        record.FaultState = static_cast<CLUSTER_CSV_VOLUME_FAULT_STATE>(
            volume.faultState | (volume.redirected ? VolumeStateNoDirectIO : VolumeStateNoFaults));
        record.BackupState = volume.backupInProgress ? VolumeBackupInProgress : VolumeBackupNone;
        CopyText(record.szVolumeFriendlyName, volume.friendlyName);
        CopyText(record.szVolumeName, volume.volumeName);
        writer.Add(CLUSPROP_SYNTAX_LIST_VALUE_BINARY, &record, sizeof record);
    }
    writer.EndMark();
    return std::move(writer.Bytes());
}

std::vector<PropertyMap::Entry> CommonProperties(const Resource& resource) {
    std::vector<PropertyMap::Entry> properties{{L"Name", StringValue(resource.name)}};
    properties.insert(properties.end(), resource.common.Entries().begin(), resource.common.Entries().end());
    return properties;
}

// The properties of a list a caller sends. A caller may not send an
// expanded string: the platform only ever hands those out.
DWORD ReadChanges(const ControlCall& call, std::vector<PropertyMap::Entry>& properties) {
    DWORD result = ParsePropertyList(call.input, call.inputSize, properties);
    if (result != ERROR_SUCCESS) return result;
    for (const PropertyMap::Entry& property : properties)
        if (property.second.syntax == kExpandedSzSyntax) return ERROR_INVALID_PARAMETER;
    return ERROR_SUCCESS;
}

// Merges a property list into the resource's common properties. A common
// property keeps its format; "Name" renames the resource.
DWORD SetCommonProperties(Cluster& cluster, Resource& resource, const ControlCall& call) {
    std::vector<PropertyMap::Entry> properties;
    DWORD result = ReadChanges(call, properties);
    if (result != ERROR_SUCCESS) return result;
    for (const PropertyMap::Entry& property : properties) {
        if (SameName(property.first, L"Name")) {
            Resource* other = cluster.FindResource(property.second.Text());
            if (!property.second.IsString() || property.second.Text().empty()) return ERROR_INVALID_PARAMETER;
            if (other && other != &resource) return ERROR_OBJECT_ALREADY_EXISTS;
            continue;
        }
        const PropertyValue* current = resource.common.Find(property.first);
        if (current && current->Format() != property.second.Format()) return ERROR_INVALID_PARAMETER;
    }
    for (const PropertyMap::Entry& property : properties) {
        if (SameName(property.first, L"Name"))
            cluster.RenameResource(resource, property.second.Text());
        else
            resource.common.Set(property.first, property.second);
    }
    return NoReply(call);
}

// Merges a property list into the private properties. An online resource
// keeps them for its next start: ERROR_RESOURCE_PROPERTIES_STORED.
DWORD SetPrivateProperties(Resource& resource, const ControlCall& call) {
    std::vector<PropertyMap::Entry> properties;
    DWORD result = ReadChanges(call, properties);
    if (result != ERROR_SUCCESS) return result;
    for (const PropertyMap::Entry& property : properties)
        resource.privateProperties.Set(property.first, property.second);
    NoReply(call);
    return CurrentState(resource) == ClusterResourceOnline ? ERROR_RESOURCE_PROPERTIES_STORED : ERROR_SUCCESS;
}

DWORD AddCheckpoint(Resource& resource, const ControlCall& call) {
    std::wstring key;
    if (!InputText(call, key) || !ValidCheckpointKey(key)) return ERROR_INVALID_PARAMETER;
    for (const std::wstring& existing : resource.checkpoints)
        if (SameName(existing, key)) return ERROR_ALREADY_EXISTS;
    resource.checkpoints.push_back(key);
    return NoReply(call);
}

DWORD DeleteCheckpoint(Resource& resource, const ControlCall& call) {
    std::wstring key;
    if (!InputText(call, key) || !ValidCheckpointKey(key)) return ERROR_INVALID_PARAMETER;
    for (auto it = resource.checkpoints.begin(); it != resource.checkpoints.end(); ++it) {
        if (SameName(*it, key)) {
            resource.checkpoints.erase(it);
            return NoReply(call);
        }
    }
    return ERROR_FILE_NOT_FOUND;
}

// The checkpoints as strings one after the other, each terminated, and a
// final terminator; nothing at all when there is none.
std::vector<BYTE> CheckpointList(const Resource& resource) {
    std::wstring all;
    for (const std::wstring& key : resource.checkpoints) all += key + L'\0';
    if (!all.empty()) all += L'\0';
    const BYTE* first = reinterpret_cast<const BYTE*>(all.data());
    return std::vector<BYTE>(first, first + all.size() * sizeof(wchar_t));
}

}  // namespace

DWORD ControlResource(Cluster& cluster, Resource& resource, const ControlCall& call) {
    switch (call.code) {
        case CLUSCTL_RESOURCE_GET_CLASS_INFO: {
            // The class the resource's type gives (see StandardResourceTypes).
            CLUS_RESOURCE_CLASS_INFO info{resource.resourceClass, resource.subClass};
            return Reply(BytesOf(info), call);
        }
        case CLUSCTL_RESOURCE_GET_RESOURCE_TYPE:
            return Reply(TextBytes(resource.type.Text()), call);
        case CLUSCTL_RESOURCE_GET_COMMON_PROPERTIES:
            return Reply(BuildPropertyList(CommonProperties(resource)), call);
        case CLUSCTL_RESOURCE_GET_RO_COMMON_PROPERTIES:
            return Reply(BuildPropertyList({{L"Type", StringValue(resource.type.Text())},
                                            {L"Characteristics", DwordValue(0)},
                                            {L"Flags", DwordValue(resource.core ? 1 : 0)}}),
                         call);
        case CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES:
            return SetCommonProperties(cluster, resource, call);
        case CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES:
            return Reply(BuildPropertyList(resource.privateProperties.Entries()), call);
        case CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES:
            return SetPrivateProperties(resource, call);
        case CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT:
            return AddCheckpoint(resource, call);
        case CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT:
            return DeleteCheckpoint(resource, call);
        case CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS:
            return Reply(CheckpointList(resource), call);
        case CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO:
        case CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX:
            if (resource.resourceClass != CLUS_RESCLASS_STORAGE) return ERROR_INVALID_FUNCTION;
            return Reply(DiskInformation(resource, call.code == CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX), call);
        case CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO:
            if (!cluster.IsSharedVolume(resource)) return ERROR_INVALID_FUNCTION;
            if (CurrentState(resource) != ClusterResourceOnline) return ERROR_RESOURCE_NOT_ONLINE;
            return Reply(SharedVolumeInformation(resource), call);
        case CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO:
            if (!cluster.IsSharedVolume(resource)) return ERROR_INVALID_FUNCTION;
            return Reply(SharedVolumePartitions(resource), call);
        default:
            return ERROR_INVALID_FUNCTION;
    }
}

DWORD ControlCluster(Cluster& cluster, const ControlCall& call) {
    switch (call.code) {
        case CLUSCTL_CLUSTER_GET_COMMON_PROPERTIES:
            return Reply(BuildPropertyList(cluster.commonProperties.Entries()), call);
        case CLUSCTL_CLUSTER_GET_RO_COMMON_PROPERTIES:
            return Reply(BuildPropertyList(cluster.readOnlyCommonProperties.Entries()), call);
        default:
            return ERROR_INVALID_FUNCTION;
    }
}

DWORD ControlNetwork(Network& network, const ControlCall& call) {
    switch (call.code) {
        case CLUSCTL_NETWORK_GET_COMMON_PROPERTIES:
            return Reply(BuildPropertyList({{L"Name", StringValue(network.name)},
                                            {L"Description", StringValue(network.description)},
                                            {L"Role", DwordValue(network.role)}}),
                         call);
        case CLUSCTL_NETWORK_GET_RO_COMMON_PROPERTIES:
            return Reply(BuildPropertyList({{L"Address", StringValue(network.address)},
                                            {L"AddressMask", StringValue(network.addressMask)}}),
                         call);
        default:
            return ERROR_INVALID_FUNCTION;
    }
}

}  // namespace simcluster

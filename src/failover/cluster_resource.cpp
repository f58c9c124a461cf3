// Failover cluster resources: state changes with their wait, and the
// questions the backend asks of a resource.

#include "orvcluster/cluster_resource.h"

#include "failover/partition_list.h"
#include "orvcluster/cluster_control.h"
#include "failover/value_list.h"
#include "host/clock.h"
#include "orvcluster/mscs_cluster_glue.h"
#include "orvcluster/resource_glue.h"
#include "support/text.h"

namespace {

constexpr DWORD kPollMilliseconds = 1000;
constexpr DWORD kGroupNameChars = 256;
constexpr DWORD kNodeNameChars = 16;  // a computer name's longest, deliberately
constexpr DWORD kNetworkNameChars = 256;

bool Fail(DWORD error) {
    SetLastError(error);
    return false;
}

enum class WhichName { OwnerNode, Group };

// The owner node or the group of a resource, as its state query names them
// into a buffer of `chars` characters; cleared when the state is unknown.
bool NameFromState(HRESOURCE resource, WhichName which, DWORD chars, std::wstring& name) {
    wchar_t buffer[kGroupNameChars] = {};
    DWORD length = chars;
    const bool group = which == WhichName::Group;
    if (MSCSClusterGlue::GetInstance()->GetClusterResourceState(
            resource, group ? nullptr : buffer, group ? nullptr : &length, group ? buffer : nullptr,
            group ? &length : nullptr) == ClusterResourceStateUnknown) {
        name.clear();
        return false;
    }
    name = orv::FieldText(buffer);
    return true;
}

// Reads a value list once, for the objects that keep one.
void CacheControlOutput(HRESOURCE resource, std::initializer_list<DWORD> codes,
                        unsigned char*& list, DWORD& size) {
    DWORD result = ERROR_INVALID_FUNCTION;
    for (DWORD code : codes) {
        orv::ControlOutput output;
        result = orv::ResourceControl(resource, code, nullptr, 0, output);
        if (result == ERROR_SUCCESS) {
            size = output.Size();
            list = output.Release();
            return;
        }
    }
    SetLastError(result);
}

}  // namespace

MSCSPartitionInfo::MSCSPartitionInfo(const std::wstring& deviceName, const std::wstring& volumeLabel,
                                     const GUID& volumeGuid, DWORD partitionNumber)
    : deviceName_(deviceName),
      volumeLabel_(volumeLabel),
      volumeGuid_(volumeGuid),
      partitionNumber_(partitionNumber) {}

ClusterResource::ClusterResource(const std::wstring& name) : handle_(nullptr), name_(name) {}

ClusterResource::ClusterResource(HRESOURCE resource, const std::wstring& name)
    : handle_(resource), name_(name) {}

ClusterResource::~ClusterResource() {
    if (handle_) MSCSClusterGlue::GetInstance()->CloseClusterResource(handle_);
}

const std::wstring* ClusterResource::GetResourceName() const { return &name_; }

bool ClusterResource::TakeOffline(DWORD timeoutMs) {
    return ChangeState(MSCSClusterGlue::GetInstance()->OfflineClusterResource(handle_),
                       ClusterResourceOffline, timeoutMs);
}

bool ClusterResource::BringOnline(DWORD timeoutMs) {
    return ChangeState(MSCSClusterGlue::GetInstance()->OnlineClusterResource(handle_),
                       ClusterResourceOnline, timeoutMs);
}

bool ClusterResource::ChangeState(DWORD result, CLUSTER_RESOURCE_STATE target, DWORD timeoutMs) {
    if (result == ERROR_SUCCESS) return true;
    if (result == ERROR_IO_PENDING && WaitForState(target, timeoutMs)) return true;
    return Fail(result);
}

bool ClusterResource::WaitForState(CLUSTER_RESOURCE_STATE target, DWORD timeoutMs) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    DWORD remaining = timeoutMs;
    CLUSTER_RESOURCE_STATE state = glue->GetClusterResourceState(handle_, nullptr, nullptr, nullptr, nullptr);
    while (state != target) {
        if (state == ClusterResourceStateUnknown || state == ClusterResourceFailed || remaining == 0)
            return false;
        const DWORD pause = remaining > kPollMilliseconds ? kPollMilliseconds : remaining;
        orv::ClockSleep(pause);
        remaining -= pause;
        state = glue->GetClusterResourceState(handle_, nullptr, nullptr, nullptr, nullptr);
    }
    return true;
}

bool ClusterResource::GetGroupName(std::wstring& group) {
    return NameFromState(handle_, WhichName::Group, kGroupNameChars, group);
}

bool ClusterResource::GetNodeName(std::wstring& node) {
    return NameFromState(handle_, WhichName::OwnerNode, kNodeNameChars, node);
}

bool ClusterResource::GetNetworkName(std::wstring& name) {
    wchar_t buffer[kNetworkNameChars] = {};
    DWORD length = kNetworkNameChars;
    if (!MSCSClusterGlue::GetInstance()->GetClusterResourceNetworkName(handle_, buffer, &length)) {
        name.clear();
        return false;
    }
    name = orv::FieldText(buffer);
    return true;
}

bool ClusterResource::MatchNetworkName(const std::wstring& name) {
    std::wstring networkName;
    if (!GetNetworkName(networkName)) return false;
    return orv::EqualsIgnoreCase(orv::SkipLeadingBackslashes(name.c_str()),
                                 orv::SkipLeadingBackslashes(networkName.c_str()));
}

bool ClusterResource::GetPendingTimeout(DWORD& milliseconds) {
    orv::ControlOutput properties;
    DWORD result =
        orv::ResourceControl(handle_, CLUSCTL_RESOURCE_GET_COMMON_PROPERTIES, nullptr, 0, properties);
    if (result != ERROR_SUCCESS) return Fail(result);
    result = ResourceGlue::GetInstance()->ResUtilFindDwordProperty(
        properties.Data(), properties.Size(), L"PendingTimeout", &milliseconds);
    return result == ERROR_SUCCESS || Fail(result);
}

bool ClusterResource::GetTypeName(std::wstring& type) {
    orv::ControlOutput output;
    DWORD result = orv::ResourceControl(handle_, CLUSCTL_RESOURCE_GET_RESOURCE_TYPE, nullptr, 0, output);
    if (result != ERROR_SUCCESS) {
        type.clear();
        return Fail(result);
    }
    type = orv::BoundedText(reinterpret_cast<const wchar_t*>(output.Data()), output.Size() / sizeof(wchar_t));
    return true;
}

bool ClusterResource::GetClassInfoW(CLUS_RESOURCE_CLASS_INFO* classInfo) {
    if (!classInfo) return Fail(ERROR_INVALID_PARAMETER);
    DWORD returned = 0;
    DWORD result = MSCSClusterGlue::GetInstance()->ClusterResourceControl(
        handle_, nullptr, CLUSCTL_RESOURCE_GET_CLASS_INFO, nullptr, 0, classInfo, sizeof(*classInfo),
        &returned);
    return result == ERROR_SUCCESS || Fail(result);
}

DWORD ClusterResource::RecheckpointRegistry(const wchar_t* key) {
    if (!key) return ERROR_INVALID_PARAMETER;
    // A checkpoint that did not exist is no reason to stop.
    orv::RegistryCheckpointControl(handle_, CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, key);
    return orv::RegistryCheckpointControl(handle_, CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, key);
}

bool ClusterResource::GetPrivateProperties(ClusterPropertyList& properties) {
    orv::ControlOutput output;
    DWORD result =
        orv::ResourceControl(handle_, CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES, nullptr, 0, output);
    if (result != ERROR_SUCCESS) return Fail(result);
    properties.Assign(output.Data(), output.Size());
    return true;
}

bool ClusterResource::GetPrivateString(const wchar_t* property, std::wstring& value) {
    ClusterPropertyList properties;
    if (!GetPrivateProperties(properties)) {
        value.clear();
        return false;
    }
    return properties.GetValue(property, value);
}

ClusterDiskResource::ClusterDiskResource(HRESOURCE resource, const std::wstring& name)
    : ClusterResource(resource, name) {
    CacheControlOutput(handle_,
                       {CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX, CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO},
                       diskInfo_, diskInfoSize_);
}

ClusterDiskResource::~ClusterDiskResource() { std::free(diskInfo_); }

bool ClusterDiskResource::GetSignature(DWORD& signature) {
    ClusterPropertyList properties;
    return GetPrivateProperties(properties) && properties.GetValue(L"Signature", signature);
}

bool ClusterDiskResource::GetDrives(std::list<std::wstring>& drives) const {
    drives.clear();
    if (!diskInfo_) return false;
    const MSCSPartitionList partitions = orv::ReadPartitions(diskInfo_, diskInfoSize_, true);
    for (const auto& partition : *partitions) drives.push_back(partition->GetDeviceName());
    return !drives.empty();
}

MSCSPartitionList ClusterDiskResource::GetPartitionInfo() const {
    return orv::ReadPartitions(diskInfo_, diskInfoSize_, true);
}

ClusterIPResource::ClusterIPResource(HRESOURCE resource, const std::wstring& name)
    : ClusterResource(resource, name) {}

bool ClusterIPResource::GetIPAddress(std::wstring& address) {
    return GetPrivateString(L"Address", address);
}

ClusterNetworkNameResource::ClusterNetworkNameResource(HRESOURCE resource, const std::wstring& name)
    : ClusterResource(resource, name) {}

bool ClusterNetworkNameResource::GetNetworkName(std::wstring& name) {
    return GetPrivateString(L"Name", name);
}

bool ClusterNetworkNameResource::GetDNSName(std::wstring& name) {
    return GetPrivateString(L"DnsName", name);
}

ClusterServiceResource::ClusterServiceResource(HRESOURCE resource, const std::wstring& name)
    : ClusterResource(resource, name) {}

bool ClusterServiceResource::GetServiceName(std::wstring& service) {
    return GetPrivateString(L"ServiceName", service);
}

namespace {

// A private property kept in `cache`: null when the properties cannot be
// read, the empty text when the property is missing.
const wchar_t* CachedPrivateString(ClusterResource& resource, const wchar_t* property,
                                   std::wstring& cache) {
    ClusterPropertyList properties;
    if (!resource.GetPrivateProperties(properties)) return nullptr;
    properties.GetValue(property, cache);
    return cache.c_str();
}

}  // namespace

ClusterVMResource::ClusterVMResource(HRESOURCE resource, const std::wstring& name)
    : ClusterResource(resource, name) {}

const wchar_t* ClusterVMResource::GetVmGUID() { return CachedPrivateString(*this, L"VmId", vmId_); }

ClusterVMConfigurationResource::ClusterVMConfigurationResource(HRESOURCE resource,
                                                               const std::wstring& name)
    : ClusterResource(resource, name) {}

const wchar_t* ClusterVMConfigurationResource::GetVmGUID() {
    return CachedPrivateString(*this, L"VmId", vmId_);
}

const wchar_t* ClusterVMConfigurationResource::GetStoreRootPath() {
    return CachedPrivateString(*this, L"VmStoreRootPath", storeRootPath_);
}

MSCSClusterSharedVolumeResource::SharedVolumeInfo::SharedVolumeInfo(const CLUS_CSV_VOLUME_INFO& info)
    : volumeOffset_(info.VolumeOffset.QuadPart),
      partitionNumber_(info.PartitionNumber),
      faultState_(static_cast<DWORD>(info.FaultState)),
      backupState_(static_cast<DWORD>(info.BackupState)),
      friendlyName_(orv::FieldText(info.szVolumeFriendlyName)),
      volumeName_(orv::FieldText(info.szVolumeName)) {}

MSCSClusterSharedVolumeResource::MSCSClusterSharedVolumeResource(HRESOURCE resource,
                                                                 const std::wstring& name)
    : ClusterResource(resource, name) {
    CacheControlOutput(handle_, {CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO},
                       partitionInfo_, partitionInfoSize_);
}

MSCSClusterSharedVolumeResource::~MSCSClusterSharedVolumeResource() { std::free(partitionInfo_); }

MSCSClusterSharedVolumeResource::SharedVolumeList
MSCSClusterSharedVolumeResource::GetSharedVolumesInfo() const {
    auto volumes = boost::shared_ptr<std::list<boost::shared_ptr<SharedVolumeInfo>>>(
        new std::list<boost::shared_ptr<SharedVolumeInfo>>());
    orv::ControlOutput output;
    // The name goes without its terminator.
    if (orv::ResourceControl(handle_, CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO, name_.c_str(),
                             static_cast<DWORD>(name_.size() * sizeof(wchar_t)), output) !=
        ERROR_SUCCESS)
        return volumes;
    orv::ForEachValue(output.Data(), output.Size(), [&](const orv::ValueEntry& entry) {
        CLUS_CSV_VOLUME_INFO info;
        if (entry.syntax == CLUSPROP_SYNTAX_LIST_VALUE_BINARY && orv::ReadRecord(entry, info))
            volumes->push_back(boost::shared_ptr<SharedVolumeInfo>(new SharedVolumeInfo(info)));
    });
    return volumes;
}

MSCSPartitionList MSCSClusterSharedVolumeResource::GetPartitionInfo() const {
    return orv::ReadPartitions(partitionInfo_, partitionInfoSize_, false);
}

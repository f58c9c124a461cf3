// The failover cluster backend: connecting to the cluster, and the inventory
// the other operations rest on.

#include "orvcluster/mscs_cluster.h"

#include "failover/partition_list.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/cluster_control.h"
#include "failover/value_list.h"
#include "host/clock.h"
#include "support/text.h"

namespace {

constexpr DWORD kNameChars = 260;
constexpr int kServiceWaitRounds = 6;
constexpr DWORD kServiceWaitMilliseconds = 10000;
constexpr DWORD kClusterServiceRunning = 4;
constexpr DWORD kClusterServiceStarting = 2;

// Set after a wait for the cluster service that came to nothing, so that
// later opens in this process fail at once; cleared by an open that found
// the service running.
bool gaveUpWaitingForService = false;

bool IsSharedDisk(ClusterResource& resource) {
    CLUS_RESOURCE_CLASS_INFO classInfo = {};
    return resource.GetClassInfoW(&classInfo) && classInfo.rc == CLUS_RESCLASS_STORAGE &&
           (classInfo.SubClass & CLUS_RESSUBCLASS_SHARED);
}

// A filter for the typed lists: the resource's type name is exactly `type`.
struct HasType {
    const wchar_t* type;
    bool operator()(ClusterResource& resource) const {
        std::wstring name;
        return resource.GetTypeName(name) && name == type;
    }
};

}  // namespace

boost::shared_ptr<MSCSCluster> MSCSCluster::GetInstance(const wchar_t* machine) {
    return boost::shared_ptr<MSCSCluster>(new MSCSCluster(machine));
}

MSCSCluster::MSCSCluster(const wchar_t* machine) : glue_(MSCSClusterGlue::GetInstance()) {
    if (machine) SetTargetMachine(machine);
    type_ = MSCS;
}

MSCSCluster::~MSCSCluster() { Close(); }

bool MSCSCluster::ClusterOpen() {
    hCluster_ = nullptr;
    if (!clusterName_.empty() || !MachineMightBeClustered(nullptr)) {
        hCluster_ = glue_->OpenCluster(clusterName_.c_str());
    } else {
        DWORD state = QueryClusterServiceState(nullptr);
        if (state == kClusterServiceRunning) {
            hCluster_ = glue_->OpenCluster(nullptr);
            gaveUpWaitingForService = false;
        } else if (state == kClusterServiceStarting && !gaveUpWaitingForService) {
            for (int round = 0; round < kServiceWaitRounds; ++round) {
                OutputDebugMsg(L"Waiting for the cluster service to startup");
                orv::ClockSleep(kServiceWaitMilliseconds);
                // Once the service runs there is one open, whatever it answers.
                if (QueryClusterServiceState(nullptr) == kClusterServiceRunning) {
                    hCluster_ = glue_->OpenCluster(nullptr);
                    break;
                }
            }
            if (!hCluster_) gaveUpWaitingForService = true;
        }
    }

    if (hCluster_) {
        orvclass::shared_ptr<MSCSClusterGlue> glue = glue_;
        connection_.reset(hCluster_, [glue](HCLUSTER cluster) { glue->CloseCluster(cluster); });
        open_ = true;
        wchar_t name[kNameChars] = {};
        DWORD length = kNameChars;
        CLUSTERVERSIONINFO version = {};
        version.dwVersionInfoSize = sizeof(version);
        if (glue_->GetClusterInformation(hCluster_, name, &length, &version) == ERROR_SUCCESS)
            clusterName_ = orv::FieldText(name);
        return true;
    }
    OutputDebugMsg(L"Failed to open Microsoft cluster (%s)", clusterName_.c_str());
    open_ = false;
    return false;
}

void MSCSCluster::Close() {
    hCluster_ = nullptr;
    connection_.reset();
}

bool MSCSCluster::EnumerateNames(DWORD type, std::list<std::wstring>& names) {
    names.clear();
    // A name longer than the 260-character buffer ends the walk as a failure.
    orv::ClusterObjects objects(hCluster_, type, false);
    return objects && objects.AppendNames(names);
}

bool MSCSCluster::GetNodes(std::list<std::wstring>& nodes) {
    if (!EnumerateNames(CLUSTER_ENUM_NODE, nodes)) return false;
    // Asked by address, the cluster's nodes are given by address too.
    if (!IsIp(clusterName_)) return true;
    bool converted = true;
    for (std::wstring& node : nodes) converted = FromNetworkNameToIp(node) && converted;
    return converted;
}

bool MSCSCluster::GetResources(std::list<std::wstring>& resources) {
    return EnumerateNames(CLUSTER_ENUM_RESOURCE, resources);
}

bool MSCSCluster::GetResources(std::list<std::wstring>& resources, const wchar_t* typeName) {
    if (!GetResources(resources)) return false;
    const std::wstring wanted = typeName ? typeName : L"";
    for (auto name = resources.begin(); name != resources.end();) {
        std::unique_ptr<ClusterResource> resource(OpenResource(name->c_str()));
        std::wstring type;
        // Deliberately kept when it cannot be opened or its type cannot be read.
        const bool differs = resource && resource->GetTypeName(type) && type != wanted;
        name = differs ? resources.erase(name) : std::next(name);
    }
    return true;
}

bool MSCSCluster::GetTypes(std::list<std::wstring>& types) {
    return EnumerateNames(CLUSTER_ENUM_RESTYPE, types);
}

bool MSCSCluster::GetNetworks(std::list<std::wstring>& networks) {
    return EnumerateNames(CLUSTER_ENUM_NETWORK, networks);
}

bool MSCSCluster::GetResources(std::list<ClusterDiskResource*>& disks) {
    std::list<std::wstring> names;
    if (!GetResources(names)) return false;
    for (const std::wstring& name : names) {
        std::unique_ptr<ClusterDiskResource> disk(OpenDiskResource(name.c_str()));
        if (disk && IsSharedDisk(*disk)) disks.push_back(disk.release());
    }
    return true;
}

template <typename Resource>
bool MSCSCluster::CollectTyped(const wchar_t* typeName, std::list<Resource*>& resources) {
    std::list<std::wstring> names;
    if (!GetResources(names, typeName)) return false;
    for (const std::wstring& name : names) {
        // A resource that could not be opened for its type is not handed out.
        if (Resource* resource = OpenAs<Resource>(name)) resources.push_back(resource);
    }
    return true;
}

bool MSCSCluster::GetResources(std::list<ClusterServiceResource*>& services) {
    return CollectTyped(L"Generic Service", services);
}

bool MSCSCluster::GetResources(std::list<ClusterNetworkNameResource*>& networkNames) {
    return CollectTyped(L"Network Name", networkNames);
}

bool MSCSCluster::GetResources(std::list<ClusterIPResource*>& addresses) {
    return CollectTyped(L"IP Address", addresses);
}

template <typename Resource, typename Keep>
boost::shared_ptr<const std::list<boost::shared_ptr<Resource>>> MSCSCluster::CollectResources(DWORD type,
                                                                                             Keep keep) {
    auto resources = boost::shared_ptr<std::list<boost::shared_ptr<Resource>>>(
        new std::list<boost::shared_ptr<Resource>>());
    std::list<std::wstring> names;
    if (!EnumerateNames(type, names)) return resources;
    for (const std::wstring& name : names) {
        boost::shared_ptr<Resource> resource(OpenAs<Resource>(name));
        if (resource && keep(*resource)) resources->push_back(resource);
    }
    return resources;
}

boost::shared_ptr<const std::list<boost::shared_ptr<ClusterDiskResource>>> MSCSCluster::GetClusterDiskResources() {
    return CollectResources<ClusterDiskResource>(CLUSTER_ENUM_RESOURCE, IsSharedDisk);
}

boost::shared_ptr<const std::list<boost::shared_ptr<ClusterNetworkNameResource>>>
MSCSCluster::GetNetworkNameResources() {
    return CollectResources<ClusterNetworkNameResource>(CLUSTER_ENUM_RESOURCE, HasType{L"Network Name"});
}

boost::shared_ptr<const std::list<boost::shared_ptr<MSCSClusterSharedVolumeResource>>>
MSCSCluster::GetClusterSharedVolumeResources() {
    return CollectResources<MSCSClusterSharedVolumeResource>(CLUSTER_ENUM_SHARED_VOLUME_RESOURCE,
                                                             [](ClusterResource&) { return true; });
}

boost::shared_ptr<const std::list<boost::shared_ptr<ClusterVMResource>>> MSCSCluster::GetVMResources() {
    return CollectResources<ClusterVMResource>(CLUSTER_ENUM_RESOURCE, HasType{L"Virtual Machine"});
}

boost::shared_ptr<const std::list<boost::shared_ptr<ClusterVMConfigurationResource>>>
MSCSCluster::GetVMConfigResources() {
    return CollectResources<ClusterVMConfigurationResource>(CLUSTER_ENUM_RESOURCE,
                                                            HasType{L"Virtual Machine Configuration"});
}

const wchar_t* MSCSCluster::GetSharedVolumesRoot() {
    if (!sharedVolumesRoot_.empty()) return sharedVolumesRoot_.c_str();
    orv::ControlOutput output;
    DWORD result = orv::ControlWithGrowingBuffer(
        [&](void* buffer, DWORD size, DWORD* returned) {
            return glue_->ClusterControl(hCluster_, nullptr, CLUSCTL_CLUSTER_GET_RO_COMMON_PROPERTIES,
                                         nullptr, 0, buffer, size, returned);
        },
        output);
    if (result != ERROR_SUCCESS) {
        OutputDebugMsg(L"Failed to query cluster read-only common properties (0x%08x)", result);
        return sharedVolumesRoot_.c_str();
    }
    ClusterPropertyList properties(output.Data(), output.Size());
    if (properties.GetValue(L"SharedVolumesRoot", sharedVolumesRoot_) && !sharedVolumesRoot_.empty() &&
        sharedVolumesRoot_.back() != L'\\')
        sharedVolumesRoot_ += L'\\';
    return sharedVolumesRoot_.c_str();
}

bool MSCSCluster::GetDriveNames(std::list<std::wstring>& drives) {
    std::list<ClusterDiskResource*> disks;
    bool result = GetResources(disks);
    for (ClusterDiskResource* disk : disks) {
        std::list<std::wstring> diskDrives;
        if (result) {
            result = disk->GetDrives(diskDrives);
            if (result) drives.splice(drives.end(), diskDrives);
        }
        delete disk;
    }
    return result;
}

unsigned MSCSCluster::GetDriveNames(std::list<wcstring>& drives) {
    if (!hCluster_) return 0;
    std::list<std::wstring> names;
    if (!GetResources(names, L"Physical Disk")) return 0;
    for (const std::wstring& name : names) {
        std::unique_ptr<ClusterResource> disk(OpenResource(name.c_str()));
        if (!disk) continue;
        orv::ControlOutput diskInfo;
        if (orv::ResourceControl(disk->GetHandle(), CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO, nullptr, 0,
                                 diskInfo) != ERROR_SUCCESS)
            continue;
        const MSCSPartitionList partitions = orv::ReadPartitions(diskInfo.Data(), diskInfo.Size(), true);
        for (const auto& partition : *partitions) drives.push_back(wcstring(partition->GetDeviceName()));
    }
    return 1;
}

bool MSCSCluster::BackupDatabase(const wchar_t* path) {
    DWORD result = glue_->BackupClusterDatabase(hCluster_, path);
    if (result == ERROR_SUCCESS) return true;
    SetLastError(result);
    return false;
}

bool MSCSCluster::BackupDatabase(const std::wstring& path) { return BackupDatabase(path.c_str()); }

ClusterResource* MSCSCluster::OpenResource(const wchar_t* name) {
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return OpenAs<ClusterResource>(name);
}

ClusterDiskResource* MSCSCluster::OpenDiskResource(const wchar_t* name) {
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return OpenAs<ClusterDiskResource>(name);
}

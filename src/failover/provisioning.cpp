// The product's group on a failover cluster, as the installation wizard
// builds it: the group and its resources, their dependencies, possible owners
// and registry checkpoints, bringing them online and offline, and removing
// what the wizard no longer installs. No trace lines: the answers say what
// happened.

#include <cwchar>
#include <memory>
#include <vector>

#include "failover/group_members.h"
#include "failover/product_records.h"
#include "failover/resource_states.h"
#include "failover/value_list.h"
#include "orvcluster/cluster_control.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/computer_name.h"
#include "orvcluster/mscs_cluster.h"
#include "support/text.h"
#include "wizard/wizard_data.h"

namespace {

constexpr DWORD kPollMilliseconds = 2000;
constexpr DWORD kGroupNameChars = 256;
constexpr unsigned kInstallFailure = ERROR_INSTALL_FAILURE;  // 1603
constexpr wchar_t kGenericService[] = L"Generic Service";
// The product's administration service runs against the product's own SQL
// Server instance where that is installed, not the default one.
constexpr wchar_t kKptAdministration[] = L"Orvane KPT Administration Service";
constexpr wchar_t kDefaultSqlResource[] = L"MSSQL$ORVANE";
constexpr wchar_t kKptSqlInstance[] = L"MSSQL$ORVANEKPT";

bool HasType(const CLUSTERRESOURCE& record, const wchar_t* type) {
    return orv::EqualsIgnoreCase(record.resourceType, type);
}

HRESOURCE HandleOf(const CLUSTERRESOURCE& record) { return static_cast<HRESOURCE>(record.resourceHandle); }

// Closes the handle a record holds, and empties its slot.
void CloseSlot(MSCSClusterGlue& glue, CLUSTERRESOURCE& record) {
    if (record.resourceHandle) glue.CloseClusterResource(HandleOf(record));
    record.resourceHandle = nullptr;
}

// Whether CreateGroup makes the record's resource: it is to be installed and,
// for a service, the service is installed on this computer.
bool IsMade(const CLUSTERRESOURCE& record) {
    if (record.install != 1) return false;
    return !HasType(record, kGenericService) || Cluster::IsServicePresent(record.serviceName, nullptr);
}

// The resource the wizard moves into the product's group. A key that begins
// with a drive ("E:", "E:\\Program Files\\...") names the physical disk
// resource holding that drive; any other key names a resource.
bool FindMovedResource(MSCSCluster& cluster, const wchar_t* key, std::wstring& name) {
    if (!key || !*key) return false;
    if (iswalpha(key[0]) && key[1] == L':') {
        const std::wstring drive(key, 2);
        std::list<ClusterDiskResource*> disks;
        cluster.GetResources(disks);
        bool found = false;
        for (ClusterDiskResource* disk : disks) {
            std::list<std::wstring> drives;
            if (!found && disk->GetDrives(drives)) {
                for (const std::wstring& held : drives) {
                    if (!orv::EqualsIgnoreCase(held, drive)) continue;
                    name = *disk->GetResourceName();
                    found = true;
                }
            }
            delete disk;
        }
        return found;
    }
    if (!cluster.ResourceExists(key)) return false;
    name = key;
    return true;
}

// Asks the resource to go offline and waits, polling every 2 s, while it is
// on its way. Answers the request's result, and the state it ended in.
DWORD TakeOffline(MSCSClusterGlue& glue, HRESOURCE resource, CLUSTER_RESOURCE_STATE& state) {
    const DWORD answer = glue.OfflineClusterResource(resource);
    if (answer == ERROR_IO_PENDING) state = orv::SettledState(resource, kPollMilliseconds, orv::IsInTransition);
    else state = glue.GetClusterResourceState(resource, nullptr, nullptr, nullptr, nullptr);
    return answer;
}

// Adds `node` to, or removes it from (`change`), the possible owners of every
// resource of the group. True when each answered success or `done` (it was
// an owner already, or none).
bool ChangeOwners(HCLUSTER cluster, const wchar_t* group, const wchar_t* node,
                  DWORD (MSCSClusterGlue::*change)(HRESOURCE, HNODE), DWORD done) {
    if (!group || !node) return false;
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    orv::UniqueClusterNode nodeHandle(glue->OpenClusterNode(cluster, orv::SkipLeadingBackslashes(node)));
    std::list<std::wstring> members;
    if (!nodeHandle || !orv::GroupMembers(cluster, group, members)) return false;
    bool changed = true;
    for (const std::wstring& name : members) {
        orv::UniqueClusterResource resource(glue->OpenClusterResource(cluster, name.c_str()));
        const DWORD answer = resource ? (glue.get()->*change)(resource.Get(), nodeHandle.Get()) : GetLastError();
        if (answer != ERROR_SUCCESS && answer != done) changed = false;
    }
    return changed;
}

// Offline, or failed: either way the resource no longer runs.
bool IsDown(CLUSTER_RESOURCE_STATE state) {
    return state == ClusterResourceOffline || state == ClusterResourceFailed;
}

bool IsStorage(ClusterResource& resource) {
    CLUS_RESOURCE_CLASS_INFO classInfo = {};
    return resource.GetClassInfoW(&classInfo) && classInfo.rc == CLUS_RESCLASS_STORAGE;
}

// Copies a text into one of the wizard's 260-character answer buffers.
void Answer(wchar_t* buffer, const std::wstring& text) {
    if (!buffer) return;
    wcsncpy(buffer, text.c_str(), MAX_PATH - 1);
    buffer[MAX_PATH - 1] = L'\0';
}

}  // namespace

unsigned MSCSCluster::PrepareWizardData() {
    std::list<std::wstring> nodes;
    if (!GetNodes(nodes)) {
        const DWORD error = GetLastError();
        return error != ERROR_SUCCESS ? error : DWORD{ERROR_INVALID_HANDLE};
    }
    orv::KeepWizardNodeNames(nodes);
    return ERROR_SUCCESS;
}

unsigned MSCSCluster::CreateGroup(const wchar_t* group, const wchar_t* virtualName, const wchar_t* movedResourceKey,
                                  const wchar_t* address, const wchar_t* subnetMask, const wchar_t* network,
                                  CClusterParams*) {
    // Deliberately success: without a cluster there is nothing to provision.
    if (!hCluster_) return 1;
    if (!group || !virtualName || !address || !subnetMask || !network) return 0;
    orv::UniqueClusterGroup groupHandle(glue_->CreateClusterGroup(hCluster_, group));
    if (!groupHandle) groupHandle.Reset(glue_->OpenClusterGroup(hCluster_, group));
    if (!groupHandle) return 0;

    CLUSTERRESOURCE* table = CWIZ_GetResourceList();
    CLUSTERRESOURCE& moved = orv::MovedResourceRecord();
    // However CreateGroup ends, the handles it put in the records go.
    struct RecordHandles {
        MSCSClusterGlue& glue;
        CLUSTERRESOURCE* table;
        CLUSTERRESOURCE& moved;
        ~RecordHandles() {
            for (CLUSTERRESOURCE* record = table; record->resourceName[0]; ++record) CloseSlot(glue, *record);
            CloseSlot(glue, moved);
        }
    } recordHandles{*glue_, table, moved};

    unsigned result = 1;
    if (!moved.resourceHandle) {
        std::wstring name;
        if (!FindMovedResource(*this, movedResourceKey, name) || name.size() >= MAX_PATH) return 0;
        wcscpy(moved.resourceName, name.c_str());
        moved.resourceHandle = glue_->OpenClusterResource(hCluster_, moved.resourceName);
        if (!moved.resourceHandle) return 0;
    }
    wchar_t currentGroup[kGroupNameChars] = {};
    DWORD length = kGroupNameChars;
    if (glue_->GetClusterResourceState(HandleOf(moved), nullptr, nullptr, currentGroup, &length) ==
        ClusterResourceStateUnknown) {
        result = 0;
    } else if (!orv::EqualsIgnoreCase(orv::FieldText(currentGroup).c_str(), group) &&
               glue_->ChangeClusterResourceGroup(HandleOf(moved), groupHandle.Get()) != ERROR_SUCCESS) {
        result = 0;
    }

    // The nodes that may run the product already.
    std::list<wcstring>* productNodes = nullptr;
    GetClusterNodes(&productNodes);
    const std::unique_ptr<std::list<wcstring>> ownedNodes(productNodes);

    // Before Windows version 6 the product is installed node by node: a new
    // resource may run only here and where the product runs already, and
    // the wizard adds each other node once the product is installed there.
    std::vector<orv::UniqueClusterNode> withoutProduct;
    std::list<std::wstring> clusterNodes;
    if (!IsOsVersion6OrLater() && GetNodes(clusterNodes)) {
        for (const std::wstring& node : clusterNodes) {
            bool keep = orv::EqualsIgnoreCase(node, OrvGetComputerName());
            for (const wcstring& productNode : *ownedNodes) keep = keep || orv::EqualsIgnoreCase(node, productNode);
            if (!keep) withoutProduct.emplace_back(glue_->OpenClusterNode(hCluster_, node.c_str()));
        }
    }

    // The resources, with their addresses and names.
    for (CLUSTERRESOURCE* record = table; record->resourceName[0]; ++record) {
        if (!IsMade(*record)) continue;
        HRESOURCE resource = glue_->CreateClusterResource(groupHandle.Get(), record->resourceName, record->resourceType, 0);
        // One that exists already is taken as it is.
        if (!resource) resource = glue_->OpenClusterResource(hCluster_, record->resourceName);
        record->resourceHandle = resource;
        if (!resource) return 0;
        ClusterPropertyList properties;
        if (HasType(*record, L"IP Address")) {
            properties.Append(L"Address", address);
            properties.Append(L"SubnetMask", subnetMask);
            properties.Append(L"Network", network);
            properties.Append(L"EnableNetBios", DWORD{1});
        } else if (HasType(*record, L"Network Name")) {
            properties.Append(L"Name", virtualName);
        } else {
            continue;
        }
        if (!orv::PropertiesTaken(orv::SetPrivateProperties(resource, properties))) return 0;
    }

    // Their dependencies, owners, checkpoints and services.
    for (CLUSTERRESOURCE* record = table; record->resourceName[0]; ++record) {
        if (!IsMade(*record)) continue;
        HRESOURCE resource = HandleOf(*record);
        for (const CLUSTERRESOURCEDEPENDENCY* dependency = record->dependencies; dependency;
             dependency = dependency->next) {
            const CLUSTERRESOURCE* target = dependency->resource;
            if (!target || target->install != 1 || !target->resourceHandle) continue;
            if (orv::EqualsIgnoreCase(record->resourceName, kKptAdministration) &&
                orv::EqualsIgnoreCase(target->resourceName, kDefaultSqlResource) &&
                IsServicePresent(kKptSqlInstance, nullptr)) {
                orv::UniqueClusterResource instance(glue_->OpenClusterResource(hCluster_, kKptSqlInstance));
                if (instance) glue_->AddClusterResourceDependency(resource, instance.Get());
                continue;
            }
            glue_->AddClusterResourceDependency(resource, HandleOf(*target));
        }
        const bool service = HasType(*record, kGenericService);
        if (service) glue_->AddClusterResourceDependency(resource, HandleOf(moved));
        for (const orv::UniqueClusterNode& node : withoutProduct)
            if (node) glue_->RemoveClusterResourceNode(resource, node.Get());
        if (!service) continue;

        for (const CLUSTERRESOURCEKEY* key = record->keys; key; key = key->next) {
            // Removed first, so that a key checkpointed before is renewed.
            orv::RegistryCheckpointControl(resource, CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, key->key);
            if (orv::RegistryCheckpointControl(resource, CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, key->key) !=
                ERROR_SUCCESS)
                return 0;
        }
        ClusterPropertyList properties;
        properties.Append(L"ServiceName", record->serviceName);
        properties.Append(L"UseNetworkName", record->useNetworkName);
        if (!orv::PropertiesTaken(orv::SetPrivateProperties(resource, properties))) return 0;
    }
    return result;
}

unsigned MSCSCluster::MakeOnline(const wchar_t* group) {
    if (!hCluster_ || !group || !*group) return 0;
    orv::UniqueClusterGroup groupHandle(glue_->OpenClusterGroup(hCluster_, group));
    if (!groupHandle) return 0;
    const DWORD answer = glue_->OnlineClusterGroup(groupHandle.Get(), nullptr);
    if (answer == ERROR_IO_PENDING) {
        for (;;) {
            const CLUSTER_GROUP_STATE state = glue_->GetClusterGroupState(groupHandle.Get(), nullptr, nullptr);
            if (state == ClusterGroupOnline) return 1;
            if (state != ClusterGroupPending) return 0;
            orv::ClockSleep(kPollMilliseconds);
        }
    }
    if (answer != ERROR_SUCCESS) return 0;

    // The group answered online at once: the product's marker service must
    // come up too, and is watched twice, each time through a fresh handle.
    auto markerComesOnline = [this]() {
        const CLUSTERRESOURCE* marker = orv::MarkerServiceRecord();
        orv::UniqueClusterResource resource(marker ? glue_->OpenClusterResource(hCluster_, marker->resourceName)
                                                   : nullptr);
        return resource && orv::SettledState(resource.Get(), kPollMilliseconds, orv::IsSettling) ==
                               ClusterResourceOnline;
    };
    const bool first = markerComesOnline();
    const bool second = markerComesOnline();
    return first && second ? 1 : 0;
}

unsigned MSCSCluster::MakeOffline(const wchar_t* group) {
    if (!hCluster_ || !group || !*group) return 0;
    orv::UniqueClusterGroup groupHandle(glue_->OpenClusterGroup(hCluster_, group));
    if (!groupHandle) return 0;
    orv::GroupObjects members(groupHandle.Get(), CLUSTER_GROUP_ENUM_CONTAINS, true);
    std::wstring name;
    if (!members || members.Next(name) != ERROR_SUCCESS) return 1;
    unsigned result = 1;
    do {
        std::unique_ptr<ClusterResource> resource(OpenAs<ClusterResource>(name));
        if (!resource) {
            result = 0;
            continue;
        }
        // The disks stay online, so that the product's files stay reachable.
        if (IsStorage(*resource)) continue;
        const CLUSTER_RESOURCE_STATE before =
            glue_->GetClusterResourceState(resource->GetHandle(), nullptr, nullptr, nullptr, nullptr);
        if (before == ClusterResourceOffline) continue;
        CLUSTER_RESOURCE_STATE after;
        const DWORD answer = TakeOffline(*glue_, resource->GetHandle(), after);
        // A failed resource may refuse the request: it is down already.
        const bool refused = answer != ERROR_SUCCESS && answer != ERROR_IO_PENDING &&
                             !(answer == ERROR_INVALID_STATE && before == ClusterResourceFailed);
        if (refused || !IsDown(after)) result = 0;
    } while (members.Next(name) == ERROR_SUCCESS);
    return result;
}

unsigned MSCSCluster::DeleteGroup(const wchar_t* group) {
    if (!hCluster_ || !group || !*group) return kInstallFailure;
    orv::UniqueClusterGroup groupHandle;
    std::list<std::wstring> members;
    if (!orv::GroupMembers(hCluster_, group, members, &groupHandle)) return kInstallFailure;

    for (const std::wstring& name : members) {
        orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, name.c_str()));
        CLUSTER_RESOURCE_STATE state;
        if (resource) TakeOffline(*glue_, resource.Get(), state);
    }
    // A resource goes only once nothing depends on it: dependents first,
    // round after round, while a round deletes something.
    for (bool progress = true; progress && !members.empty();) {
        progress = false;
        for (auto it = members.begin(); it != members.end();) {
            orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, it->c_str()));
            if (resource && glue_->DeleteClusterResource(resource.Get()) != ERROR_SUCCESS) {
                ++it;
                continue;
            }
            it = members.erase(it);
            progress = true;
        }
    }
    return glue_->DeleteClusterGroup(groupHandle.Get()) == ERROR_SUCCESS ? 0 : kInstallFailure;
}

unsigned MSCSCluster::AddNode(const wchar_t* group, const wchar_t* node) {
    return hCluster_ && ChangeOwners(hCluster_, group, node, &MSCSClusterGlue::AddClusterResourceNode,
                                     ERROR_OBJECT_ALREADY_EXISTS)
               ? 1
               : 0;
}

unsigned MSCSCluster::DeleteNode(const wchar_t* group, const wchar_t* node) {
    // A node that was no possible owner is removed already.
    return hCluster_ && ChangeOwners(hCluster_, group, node, &MSCSClusterGlue::RemoveClusterResourceNode,
                                     ERROR_CLUSTER_NODE_NOT_FOUND)
               ? 1
               : 0xFFFFFFFF;
}

unsigned MSCSCluster::DeleteServiceFromGroup(const wchar_t* group, const wchar_t* service, int flags) {
    std::list<std::wstring> members;
    if (!hCluster_ || !group || !service || !orv::GroupMembers(hCluster_, group, members)) return 0;
    std::unique_ptr<ClusterServiceResource> found;
    for (const std::wstring& name : members) {
        std::unique_ptr<ClusterServiceResource> resource(OpenAs<ClusterServiceResource>(name));
        std::wstring type;
        std::wstring serviceName;
        if (resource && resource->GetTypeName(type) && orv::EqualsIgnoreCase(type.c_str(), kGenericService) &&
            resource->GetServiceName(serviceName) && orv::EqualsIgnoreCase(serviceName.c_str(), service)) {
            found = std::move(resource);
            break;
        }
    }
    if (!found) return 1;

    CLUSTER_RESOURCE_STATE state;
    TakeOffline(*glue_, found->GetHandle(), state);
    if (flags) {
        std::list<std::wstring> dependents;
        orv::ResourceRelations(found->GetHandle(), CLUSTER_RESOURCE_ENUM_PROVIDES, true).AppendNames(dependents);
        for (const std::wstring& name : dependents) {
            orv::UniqueClusterResource dependent(glue_->OpenClusterResource(hCluster_, name.c_str()));
            if (dependent) glue_->RemoveClusterResourceDependency(dependent.Get(), found->GetHandle());
        }
    }
    return glue_->DeleteClusterResource(found->GetHandle()) == ERROR_SUCCESS ? 1 : 0;
}

unsigned MSCSCluster::QueryForExisting(wchar_t* network, wchar_t* group, wchar_t* virtualName, wchar_t* address,
                                       wchar_t* subnetMask) {
    std::wstring values[5];
    const CLUSTERRESOURCE* table = CWIZ_GetResourceList();
    if (hCluster_ && table[0].resourceName[0] && table[1].resourceName[0]) {
        std::unique_ptr<ClusterResource> ip(OpenAs<ClusterResource>(table[0].resourceName));
        if (ip) {
            ip->GetPrivateString(L"Network", values[0]);
            ip->GetGroupName(values[1]);
            ip->GetPrivateString(L"Address", values[3]);
            ip->GetPrivateString(L"SubnetMask", values[4]);
        }
        std::unique_ptr<ClusterResource> name(OpenAs<ClusterResource>(table[1].resourceName));
        if (name) name->GetPrivateString(L"Name", values[2]);
    }
    wchar_t* buffers[5] = {network, group, virtualName, address, subnetMask};
    for (int i = 0; i < 5; ++i) Answer(buffers[i], values[i]);
    return 0;
}

int MSCSCluster::ResourceExists(const wchar_t* name) {
    if (!hCluster_ || !name) return 0;
    orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, name));
    return resource ? 1 : 0;
}

unsigned MSCSCluster::SyncUpServices() {
    CLUSTERRESOURCE* table = CWIZ_GetResourceList();
    unsigned result = 0;
    for (CLUSTERRESOURCE* record = table; record->resourceName[0]; ++record) {
        // The resource is looked up by the record's first field, its service name.
        if (!HasType(*record, kGenericService) || record->install != 0 || !ResourceExists(record->serviceName))
            continue;
        orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, record->serviceName));
        if (!resource) continue;
        const DWORD answer = glue_->OfflineClusterResource(resource.Get());
        if (answer == ERROR_IO_PENDING)
            orv::SettledState(resource.Get(), kPollMilliseconds, orv::IsInTransition);
        else if (answer != ERROR_SUCCESS)
            return 0xFFFFFFFD;
        if (glue_->DeleteClusterResource(resource.Get()) != ERROR_SUCCESS) result = 0xFFFFFFFF;
    }
    return result;
}

unsigned MSCSCluster::BounceReg() {
    for (const CLUSTERRESOURCE* record = CWIZ_GetResourceList(); record->resourceName[0]; ++record) {
        if (!record->keys || !hCluster_) continue;
        orv::ClusterObjects resources(hCluster_, CLUSTER_ENUM_RESOURCE, false);
        std::wstring name;
        while (resources && resources.Next(name) == ERROR_SUCCESS) {
            std::unique_ptr<ClusterResource> resource(OpenAs<ClusterResource>(name));
            std::wstring service;
            // A service name that cannot be read is taken as empty.
            if (!resource || !resource->GetPrivateString(L"ServiceName", service)) service.clear();
            if (!resource || _wcsicmp(service.c_str(), record->serviceName) != 0) continue;
            for (const CLUSTERRESOURCEKEY* key = record->keys; key; key = key->next) {
                // Added again only where the removal went through.
                if (orv::RegistryCheckpointControl(resource->GetHandle(), CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT,
                                                   key->key) == ERROR_SUCCESS)
                    orv::RegistryCheckpointControl(resource->GetHandle(), CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT,
                                                   key->key);
            }
        }
    }
    // Deliberately silent: how each record fared is not reported.
    return 0;
}

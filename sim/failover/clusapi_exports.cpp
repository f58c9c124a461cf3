// The entry points of clusapi.dll, as the platform documents them.

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include "backup.h"
#include "controls.h"
#include "simclock.h"
#include "simulator.h"
#include "state.h"
#include "text.h"

using namespace simcluster;

namespace {

bool Running(const Node& node) { return node.state == ClusterNodeUp || node.state == ClusterNodePaused; }

// The node a connection by this name reaches: the local node for no name, a
// node by its own name, or for the cluster's name the local node (any
// running node when the local one is not).
Node* ConnectionNode(Cluster& cluster, const std::wstring& name) {
    Node* node = name.empty() ? cluster.FindNode(cluster.localNode) : cluster.FindNode(name);
    if (node || name.empty()) return node && Running(*node) ? node : nullptr;
    bool clusterName = SameName(name, cluster.name);
    for (const std::wstring& alias : cluster.aliases) clusterName = clusterName || SameName(name, alias);
    if (!clusterName) return nullptr;
    Node* local = cluster.FindNode(cluster.localNode);
    if (local && Running(*local)) return local;
    for (Node& candidate : cluster.nodes)
        if (Running(candidate)) return &candidate;
    return nullptr;
}

DWORD ResolveCluster(Simulator& simulator, HCLUSTER value, Handle** handle = nullptr) {
    Handle* found = simulator.handles.Find(value, SIMCLUSTER_HANDLE_CLUSTER);
    if (handle) *handle = found;
    if (!found) return ERROR_INVALID_HANDLE;
    return simulator.cluster.present ? ERROR_SUCCESS : RPC_S_SERVER_UNAVAILABLE;
}

template <class T, class Find>
DWORD ResolveObject(Simulator& simulator, const void* value, SIMCLUSTER_HANDLE_KIND kind, DWORD missing, T*& object,
                    Find find) {
    object = nullptr;
    Handle* handle = simulator.handles.Find(value, kind);
    if (!handle) return ERROR_INVALID_HANDLE;
    object = find(handle->object);
    return object ? ERROR_SUCCESS : missing;
}

DWORD Resolve(Simulator& simulator, HRESOURCE value, Resource*& resource) {
    return ResolveObject(simulator, value, SIMCLUSTER_HANDLE_RESOURCE, ERROR_RESOURCE_NOT_FOUND, resource,
                         [&](ObjectId id) { return simulator.cluster.FindResource(id); });
}

DWORD Resolve(Simulator& simulator, HGROUP value, Group*& group) {
    return ResolveObject(simulator, value, SIMCLUSTER_HANDLE_GROUP, ERROR_GROUP_NOT_FOUND, group,
                         [&](ObjectId id) { return simulator.cluster.FindGroup(id); });
}

DWORD Resolve(Simulator& simulator, HNODE value, Node*& node) {
    return ResolveObject(simulator, value, SIMCLUSTER_HANDLE_NODE, ERROR_CLUSTER_NODE_NOT_FOUND, node,
                         [&](ObjectId id) { return simulator.cluster.FindNode(id); });
}

DWORD Resolve(Simulator& simulator, HNETWORK value, Network*& network) {
    return ResolveObject(simulator, value, SIMCLUSTER_HANDLE_NETWORK, ERROR_CLUSTER_NETWORK_NOT_FOUND, network,
                         [&](ObjectId id) { return simulator.cluster.FindNetwork(id); });
}

// Resolves handle after handle, up to the first that fails.
inline DWORD ResolveAll(Simulator&) { return ERROR_SUCCESS; }

template <class Value, class Object, class... Rest>
DWORD ResolveAll(Simulator& simulator, Value value, Object*& object, Rest&&... rest) {
    DWORD error = Resolve(simulator, value, object);
    return error != ERROR_SUCCESS ? error : ResolveAll(simulator, std::forward<Rest>(rest)...);
}

// An optional node argument: null, or a node handle.
DWORD ResolveOptional(Simulator& simulator, HNODE value, Node*& node) {
    node = nullptr;
    return value ? Resolve(simulator, value, node) : ERROR_SUCCESS;
}

// The session of a live handle that was just resolved.
ObjectId SessionOf(Simulator& simulator, const void* value, SIMCLUSTER_HANDLE_KIND kind) {
    return simulator.handles.Find(value, kind)->session;
}

template <class Result>
DWORD OpenHandle(Simulator& simulator, SIMCLUSTER_HANDLE_KIND kind, ObjectId object, ObjectId session,
                 Result& result) {
    Handle handle;
    handle.kind = kind;
    handle.object = object;
    handle.session = session;
    result = static_cast<Result>(simulator.handles.Open(std::move(handle)));
    return ERROR_SUCCESS;
}

// Opens a handle to the object named `name` in the cluster behind `value`.
template <class Result, class Find>
DWORD OpenNamed(Simulator& simulator, HCLUSTER value, const wchar_t* name, SIMCLUSTER_HANDLE_KIND kind, DWORD missing,
                Result& result, Find find) {
    Handle* connection = nullptr;
    DWORD error = ResolveCluster(simulator, value, &connection);
    if (error != ERROR_SUCCESS) return error;
    if (!name || !*name) return ERROR_INVALID_PARAMETER;
    auto* object = find(std::wstring(name));
    return object ? OpenHandle(simulator, kind, object->id, connection->session, result) : missing;
}

// Closing a handle that died with its cluster handle answers
// ERROR_INVALID_HANDLE, as for any handle that stands for nothing, and the
// simulator forgets it.
DWORD Close(Simulator& simulator, const void* value, SIMCLUSTER_HANDLE_KIND kind) {
    return simulator.handles.Close(value, kind) == HandleTable::Closed::Live ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

using Items = std::vector<std::pair<DWORD, std::wstring>>;

template <class T>
void AddItems(Items& items, DWORD type, const std::vector<T>& objects) {
    for (const T& object : objects) items.emplace_back(type, object.name);
}

void AddNodeItems(Cluster& cluster, Items& items, DWORD type, const std::vector<ObjectId>& nodes) {
    for (ObjectId id : nodes)
        if (Node* node = cluster.FindNode(id)) items.emplace_back(type, node->name);
}

DWORD ClusterItems(Cluster& cluster, DWORD types, Items& items) {
    if (types == CLUSTER_ENUM_SHARED_VOLUME_RESOURCE) {
        for (const Resource& resource : cluster.resources)
            if (cluster.IsSharedVolume(resource)) items.emplace_back(types, resource.name);
        return ERROR_SUCCESS;
    }
    if (types == CLUSTER_ENUM_INTERNAL_NETWORK) {
        for (const Network& network : cluster.networks)
            if (network.role & ClusterNetworkRoleInternalUse) items.emplace_back(types, network.name);
        return ERROR_SUCCESS;
    }
    const DWORD known = CLUSTER_ENUM_NODE | CLUSTER_ENUM_RESTYPE | CLUSTER_ENUM_RESOURCE | CLUSTER_ENUM_GROUP |
                        CLUSTER_ENUM_NETWORK | CLUSTER_ENUM_NETINTERFACE;
    if (types == 0 || (types & ~known)) return ERROR_INVALID_PARAMETER;
    if (types & CLUSTER_ENUM_NODE) AddItems(items, CLUSTER_ENUM_NODE, cluster.nodes);
    if (types & CLUSTER_ENUM_RESTYPE) AddItems(items, CLUSTER_ENUM_RESTYPE, cluster.types);
    if (types & CLUSTER_ENUM_RESOURCE) AddItems(items, CLUSTER_ENUM_RESOURCE, cluster.resources);
    if (types & CLUSTER_ENUM_GROUP) AddItems(items, CLUSTER_ENUM_GROUP, cluster.groups);
    if (types & CLUSTER_ENUM_NETWORK) AddItems(items, CLUSTER_ENUM_NETWORK, cluster.networks);
    return ERROR_SUCCESS;  // the simulated networks have no interfaces
}

DWORD ListItems(Cluster& cluster, Resource& resource, DWORD types, Items& items) {
    const DWORD known = CLUSTER_RESOURCE_ENUM_DEPENDS | CLUSTER_RESOURCE_ENUM_PROVIDES | CLUSTER_RESOURCE_ENUM_NODES;
    if (types == 0 || (types & ~known)) return ERROR_INVALID_PARAMETER;
    if (types & CLUSTER_RESOURCE_ENUM_DEPENDS)
        for (ObjectId id : resource.dependencies)
            if (Resource* dependency = cluster.FindResource(id))
                items.emplace_back(CLUSTER_RESOURCE_ENUM_DEPENDS, dependency->name);
    if (types & CLUSTER_RESOURCE_ENUM_PROVIDES)
        for (Resource* dependent : cluster.DependentsOf(resource))
            items.emplace_back(CLUSTER_RESOURCE_ENUM_PROVIDES, dependent->name);
    if (types & CLUSTER_RESOURCE_ENUM_NODES)
        AddNodeItems(cluster, items, CLUSTER_RESOURCE_ENUM_NODES, resource.possibleOwners);
    return ERROR_SUCCESS;
}

DWORD ListItems(Cluster& cluster, Group& group, DWORD types, Items& items) {
    const DWORD known = CLUSTER_GROUP_ENUM_CONTAINS | CLUSTER_GROUP_ENUM_NODES;
    if (types == 0 || (types & ~known)) return ERROR_INVALID_PARAMETER;
    if (types & CLUSTER_GROUP_ENUM_CONTAINS)
        for (Resource* member : cluster.ResourcesOf(group))
            items.emplace_back(CLUSTER_GROUP_ENUM_CONTAINS, member->name);
    if (types & CLUSTER_GROUP_ENUM_NODES) AddNodeItems(cluster, items, CLUSTER_GROUP_ENUM_NODES, group.preferredOwners);
    return ERROR_SUCCESS;
}

template <class Result>
DWORD OpenEnumeration(Simulator& simulator, SIMCLUSTER_HANDLE_KIND kind, ObjectId session, Items items,
                      Result& result) {
    Handle handle;
    handle.kind = kind;
    handle.session = session;
    handle.items = std::move(items);
    result = static_cast<Result>(simulator.handles.Open(std::move(handle)));
    return ERROR_SUCCESS;
}

// An enumeration of what relates to the object behind a resource or group handle.
template <class Object, class Value, class Result>
DWORD OpenRelations(Simulator& simulator, Value value, SIMCLUSTER_HANDLE_KIND valueKind, DWORD types,
                    SIMCLUSTER_HANDLE_KIND kind, Result& result) {
    Object* object = nullptr;
    Items items;
    DWORD error = Resolve(simulator, value, object);
    if (error == ERROR_SUCCESS) error = ListItems(simulator.cluster, *object, types, items);
    if (error != ERROR_SUCCESS) return error;
    return OpenEnumeration(simulator, kind, SessionOf(simulator, value, valueKind), std::move(items), result);
}

// How an enumerator answers a null name buffer.
enum class NullName {
    MoreData,      // like any buffer too small: ERROR_MORE_DATA and the length
    AsksLength,    // ERROR_SUCCESS and the length: ClusterResourceEnum's documented answer
};

// One entry of an enumeration taken when it was opened.
DWORD Enumerate(Simulator& simulator, const void* value, SIMCLUSTER_HANDLE_KIND kind, DWORD index, LPDWORD type,
                LPWSTR name, LPDWORD length, NullName nullName) {
    Handle* handle = simulator.handles.Find(value, kind);
    if (!handle) return ERROR_INVALID_HANDLE;
    if (index >= handle->items.size()) return ERROR_NO_MORE_ITEMS;
    if (type) *type = handle->items[index].first;
    DWORD error = CopyName(handle->items[index].second, name, length);
    return !name && nullName == NullName::AsksLength && error == ERROR_MORE_DATA ? DWORD(ERROR_SUCCESS) : error;
}

// The name of the network name resource a resource depends on: its own
// when it is one, else the nearest one among its dependencies.
bool NetworkNameOf(Cluster& cluster, Resource& resource, std::wstring& name) {
    std::vector<Resource*> visit{&resource};
    for (size_t next = 0; next < visit.size(); ++next) {
        Resource* candidate = visit[next];
        if (candidate->networkName) {
            name = *candidate->networkName;
            return true;
        }
        const PropertyValue* value = candidate->privateProperties.Find(L"Name");
        if (SameName(candidate->type.Text(), L"Network Name") && value && value->IsString()) {
            name = value->Text();
            return true;
        }
        for (ObjectId id : candidate->dependencies) {
            Resource* dependency = cluster.FindResource(id);
            if (dependency && std::find(visit.begin(), visit.end(), dependency) == visit.end())
                visit.push_back(dependency);
        }
    }
    return false;
}

DWORD NodeClusterState(Cluster& cluster, const std::wstring& name) {
    if (!cluster.present) return ClusterStateNotInstalled;
    Node* node = name.empty() ? cluster.FindNode(cluster.localNode) : cluster.FindNode(name);
    if (name.empty() && !cluster.installed) return ClusterStateNotInstalled;
    if (!node) return name.empty() ? ClusterStateNotConfigured : ClusterStateNotInstalled;
    return Running(*node) ? ClusterStateRunning : ClusterStateNotRunning;
}

// The first error of several copies that must all run (each sets its length).
void KeepFirstError(DWORD& first, DWORD next) {
    if (first == ERROR_SUCCESS) first = next;
}

bool Contains(const std::vector<ObjectId>& ids, ObjectId id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// What a resource state query answers: the state at the moment it is asked.
DWORD ResourceState(Simulator& simulator, HRESOURCE value, LPWSTR nodeName, LPDWORD nodeLength, LPWSTR groupName,
                    LPDWORD groupLength, CLUSTER_RESOURCE_STATE& state) {
    Resource* resource = nullptr;
    DWORD error = Resolve(simulator, value, resource);
    if (error != ERROR_SUCCESS) return error;
    if ((nodeName && !nodeLength) || (groupName && !groupLength)) return DWORD(ERROR_INVALID_PARAMETER);
    if (nodeLength) KeepFirstError(error, CopyName(simulator.cluster.OwnerOf(*resource)->name, nodeName, nodeLength));
    if (groupLength)
        KeepFirstError(error, CopyName(simulator.cluster.FindGroup(resource->group)->name, groupName, groupLength));
    if (error == ERROR_SUCCESS) state = CurrentState(*resource);
    return error;
}

}  // namespace

extern "C" {

HCLUSTER WINAPI OpenCluster(LPCWSTR name) {
    return RunHandleEntryPoint<HCLUSTER>(EntryPoint::OpenCluster, [&](Simulator& simulator, HCLUSTER& result) -> DWORD {
        Cluster& cluster = simulator.cluster;
        Node* node = cluster.present && cluster.installed ? ConnectionNode(cluster, FromCaller(name)) : nullptr;
        if (!node) return RPC_S_SERVER_UNAVAILABLE;
        Handle handle;
        handle.kind = SIMCLUSTER_HANDLE_CLUSTER;
        handle.session = NextObjectId();
        handle.connection = node->id;
        result = static_cast<HCLUSTER>(simulator.handles.Open(std::move(handle)));
        return ERROR_SUCCESS;
    });
}

// The platform documents CloseCluster as always answering TRUE. Every
// handle obtained from the cluster handle dies with it.
BOOL WINAPI CloseCluster(HCLUSTER cluster) {
    return RunBoolEntryPoint(EntryPoint::CloseCluster, [&](Simulator& simulator) -> DWORD {
        if (Handle* handle = simulator.handles.Find(cluster, SIMCLUSTER_HANDLE_CLUSTER)) {
            simulator.handles.EndSession(handle->session);
            simulator.handles.Close(cluster, SIMCLUSTER_HANDLE_CLUSTER);
        }
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI GetClusterInformation(HCLUSTER cluster, LPWSTR name, LPDWORD length, CLUSTERVERSIONINFO* version) {
    return RunEntryPoint(EntryPoint::GetClusterInformation, [&](Simulator& simulator) -> DWORD {
        DWORD error = ResolveCluster(simulator, cluster);
        if (error == ERROR_SUCCESS) error = CopyName(simulator.cluster.name, name, length);
        if (error == ERROR_SUCCESS && version) {
            DWORD size = version->dwVersionInfoSize;
            std::memcpy(version, &simulator.cluster.version, std::min<size_t>(size, sizeof *version));
            version->dwVersionInfoSize = size;
        }
        return error;
    });
}

HCLUSENUM WINAPI ClusterOpenEnum(HCLUSTER cluster, DWORD types) {
    return RunHandleEntryPoint<HCLUSENUM>(
        EntryPoint::ClusterOpenEnum, [&](Simulator& simulator, HCLUSENUM& result) -> DWORD {
            Items items;
            Handle* connection = nullptr;
            DWORD error = ResolveCluster(simulator, cluster, &connection);
            if (error == ERROR_SUCCESS) error = ClusterItems(simulator.cluster, types, items);
            if (error != ERROR_SUCCESS) return error;
            return OpenEnumeration(simulator, SIMCLUSTER_HANDLE_CLUSTER_ENUM, connection->session, std::move(items),
                                   result);
        });
}

DWORD WINAPI ClusterEnum(HCLUSENUM enumeration, DWORD index, LPDWORD type, LPWSTR name, LPDWORD length) {
    return RunEntryPoint(EntryPoint::ClusterEnum, [&](Simulator& simulator) -> DWORD {
        return Enumerate(simulator, enumeration, SIMCLUSTER_HANDLE_CLUSTER_ENUM, index, type, name, length,
                         NullName::MoreData);
    });
}

DWORD WINAPI ClusterCloseEnum(HCLUSENUM enumeration) {
    return RunEntryPoint(EntryPoint::ClusterCloseEnum, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, enumeration, SIMCLUSTER_HANDLE_CLUSTER_ENUM);
    });
}

DWORD WINAPI ClusterControl(HCLUSTER cluster, HNODE hostNode, DWORD code, LPVOID input, DWORD inputSize, LPVOID output,
                            DWORD outputSize, LPDWORD returned) {
    return RunEntryPoint(EntryPoint::ClusterControl, [&](Simulator& simulator) -> DWORD {
        Node* node = nullptr;
        DWORD error = ResolveCluster(simulator, cluster);
        if (error == ERROR_SUCCESS) error = ResolveOptional(simulator, hostNode, node);
        if (error != ERROR_SUCCESS) return error;
        return ControlCluster(simulator.cluster, ControlCall{code, input, inputSize, output, outputSize, returned});
    });
}

HRESOURCE WINAPI OpenClusterResource(HCLUSTER cluster, LPCWSTR name) {
    return RunHandleEntryPoint<HRESOURCE>(
        EntryPoint::OpenClusterResource, [&](Simulator& simulator, HRESOURCE& result) -> DWORD {
            return OpenNamed(simulator, cluster, name, SIMCLUSTER_HANDLE_RESOURCE, ERROR_RESOURCE_NOT_FOUND, result,
                             [&](const std::wstring& text) { return simulator.cluster.FindResource(text); });
        });
}

BOOL WINAPI CloseClusterResource(HRESOURCE resource) {
    return RunBoolEntryPoint(EntryPoint::CloseClusterResource, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, resource, SIMCLUSTER_HANDLE_RESOURCE);
    });
}

DWORD WINAPI OnlineClusterResource(HRESOURCE value) {
    return RunEntryPoint(EntryPoint::OnlineClusterResource, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        DWORD error = Resolve(simulator, value, resource);
        return error != ERROR_SUCCESS ? error : BringOnline(simulator.cluster, *resource);
    });
}

DWORD WINAPI OfflineClusterResource(HRESOURCE value) {
    return RunEntryPoint(EntryPoint::OfflineClusterResource, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        DWORD error = Resolve(simulator, value, resource);
        return error != ERROR_SUCCESS ? error : TakeOffline(simulator.cluster, *resource);
    });
}

DWORD WINAPI ClusterResourceControl(HRESOURCE value, HNODE hostNode, DWORD code, LPVOID input, DWORD inputSize,
                                    LPVOID output, DWORD outputSize, LPDWORD returned) {
    return RunEntryPoint(EntryPoint::ClusterResourceControl, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Node* node = nullptr;
        DWORD error = Resolve(simulator, value, resource);
        if (error == ERROR_SUCCESS) error = ResolveOptional(simulator, hostNode, node);
        if (error != ERROR_SUCCESS) return error;
        if (node && node != simulator.cluster.OwnerOf(*resource)) return DWORD(ERROR_HOST_NODE_NOT_RESOURCE_OWNER);
        return ControlResource(simulator.cluster, *resource,
                               ControlCall{code, input, inputSize, output, outputSize, returned});
    });
}

HRESENUM WINAPI ClusterResourceOpenEnum(HRESOURCE value, DWORD types) {
    return RunHandleEntryPoint<HRESENUM>(
        EntryPoint::ClusterResourceOpenEnum, [&](Simulator& simulator, HRESENUM& result) -> DWORD {
            return OpenRelations<Resource>(simulator, value, SIMCLUSTER_HANDLE_RESOURCE, types,
                                           SIMCLUSTER_HANDLE_RESOURCE_ENUM, result);
        });
}

DWORD WINAPI ClusterResourceEnum(HRESENUM enumeration, DWORD index, LPDWORD type, LPWSTR name, LPDWORD length) {
    return RunEntryPoint(EntryPoint::ClusterResourceEnum, [&](Simulator& simulator) -> DWORD {
        return Enumerate(simulator, enumeration, SIMCLUSTER_HANDLE_RESOURCE_ENUM, index, type, name, length,
                         NullName::AsksLength);
    });
}

DWORD WINAPI ClusterResourceCloseEnum(HRESENUM enumeration) {
    return RunEntryPoint(EntryPoint::ClusterResourceCloseEnum, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, enumeration, SIMCLUSTER_HANDLE_RESOURCE_ENUM);
    });
}

DWORD WINAPI GetClusterQuorumResource(HCLUSTER cluster, LPWSTR resourceName, LPDWORD resourceLength, LPWSTR deviceName,
                                      LPDWORD deviceLength, LPDWORD maximumLogSize) {
    return RunEntryPoint(EntryPoint::GetClusterQuorumResource, [&](Simulator& simulator) -> DWORD {
        DWORD error = ResolveCluster(simulator, cluster);
        if (error != ERROR_SUCCESS) return error;
        if (!resourceLength || !deviceLength || !maximumLogSize) return DWORD(ERROR_INVALID_PARAMETER);
        const Quorum& quorum = simulator.cluster.quorum;
        KeepFirstError(error, CopyName(quorum.resource, resourceName, resourceLength));
        KeepFirstError(error, CopyName(quorum.path, deviceName, deviceLength));
        if (error == ERROR_SUCCESS) *maximumLogSize = quorum.maximumLogSize;
        return error;
    });
}

CLUSTER_RESOURCE_STATE WINAPI GetClusterResourceState(HRESOURCE value, LPWSTR nodeName, LPDWORD nodeLength,
                                                      LPWSTR groupName, LPDWORD groupLength) {
    return RunStateEntryPoint<CLUSTER_RESOURCE_STATE>(
        EntryPoint::GetClusterResourceState, [&](Simulator& simulator, CLUSTER_RESOURCE_STATE& state) -> DWORD {
            DWORD error = ResourceState(simulator, value, nodeName, nodeLength, groupName, groupLength, state);
            SimClock_Advance(kStateQueryMs);  // whatever the answer, once it is made
            return error;
        });
}

BOOL WINAPI GetClusterResourceNetworkName(HRESOURCE value, LPWSTR buffer, LPDWORD length) {
    return RunBoolEntryPoint(EntryPoint::GetClusterResourceNetworkName, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        std::wstring name;
        DWORD error = Resolve(simulator, value, resource);
        if (error != ERROR_SUCCESS) return error;
        if (!NetworkNameOf(simulator.cluster, *resource, name)) return DWORD(ERROR_DEPENDENCY_NOT_FOUND);
        return CopyName(name, buffer, length);
    });
}

DWORD WINAPI GetNodeClusterState(LPCWSTR node, LPDWORD state) {
    return RunEntryPoint(EntryPoint::GetNodeClusterState, [&](Simulator& simulator) -> DWORD {
        if (!state) return DWORD(ERROR_INVALID_PARAMETER);
        *state = NodeClusterState(simulator.cluster, FromCaller(node));
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI BackupClusterDatabase(HCLUSTER cluster, LPCWSTR path) {
    return RunEntryPoint(EntryPoint::BackupClusterDatabase, [&](Simulator& simulator) -> DWORD {
        if (DatabaseBackupRemoved(simulator.cluster)) return DWORD(ERROR_CALL_NOT_IMPLEMENTED);
        DWORD error = ResolveCluster(simulator, cluster);
        return error != ERROR_SUCCESS ? error : BackupDatabase(simulator.cluster, FromCaller(path));
    });
}

DWORD WINAPI RestoreClusterDatabase(LPCWSTR path, BOOL force, LPCWSTR quorumDrive) {
    return RunEntryPoint(EntryPoint::RestoreClusterDatabase, [&](Simulator& simulator) -> DWORD {
        if (DatabaseBackupRemoved(simulator.cluster)) return DWORD(ERROR_CALL_NOT_IMPLEMENTED);
        return RestoreDatabase(simulator.cluster, FromCaller(path), force != FALSE, quorumDrive);
    });
}

HGROUP WINAPI CreateClusterGroup(HCLUSTER cluster, LPCWSTR name) {
    return RunHandleEntryPoint<HGROUP>(EntryPoint::CreateClusterGroup,
                                       [&](Simulator& simulator, HGROUP& result) -> DWORD {
                                           Handle* connection = nullptr;
                                           DWORD error = ResolveCluster(simulator, cluster, &connection);
                                           if (error != ERROR_SUCCESS) return error;
                                           if (!name || !*name) return DWORD(ERROR_INVALID_PARAMETER);
                                           if (simulator.cluster.FindGroup(name))
                                               return DWORD(ERROR_OBJECT_ALREADY_EXISTS);
                                           Group group;
                                           group.name = name;
                                           group.owner = connection->connection;
                                           simulator.cluster.groups.push_back(group);
                                           return OpenHandle(simulator, SIMCLUSTER_HANDLE_GROUP, group.id,
                                                             connection->session, result);
                                       });
}

HGROUP WINAPI OpenClusterGroup(HCLUSTER cluster, LPCWSTR name) {
    return RunHandleEntryPoint<HGROUP>(
        EntryPoint::OpenClusterGroup, [&](Simulator& simulator, HGROUP& result) -> DWORD {
            return OpenNamed(simulator, cluster, name, SIMCLUSTER_HANDLE_GROUP, ERROR_GROUP_NOT_FOUND, result,
                             [&](const std::wstring& text) { return simulator.cluster.FindGroup(text); });
        });
}

BOOL WINAPI CloseClusterGroup(HGROUP group) {
    return RunBoolEntryPoint(EntryPoint::CloseClusterGroup, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, group, SIMCLUSTER_HANDLE_GROUP);
    });
}

HRESOURCE WINAPI CreateClusterResource(HGROUP value, LPCWSTR name, LPCWSTR typeName, DWORD flags) {
    return RunHandleEntryPoint<HRESOURCE>(
        EntryPoint::CreateClusterResource, [&](Simulator& simulator, HRESOURCE& result) -> DWORD {
            Group* group = nullptr;
            DWORD error = Resolve(simulator, value, group);
            if (error != ERROR_SUCCESS) return error;
            if (!name || !*name || !typeName || (flags & ~CLUSTER_RESOURCE_SEPARATE_MONITOR))
                return DWORD(ERROR_INVALID_PARAMETER);
            Cluster& cluster = simulator.cluster;
            const ResourceType* type = cluster.FindType(typeName);
            if (!type) return DWORD(ERROR_CLUSTER_RESOURCE_TYPE_NOT_FOUND);
            if (cluster.FindResource(name)) return DWORD(ERROR_OBJECT_ALREADY_EXISTS);
            Resource resource;
            resource.name = name;
            resource.type = type->name;
            resource.group = group->id;
            resource.resourceClass = type->resourceClass;
            resource.subClass = type->subClass;
            for (const Node& node : cluster.nodes) resource.possibleOwners.push_back(node.id);
            resource.common = DefaultResourceCommonProperties();
            resource.common.Set(L"SeparateMonitor", DwordValue(flags & CLUSTER_RESOURCE_SEPARATE_MONITOR));
            resource.online.delayMs = resource.offline.delayMs = cluster.pendingMs;
            cluster.resources.push_back(resource);
            return OpenHandle(simulator, SIMCLUSTER_HANDLE_RESOURCE, resource.id,
                              SessionOf(simulator, value, SIMCLUSTER_HANDLE_GROUP), result);
        });
}

DWORD WINAPI ChangeClusterResourceGroup(HRESOURCE value, HGROUP target) {
    return RunEntryPoint(EntryPoint::ChangeClusterResourceGroup, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Group* group = nullptr;
        DWORD error = ResolveAll(simulator, value, resource, target, group);
        if (error != ERROR_SUCCESS) return error;
        Cluster& cluster = simulator.cluster;
        if (cluster.FindGroup(resource->group)->owner != group->owner) return DWORD(ERROR_HOST_NODE_NOT_GROUP_OWNER);
        for (Resource* member : cluster.DependencyTree(*resource)) member->group = group->id;
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI AddClusterResourceDependency(HRESOURCE value, HRESOURCE dependsOn) {
    return RunEntryPoint(EntryPoint::AddClusterResourceDependency, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Resource* provider = nullptr;
        DWORD error = ResolveAll(simulator, value, resource, dependsOn, provider);
        if (error != ERROR_SUCCESS) return error;
        Cluster& cluster = simulator.cluster;
        if (resource == provider || cluster.DependsOn(*provider, *resource)) return DWORD(ERROR_CIRCULAR_DEPENDENCY);
        if (Contains(resource->dependencies, provider->id)) return DWORD(ERROR_DEPENDENCY_ALREADY_EXISTS);
        if (SameName(resource->name, cluster.quorum.resource)) return DWORD(ERROR_DEPENDENCY_NOT_ALLOWED);
        if (resource->group != provider->group) return DWORD(ERROR_INVALID_PARAMETER);
        resource->dependencies.push_back(provider->id);
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI RemoveClusterResourceDependency(HRESOURCE value, HRESOURCE dependsOn) {
    return RunEntryPoint(EntryPoint::RemoveClusterResourceDependency, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Resource* provider = nullptr;
        DWORD error = ResolveAll(simulator, value, resource, dependsOn, provider);
        if (error != ERROR_SUCCESS) return error;
        std::vector<ObjectId>& dependencies = resource->dependencies;
        auto it = std::find(dependencies.begin(), dependencies.end(), provider->id);
        if (it == dependencies.end()) return DWORD(ERROR_DEPENDENCY_NOT_FOUND);
        dependencies.erase(it);
        return DWORD(ERROR_SUCCESS);
    });
}

HNODE WINAPI OpenClusterNode(HCLUSTER cluster, LPCWSTR name) {
    return RunHandleEntryPoint<HNODE>(EntryPoint::OpenClusterNode, [&](Simulator& simulator, HNODE& result) -> DWORD {
        return OpenNamed(simulator, cluster, name, SIMCLUSTER_HANDLE_NODE, ERROR_CLUSTER_NODE_NOT_FOUND, result,
                         [&](const std::wstring& text) { return simulator.cluster.FindNode(text); });
    });
}

BOOL WINAPI CloseClusterNode(HNODE node) {
    return RunBoolEntryPoint(EntryPoint::CloseClusterNode, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, node, SIMCLUSTER_HANDLE_NODE);
    });
}

DWORD WINAPI AddClusterResourceNode(HRESOURCE value, HNODE nodeValue) {
    return RunEntryPoint(EntryPoint::AddClusterResourceNode, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Node* node = nullptr;
        DWORD error = ResolveAll(simulator, value, resource, nodeValue, node);
        if (error != ERROR_SUCCESS) return error;
        if (Contains(resource->possibleOwners, node->id)) return DWORD(ERROR_OBJECT_ALREADY_EXISTS);
        resource->possibleOwners.push_back(node->id);
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI RemoveClusterResourceNode(HRESOURCE value, HNODE nodeValue) {
    return RunEntryPoint(EntryPoint::RemoveClusterResourceNode, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        Node* node = nullptr;
        DWORD error = ResolveAll(simulator, value, resource, nodeValue, node);
        if (error != ERROR_SUCCESS) return error;
        std::vector<ObjectId>& owners = resource->possibleOwners;
        auto it = std::find(owners.begin(), owners.end(), node->id);
        if (it == owners.end()) return DWORD(ERROR_CLUSTER_NODE_NOT_FOUND);
        CLUSTER_RESOURCE_STATE state = CurrentState(*resource);
        if (node == simulator.cluster.OwnerOf(*resource) &&
            (state == ClusterResourceOnline || state == ClusterResourceOnlinePending ||
             state == ClusterResourceOfflinePending))
            return DWORD(ERROR_INVALID_STATE);
        owners.erase(it);
        return DWORD(ERROR_SUCCESS);
    });
}

HGROUPENUM WINAPI ClusterGroupOpenEnum(HGROUP value, DWORD types) {
    return RunHandleEntryPoint<HGROUPENUM>(
        EntryPoint::ClusterGroupOpenEnum, [&](Simulator& simulator, HGROUPENUM& result) -> DWORD {
            return OpenRelations<Group>(simulator, value, SIMCLUSTER_HANDLE_GROUP, types,
                                        SIMCLUSTER_HANDLE_GROUP_ENUM, result);
        });
}

DWORD WINAPI ClusterGroupEnum(HGROUPENUM enumeration, DWORD index, LPDWORD type, LPWSTR name, LPDWORD length) {
    return RunEntryPoint(EntryPoint::ClusterGroupEnum, [&](Simulator& simulator) -> DWORD {
        return Enumerate(simulator, enumeration, SIMCLUSTER_HANDLE_GROUP_ENUM, index, type, name, length,
                         NullName::MoreData);
    });
}

DWORD WINAPI ClusterGroupCloseEnum(HGROUPENUM enumeration) {
    return RunEntryPoint(EntryPoint::ClusterGroupCloseEnum, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, enumeration, SIMCLUSTER_HANDLE_GROUP_ENUM);
    });
}

DWORD WINAPI OnlineClusterGroup(HGROUP value, HNODE destination) {
    return RunEntryPoint(EntryPoint::OnlineClusterGroup, [&](Simulator& simulator) -> DWORD {
        Group* group = nullptr;
        Node* node = nullptr;
        DWORD error = Resolve(simulator, value, group);
        if (error == ERROR_SUCCESS) error = ResolveOptional(simulator, destination, node);
        return error != ERROR_SUCCESS ? error : BringGroupOnline(simulator.cluster, *group, node);
    });
}

CLUSTER_GROUP_STATE WINAPI GetClusterGroupState(HGROUP value, LPWSTR nodeName, LPDWORD nodeLength) {
    return RunStateEntryPoint<CLUSTER_GROUP_STATE>(
        EntryPoint::GetClusterGroupState, [&](Simulator& simulator, CLUSTER_GROUP_STATE& state) -> DWORD {
            Group* group = nullptr;
            DWORD error = Resolve(simulator, value, group);
            if (error != ERROR_SUCCESS) return error;
            if (nodeName && !nodeLength) return DWORD(ERROR_INVALID_PARAMETER);
            if (nodeLength) error = CopyName(simulator.cluster.FindNode(group->owner)->name, nodeName, nodeLength);
            if (error == ERROR_SUCCESS) state = CurrentState(simulator.cluster, *group);
            return error;
        });
}

DWORD WINAPI DeleteClusterResource(HRESOURCE value) {
    return RunEntryPoint(EntryPoint::DeleteClusterResource, [&](Simulator& simulator) -> DWORD {
        Resource* resource = nullptr;
        DWORD error = Resolve(simulator, value, resource);
        if (error != ERROR_SUCCESS) return error;
        Cluster& cluster = simulator.cluster;
        CLUSTER_RESOURCE_STATE state = CurrentState(*resource);
        if (resource->core) return DWORD(ERROR_CORE_RESOURCE);
        if (state != ClusterResourceOffline && state != ClusterResourceFailed) return DWORD(ERROR_RESOURCE_ONLINE);
        if (!cluster.DependentsOf(*resource).empty()) return DWORD(ERROR_DEPENDENT_RESOURCE_EXISTS);
        cluster.RemoveResource(resource->id);
        return DWORD(ERROR_SUCCESS);
    });
}

DWORD WINAPI DeleteClusterGroup(HGROUP value) {
    return RunEntryPoint(EntryPoint::DeleteClusterGroup, [&](Simulator& simulator) -> DWORD {
        Group* group = nullptr;
        DWORD error = Resolve(simulator, value, group);
        if (error != ERROR_SUCCESS) return error;
        if (!simulator.cluster.ResourcesOf(*group).empty()) return DWORD(ERROR_DIR_NOT_EMPTY);
        simulator.cluster.RemoveGroup(group->id);
        return DWORD(ERROR_SUCCESS);
    });
}

HNETWORK WINAPI OpenClusterNetwork(HCLUSTER cluster, LPCWSTR name) {
    return RunHandleEntryPoint<HNETWORK>(
        EntryPoint::OpenClusterNetwork, [&](Simulator& simulator, HNETWORK& result) -> DWORD {
            return OpenNamed(simulator, cluster, name, SIMCLUSTER_HANDLE_NETWORK, ERROR_CLUSTER_NETWORK_NOT_FOUND,
                             result, [&](const std::wstring& text) { return simulator.cluster.FindNetwork(text); });
        });
}

DWORD WINAPI ClusterNetworkControl(HNETWORK value, HNODE hostNode, DWORD code, LPVOID input, DWORD inputSize,
                                   LPVOID output, DWORD outputSize, LPDWORD returned) {
    return RunEntryPoint(EntryPoint::ClusterNetworkControl, [&](Simulator& simulator) -> DWORD {
        Network* network = nullptr;
        Node* node = nullptr;
        DWORD error = Resolve(simulator, value, network);
        if (error == ERROR_SUCCESS) error = ResolveOptional(simulator, hostNode, node);
        if (error != ERROR_SUCCESS) return error;
        return ControlNetwork(*network, ControlCall{code, input, inputSize, output, outputSize, returned});
    });
}

BOOL WINAPI CloseClusterNetwork(HNETWORK network) {
    return RunBoolEntryPoint(EntryPoint::CloseClusterNetwork, [&](Simulator& simulator) -> DWORD {
        return Close(simulator, network, SIMCLUSTER_HANDLE_NETWORK);
    });
}

}  // extern "C"

// Each entry point has exactly the signature the library binds.
#define SIMCLUSTER_SAME_SIGNATURE(name) \
    static_assert(std::is_same<decltype(&name), name##Function>::value, #name " signature");
SIMCLUSTER_SAME_SIGNATURE(AddClusterResourceDependency)
SIMCLUSTER_SAME_SIGNATURE(AddClusterResourceNode)
SIMCLUSTER_SAME_SIGNATURE(BackupClusterDatabase)
SIMCLUSTER_SAME_SIGNATURE(ChangeClusterResourceGroup)
SIMCLUSTER_SAME_SIGNATURE(CloseCluster)
SIMCLUSTER_SAME_SIGNATURE(CloseClusterGroup)
SIMCLUSTER_SAME_SIGNATURE(CloseClusterNetwork)
SIMCLUSTER_SAME_SIGNATURE(CloseClusterNode)
SIMCLUSTER_SAME_SIGNATURE(CloseClusterResource)
SIMCLUSTER_SAME_SIGNATURE(ClusterCloseEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterControl)
SIMCLUSTER_SAME_SIGNATURE(ClusterEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterGroupCloseEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterGroupEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterGroupOpenEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterNetworkControl)
SIMCLUSTER_SAME_SIGNATURE(ClusterOpenEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterResourceCloseEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterResourceControl)
SIMCLUSTER_SAME_SIGNATURE(ClusterResourceEnum)
SIMCLUSTER_SAME_SIGNATURE(ClusterResourceOpenEnum)
SIMCLUSTER_SAME_SIGNATURE(CreateClusterGroup)
SIMCLUSTER_SAME_SIGNATURE(CreateClusterResource)
SIMCLUSTER_SAME_SIGNATURE(DeleteClusterGroup)
SIMCLUSTER_SAME_SIGNATURE(DeleteClusterResource)
SIMCLUSTER_SAME_SIGNATURE(GetClusterGroupState)
SIMCLUSTER_SAME_SIGNATURE(GetClusterInformation)
SIMCLUSTER_SAME_SIGNATURE(GetClusterQuorumResource)
SIMCLUSTER_SAME_SIGNATURE(GetClusterResourceNetworkName)
SIMCLUSTER_SAME_SIGNATURE(GetClusterResourceState)
SIMCLUSTER_SAME_SIGNATURE(GetNodeClusterState)
SIMCLUSTER_SAME_SIGNATURE(OfflineClusterResource)
SIMCLUSTER_SAME_SIGNATURE(OnlineClusterGroup)
SIMCLUSTER_SAME_SIGNATURE(OnlineClusterResource)
SIMCLUSTER_SAME_SIGNATURE(OpenCluster)
SIMCLUSTER_SAME_SIGNATURE(OpenClusterGroup)
SIMCLUSTER_SAME_SIGNATURE(OpenClusterNetwork)
SIMCLUSTER_SAME_SIGNATURE(OpenClusterNode)
SIMCLUSTER_SAME_SIGNATURE(OpenClusterResource)
SIMCLUSTER_SAME_SIGNATURE(RemoveClusterResourceDependency)
SIMCLUSTER_SAME_SIGNATURE(RemoveClusterResourceNode)
SIMCLUSTER_SAME_SIGNATURE(RestoreClusterDatabase)

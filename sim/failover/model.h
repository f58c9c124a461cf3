#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "orvcluster/cluster_api.h"
#include "property_list.h"

// The simulated cluster: what a scenario describes and what the entry points
// read and change.

namespace simcluster {

// Every object gets an identity that is never reused, so that a handle to a
// deleted (or replaced) object finds nothing instead of a newcomer.
using ObjectId = unsigned long long;
ObjectId NextObjectId();

struct Node {
    ObjectId id = NextObjectId();
    std::wstring name;
    CLUSTER_NODE_STATE state = ClusterNodeUp;
};

struct Partition {
    std::wstring device;  // "S:" (the platform gives no backslash), or a shared volume's mount point
    std::wstring label;
    std::wstring fileSystem = L"NTFS";
    GUID volumeGuid = {};
    DWORD number = 1;
    DWORD flags = CLUSPROP_PIFLAG_USABLE;
    DWORD serialNumber = 0;
    DWORD maximumComponentLength = 255;
    DWORD fileSystemFlags = 0x000700FF;
    DWORD deviceNumber = 0;
    ULONGLONG totalSize = 0;
    ULONGLONG freeSize = 0;
};

struct Disk {
    DWORD signature = 0;
    DWORD scsiAddress = 0;  // port, path, target and LUN, one byte each from the low end
    DWORD diskNumber = 0;
    ULONGLONG size = 0;
    std::vector<Partition> partitions;
};

struct SharedVolume {
    std::wstring path;        // mount point, "C:\ClusterStorage\Volume1", no trailing backslash
    std::wstring volumeName;  // "\\?\Volume{GUID}\"
    std::wstring friendlyName;
    DWORD partitionNumber = 1;
    ULONGLONG offset = 0x100000;
    DWORD faultState = VolumeStateNoFaults;
    bool redirected = false;  // I/O goes through another node: not locally mounted
    bool backupInProgress = false;
};

// How a resource answers a request to go online or offline: after `delayMs`
// of virtual time it reaches `finalState` (the target, or Failed). A delay of
// 0 completes within the call. Real resources commonly answer ERROR_IO_PENDING
// from their online and offline entry points and pass through the pending
// state, so a resource takes its cluster's pending time unless told otherwise.
// Unless `scripted` (the scenario or SimCluster_ScriptTransition gave the
// final state), an IP Address resource's way online ends as the network
// decides (addresses.h).
struct Transition {
    DWORD delayMs = 0;
    CLUSTER_RESOURCE_STATE finalState;
    bool scripted = false;
};

// The time a resource spends pending when nothing else was said.
constexpr DWORD kDefaultPendingMs = 500;

// A resource type's name, kept once however many resources have the type,
// so that reading the types of many resources touches a few shared strings.
class TypeName {
public:
    TypeName() : TypeName(std::wstring()) {}
    TypeName(const std::wstring& text);  // NOLINT: assigned from text wherever a type is named
    const std::wstring& Text() const { return *text_; }

private:
    const std::wstring* text_;
};

struct Resource {
    ObjectId id = NextObjectId();
    std::wstring name;
    TypeName type;
    ObjectId group = 0;
    DWORD resourceClass = CLUS_RESCLASS_UNKNOWN;
    DWORD subClass = 0;
    std::vector<ObjectId> possibleOwners;  // nodes
    std::vector<ObjectId> dependencies;    // resources of the same group

    // The state, and while a transition runs, when it ends and how. A
    // pending state without a running transition stays until changed.
    CLUSTER_RESOURCE_STATE state = ClusterResourceOffline;
    bool transitionRunning = false;
    ULONGLONG transitionEnd = 0;
    CLUSTER_RESOURCE_STATE transitionResult = ClusterResourceOffline;

    PropertyMap common;  // the name is not kept here: it is the resource's own
    PropertyMap privateProperties;
    std::optional<std::wstring> networkName;  // overrides the name found through dependencies
    std::vector<std::wstring> checkpoints;
    std::optional<Disk> disk;
    std::vector<SharedVolume> sharedVolumes;  // non-empty: a cluster shared volume
    Transition online{0, ClusterResourceOnline};
    Transition offline{0, ClusterResourceOffline};
    bool core = false;
};

struct Group {
    ObjectId id = NextObjectId();
    std::wstring name;
    ObjectId owner = 0;
    std::vector<ObjectId> preferredOwners;
    CLUSTER_GROUP_STATE emptyState = ClusterGroupOffline;  // the state of a group without resources
    std::optional<CLUSTER_GROUP_STATE> forcedState;        // set by a scenario or the control API
};

struct Network {
    ObjectId id = NextObjectId();
    std::wstring name;
    std::wstring description;
    std::wstring address;
    std::wstring addressMask;
    DWORD role = ClusterNetworkRoleInternalAndClient;
};

struct ResourceType {
    std::wstring name;
    DWORD resourceClass = CLUS_RESCLASS_UNKNOWN;
    DWORD subClass = 0;
};

struct Quorum {
    std::wstring resource;
    std::wstring path;
    DWORD maximumLogSize = 0x400000;
};

// Where each resource stands in a cluster's list, found by name (without
// regard to case) or by id. Looking a resource up touches only the index's
// own compact tables and the resource's record, never the names scattered
// over the heap, so that it does not cost more as the cluster grows: two
// open-addressing tables of 32-bit keys and positions, and every name once
// more, one after the other.
//
// The index follows the list by itself as resources are added at its end.
// Renaming or removing a resource goes through the cluster, which has the
// index Forget().
class ResourceIndex {
public:
    Resource* Find(std::vector<Resource>& resources, const std::wstring& name);
    Resource* Find(std::vector<Resource>& resources, ObjectId id);
    void Forget();

private:
    struct Slot {
        UINT32 key;       // a hash of the folded name, or the id's low half
        UINT32 position;  // in the list, plus one; 0 marks an empty slot
    };
    using Table = std::vector<Slot>;
    // What the index took from the resource at a position.
    struct Entry {
        ObjectId id;
        UINT32 nameStart;  // in names_
        UINT32 nameLength;
    };

    template <class Matches>
    Resource* Lookup(std::vector<Resource>& resources, const Table& table, UINT32 key, Matches matches);
    void CatchUp(const std::vector<Resource>& resources);
    void Add(const Resource& resource);

    Table byName_;
    Table byId_;
    std::vector<Entry> entries_;  // by position in the list
    std::wstring names_;
};

struct Cluster {
    bool present = false;   // false: no cluster at all on this machine or network
    bool installed = true;  // the cluster service is installed on this machine
    std::wstring name;
    std::vector<std::wstring> aliases;  // further names OpenCluster accepts (DNS name, address)
    CLUSTERVERSIONINFO version = {};
    DWORD pendingMs = kDefaultPendingMs;  // for resources that name no transition time of their own
    std::vector<std::wstring> addressesInUse;  // IPv4 addresses held elsewhere on the network, "a.b.c.d"
    Quorum quorum;
    PropertyMap commonProperties;
    PropertyMap readOnlyCommonProperties;

    std::vector<Node> nodes;
    std::vector<ResourceType> types;
    std::vector<Network> networks;
    std::vector<Group> groups;
    std::vector<Resource> resources;
    ObjectId localNode = 0;

    ResourceIndex resourceIndex;  // over `resources`

    Node* FindNode(const std::wstring& name);
    Node* FindNode(ObjectId id);
    Group* FindGroup(const std::wstring& name);
    Group* FindGroup(ObjectId id);
    Resource* FindResource(const std::wstring& name);
    Resource* FindResource(ObjectId id);
    void RenameResource(Resource& resource, const std::wstring& name);
    void RemoveResource(ObjectId id);
    void RemoveGroup(ObjectId id);
    Network* FindNetwork(const std::wstring& name);
    Network* FindNetwork(ObjectId id);
    const ResourceType* FindType(const std::wstring& name) const;

    std::vector<Resource*> ResourcesOf(const Group& group);
    std::vector<Resource*> DependentsOf(const Resource& resource);
    // The resource and every resource reachable from it through dependencies
    // in either direction.
    std::vector<Resource*> DependencyTree(const Resource& resource);
    // True when `from` depends on `to`, directly or through others.
    bool DependsOn(const Resource& from, const Resource& to);
    Node* OwnerOf(const Resource& resource);
    bool IsSharedVolume(const Resource& resource) const { return !resource.sharedVolumes.empty(); }

    // What depends on the cluster's version. Windows Server 2008 is version
    // 6.0; the clusters before it (5.x) speak the older management protocol.
    bool BeforeVersion6() const { return version.MajorVersion < 6; }
    bool IsVersion6_0() const { return version.MajorVersion == 6 && version.MinorVersion == 0; }
};

// The resource types every cluster of this version knows, with the class the
// platform reports for each: Physical Disk is storage with the shared
// subclass; from version 6.0 on the IP address types are network with the
// subclass 0x80000000; every other type is of unknown class, subclass 0
// (Network Name included).
std::vector<ResourceType> StandardResourceTypes(const CLUSTERVERSIONINFO& version);

// The common properties a new resource starts with.
PropertyMap DefaultResourceCommonProperties();

}  // namespace simcluster

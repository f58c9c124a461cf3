#include "model.h"

#include <algorithm>

#include "text.h"

namespace simcluster {

namespace {

template <class T>
T* FindByName(std::vector<T>& objects, const std::wstring& name) {
    for (T& object : objects)
        if (SameName(object.name, name)) return &object;
    return nullptr;
}

template <class T>
T* FindById(std::vector<T>& objects, ObjectId id) {
    for (T& object : objects)
        if (object.id == id) return &object;
    return nullptr;
}

bool Contains(const std::vector<ObjectId>& ids, ObjectId id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

}  // namespace

ObjectId NextObjectId() {
    static volatile LONG64 last = 0;
    return static_cast<ObjectId>(InterlockedIncrement64(&last));
}

Node* Cluster::FindNode(const std::wstring& name) { return FindByName(nodes, name); }
Node* Cluster::FindNode(ObjectId id) { return FindById(nodes, id); }
Group* Cluster::FindGroup(const std::wstring& name) { return FindByName(groups, name); }
Group* Cluster::FindGroup(ObjectId id) { return FindById(groups, id); }
namespace {

// The key under which a name is indexed: its characters in upper case, as
// names are compared without regard to case.
std::wstring FoldedName(const std::wstring& name) {
    std::wstring folded = name;
    if (!folded.empty()) CharUpperBuffW(&folded[0], static_cast<DWORD>(folded.size()));
    return folded;
}

void RebuildIndex(std::vector<Resource>& resources, Cluster::ResourceIndex& index) {
    index.byName.clear();
    index.byId.clear();
    for (size_t position = 0; position < resources.size(); ++position) {
        index.byName.emplace(FoldedName(resources[position].name), position);
        index.byId.emplace(resources[position].id, position);
    }
    index.builtFor = resources.data();
    index.builtSize = resources.size();
}

// Looks `key` up in the index and checks the answer against the list; an
// index that no longer matches the list is rebuilt and asked once more.
template <class Key, class Map, class Matches>
Resource* FindIndexed(std::vector<Resource>& resources, Cluster::ResourceIndex& index, const Key& key,
                      Map Cluster::ResourceIndex::*map, Matches matches) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        const bool current = index.builtFor == resources.data() && index.builtSize == resources.size();
        if (!current || attempt == 1) RebuildIndex(resources, index);
        auto found = (index.*map).find(key);
        if (found != (index.*map).end() && found->second < resources.size() &&
            matches(resources[found->second]))
            return &resources[found->second];
        if (!current) return nullptr;  // freshly built: the answer stands
    }
    return nullptr;
}

}  // namespace

Resource* Cluster::FindResource(const std::wstring& name) {
    return FindIndexed(resources, resourceIndex, FoldedName(name), &ResourceIndex::byName,
                       [&](const Resource& resource) { return SameName(resource.name, name); });
}

Resource* Cluster::FindResource(ObjectId id) {
    return FindIndexed(resources, resourceIndex, id, &ResourceIndex::byId,
                       [&](const Resource& resource) { return resource.id == id; });
}
Network* Cluster::FindNetwork(const std::wstring& name) { return FindByName(networks, name); }
Network* Cluster::FindNetwork(ObjectId id) { return FindById(networks, id); }

const ResourceType* Cluster::FindType(const std::wstring& name) const {
    for (const ResourceType& type : types)
        if (SameName(type.name, name)) return &type;
    return nullptr;
}

std::vector<Resource*> Cluster::ResourcesOf(const Group& group) {
    std::vector<Resource*> members;
    for (Resource& resource : resources)
        if (resource.group == group.id) members.push_back(&resource);
    return members;
}

std::vector<Resource*> Cluster::DependentsOf(const Resource& resource) {
    std::vector<Resource*> dependents;
    for (Resource& candidate : resources)
        if (Contains(candidate.dependencies, resource.id)) dependents.push_back(&candidate);
    return dependents;
}

std::vector<Resource*> Cluster::DependencyTree(const Resource& resource) {
    std::vector<Resource*> tree{FindResource(resource.id)};
    for (size_t next = 0; next < tree.size(); ++next) {
        std::vector<Resource*> neighbours = DependentsOf(*tree[next]);
        for (ObjectId id : tree[next]->dependencies) neighbours.push_back(FindResource(id));
        for (Resource* neighbour : neighbours)
            if (neighbour && std::find(tree.begin(), tree.end(), neighbour) == tree.end()) tree.push_back(neighbour);
    }
    return tree;
}

bool Cluster::DependsOn(const Resource& from, const Resource& to) {
    std::vector<ObjectId> pending = from.dependencies;
    std::vector<ObjectId> seen;
    while (!pending.empty()) {
        ObjectId id = pending.back();
        pending.pop_back();
        if (id == to.id) return true;
        if (Contains(seen, id)) continue;
        seen.push_back(id);
        if (Resource* next = FindResource(id))
            pending.insert(pending.end(), next->dependencies.begin(), next->dependencies.end());
    }
    return false;
}

Node* Cluster::OwnerOf(const Resource& resource) {
    Group* group = FindGroup(resource.group);
    return group ? FindNode(group->owner) : nullptr;
}

std::vector<ResourceType> StandardResourceTypes() {
    return {
        {L"Physical Disk", CLUS_RESCLASS_STORAGE, CLUS_RESSUBCLASS_SHARED},
        {L"IP Address", CLUS_RESCLASS_NETWORK, CLUS_RESSUBCLASS_NETWORK_INTERNET_PROTOCOL},
        {L"IPv6 Address", CLUS_RESCLASS_NETWORK, CLUS_RESSUBCLASS_NETWORK_INTERNET_PROTOCOL},
        {L"Network Name", CLUS_RESCLASS_NETWORK, 0},
        {L"Generic Service", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Generic Application", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Generic Script", CLUS_RESCLASS_UNKNOWN, 0},
        {L"File Share", CLUS_RESCLASS_UNKNOWN, 0},
        {L"File Server", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Distributed Transaction Coordinator", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Virtual Machine", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Virtual Machine Configuration", CLUS_RESCLASS_UNKNOWN, 0},
    };
}

PropertyMap DefaultResourceCommonProperties() {
    PropertyMap common;
    common.Set(L"Description", StringValue(L""));
    common.Set(L"DebugPrefix", StringValue(L""));
    common.Set(L"SeparateMonitor", DwordValue(0));
    common.Set(L"PersistentState", DwordValue(0));
    common.Set(L"LooksAlivePollInterval", DwordValue(5000));
    common.Set(L"IsAlivePollInterval", DwordValue(60000));
    common.Set(L"RestartAction", DwordValue(2));
    common.Set(L"RestartThreshold", DwordValue(1));
    common.Set(L"RestartPeriod", DwordValue(900000));
    common.Set(L"RetryPeriodOnFailure", DwordValue(3600000));
    common.Set(L"PendingTimeout", DwordValue(180000));
    common.Set(L"DeadlockTimeout", DwordValue(300000));
    return common;
}

}  // namespace simcluster

#include "model.h"

#include <algorithm>
#include <unordered_set>

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

template <class T>
void EraseId(std::vector<T>& objects, ObjectId id) {
    objects.erase(std::remove_if(objects.begin(), objects.end(), [&](const T& object) { return object.id == id; }),
                  objects.end());
}

bool Contains(const std::vector<ObjectId>& ids, ObjectId id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// A hash of the name's characters in upper case, as names compare without
// regard to case. Folded a piece at a time on the stack: no allocation.
UINT32 NameKey(const std::wstring& name) {
    UINT32 hash = 2166136261u;  // FNV-1a
    wchar_t piece[64];
    for (size_t at = 0; at < name.size(); at += ARRAYSIZE(piece)) {
        const size_t count = std::min(name.size() - at, ARRAYSIZE(piece));
        std::copy_n(name.data() + at, count, piece);
        CharUpperBuffW(piece, static_cast<DWORD>(count));
        for (size_t character = 0; character < count; ++character) {
            hash = (hash ^ piece[character]) * 16777619u;
        }
    }
    return hash;
}

UINT32 IdKey(ObjectId id) { return static_cast<UINT32>(id); }

// The slot to start probing at: the key scrambled over the table's size, a
// power of two.
size_t HomeSlot(UINT32 key, size_t slots) { return (key * 2654435769u) & (slots - 1); }

}  // namespace

TypeName::TypeName(const std::wstring& text) {
    // Every type name ever used, for the life of the process: a handful.
    static SRWLOCK lock = SRWLOCK_INIT;
    static std::unordered_set<std::wstring> names;
    AcquireSRWLockExclusive(&lock);
    text_ = &*names.insert(text).first;
    ReleaseSRWLockExclusive(&lock);
}

ObjectId NextObjectId() {
    static volatile LONG64 last = 0;
    return static_cast<ObjectId>(InterlockedIncrement64(&last));
}

Node* Cluster::FindNode(const std::wstring& name) { return FindByName(nodes, name); }
Node* Cluster::FindNode(ObjectId id) { return FindById(nodes, id); }
Group* Cluster::FindGroup(const std::wstring& name) { return FindByName(groups, name); }
Group* Cluster::FindGroup(ObjectId id) { return FindById(groups, id); }

void ResourceIndex::Forget() {
    byName_.clear();
    byId_.clear();
    entries_.clear();
    names_.clear();
}

void ResourceIndex::Add(const Resource& resource) {
    const UINT32 position = static_cast<UINT32>(entries_.size());
    entries_.push_back(Entry{resource.id, static_cast<UINT32>(names_.size()), static_cast<UINT32>(resource.name.size())});
    names_ += resource.name;
    const auto insert = [&](Table& table, UINT32 key) {
        size_t slot = HomeSlot(key, table.size());
        while (table[slot].position != 0) slot = (slot + 1) & (table.size() - 1);
        table[slot] = Slot{key, position + 1};
    };
    insert(byName_, NameKey(resource.name));
    insert(byId_, IdKey(resource.id));
}

// Indexes the resources added at the end of the list since the last look;
// starts over when the list has shrunk or the tables would be more than
// half full.
void ResourceIndex::CatchUp(const std::vector<Resource>& resources) {
    if (byName_.empty() || entries_.size() > resources.size() || resources.size() * 2 > byName_.size()) {
        size_t slots = 16;
        while (slots < resources.size() * 2) slots *= 2;
        Forget();
        byName_.assign(slots, Slot{0, 0});
        byId_.assign(slots, Slot{0, 0});
    }
    for (size_t position = entries_.size(); position < resources.size(); ++position) Add(resources[position]);
}

// Probes `table` for `key`, taking the first resource whose entry `matches`.
template <class Matches>
Resource* ResourceIndex::Lookup(std::vector<Resource>& resources, const Table& table, UINT32 key, Matches matches) {
    CatchUp(resources);
    for (size_t slot = HomeSlot(key, table.size()); table[slot].position != 0; slot = (slot + 1) & (table.size() - 1)) {
        const size_t position = table[slot].position - 1;
        if (table[slot].key == key && matches(entries_[position])) return &resources[position];
    }
    return nullptr;
}

Resource* ResourceIndex::Find(std::vector<Resource>& resources, const std::wstring& name) {
    return Lookup(resources, byName_, NameKey(name), [&](const Entry& entry) {
        return SameName(names_.data() + entry.nameStart, entry.nameLength, name);
    });
}

Resource* ResourceIndex::Find(std::vector<Resource>& resources, ObjectId id) {
    return Lookup(resources, byId_, IdKey(id), [&](const Entry& entry) { return entry.id == id; });
}

Resource* Cluster::FindResource(const std::wstring& name) { return resourceIndex.Find(resources, name); }
Resource* Cluster::FindResource(ObjectId id) { return resourceIndex.Find(resources, id); }

void Cluster::RenameResource(Resource& resource, const std::wstring& name) {
    resource.name = name;
    resourceIndex.Forget();
}

void Cluster::RemoveResource(ObjectId id) {
    EraseId(resources, id);
    resourceIndex.Forget();
}

void Cluster::RemoveGroup(ObjectId id) { EraseId(groups, id); }

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

std::vector<ResourceType> StandardResourceTypes(const CLUSTERVERSIONINFO& version) {
    const bool version6 = version.MajorVersion >= 6;
    const DWORD addressClass = version6 ? CLUS_RESCLASS_NETWORK : CLUS_RESCLASS_UNKNOWN;
    const DWORD addressSubClass = version6 ? CLUS_RESSUBCLASS_NETWORK_INTERNET_PROTOCOL : 0;
    std::vector<ResourceType> types = {
        {L"Physical Disk", CLUS_RESCLASS_STORAGE, CLUS_RESSUBCLASS_SHARED},
        {L"IP Address", addressClass, addressSubClass},
        {L"Network Name", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Generic Service", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Generic Application", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Generic Script", CLUS_RESCLASS_UNKNOWN, 0},
        {L"File Share", CLUS_RESCLASS_UNKNOWN, 0},
        {L"Distributed Transaction Coordinator", CLUS_RESCLASS_UNKNOWN, 0},
    };
    if (version6) {
        types.insert(types.end(), {{L"IPv6 Address", addressClass, addressSubClass},
                                   {L"IPv6 Tunnel Address", addressClass, addressSubClass},
                                   {L"File Server", CLUS_RESCLASS_UNKNOWN, 0},
                                   {L"Virtual Machine", CLUS_RESCLASS_UNKNOWN, 0},
                                   {L"Virtual Machine Configuration", CLUS_RESCLASS_UNKNOWN, 0}});
    } else {
        types.insert(types.end(), {{L"Majority Node Set", CLUS_RESCLASS_UNKNOWN, 0},
                                   {L"Local Quorum", CLUS_RESCLASS_UNKNOWN, 0},
                                   {L"Print Spooler", CLUS_RESCLASS_UNKNOWN, 0}});
    }
    return types;
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

#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "orvcluster/nrx_api.h"

// The NRX cluster the simulator shows: systems, resource types, service
// groups and resources with their attributes, links and per-system states.
// Objects refer to each other by name.

namespace simnrx {

using Values = std::vector<std::string>;

// What an operation of the engine answers: NRX_E_NONE, or an error code of
// nrx_api.h and a sentence for people.
struct Status {
    int code = NRX_E_NONE;
    std::string message;

    bool Failed() const { return code != NRX_E_NONE; }
};

inline Status Ok() { return Status(); }
inline Status Error(int code, std::string message) { return Status{code, std::move(message)}; }

// One attribute of a group, resource or type. A global attribute holds one
// list of values; a local one a list per system (shown in the order of the
// group's "SystemList", a system without a list of its own shows none).
struct Attribute {
    std::string name;
    NRXAttrType type = NRX_TYPE_STR;
    NRXAttrDimension dimension = NRX_DIM_SCALAR;
    bool local = false;
    Values global;
    std::vector<std::pair<std::string, Values>> perSystem;

    // The values of a system of a local attribute, made empty when missing.
    Values& On(const std::string& system);
    const Values* Find(const std::string& system) const;
};

struct Object {
    std::string name;
    std::vector<Attribute> attributes;

    Attribute* FindAttribute(const std::string& attribute);
    void RemoveAttribute(const std::string& attribute);
    // The first value of a global attribute, or "".
    std::string Text(const std::string& attribute) const;
    void SetText(const std::string& attribute, const std::string& value, NRXAttrType type = NRX_TYPE_STR);
};

constexpr ULONGLONG kNever = ~0ull;

// A resource on one system. The settled state is NRX_RES_OFFLINE, _ONLINE
// or _FAULTED; while `moving` the resource is on its way to `target` and
// settles into `result` at `end` (never, for a pending state set by hand).
struct SystemState {
    std::string system;
    int state = NRX_RES_OFFLINE;
    bool probed = false;
    bool moving = false;
    int target = NRX_RES_ONLINE;
    ULONGLONG end = 0;
    int result = NRX_RES_ONLINE;
};

// How requests to reach `target` end on a system ("" every system).
struct Script {
    std::string system;
    int target;
    DWORD delayMs;
    int finalState;
};

struct ResourceType : Object {};

struct Group : Object {
    std::vector<std::string> children;  // the groups it depends on
};

struct Resource : Object {
    std::string type;
    std::string group;
    std::vector<std::string> children;  // the resources it depends on, in link order
    std::vector<SystemState> states;
    std::vector<Script> scripts;
    std::string lastOnline;

    SystemState* FindState(const std::string& system);
    SystemState& StateOn(const std::string& system);
};

// Group attributes that every group has, kept by the simulator's own rules.
extern const char kSystemList[];
extern const char kAutoStartList[];
extern const char kEnabled[];
extern const char kFrozen[];
extern const char kTemporarilyFrozen[];

class Cluster {
public:
    bool present = false;
    std::string name;
    DWORD pendingMs = 1000;
    std::vector<std::string> systems;
    std::vector<ResourceType> types;
    std::vector<Group> groups;
    std::vector<Resource> resources;

    // The system's name as the cluster spells it, or null.
    const std::string* FindSystem(const std::string& system) const;
    ResourceType* FindType(const std::string& type);
    Group* FindGroup(const std::string& group);
    Resource* FindResource(const std::string& resource);
    Object* FindObject(NRXObjType type, const std::string& name);

    // The group's "SystemList", in its order.
    const Values& SystemList(const Group& group) const;
    const Values& SystemList(const Resource& resource) const;
    bool InSystemList(const Group& group, const std::string& system) const;

    std::vector<Resource*> Members(const std::string& group);
    // The resources (groups) that depend on this one directly, in the order made.
    std::vector<Resource*> Parents(const Resource& resource);
    std::vector<Group*> Parents(const Group& group);

    // Adds a group with the attributes every group has, enabled on every
    // system of `systemList` (which must name systems of the cluster).
    Group& AddGroup(const std::string& group, const Values& systemList);
    Resource& AddResource(const std::string& resource, const std::string& type, const std::string& group, bool enabled);

    // Replaces the group's "SystemList" (systems of the cluster, spelt as
    // the cluster does). A system that leaves takes the states and local
    // values of the group's resources there with it; one that joins is
    // enabled and its resources are not probed there.
    void ApplySystemList(Group& group, const Values& systemList);
};

// Whether linking `parent` on `child` would close a circle, for any graph
// whose nodes list their children by name.
template <class Find>
bool ClosesCircle(const std::string& parent, const std::string& child, Find find) {
    std::vector<std::string> pending{child};
    std::set<std::string> seen{child};
    while (!pending.empty()) {
        std::string name = std::move(pending.back());
        pending.pop_back();
        if (name == parent) return true;
        if (auto* node = find(name))
            for (const std::string& grandchild : node->children)
                if (seen.insert(grandchild).second) pending.push_back(grandchild);
    }
    return false;
}

}  // namespace simnrx

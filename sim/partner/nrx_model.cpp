#include "nrx_model.h"

#include <algorithm>

#include "nrx_text.h"

namespace simnrx {

const char kSystemList[] = "SystemList";
const char kAutoStartList[] = "AutoStartList";
const char kEnabled[] = "Enabled";
const char kFrozen[] = "Frozen";
const char kTemporarilyFrozen[] = "TFrozen";

namespace {

const Values kNoSystems;

template <class T>
T* FindNamed(std::vector<T>& objects, const std::string& name) {
    for (T& object : objects)
        if (object.name == name) return &object;
    return nullptr;
}

Attribute Keylist(const char* name, const Values& keys) {
    Attribute attribute;
    attribute.name = name;
    attribute.dimension = NRX_DIM_KEYLIST;
    attribute.global = keys;
    return attribute;
}

Attribute Integer(const char* name, int value) {
    Attribute attribute;
    attribute.name = name;
    attribute.type = NRX_TYPE_INT;
    attribute.global = {std::to_string(value)};
    return attribute;
}

}  // namespace

Values& Attribute::On(const std::string& system) {
    for (auto& entry : perSystem)
        if (SameSystem(entry.first, system)) return entry.second;
    perSystem.emplace_back(system, Values());
    return perSystem.back().second;
}

const Values* Attribute::Find(const std::string& system) const {
    for (const auto& entry : perSystem)
        if (SameSystem(entry.first, system)) return &entry.second;
    return nullptr;
}

Attribute* Object::FindAttribute(const std::string& attribute) { return FindNamed(attributes, attribute); }

void Object::RemoveAttribute(const std::string& attribute) {
    attributes.erase(std::remove_if(attributes.begin(), attributes.end(),
                                    [&](const Attribute& item) { return item.name == attribute; }),
                     attributes.end());
}

std::string Object::Text(const std::string& attribute) const {
    for (const Attribute& item : attributes)
        if (item.name == attribute && !item.local && !item.global.empty()) return item.global.front();
    return std::string();
}

void Object::SetText(const std::string& attribute, const std::string& value, NRXAttrType type) {
    Attribute* item = FindAttribute(attribute);
    if (!item) {
        attributes.emplace_back();
        item = &attributes.back();
        item->name = attribute;
        item->type = type;
    }
    item->dimension = NRX_DIM_SCALAR;
    item->local = false;
    item->perSystem.clear();
    item->global = {value};
}

SystemState* Resource::FindState(const std::string& system) {
    for (SystemState& state : states)
        if (SameSystem(state.system, system)) return &state;
    return nullptr;
}

SystemState& Resource::StateOn(const std::string& system) {
    if (SystemState* state = FindState(system)) return *state;
    states.emplace_back();
    states.back().system = system;
    return states.back();
}

const std::string* Cluster::FindSystem(const std::string& system) const {
    for (const std::string& candidate : systems)
        if (SameSystem(candidate, system)) return &candidate;
    return nullptr;
}

ResourceType* Cluster::FindType(const std::string& type) { return FindNamed(types, type); }
Group* Cluster::FindGroup(const std::string& group) { return FindNamed(groups, group); }
Resource* Cluster::FindResource(const std::string& resource) { return FindNamed(resources, resource); }

Object* Cluster::FindObject(NRXObjType type, const std::string& object) {
    switch (type) {
        case NRX_OBJ_GROUP:
            return FindGroup(object);
        case NRX_OBJ_RESOURCE:
            return FindResource(object);
        case NRX_OBJ_RESTYPE:
            return FindType(object);
        default:
            return nullptr;
    }
}

const Values& Cluster::SystemList(const Group& group) const {
    for (const Attribute& attribute : group.attributes)
        if (attribute.name == kSystemList) return attribute.global;
    return kNoSystems;
}

const Values& Cluster::SystemList(const Resource& resource) const {
    for (const Group& group : groups)
        if (group.name == resource.group) return SystemList(group);
    return kNoSystems;
}

bool Cluster::InSystemList(const Group& group, const std::string& system) const {
    for (const std::string& member : SystemList(group))
        if (SameSystem(member, system)) return true;
    return false;
}

std::vector<Resource*> Cluster::Members(const std::string& group) {
    std::vector<Resource*> members;
    for (Resource& resource : resources)
        if (resource.group == group) members.push_back(&resource);
    return members;
}

std::vector<Resource*> Cluster::Parents(const Resource& resource) {
    std::vector<Resource*> parents;
    for (Resource& candidate : resources)
        if (std::find(candidate.children.begin(), candidate.children.end(), resource.name) != candidate.children.end())
            parents.push_back(&candidate);
    return parents;
}

std::vector<Group*> Cluster::Parents(const Group& group) {
    std::vector<Group*> parents;
    for (Group& candidate : groups)
        if (std::find(candidate.children.begin(), candidate.children.end(), group.name) != candidate.children.end())
            parents.push_back(&candidate);
    return parents;
}

Group& Cluster::AddGroup(const std::string& group, const Values& systemList) {
    groups.emplace_back();
    Group& added = groups.back();
    added.name = group;
    added.attributes.push_back(Keylist(kSystemList, Values()));
    added.attributes.push_back(Keylist(kAutoStartList, Values()));
    added.attributes.push_back(Integer(kFrozen, 0));
    added.attributes.push_back(Integer(kTemporarilyFrozen, 0));
    Attribute enabled = Integer(kEnabled, 1);
    enabled.local = true;
    enabled.global.clear();
    added.attributes.push_back(enabled);
    ApplySystemList(added, systemList);
    return added;
}

Resource& Cluster::AddResource(const std::string& resource, const std::string& type, const std::string& group,
                               bool enabled) {
    resources.emplace_back();
    Resource& added = resources.back();
    added.name = resource;
    added.type = type;
    added.group = group;
    added.attributes.push_back(Integer(kEnabled, enabled ? 1 : 0));
    return added;
}

void Cluster::ApplySystemList(Group& group, const Values& systemList) {
    const Values before = SystemList(group);
    auto listed = [](const Values& list, const std::string& system) {
        return std::any_of(list.begin(), list.end(), [&](const std::string& item) { return SameSystem(item, system); });
    };
    group.FindAttribute(kSystemList)->global = systemList;
    for (const std::string& system : systemList)
        if (!listed(before, system)) group.FindAttribute(kEnabled)->On(system) = {"1"};
    std::vector<Object*> owners{&group};
    for (Resource* member : Members(group.name)) owners.push_back(member);
    for (const std::string& system : before) {
        if (listed(systemList, system)) continue;
        for (Object* owner : owners)
            for (Attribute& attribute : owner->attributes)
                attribute.perSystem.erase(std::remove_if(attribute.perSystem.begin(), attribute.perSystem.end(),
                                                         [&](const std::pair<std::string, Values>& entry) {
                                                             return SameSystem(entry.first, system);
                                                         }),
                                          attribute.perSystem.end());
        for (Resource* member : Members(group.name))
            member->states.erase(
                std::remove_if(member->states.begin(), member->states.end(),
                               [&](const SystemState& state) { return SameSystem(state.system, system); }),
                member->states.end());
    }
}

}  // namespace simnrx

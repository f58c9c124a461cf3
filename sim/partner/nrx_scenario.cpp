#include "nrx_scenario.h"

#include <algorithm>
#include <set>

#include <nlohmann/json.hpp>

#include "nrx_states.h"
#include "nrx_text.h"

namespace simnrx {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Fail(const std::string& message) { throw ScenarioError("scenario: " + message); }

const char kThisComputer[] = "%COMPUTERNAME%";

std::string SystemName(const std::string& name) { return SameSystem(name, kThisComputer) ? ThisComputer() : name; }

// The fields of one JSON object, read one by one; Done() refuses the fields
// nobody asked for ("comment" aside), so that a misspelt field is noticed.
class Fields {
public:
    Fields(const Json& json, std::string where) : json_(json), where_(std::move(where)) {
        if (!json_.is_object()) Fail(where_ + " is not an object");
    }

    const std::string& Where() const { return where_; }

    const Json* Get(const char* key) {
        asked_.insert(key);
        auto it = json_.find(key);
        return it == json_.end() || it->is_null() ? nullptr : &*it;
    }

    std::string Text(const char* key, bool required) {
        const Json* value = Get(key);
        if (!value) {
            if (required) Fail(where_ + " has no '" + key + "'");
            return std::string();
        }
        if (!value->is_string()) Fail(where_ + " has a '" + key + "' that is not text");
        std::string text = value->get<std::string>();
        if (required && text.empty()) Fail(where_ + " has an empty '" + key + "'");
        return text;
    }

    bool Flag(const char* key, bool fallback) {
        const Json* value = Get(key);
        if (value && !value->is_boolean()) Fail(where_ + " has a '" + key + "' that is not true or false");
        return value ? value->get<bool>() : fallback;
    }

    // A list of texts; `present` tells whether the field was there.
    Values Texts(const char* key, bool* present = nullptr) {
        const Json* value = Get(key);
        if (present) *present = value != nullptr;
        Values texts;
        if (!value) return texts;
        if (!value->is_array()) Fail(where_ + " has a '" + key + "' that is not a list");
        for (const Json& item : *value) {
            if (!item.is_string()) Fail(where_ + " has a '" + key + "' item that is not text");
            texts.push_back(item.get<std::string>());
        }
        return texts;
    }

    void Done() const {
        for (auto it = json_.begin(); it != json_.end(); ++it)
            if (it.key() != "comment" && !asked_.count(it.key()))
                Fail(where_ + " has unknown field '" + it.key() + "'");
    }

private:
    const Json& json_;
    std::string where_;
    std::set<std::string> asked_;
};

// The values of one system (or of a global attribute) and their shape.
struct Shape {
    NRXAttrType type;
    NRXAttrDimension dimension;
    Values values;
};

std::string ItemText(const Json& item, NRXAttrType& type, const std::string& where) {
    if (item.is_string()) return item.get<std::string>();
    if (item.is_number_integer()) {
        type = NRX_TYPE_INT;
        return std::to_string(item.get<long long>());
    }
    Fail(where + " has a value that is neither text nor an integer");
}

Shape ReadShape(const Json& json, const std::string& where) {
    Shape shape{NRX_TYPE_STR, NRX_DIM_SCALAR, {}};
    if (json.is_string() || json.is_number_integer()) {
        shape.values.push_back(ItemText(json, shape.type, where));
        return shape;
    }
    if (json.is_array()) {
        shape.dimension = NRX_DIM_VECTOR;
        NRXAttrType first = NRX_TYPE_STR;
        for (size_t i = 0; i < json.size(); ++i) {
            NRXAttrType type = NRX_TYPE_STR;
            shape.values.push_back(ItemText(json[i], type, where));
            if (i == 0) first = type;
            if (type != first) Fail(where + " mixes text and integers");
        }
        shape.type = first;
        return shape;
    }
    if (json.is_object() && json.size() == 1 && json.contains("keylist") && json["keylist"].is_array()) {
        shape.dimension = NRX_DIM_KEYLIST;
        for (const Json& key : json["keylist"]) {
            if (!key.is_string()) Fail(where + " has a key that is not text");
            shape.values.push_back(key.get<std::string>());
        }
        return shape;
    }
    if (json.is_object() && json.size() == 1 && json.contains("assoc") && json["assoc"].is_object()) {
        shape.dimension = NRX_DIM_ASSOC;
        for (auto it = json["assoc"].begin(); it != json["assoc"].end(); ++it) {
            if (!it.value().is_string()) Fail(where + " has an association value that is not text");
            shape.values.push_back(it.key());
            shape.values.push_back(it.value().get<std::string>());
        }
        return shape;
    }
    Fail(where + " is not text, an integer, a list, {\"keylist\": [...]}, {\"assoc\": {...}} or {\"local\": {...}}");
}

Attribute ReadAttribute(const Json& json, const std::string& name, const std::string& where, const Cluster& cluster,
                        const Values* systemList) {
    Attribute attribute;
    attribute.name = name;
    if (!(json.is_object() && json.size() == 1 && json.contains("local"))) {
        Shape shape = ReadShape(json, where);
        attribute.type = shape.type;
        attribute.dimension = shape.dimension;
        attribute.global = std::move(shape.values);
        return attribute;
    }
    if (!systemList) Fail(where + " is local, but the object has no systems");
    const Json& local = json["local"];
    if (!local.is_object()) Fail(where + " has a 'local' that is not an object");
    attribute.local = true;
    bool first = true;
    for (auto it = local.begin(); it != local.end(); ++it) {
        const std::string* system = ScenarioSystem(cluster, it.key());
        if (!system) Fail(where + " names unknown system " + Quote(it.key()));
        if (std::none_of(systemList->begin(), systemList->end(),
                         [&](const std::string& item) { return SameSystem(item, *system); }))
            Fail(where + " has a value on system " + Quote(*system) + ", which is not in its group's SystemList");
        Shape shape = ReadShape(it.value(), where);
        if (!first && shape.dimension != attribute.dimension)
            Fail(where + " has values of different dimensions on different systems");
        if (first || shape.type == NRX_TYPE_STR) attribute.type = shape.type;
        attribute.dimension = shape.dimension;
        attribute.On(*system) = std::move(shape.values);
        first = false;
    }
    return attribute;
}

Json WriteShape(NRXAttrType type, NRXAttrDimension dimension, const Values& values) {
    auto item = [type](const std::string& value) -> Json {
        if (type == NRX_TYPE_INT) {
            try {
                size_t used = 0;
                long long number = std::stoll(value, &used);
                if (used == value.size()) return number;
            } catch (const std::exception&) {
            }
        }
        return value;
    };
    switch (dimension) {
        case NRX_DIM_SCALAR:
            return values.empty() ? Json("") : item(values.front());
        case NRX_DIM_VECTOR: {
            Json list = Json::array();
            for (const std::string& value : values) list.push_back(item(value));
            return list;
        }
        case NRX_DIM_KEYLIST:
            return Json{{"keylist", values}};
        default: {
            Json pairs = Json::object();
            for (size_t i = 0; i + 1 < values.size(); i += 2) pairs[values[i]] = values[i + 1];
            return Json{{"assoc", pairs}};
        }
    }
}

Json WriteAttributes(const Object& object, NRXObjType type) {
    Json json = Json::object();
    for (const Attribute& attribute : object.attributes) {
        if (ReservedAttribute(type, attribute.name)) continue;
        if (!attribute.local) {
            json[attribute.name] = WriteShape(attribute.type, attribute.dimension, attribute.global);
            continue;
        }
        Json local = Json::object();
        for (const auto& entry : attribute.perSystem)
            local[entry.first] = WriteShape(attribute.type, attribute.dimension, entry.second);
        json[attribute.name] = Json{{"local", local}};
    }
    return json;
}

class Reader {
public:
    explicit Reader(const Json& root) {
        Fields top(root, "the scenario");
        cluster_.present = true;
        cluster_.name = top.Text("cluster", true);
        if (const Json* pending = top.Get("pendingMs")) {
            if (!pending->is_number_unsigned() || pending->get<unsigned long long>() > 0xFFFFFFFFull)
                Fail("'pendingMs' is not a number of milliseconds");
            cluster_.pendingMs = pending->get<DWORD>();
        }
        ReadSystems(top.Texts("systems"));
        if (const Json* types = List(top, "types"))
            for (const Json& type : *types) ReadType(type);
        const Json* groups = List(top, "groups");
        const Json* resources = List(top, "resources");
        top.Done();
        if (groups) {
            for (const Json& group : *groups) ReadGroup(group);
            for (size_t i = 0; i < groups->size(); ++i) ReadGroupChildren((*groups)[i], cluster_.groups[i]);
        }
        if (resources) {
            for (const Json& resource : *resources) ReadResource(resource);
            for (size_t i = 0; i < resources->size(); ++i) ReadResourceChildren((*resources)[i], cluster_.resources[i]);
        }
    }

    Cluster Take() { return std::move(cluster_); }

private:
    static const Json* List(Fields& fields, const char* key) {
        const Json* list = fields.Get(key);
        if (list && !list->is_array()) Fail("'" + std::string(key) + "' is not a list");
        return list;
    }

    void ReadSystems(const Values& systems) {
        if (systems.empty()) Fail("the cluster has no systems");
        for (const std::string& name : systems) {
            std::string system = SystemName(name);
            if (system.empty()) Fail("a system has an empty name");
            if (cluster_.FindSystem(system)) Fail("two systems are named " + Quote(system));
            cluster_.systems.push_back(system);
        }
    }

    // The systems of a list, spelt as the cluster does.
    Values Systems(const Values& names, const std::string& where) {
        Values systems;
        for (const std::string& name : names) {
            const std::string* system = ScenarioSystem(cluster_, name);
            if (!system) Fail(where + " names unknown system " + Quote(name));
            for (const std::string& listed : systems)
                if (SameSystem(listed, *system)) Fail(where + " names system " + Quote(*system) + " twice");
            systems.push_back(*system);
        }
        return systems;
    }

    void ReadAttributes(Fields& fields, Object& object, NRXObjType type, const Values* systemList) {
        const Json* attributes = fields.Get("attributes");
        if (!attributes) return;
        if (!attributes->is_object()) Fail(fields.Where() + " has 'attributes' that are not an object");
        for (auto it = attributes->begin(); it != attributes->end(); ++it) {
            const std::string where = "attribute " + Quote(it.key()) + " of " + fields.Where();
            if (ReservedAttribute(type, it.key())) Fail(where + " is kept by the engine or has a field of its own");
            if (object.FindAttribute(it.key())) Fail(fields.Where() + " has two attributes named " + Quote(it.key()));
            object.attributes.push_back(ReadAttribute(it.value(), it.key(), where, cluster_, systemList));
        }
    }

    void ReadType(const Json& json) {
        ResourceType type;
        if (json.is_string()) {
            type.name = json.get<std::string>();
            if (type.name.empty()) Fail("a type has an empty name");
        } else {
            type.name = Fields(json, "a type").Text("name", true);
            Fields fields(json, "type " + Quote(type.name));
            fields.Get("name");
            ReadAttributes(fields, type, NRX_OBJ_RESTYPE, nullptr);
            fields.Done();
        }
        if (cluster_.FindType(type.name)) Fail("two types are named " + Quote(type.name));
        cluster_.types.push_back(std::move(type));
    }

    void ReadGroup(const Json& json) {
        std::string name = Fields(json, "a group").Text("name", true);
        Fields fields(json, "group " + Quote(name));
        fields.Get("name");
        fields.Get("children");
        if (cluster_.FindGroup(name)) Fail("two groups are named " + Quote(name));
        bool listed = false, autoListed = false;
        Values systemList = Systems(fields.Texts("systemList", &listed), "the systemList of " + fields.Where());
        if (!listed) systemList = cluster_.systems;
        Values autoStart =
            Systems(fields.Texts("autoStartList", &autoListed), "the autoStartList of " + fields.Where());
        Group& group = cluster_.AddGroup(name, systemList);
        group.FindAttribute(kAutoStartList)->global = autoListed ? autoStart : systemList;
        group.SetText(kFrozen, fields.Flag("frozen", false) ? "1" : "0", NRX_TYPE_INT);
        ReadGroupEnabled(fields, group, systemList);
        ReadAttributes(fields, group, NRX_OBJ_GROUP, &systemList);
        fields.Done();
    }

    // true, false, or {"SYSTEM": true/false, ...} for the systems of the list.
    void ReadGroupEnabled(Fields& fields, Group& group, const Values& systemList) {
        const Json* enabled = fields.Get("enabled");
        Attribute& attribute = *group.FindAttribute(kEnabled);
        if (!enabled) return;
        if (enabled->is_boolean()) {
            for (const std::string& system : systemList) attribute.On(system) = {enabled->get<bool>() ? "1" : "0"};
            return;
        }
        if (!enabled->is_object()) Fail(fields.Where() + " has an 'enabled' that is neither true, false nor an object");
        for (auto it = enabled->begin(); it != enabled->end(); ++it) {
            Values system = Systems({it.key()}, "the 'enabled' of " + fields.Where());
            if (!it.value().is_boolean() || !cluster_.InSystemList(group, system.front()))
                Fail(fields.Where() + " has an 'enabled' entry for " + Quote(it.key()) +
                     " that is not true or false for a system of its list");
            attribute.On(system.front()) = {it.value().get<bool>() ? "1" : "0"};
        }
    }

    void ReadGroupChildren(const Json& json, Group& group) {
        Fields fields(json, "group " + Quote(group.name));
        for (const std::string& child : fields.Texts("children")) {
            if (!cluster_.FindGroup(child)) Fail(fields.Where() + " names unknown child group " + Quote(child));
            if (std::find(group.children.begin(), group.children.end(), child) != group.children.end())
                Fail(fields.Where() + " names child group " + Quote(child) + " twice");
            if (ClosesCircle(group.name, child, [&](const std::string& name) { return cluster_.FindGroup(name); }))
                Fail("the link of group " + Quote(group.name) + " on " + Quote(child) + " closes a circle");
            group.children.push_back(child);
        }
    }

    void ReadResource(const Json& json) {
        std::string name = Fields(json, "a resource").Text("name", true);
        Fields fields(json, "resource " + Quote(name));
        fields.Get("name");
        fields.Get("children");
        if (cluster_.FindResource(name)) Fail("two resources are named " + Quote(name));
        std::string type = fields.Text("type", true);
        std::string groupName = fields.Text("group", true);
        Group* group = cluster_.FindGroup(groupName);
        if (!group) Fail(fields.Where() + " names unknown group " + Quote(groupName));
        const Values systemList = cluster_.SystemList(*group);
        if (!cluster_.FindType(type)) {
            cluster_.types.emplace_back();
            cluster_.types.back().name = type;
        }
        const bool enabled = fields.Flag("enabled", true);
        Resource& resource = cluster_.AddResource(name, type, groupName, enabled);
        ReadAttributes(fields, resource, NRX_OBJ_RESOURCE, &systemList);
        ReadStates(fields, resource, systemList, enabled);
        if (Attribute* lastOnline = resource.FindAttribute("LastOnline")) {
            if (lastOnline->local || lastOnline->dimension != NRX_DIM_SCALAR || lastOnline->global.size() != 1)
                Fail("the LastOnline of " + fields.Where() + " is not one text");
            const std::string* system = ScenarioSystem(cluster_, lastOnline->global.front());
            resource.lastOnline = system ? *system : lastOnline->global.front();
            resource.RemoveAttribute("LastOnline");
        }
        fields.Done();
    }

    void ReadStates(Fields& fields, Resource& resource, const Values& systemList, bool enabled) {
        const Json* states = fields.Get("states");
        if (states && !states->is_object()) Fail(fields.Where() + " has 'states' that are not an object");
        for (const std::string& system : systemList)
            if (enabled) ForceState(resource, system, NRX_RES_OFFLINE);
        if (states) {
            for (auto it = states->begin(); it != states->end(); ++it) {
                const std::string* system = ScenarioSystem(cluster_, it.key());
                if (!system) Fail(fields.Where() + " has a state on unknown system " + Quote(it.key()));
                if (std::none_of(systemList.begin(), systemList.end(),
                                 [&](const std::string& item) { return SameSystem(item, *system); }))
                    Fail(fields.Where() + " has a state on " + Quote(*system) +
                         ", which is not in its group's SystemList");
                int state = it.value().is_string() ? ResourceStateFromWord(it.value().get<std::string>()) : -1;
                if (state < 0)
                    Fail(fields.Where() + " has a state on " + Quote(*system) +
                         " that is not one of ONLINE, "
                         "OFFLINE, FAULTED, UNKNOWN, GOING_ONLINE, GOING_OFFLINE");
                ForceState(resource, *system, state);
            }
        }
        resource.lastOnline.clear();
        for (const std::string& system : systemList) {
            SystemState* state = resource.FindState(system);
            if (state && state->probed && !state->moving && state->state == NRX_RES_ONLINE) {
                resource.lastOnline = system;
                break;
            }
        }
    }

    void ReadResourceChildren(const Json& json, Resource& resource) {
        Fields fields(json, "resource " + Quote(resource.name));
        for (const std::string& child : fields.Texts("children")) {
            Resource* found = cluster_.FindResource(child);
            if (!found) Fail(fields.Where() + " names unknown child " + Quote(child));
            if (found->group != resource.group)
                Fail(fields.Where() + " names child " + Quote(child) + ", which is in another group");
            if (std::find(resource.children.begin(), resource.children.end(), child) != resource.children.end())
                Fail(fields.Where() + " names child " + Quote(child) + " twice");
            if (ClosesCircle(resource.name, child,
                             [&](const std::string& name) { return cluster_.FindResource(name); }))
                Fail("the link of resource " + Quote(resource.name) + " on " + Quote(child) + " closes a circle");
            resource.children.push_back(child);
        }
    }

    Cluster cluster_;
};

}  // namespace

const std::string* ScenarioSystem(const Cluster& cluster, const std::string& name) {
    return cluster.FindSystem(SystemName(name));
}

bool ReservedAttribute(NRXObjType type, const std::string& attribute) {
    static const char* const kGroup[] = {"State", kSystemList, kAutoStartList, kFrozen, kTemporarilyFrozen, kEnabled};
    static const char* const kResource[] = {"State", "ArgListValues", kEnabled};
    if (type == NRX_OBJ_GROUP)
        return std::any_of(std::begin(kGroup), std::end(kGroup), [&](const char* name) { return attribute == name; });
    if (type == NRX_OBJ_RESOURCE)
        return std::any_of(std::begin(kResource), std::end(kResource),
                           [&](const char* name) { return attribute == name; });
    return false;
}

Cluster ReadScenario(const std::string& json) {
    Json root;
    try {
        root = Json::parse(json);
    } catch (const nlohmann::json::exception& error) {
        Fail(std::string("not valid JSON: ") + error.what());
    }
    try {
        return Reader(root).Take();
    } catch (const nlohmann::json::exception& error) {
        Fail(std::string("a value has the wrong type: ") + error.what());
    }
}

Attribute ReadAttributeValue(const std::string& json, const std::string& attribute, const Cluster& cluster,
                             const Values* systemList) {
    const std::string where = "the value of " + Quote(attribute);
    try {
        return ReadAttribute(Json::parse(json), attribute, where, cluster, systemList);
    } catch (const nlohmann::json::exception& error) {
        Fail(where + " is not valid JSON: " + error.what());
    }
}

std::string WriteScenario(Cluster& cluster) {
    Json root;
    root["cluster"] = cluster.name;
    root["pendingMs"] = cluster.pendingMs;
    root["systems"] = cluster.systems;
    root["types"] = Json::array();
    for (const ResourceType& type : cluster.types) {
        if (type.attributes.empty())
            root["types"].push_back(type.name);
        else
            root["types"].push_back({{"name", type.name}, {"attributes", WriteAttributes(type, NRX_OBJ_RESTYPE)}});
    }
    root["groups"] = Json::array();
    for (Group& group : cluster.groups) {
        Json enabled = Json::object();
        for (const std::string& system : cluster.SystemList(group)) {
            const Values* value = group.FindAttribute(kEnabled)->Find(system);
            enabled[system] = !(value && value->size() == 1 && value->front() == "0");
        }
        root["groups"].push_back({{"name", group.name},
                                  {"systemList", cluster.SystemList(group)},
                                  {"autoStartList", group.FindAttribute(kAutoStartList)->global},
                                  {"frozen", group.Text(kFrozen) == "1"},
                                  {"enabled", enabled},
                                  {"children", group.children},
                                  {"attributes", WriteAttributes(group, NRX_OBJ_GROUP)}});
    }
    root["resources"] = Json::array();
    for (Resource& resource : cluster.resources) {
        Json states = Json::object();
        for (const std::string& system : cluster.SystemList(resource))
            states[system] = ResourceStateWord(StateOf(cluster, resource, system));
        Json attributes = WriteAttributes(resource, NRX_OBJ_RESOURCE);
        if (!resource.lastOnline.empty()) attributes["LastOnline"] = resource.lastOnline;
        root["resources"].push_back({{"name", resource.name},
                                     {"type", resource.type},
                                     {"group", resource.group},
                                     {"enabled", resource.Text(kEnabled) == "1"},
                                     {"states", states},
                                     {"children", resource.children},
                                     {"attributes", attributes}});
    }
    return root.dump(2);
}

}  // namespace simnrx

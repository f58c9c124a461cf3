#include "nrx_attributes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "nrx_states.h"
#include "nrx_text.h"

namespace simnrx {

namespace {

const char kState[] = "State";
const char kArgListValues[] = "ArgListValues";
const char kLastOnline[] = "LastOnline";

// What the caller hands to NRXObjSetAttribute: the values of one entry.
struct Given {
    std::string name;
    NRXAttrDimension dimension;
    NRXAttrType type;
    Values values;
};

// Reads the caller's record without trusting it: the entry of `system` if
// it has one, else its first.
Status ReadGiven(const NRXAttr& value, const char* system, Given& given) {
    if (!value.name || !*value.name) return Error(NRX_E_BAD_ARGUMENT, "the value names no attribute");
    if (value.dimension < NRX_DIM_SCALAR || value.dimension > NRX_DIM_ASSOC ||
        (value.type != NRX_TYPE_STR && value.type != NRX_TYPE_INT))
        return Error(NRX_E_BAD_ARGUMENT, "the value has an unknown dimension or type");
    if (value.count <= 0 || !value.entries) return Error(NRX_E_BAD_ARGUMENT, "the value holds no entry");
    const NRXAttrValue* entry = &value.entries[0];
    for (int i = 0; system && i < value.count; ++i)
        if (value.entries[i].system && SameSystem(value.entries[i].system, system)) entry = &value.entries[i];
    if (entry->count < 0 || (entry->count > 0 && !entry->values))
        return Error(NRX_E_BAD_ARGUMENT, "the value's entry has no list of values");
    given.name = value.name;
    given.dimension = value.dimension;
    given.type = value.type;
    for (int i = 0; i < entry->count; ++i) {
        if (!entry->values[i]) return Error(NRX_E_BAD_ARGUMENT, "the value's entry holds a null value");
        given.values.push_back(entry->values[i]);
    }
    return Ok();
}

bool IsInteger(const std::string& text) {
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    long long number = std::strtoll(text.c_str(), &end, 10);
    return *end == '\0' && errno == 0 && number >= INT_MIN && number <= INT_MAX;
}

using Same = bool (*)(const std::string&, const std::string&);

bool SameName(const std::string& a, const std::string& b) { return a == b; }

// Where `key` is among the keys of `list` (every `step`-th item), or npos.
size_t KeyAt(const Values& list, const std::string& key, size_t step, Same same) {
    for (size_t i = 0; i < list.size(); i += step)
        if (same(list[i], key)) return i;
    return std::string::npos;
}

// Applies one operation to one list of values of an attribute.
Status ApplyOp(Values& target, NRXAttrDimension dimension, NRXAttrType type, int op, const Given& given, Same same) {
    const std::string name = Quote(given.name);
    const bool keyed = dimension == NRX_DIM_KEYLIST || dimension == NRX_DIM_ASSOC;
    const size_t step = dimension == NRX_DIM_ASSOC ? 2 : 1;
    auto wrong = [&](const char* operation) {
        return Error(NRX_E_WRONG_DIMENSION, std::string(operation) + " does not fit attribute " + name);
    };
    // Where the values are key, value pairs they must come in pairs.
    const bool unpaired = given.values.size() % 2 != 0;
    const Status notPairs = Error(NRX_E_BAD_ARGUMENT, "the values for " + name + " are not key, value pairs");
    Values result = target;
    switch (op) {
        case NRX_ATTR_REPLACE:
            if (dimension == NRX_DIM_ASSOC && unpaired) return notPairs;
            if (dimension == NRX_DIM_SCALAR && given.values.size() != 1)
                return Error(NRX_E_BAD_ARGUMENT, "attribute " + name + " takes exactly one value");
            result.clear();
            for (size_t i = 0; i < given.values.size(); i += step) {
                if (keyed && KeyAt(result, given.values[i], step, same) != std::string::npos)
                    return Error(NRX_E_BAD_ARGUMENT,
                                 "the values for " + name + " name key " + Quote(given.values[i]) + " twice");
                result.insert(result.end(), given.values.begin() + i, given.values.begin() + i + step);
            }
            break;
        case NRX_ATTR_ADD:
            if (dimension != NRX_DIM_VECTOR) return wrong("adding values");
            result.insert(result.end(), given.values.begin(), given.values.end());
            break;
        case NRX_ATTR_ADD_KEY:
            if (!keyed) return wrong("adding keys");
            if (dimension == NRX_DIM_ASSOC && unpaired) return notPairs;
            for (size_t i = 0; i < given.values.size(); i += step) {
                if (KeyAt(result, given.values[i], step, same) != std::string::npos)
                    return Error(NRX_E_KEY_EXISTS, "key " + Quote(given.values[i]) + " is in " + name + " already");
                result.insert(result.end(), given.values.begin() + i, given.values.begin() + i + step);
            }
            break;
        case NRX_ATTR_UPDATE_KEY:
            if (dimension != NRX_DIM_ASSOC) return wrong("changing the values of keys");
            if (unpaired) return notPairs;
            for (size_t i = 0; i < given.values.size(); i += 2) {
                size_t at = KeyAt(result, given.values[i], 2, same);
                if (at == std::string::npos)
                    return Error(NRX_E_KEY_NOT_FOUND, "key " + Quote(given.values[i]) + " is not in " + name);
                result[at + 1] = given.values[i + 1];
            }
            break;
        case NRX_ATTR_DELETE:
        case NRX_ATTR_DELETE_KEY: {
            if (op == NRX_ATTR_DELETE && dimension != NRX_DIM_VECTOR) return wrong("removing values");
            if (op == NRX_ATTR_DELETE_KEY && !keyed) return wrong("removing keys");
            // Keys given as an association are its even items.
            const size_t givenStep = given.dimension == NRX_DIM_ASSOC ? 2 : 1;
            for (size_t i = 0; i < given.values.size(); i += givenStep) {
                size_t at = KeyAt(result, given.values[i], op == NRX_ATTR_DELETE ? 1 : step, same);
                if (at == std::string::npos)
                    return Error(NRX_E_KEY_NOT_FOUND, Quote(given.values[i]) + " is not in " + name);
                result.erase(result.begin() + at, result.begin() + at + (op == NRX_ATTR_DELETE ? 1 : step));
            }
            break;
        }
        default:
            return Error(NRX_E_BAD_ARGUMENT, "operation " + std::to_string(op) + " is none of NRXAttrOp");
    }
    if (type == NRX_TYPE_INT)
        for (const std::string& item : result)
            if (!IsInteger(item))
                return Error(NRX_E_BAD_ARGUMENT, "attribute " + name + " holds integers, not " + Quote(item));
    target = std::move(result);
    return Ok();
}

Group* GroupOf(Cluster& cluster, NRXObjType type, Object& object) {
    if (type == NRX_OBJ_GROUP) return static_cast<Group*>(&object);
    if (type == NRX_OBJ_RESOURCE) return cluster.FindGroup(static_cast<Resource&>(object).group);
    return nullptr;
}

// A value of the argument list or the definition text, quoted when needed.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

std::string ArgumentValue(const std::string& text) {
    return text.empty() || text.find_first_of(" \",\\") != std::string::npos ? Quoted(text) : text;
}

// What the resource's agent gets on the system: "name=value" items, the
// values of a list separated by commas.
std::string ArgumentList(Resource& resource, const std::string& system) {
    std::string text;
    for (const Attribute& attribute : resource.attributes) {
        if (attribute.name == kEnabled) continue;
        const Values* values = attribute.local ? attribute.Find(system) : &attribute.global;
        std::string item = attribute.name + "=";
        for (size_t i = 0; values && i < values->size(); ++i) item += (i ? "," : "") + ArgumentValue((*values)[i]);
        text += (text.empty() ? "" : " ") + item;
    }
    return text;
}

std::string DefinitionValue(const Attribute& attribute, const Values& values) {
    auto item = [&](const std::string& value) { return attribute.type == NRX_TYPE_INT ? value : Quoted(value); };
    if (attribute.dimension == NRX_DIM_SCALAR) return values.empty() ? "\"\"" : item(values.front());
    std::string text;
    const size_t step = attribute.dimension == NRX_DIM_ASSOC ? 2 : 1;
    for (size_t i = 0; i + step <= values.size(); i += step) {
        text += i ? ", " : " ";
        text += step == 2 ? Quoted(values[i]) + " = " + item(values[i + 1]) : item(values[i]);
    }
    text += values.empty() ? "" : " ";
    return attribute.dimension == NRX_DIM_VECTOR ? "[" + text + "]" : "{" + text + "}";
}

std::string DefinitionLines(Cluster& cluster, NRXObjType type, Object& object) {
    std::string text;
    Group* group = GroupOf(cluster, type, object);
    for (const Attribute& attribute : object.attributes) {
        if (!attribute.local) {
            text += "    " + attribute.name + " = " + DefinitionValue(attribute, attribute.global) + "\n";
            continue;
        }
        for (const std::string& system : group ? cluster.SystemList(*group) : Values())
            if (const Values* values = attribute.Find(system))
                text += "    " + attribute.name + "@" + system + " = " + DefinitionValue(attribute, *values) + "\n";
    }
    return text;
}

}  // namespace

bool EngineKept(NRXObjType type, const std::string& attribute) {
    if (type == NRX_OBJ_GROUP) return attribute == kState;
    if (type == NRX_OBJ_RESOURCE) return attribute == kState || attribute == kArgListValues || attribute == kLastOnline;
    return false;
}

bool ViewAttribute(Cluster& cluster, NRXObjType type, Object& object, const std::string& attribute, AttrView& view) {
    view = AttrView{NRX_TYPE_STR, NRX_DIM_ASSOC, false, {}};
    Group* group = GroupOf(cluster, type, object);
    if (EngineKept(type, attribute)) {
        if (attribute == kLastOnline) {
            view.dimension = NRX_DIM_SCALAR;
            view.entries.push_back({true, std::string(), {static_cast<Resource&>(object).lastOnline}});
            return true;
        }
        Values pairs;
        for (const std::string& system : cluster.SystemList(*group)) {
            pairs.push_back(system);
            if (type == NRX_OBJ_GROUP)
                pairs.push_back(GroupStateWord(StateOf(cluster, *group, system)));
            else if (attribute == kState)
                pairs.push_back(ResourceStateWord(StateOf(cluster, static_cast<Resource&>(object), system)));
            else
                pairs.push_back(ArgumentList(static_cast<Resource&>(object), system));
        }
        view.entries.push_back({true, std::string(), pairs});
        return true;
    }
    Attribute* found = object.FindAttribute(attribute);
    if (!found) return false;
    view.type = found->type;
    view.dimension = found->dimension;
    view.local = found->local;
    if (!found->local) {
        view.entries.push_back({true, std::string(), found->global});
        return true;
    }
    for (const std::string& system : group ? cluster.SystemList(*group) : Values()) {
        const Values* values = found->Find(system);
        view.entries.push_back({false, system, values ? *values : Values()});
    }
    return true;
}

Values AttributeNames(NRXObjType type, const Object& object) {
    Values names;
    for (const Attribute& attribute : object.attributes) names.push_back(attribute.name);
    if (type == NRX_OBJ_GROUP) names.push_back(kState);
    if (type == NRX_OBJ_RESOURCE) names.insert(names.end(), {kState, kArgListValues, kLastOnline});
    return names;
}

Status SetSystems(Cluster& cluster, Group& group, const std::string& attribute, const Values& keys) {
    Values systems;
    for (const std::string& key : keys) {
        const std::string* system = cluster.FindSystem(key);
        if (!system) return Error(NRX_E_NO_SUCH_OBJECT, "no system is named " + Quote(key));
        if (KeyAt(systems, *system, 1, SameSystem) != std::string::npos)
            return Error(NRX_E_BAD_ARGUMENT, "system " + Quote(*system) + " is named twice");
        systems.push_back(*system);
    }
    if (attribute == kAutoStartList) {
        group.FindAttribute(kAutoStartList)->global = systems;
        return Ok();
    }
    for (const std::string& system : cluster.SystemList(group)) {
        if (KeyAt(systems, system, 1, SameSystem) != std::string::npos) continue;
        int state = StateOf(cluster, group, system);
        if (state != NRX_GRP_OFFLINE && state != NRX_GRP_FAULTED && state != NRX_GRP_UNKNOWN)
            return Error(NRX_E_STATE, "group " + Quote(group.name) + " is " + GroupStateWord(state) + " on " +
                                          Quote(system) + ", which cannot leave its SystemList");
    }
    cluster.ApplySystemList(group, systems);
    return Ok();
}

Status SetAttribute(Cluster& cluster, NRXObjType type, Object& object, const NRXAttr& value, int op,
                    const char* system) {
    Given given;
    Status status = ReadGiven(value, system, given);
    if (status.Failed()) return status;
    if (EngineKept(type, given.name))
        return Error(NRX_E_WRONG_DIMENSION, "attribute " + Quote(given.name) + " is kept by the engine");
    Group* group = GroupOf(cluster, type, object);
    std::string on;
    if (system) {
        if (!group) return Error(NRX_E_BAD_ARGUMENT, "the attributes of a type have no values per system");
        status = CheckSystem(cluster, *group, system, on);
        if (status.Failed()) return status;
    }
    if (type == NRX_OBJ_GROUP && (given.name == kSystemList || given.name == kAutoStartList)) {
        if (system) return Error(NRX_E_WRONG_DIMENSION, "attribute " + Quote(given.name) + " is global");
        Values keys = object.FindAttribute(given.name)->global;
        status = ApplyOp(keys, NRX_DIM_KEYLIST, NRX_TYPE_STR, op, given, SameSystem);
        return status.Failed() ? status : SetSystems(cluster, *group, given.name, keys);
    }
    Attribute* found = object.FindAttribute(given.name);
    Attribute updated;
    if (found) {
        if (system && !found->local)
            return Error(NRX_E_WRONG_DIMENSION, "attribute " + Quote(given.name) + " is global");
        if (type == NRX_OBJ_RESOURCE && given.name == kEnabled && op == NRX_ATTR_REPLACE && given.values.size() == 1 &&
            given.values.front() != "0" && given.values.front() != "1")
            return Error(NRX_E_BAD_ARGUMENT, "attribute 'Enabled' is 0 or 1");
        updated = *found;
    } else {
        if (op != NRX_ATTR_REPLACE && op != NRX_ATTR_ADD && op != NRX_ATTR_ADD_KEY)
            return Error(NRX_E_NO_SUCH_ATTRIBUTE, Quote(object.name) + " has no attribute " + Quote(given.name));
        updated.name = given.name;
        updated.type = given.type;
        updated.dimension = given.dimension;
        updated.local = system != nullptr;
    }
    if (!updated.local) {
        status = ApplyOp(updated.global, updated.dimension, updated.type, op, given, SameName);
    } else if (system) {
        status = ApplyOp(updated.On(on), updated.dimension, updated.type, op, given, SameName);
    } else {
        for (const std::string& member : cluster.SystemList(*group)) {
            status = ApplyOp(updated.On(member), updated.dimension, updated.type, op, given, SameName);
            if (status.Failed()) break;
        }
    }
    if (status.Failed()) return status;
    if (found)
        *found = std::move(updated);
    else
        object.attributes.push_back(std::move(updated));
    return Ok();
}

Status MakeLocal(Cluster& cluster, Resource& resource, const std::string& attribute) {
    if (EngineKept(NRX_OBJ_RESOURCE, attribute) || attribute == kEnabled)
        return Error(NRX_E_WRONG_DIMENSION, "attribute " + Quote(attribute) + " stays global");
    Attribute* found = resource.FindAttribute(attribute);
    if (!found) return Error(NRX_E_NO_SUCH_ATTRIBUTE, Quote(resource.name) + " has no attribute " + Quote(attribute));
    if (found->local) return Ok();
    for (const std::string& system : cluster.SystemList(resource)) found->On(system) = found->global;
    found->global.clear();
    found->local = true;
    return Ok();
}

Status MakeGlobal(Cluster& cluster, Resource& resource, const std::string& attribute) {
    if (EngineKept(NRX_OBJ_RESOURCE, attribute)) return Ok();
    Attribute* found = resource.FindAttribute(attribute);
    if (!found) return Error(NRX_E_NO_SUCH_ATTRIBUTE, Quote(resource.name) + " has no attribute " + Quote(attribute));
    if (!found->local) return Ok();
    // The value of the first system of the list that has one becomes everyone's.
    found->global.clear();
    for (const std::string& system : cluster.SystemList(resource)) {
        if (const Values* values = found->Find(system)) {
            found->global = *values;
            break;
        }
    }
    found->perSystem.clear();
    found->local = false;
    return Ok();
}

std::string Definition(Cluster& cluster, NRXObjType type, const std::string& name) {
    switch (type) {
        case NRX_OBJ_CLUSTER: {
            std::string text = "cluster " + Quoted(cluster.name) + "\n";
            for (const std::string& system : cluster.systems) text += "    system " + Quoted(system) + "\n";
            return text + "end\n";
        }
        case NRX_OBJ_SYSTEM:
            return "system " + Quoted(*cluster.FindSystem(name)) + "\nend\n";
        case NRX_OBJ_GROUP: {
            Group& group = *cluster.FindGroup(name);
            std::string text = "group " + Quoted(group.name) + "\n" + DefinitionLines(cluster, type, group);
            for (const std::string& child : group.children) text += "    requires group " + Quoted(child) + "\n";
            return text + "end\n";
        }
        case NRX_OBJ_RESOURCE: {
            Resource& resource = *cluster.FindResource(name);
            std::string text = "resource " + Quoted(resource.name) + " type " + Quoted(resource.type) + " group " +
                               Quoted(resource.group) + "\n" + DefinitionLines(cluster, type, resource);
            for (const std::string& child : resource.children) text += "    requires " + Quoted(child) + "\n";
            return text + "end\n";
        }
        default: {
            ResourceType& resourceType = *cluster.FindType(name);
            return "type " + Quoted(resourceType.name) + "\n" + DefinitionLines(cluster, type, resourceType) + "end\n";
        }
    }
}

}  // namespace simnrx

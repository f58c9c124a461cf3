// The entry points of nrxapi_mt.dll that read objects: NRXObjGet...,
// their states, names, attributes and definitions, and setting attributes.

#include <algorithm>

#include "nrx_arguments.h"
#include "nrx_attributes.h"
#include "nrx_engine.h"
#include "nrx_text.h"
#include "simclock.h"

using namespace simnrx;

namespace {

// The systems that a state query covers: those of the control record
// (NRX_E_NO_SUCH_OBJECT for a name that is no system), else the group's list.
Status QuerySystems(Cluster& cluster, const Group& group, const NRXCntlInfo* cntl, Values& systems) {
    if (!cntl) {
        systems = cluster.SystemList(group);
        return Ok();
    }
    Cntl read;
    Status status = ReadCntl(*cntl, {NRX_CNTL_SYSTEM, NRX_CNTL_SCOPE}, read);
    if (status.Failed()) return status;
    for (const std::string& name : read.values) {
        const std::string* system = cluster.FindSystem(name);
        if (!system) return Error(NRX_E_NO_SUCH_OBJECT, "no system is named " + Quote(name));
        systems.push_back(*system);
    }
    return Ok();
}

Status StateAnswer(Engine& engine, NRXObjType type, const char* name, NRXStateInfo** state, const NRXCntlInfo* cntl) {
    Cluster& cluster = engine.cluster;
    Status status = RequireOutput(state);
    if (!status.Failed() && type != NRX_OBJ_GROUP && type != NRX_OBJ_RESOURCE)
        status = Error(NRX_E_BAD_ARGUMENT, "only groups and resources have states");
    std::string found;
    if (!status.Failed()) status = Lookup(cluster, type, name, found);
    if (status.Failed()) return status;
    Resource* resource = type == NRX_OBJ_RESOURCE ? cluster.FindResource(found) : nullptr;
    Group* group = resource ? cluster.FindGroup(resource->group) : cluster.FindGroup(found);
    Values systems;
    status = QuerySystems(cluster, *group, cntl, systems);
    if (status.Failed()) return status;
    std::vector<std::pair<std::string, int>> entries;
    for (const std::string& system : systems)
        entries.emplace_back(system, resource ? StateOf(cluster, *resource, system) : StateOf(cluster, *group, system));
    *state = engine.records.StateInfo(type, found, entries);
    return Ok();
}

// Whether a resource belongs to a listing narrowed by a control record.
bool Selected(const Resource& resource, const Cntl& cntl) {
    switch (cntl.flag) {
        case NRX_CNTL_TYPE:
            return resource.type == cntl.values[0];
        case NRX_CNTL_TYPE_IN_GROUP:
            return resource.type == cntl.values[0] && resource.group == cntl.values[1];
        default:
            return std::find(cntl.values.begin(), cntl.values.end(), resource.group) != cntl.values.end();
    }
}

Status NamesAnswer(Engine& engine, NRXObjType type, const char* pattern, NRXObjNames** names, const NRXCntlInfo* cntl) {
    Cluster& cluster = engine.cluster;
    Status status = RequireOutput(names);
    if (status.Failed()) return status;
    if (type < NRX_OBJ_CLUSTER || type > NRX_OBJ_RESTYPE)
        return Error(NRX_E_BAD_ARGUMENT, "object kind " + std::to_string(type) + " is none of NRXObjType");
    if (cntl && type != NRX_OBJ_RESOURCE)
        return Error(NRX_E_BAD_ARGUMENT, "only resource listings take a control record");
    Cntl read;
    if (cntl) status = ReadCntl(*cntl, {NRX_CNTL_SCOPE, NRX_CNTL_TYPE, NRX_CNTL_TYPE_IN_GROUP}, read);
    if (status.Failed()) return status;
    Values all;
    switch (type) {
        case NRX_OBJ_CLUSTER:
            all.push_back(cluster.name);
            break;
        case NRX_OBJ_SYSTEM:
            all = cluster.systems;
            break;
        case NRX_OBJ_GROUP:
            for (const Group& group : cluster.groups) all.push_back(group.name);
            break;
        case NRX_OBJ_RESOURCE:
            for (const Resource& resource : cluster.resources)
                if (!cntl || Selected(resource, read)) all.push_back(resource.name);
            break;
        default:
            for (const ResourceType& resourceType : cluster.types) all.push_back(resourceType.name);
            break;
    }
    Values matching;
    for (const std::string& name : all)
        if (!pattern || Matches(pattern, name, type == NRX_OBJ_SYSTEM)) matching.push_back(name);
    *names = engine.records.Names(matching);
    return Ok();
}

}  // namespace

extern "C" {

NRXStatusCode NRXObjGet(NRXHandle cluster, NRXObjType type, const char* name, NRXObject** object) {
    ClearOutput(object);
    return RunOn(EntryPoint::NRXObjGet, cluster, [&](Engine& engine, Cluster& model) {
        std::string found;
        Status status = RequireOutput(object);
        if (!status.Failed()) status = Lookup(model, type, name, found);
        if (status.Failed()) return status;
        Object* item = model.FindObject(type, found);
        *object = engine.records.Object(found, type, item ? AttributeNames(type, *item) : Values());
        return Ok();
    });
}

NRXStatusCode NRXObjGetState(NRXHandle cluster, NRXObjType type, const char* name, NRXStateInfo** state,
                             const NRXCntlInfo* cntl) {
    ClearOutput(state);
    return RunOn(EntryPoint::NRXObjGetState, cluster, [&](Engine& engine, Cluster&) {
        Status status = StateAnswer(engine, type, name, state, cntl);
        // A round trip to the engine, whatever it answers.
        SimClock_Advance(kStateQueryMs);
        return status;
    });
}

NRXStatusCode NRXObjGetNames(NRXHandle cluster, NRXObjType type, const char* pattern, NRXObjNames** names,
                             const NRXCntlInfo* cntl) {
    ClearOutput(names);
    return RunOn(EntryPoint::NRXObjGetNames, cluster,
                 [&](Engine& engine, Cluster&) { return NamesAnswer(engine, type, pattern, names, cntl); });
}

NRXStatusCode NRXObjSetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const NRXAttr* value,
                                 NRXAttrOp op, const char* system) {
    return RunOn(EntryPoint::NRXObjSetAttribute, cluster, [&](Engine& engine, Cluster& model) {
        if (!value) return Error(NRX_E_BAD_ARGUMENT, "no value was given");
        if (type == NRX_OBJ_CLUSTER || type == NRX_OBJ_SYSTEM)
            return Error(NRX_E_BAD_ARGUMENT, "systems and the cluster have no attributes to set");
        Status status = RequireName(object, "object");
        if (!status.Failed()) status = engine.Writable(cluster);
        std::string found;
        if (!status.Failed()) status = Lookup(model, type, object, found);
        if (status.Failed()) return status;
        return SetAttribute(model, type, *model.FindObject(type, found), *value, op, system);
    });
}

NRXStatusCode NRXObjGetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const char* attribute,
                                 NRXAttr** value) {
    ClearOutput(value);
    return RunOn(EntryPoint::NRXObjGetAttribute, cluster, [&](Engine& engine, Cluster& model) {
        std::string found;
        Status status = RequireOutput(value);
        if (!status.Failed()) status = RequireName(attribute, "attribute");
        if (!status.Failed()) status = Lookup(model, type, object, found);
        if (status.Failed()) return status;
        Object* item = model.FindObject(type, found);
        AttrView view;
        if (!item || !ViewAttribute(model, type, *item, attribute, view))
            return Error(NRX_E_NO_SUCH_ATTRIBUTE, Quote(found) + " has no attribute " + Quote(attribute));
        *value =
            engine.records.Attr(SIMNRX_RECORD_OBJ_ATTR, attribute, view.type, view.dimension, view.local, view.entries);
        return Ok();
    });
}

NRXStatusCode NRXObjGetDefinition(NRXHandle cluster, NRXObjType type, const char* object, char** text) {
    ClearOutput(text);
    return RunOn(EntryPoint::NRXObjGetDefinition, cluster, [&](Engine& engine, Cluster& model) {
        std::string found;
        Status status = RequireOutput(text);
        if (!status.Failed()) status = Lookup(model, type, object, found);
        if (status.Failed()) return status;
        *text = engine.records.Text(Definition(model, type, found));
        return Ok();
    });
}

}  // extern "C"

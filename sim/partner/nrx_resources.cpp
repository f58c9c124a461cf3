// The resource and resource type entry points of nrxapi_mt.dll.

#include "nrx_arguments.h"
#include "nrx_attributes.h"
#include "nrx_engine.h"
#include "nrx_links.h"

using namespace simnrx;

namespace {

// Runs a body on a resource that exists, after the name was checked.
template <class Body>
NRXStatusCode OnResource(EntryPoint entryPoint, NRXHandle handle, const char* resource, Body body) {
    return RunOn(entryPoint, handle, [&](Engine& engine, Cluster& cluster) {
        std::string found;
        Status status = Lookup(cluster, NRX_OBJ_RESOURCE, resource, found);
        return status.Failed() ? status : body(engine, cluster, *cluster.FindResource(found));
    });
}

// The same for a call that changes the configuration.
template <class Body>
NRXStatusCode ChangeResource(EntryPoint entryPoint, NRXHandle handle, const char* resource, Body body) {
    return RunOn(entryPoint, handle, [&](Engine& engine, Cluster& cluster) {
        std::string found;
        Status status = RequireName(resource, "resource");
        if (!status.Failed()) status = engine.Writable(handle);
        if (!status.Failed()) status = Lookup(cluster, NRX_OBJ_RESOURCE, resource, found);
        return status.Failed() ? status : body(engine, cluster, *cluster.FindResource(found));
    });
}

// A text or list of names answered through an output pointer.
template <class T, class Make>
Status Answer(T** output, Make make) {
    Status status = RequireOutput(output);
    if (!status.Failed()) *output = make();
    return status;
}

}  // namespace

extern "C" {

NRXStatusCode NRXResAdd(NRXHandle cluster, const char* resource, const char* type, const char* group) {
    return RunOn(EntryPoint::NRXResAdd, cluster, [&](Engine& engine, Cluster& model) {
        Status status = RequireName(resource, "resource");
        if (!status.Failed()) status = RequireName(type, "type");
        if (!status.Failed()) status = RequireName(group, "group");
        if (!status.Failed()) status = engine.Writable(cluster);
        if (status.Failed()) return status;
        if (model.FindResource(resource)) return Error(NRX_E_OBJECT_EXISTS, "resource " + Quote(resource) + " exists");
        if (!model.FindType(type)) return Error(NRX_E_NO_SUCH_OBJECT, "no resource type is named " + Quote(type));
        if (!model.FindGroup(group)) return Error(NRX_E_NO_SUCH_OBJECT, "no group is named " + Quote(group));
        // Disabled and not probed until its group's resources are enabled.
        model.AddResource(resource, type, group, false);
        return Ok();
    });
}

NRXStatusCode NRXResDelete(NRXHandle cluster, const char* resource) {
    return ChangeResource(EntryPoint::NRXResDelete, cluster, resource, [](Engine&, Cluster& model, Resource& found) {
        for (const std::string& system : model.SystemList(found)) {
            int state = StateOf(model, found, system);
            if (state != NRX_RES_OFFLINE && state != NRX_RES_FAULTED && state != NRX_RES_UNKNOWN)
                return Error(NRX_E_STATE, "resource " + Quote(found.name) + " is " + ResourceStateWord(state) + " on " +
                                              Quote(system));
        }
        if (!found.children.empty() || !model.Parents(found).empty())
            return Error(NRX_E_STATE, "resource " + Quote(found.name) + " is linked");
        const std::string name = found.name;
        model.resources.erase(std::find_if(model.resources.begin(), model.resources.end(),
                                           [&](const Resource& item) { return item.name == name; }));
        return Ok();
    });
}

NRXStatusCode NRXResOnline(NRXHandle cluster, const char* resource, const char* system) {
    return OnResource(EntryPoint::NRXResOnline, cluster, resource, [&](Engine&, Cluster& model, Resource& found) {
        return OnlineResource(model, found, FromCaller(system));
    });
}

NRXStatusCode NRXResOffline(NRXHandle cluster, const char* resource, const char* system) {
    return OnResource(EntryPoint::NRXResOffline, cluster, resource, [&](Engine&, Cluster& model, Resource& found) {
        return OfflineResource(model, found, FromCaller(system));
    });
}

NRXStatusCode NRXResGetType(NRXHandle cluster, const char* resource, char** type) {
    ClearOutput(type);
    return OnResource(EntryPoint::NRXResGetType, cluster, resource, [&](Engine& engine, Cluster&, Resource& found) {
        return Answer(type, [&] { return engine.records.Text(found.type); });
    });
}

NRXStatusCode NRXResProbe(NRXHandle cluster, const char* resource, const NRXCntlInfo* cntl) {
    return OnResource(EntryPoint::NRXResProbe, cluster, resource, [&](Engine&, Cluster& model, Resource& found) {
        Values names = model.SystemList(found);
        if (cntl) {
            Cntl read;
            Status status = ReadCntl(*cntl, {NRX_CNTL_SCOPE, NRX_CNTL_SYSTEM}, read);
            if (status.Failed()) return status;
            names = read.values;
        }
        Values systems;
        for (const std::string& name : names) {
            std::string system;
            Status status = CheckSystem(model, *model.FindGroup(found.group), name, system);
            if (status.Failed()) return status;
            systems.push_back(system);
        }
        if (found.Text(kEnabled) != "1")
            return Error(NRX_E_STATE, "resource " + Quote(found.name) + " is not enabled, so it is not probed");
        Probe(found, systems);
        return Ok();
    });
}

NRXStatusCode NRXResGetGrpName(NRXHandle cluster, const char* resource, char** group) {
    ClearOutput(group);
    return OnResource(EntryPoint::NRXResGetGrpName, cluster, resource, [&](Engine& engine, Cluster&, Resource& found) {
        return Answer(group, [&] { return engine.records.Text(found.group); });
    });
}

NRXStatusCode NRXResLink(NRXHandle cluster, const char* parent, const char* child) {
    return ChangeResource(EntryPoint::NRXResLink, cluster, parent, [&](Engine&, Cluster& model, Resource& found) {
        std::string name;
        Status status = Lookup(model, NRX_OBJ_RESOURCE, child, name);
        if (status.Failed()) return status;
        const Resource& dependency = *model.FindResource(name);
        if (dependency.group != found.group)
            return Error(NRX_E_BAD_ARGUMENT,
                         "resources " + Quote(found.name) + " and " + Quote(name) + " are in different groups");
        return AddLink(
            found, dependency, [&](const std::string& item) { return model.FindResource(item); }, "resource");
    });
}

NRXStatusCode NRXResUnlink(NRXHandle cluster, const char* parent, const char* child) {
    return ChangeResource(EntryPoint::NRXResUnlink, cluster, parent, [&](Engine&, Cluster& model, Resource& found) {
        std::string name;
        Status status = Lookup(model, NRX_OBJ_RESOURCE, child, name);
        return status.Failed() ? status : RemoveLink(found, name);
    });
}

NRXStatusCode NRXResGetChildList(NRXHandle cluster, const char* resource, NRXObjNames** names) {
    ClearOutput(names);
    return OnResource(EntryPoint::NRXResGetChildList, cluster, resource,
                      [&](Engine& engine, Cluster&, Resource& found) {
                          return Answer(names, [&] { return engine.records.Names(found.children); });
                      });
}

NRXStatusCode NRXResGetDependentList(NRXHandle cluster, const char* resource, NRXObjNames** names) {
    ClearOutput(names);
    return OnResource(EntryPoint::NRXResGetDependentList, cluster, resource,
                      [&](Engine& engine, Cluster& model, Resource& found) {
                          return Answer(names, [&] {
                              return engine.records.Names(
                                  Dependents(found, [&](const Resource& item) { return model.Parents(item); }));
                          });
                      });
}

NRXStatusCode NRXResAttrMakeGlobal(NRXHandle cluster, const char* resource, const char* attribute) {
    return ChangeResource(EntryPoint::NRXResAttrMakeGlobal, cluster, resource,
                          [&](Engine&, Cluster& model, Resource& found) {
                              Status status = RequireName(attribute, "attribute");
                              return status.Failed() ? status : MakeGlobal(model, found, attribute);
                          });
}

NRXStatusCode NRXResAttrMakeLocal(NRXHandle cluster, const char* resource, const char* attribute) {
    return ChangeResource(EntryPoint::NRXResAttrMakeLocal, cluster, resource,
                          [&](Engine&, Cluster& model, Resource& found) {
                              Status status = RequireName(attribute, "attribute");
                              return status.Failed() ? status : MakeLocal(model, found, attribute);
                          });
}

NRXStatusCode NRXResTypeAdd(NRXHandle cluster, const char* type) {
    return RunOn(EntryPoint::NRXResTypeAdd, cluster, [&](Engine& engine, Cluster& model) {
        Status status = RequireName(type, "type");
        if (!status.Failed()) status = engine.Writable(cluster);
        if (status.Failed()) return status;
        if (model.FindType(type)) return Error(NRX_E_OBJECT_EXISTS, "resource type " + Quote(type) + " exists");
        model.types.emplace_back();
        model.types.back().name = type;
        return Ok();
    });
}

NRXStatusCode NRXResTypeDelete(NRXHandle cluster, const char* type) {
    return RunOn(EntryPoint::NRXResTypeDelete, cluster, [&](Engine& engine, Cluster& model) {
        std::string found;
        Status status = RequireName(type, "type");
        if (!status.Failed()) status = engine.Writable(cluster);
        if (!status.Failed()) status = Lookup(model, NRX_OBJ_RESTYPE, type, found);
        if (status.Failed()) return status;
        for (const Resource& resource : model.resources)
            if (resource.type == found)
                return Error(NRX_E_STATE, "resource " + Quote(resource.name) + " is of type " + Quote(found));
        model.types.erase(std::find_if(model.types.begin(), model.types.end(),
                                       [&](const ResourceType& item) { return item.name == found; }));
        return Ok();
    });
}

NRXStatusCode NRXResGetParentList(NRXHandle cluster, const char* resource, NRXObjNames** names) {
    ClearOutput(names);
    return OnResource(EntryPoint::NRXResGetParentList, cluster, resource,
                      [&](Engine& engine, Cluster& model, Resource& found) {
                          return Answer(names, [&] { return engine.records.Names(NamesOf(model.Parents(found))); });
                      });
}

NRXStatusCode NRXResClear(NRXHandle cluster, const char* resource, const char* system) {
    return OnResource(EntryPoint::NRXResClear, cluster, resource, [&](Engine&, Cluster& model, Resource& found) {
        Values systems = model.SystemList(found);
        if (system) {
            std::string on;
            Status status = CheckSystem(model, *model.FindGroup(found.group), system, on);
            if (status.Failed()) return status;
            systems = {on};
        }
        for (const std::string& on : systems) ClearFault(found, on);
        return Ok();
    });
}

}  // extern "C"

// The service group entry points of nrxapi_mt.dll.

#include "nrx_arguments.h"
#include "nrx_engine.h"
#include "nrx_links.h"

using namespace simnrx;

namespace {

// Runs a body on a group that exists; `changes` marks a call that changes
// the configuration.
template <class Body>
NRXStatusCode OnGroup(EntryPoint entryPoint, NRXHandle handle, const char* group, bool changes, Body body) {
    return RunOn(entryPoint, handle, [&](Engine& engine, Cluster& cluster) {
        std::string found;
        Status status = RequireName(group, "group");
        if (!status.Failed() && changes) status = engine.Writable(handle);
        if (!status.Failed()) status = Lookup(cluster, NRX_OBJ_GROUP, group, found);
        return status.Failed() ? status : body(engine, cluster, *cluster.FindGroup(found));
    });
}

// The systems a call names: the one given (of the group's list), or with
// null every system of the list.
Status Targets(Cluster& cluster, const Group& group, const char* system, Values& systems) {
    if (!system) {
        systems = cluster.SystemList(group);
        return Ok();
    }
    std::string on;
    Status status = CheckSystem(cluster, group, system, on);
    if (!status.Failed()) systems = {on};
    return status;
}

// Applies `apply(resource, system)` to every member of the group on the
// systems named.
template <class Apply>
NRXStatusCode ForMembers(EntryPoint entryPoint, NRXHandle handle, const char* group, const char* system, Apply apply) {
    return OnGroup(entryPoint, handle, group, false, [&](Engine&, Cluster& cluster, Group& found) {
        Values systems;
        Status status = Targets(cluster, found, system, systems);
        if (status.Failed()) return status;
        for (Resource* member : cluster.Members(found.name))
            for (const std::string& on : systems) apply(*member, on);
        return Ok();
    });
}

NRXStatusCode SetFrozen(EntryPoint entryPoint, NRXHandle handle, const char* group, int persistent, bool frozen) {
    // Only a persistent freeze is kept in the configuration.
    return OnGroup(entryPoint, handle, group, persistent != 0, [&](Engine&, Cluster&, Group& found) {
        found.SetText(persistent ? kFrozen : kTemporarilyFrozen, frozen ? "1" : "0", NRX_TYPE_INT);
        return Ok();
    });
}

NRXStatusCode SetEnabled(EntryPoint entryPoint, NRXHandle handle, const char* group, const char* system, bool enabled) {
    return OnGroup(entryPoint, handle, group, true, [&](Engine&, Cluster& cluster, Group& found) {
        Values systems;
        Status status = Targets(cluster, found, system, systems);
        if (status.Failed()) return status;
        for (const std::string& on : systems) found.FindAttribute(kEnabled)->On(on) = {enabled ? "1" : "0"};
        return Ok();
    });
}

// Checks the arguments of a call that acts on states the simulator never
// enters (waiting for an administrator, for a parent); there is nothing
// more to do.
NRXStatusCode CheckOnly(EntryPoint entryPoint, NRXHandle handle, const char* group, const char* system) {
    return OnGroup(entryPoint, handle, group, false, [&](Engine&, Cluster& cluster, Group& found) {
        std::string on;
        return CheckSystem(cluster, found, FromCaller(system), on);
    });
}

template <class List>
NRXStatusCode GroupNames(EntryPoint entryPoint, NRXHandle handle, const char* group, NRXObjNames** names, List list) {
    ClearOutput(names);
    return OnGroup(entryPoint, handle, group, false, [&](Engine& engine, Cluster& cluster, Group& found) {
        Status status = RequireOutput(names);
        if (!status.Failed()) *names = engine.records.Names(list(cluster, found));
        return status;
    });
}

}  // namespace

extern "C" {

NRXStatusCode NRXGrpAdd(NRXHandle cluster, const char* group) {
    return RunOn(EntryPoint::NRXGrpAdd, cluster, [&](Engine& engine, Cluster& model) {
        Status status = RequireName(group, "group");
        if (!status.Failed()) status = engine.Writable(cluster);
        if (status.Failed()) return status;
        if (model.FindGroup(group)) return Error(NRX_E_OBJECT_EXISTS, "group " + Quote(group) + " exists");
        model.AddGroup(group, Values());
        return Ok();
    });
}

NRXStatusCode NRXGrpDelete(NRXHandle cluster, const char* group) {
    // A group without resources is never online: its state follows them.
    return OnGroup(EntryPoint::NRXGrpDelete, cluster, group, true, [](Engine&, Cluster& model, Group& found) {
        if (!model.Members(found.name).empty())
            return Error(NRX_E_STATE, "group " + Quote(found.name) + " holds resources");
        const std::string name = found.name;
        for (Group& other : model.groups)
            other.children.erase(std::remove(other.children.begin(), other.children.end(), name), other.children.end());
        model.groups.erase(std::find_if(model.groups.begin(), model.groups.end(),
                                        [&](const Group& item) { return item.name == name; }));
        return Ok();
    });
}

NRXStatusCode NRXGrpOnline(NRXHandle cluster, const char* group, const char* system) {
    return OnGroup(EntryPoint::NRXGrpOnline, cluster, group, false, [&](Engine&, Cluster& model, Group& found) {
        return OnlineGroup(model, found, FromCaller(system));
    });
}

NRXStatusCode NRXGrpOffline(NRXHandle cluster, const char* group, const char* system) {
    return OnGroup(EntryPoint::NRXGrpOffline, cluster, group, false, [&](Engine&, Cluster& model, Group& found) {
        if (system && !*system) return Error(NRX_E_BAD_ARGUMENT, "the system named is empty");
        return OfflineGroup(model, found, FromCaller(system));
    });
}

NRXStatusCode NRXGrpSwitch(NRXHandle cluster, const char* group, const char* system) {
    return OnGroup(EntryPoint::NRXGrpSwitch, cluster, group, false, [&](Engine&, Cluster& model, Group& found) {
        return SwitchGroup(model, found, FromCaller(system));
    });
}

NRXStatusCode NRXGrpFreeze(NRXHandle cluster, const char* group, int persistent) {
    return SetFrozen(EntryPoint::NRXGrpFreeze, cluster, group, persistent, true);
}

NRXStatusCode NRXGrpUnfreeze(NRXHandle cluster, const char* group, int persistent) {
    return SetFrozen(EntryPoint::NRXGrpUnfreeze, cluster, group, persistent, false);
}

NRXStatusCode NRXGrpFlush(NRXHandle cluster, const char* group, const char* system) {
    return ForMembers(EntryPoint::NRXGrpFlush, cluster, group, system, Flush);
}

NRXStatusCode NRXGrpClear(NRXHandle cluster, const char* group, const char* system) {
    return ForMembers(EntryPoint::NRXGrpClear, cluster, group, system, ClearFault);
}

NRXStatusCode NRXGrpEnable(NRXHandle cluster, const char* group, const char* system) {
    return SetEnabled(EntryPoint::NRXGrpEnable, cluster, group, system, true);
}

NRXStatusCode NRXGrpDisable(NRXHandle cluster, const char* group, const char* system) {
    return SetEnabled(EntryPoint::NRXGrpDisable, cluster, group, system, false);
}

NRXStatusCode NRXGrpAutoEnable(NRXHandle cluster, const char* group, const char* system) {
    // The administrator vouches for the group's resources there: they count
    // as probed.
    return ForMembers(EntryPoint::NRXGrpAutoEnable, cluster, group, system,
                      [](Resource& member, const std::string& on) {
                          if (member.Text(kEnabled) == "1") Probe(member, {on});
                      });
}

NRXStatusCode NRXGrpEnableResources(NRXHandle cluster, const char* group) {
    return OnGroup(EntryPoint::NRXGrpEnableResources, cluster, group, true, [](Engine&, Cluster& model, Group& found) {
        for (Resource* member : model.Members(found.name)) {
            member->SetText(kEnabled, "1", NRX_TYPE_INT);
            Probe(*member, model.SystemList(found));
        }
        return Ok();
    });
}

NRXStatusCode NRXGrpDisableResources(NRXHandle cluster, const char* group) {
    return OnGroup(EntryPoint::NRXGrpDisableResources, cluster, group, true, [](Engine&, Cluster& model, Group& found) {
        for (Resource* member : model.Members(found.name))
            for (const std::string& system : model.SystemList(found)) {
                int state = StateOf(model, *member, system);
                if (state != NRX_RES_OFFLINE && state != NRX_RES_FAULTED && state != NRX_RES_UNKNOWN)
                    return Error(NRX_E_STATE, "resource " + Quote(member->name) + " is " + ResourceStateWord(state) +
                                                  " on " + Quote(system));
            }
        for (Resource* member : model.Members(found.name)) member->SetText(kEnabled, "0", NRX_TYPE_INT);
        return Ok();
    });
}

NRXStatusCode NRXGrpLink(NRXHandle cluster, const char* parent, const char* child) {
    return OnGroup(EntryPoint::NRXGrpLink, cluster, parent, true, [&](Engine&, Cluster& model, Group& found) {
        std::string name;
        Status status = Lookup(model, NRX_OBJ_GROUP, child, name);
        if (status.Failed()) return status;
        return AddLink(
            found, *model.FindGroup(name), [&](const std::string& item) { return model.FindGroup(item); }, "group");
    });
}

NRXStatusCode NRXGrpUnlink(NRXHandle cluster, const char* parent, const char* child) {
    return OnGroup(EntryPoint::NRXGrpUnlink, cluster, parent, true, [&](Engine&, Cluster& model, Group& found) {
        std::string name;
        Status status = Lookup(model, NRX_OBJ_GROUP, child, name);
        return status.Failed() ? status : RemoveLink(found, name);
    });
}

NRXStatusCode NRXGrpGetChildList(NRXHandle cluster, const char* group, NRXObjNames** names) {
    return GroupNames(EntryPoint::NRXGrpGetChildList, cluster, group, names,
                      [](Cluster&, Group& found) { return found.children; });
}

NRXStatusCode NRXGrpGetParentList(NRXHandle cluster, const char* group, NRXObjNames** names) {
    return GroupNames(EntryPoint::NRXGrpGetParentList, cluster, group, names,
                      [](Cluster& model, Group& found) { return NamesOf(model.Parents(found)); });
}

NRXStatusCode NRXGrpGetDependentList(NRXHandle cluster, const char* group, NRXObjNames** names) {
    return GroupNames(EntryPoint::NRXGrpGetDependentList, cluster, group, names, [](Cluster& model, Group& found) {
        return Dependents(found, [&](const Group& item) { return model.Parents(item); });
    });
}

NRXStatusCode NRXGrpClearadminwait(NRXHandle cluster, const char* group, const char* system) {
    return CheckOnly(EntryPoint::NRXGrpClearadminwait, cluster, group, system);
}

NRXStatusCode NRXGrpIgnore(NRXHandle cluster, const char* group, const char* system) {
    return CheckOnly(EntryPoint::NRXGrpIgnore, cluster, group, system);
}

}  // extern "C"

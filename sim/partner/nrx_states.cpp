#include "nrx_states.h"

#include <algorithm>

#include "nrx_text.h"
#include "simclock.h"

namespace simnrx {

namespace {

// When a requested transition of one resource ends, and in which state.
struct Outcome {
    ULONGLONG end;
    int result;
};

constexpr int kGoingOffline = NRX_RES_ONLINE | NRX_RES_WAIT_OFFLINE;

ULONGLONG After(ULONGLONG start, DWORD delay) { return start == kNever ? kNever : start + delay; }

bool Enabled(const Resource& resource) { return resource.Text(kEnabled) == "1"; }

bool Frozen(const Group& group) { return group.Text(kFrozen) == "1" || group.Text(kTemporarilyFrozen) == "1"; }

bool Down(int state) { return state == NRX_RES_OFFLINE || state == NRX_RES_FAULTED || state == NRX_RES_UNKNOWN; }

bool Running(int groupState) {
    return groupState == NRX_GRP_ONLINE || groupState == NRX_GRP_PARTIAL || groupState == NRX_GRP_GOING_ONLINE ||
           groupState == NRX_GRP_GOING_OFFLINE;
}

void Finish(Resource& resource, SystemState& state) {
    state.moving = false;
    state.state = state.result;
    if (state.result == NRX_RES_ONLINE) resource.lastOnline = state.system;
}

void Start(Resource& resource, SystemState& state, int target, const Outcome& outcome, ULONGLONG now) {
    state.probed = true;
    state.moving = true;
    state.target = target;
    state.end = outcome.end;
    state.result = outcome.result;
    if (outcome.end <= now) Finish(resource, state);
}

// How long a request to reach `target` takes from `start`, and how it ends:
// a script for that system wins over one for every system, which wins over
// the cluster's pending time.
Outcome Plan(const Cluster& cluster, const Resource& resource, const std::string& system, int target, ULONGLONG start) {
    const Script* general = nullptr;
    const Script* specific = nullptr;
    for (const Script& script : resource.scripts) {
        if (script.target != target) continue;
        if (script.system.empty())
            general = &script;
        else if (SameSystem(script.system, system))
            specific = &script;
    }
    const Script* chosen = specific ? specific : general;
    if (!chosen) return {After(start, cluster.pendingMs), target};
    return {After(start, chosen->delayMs), chosen->finalState};
}

// Brings the resource online on the system once its enabled children are:
// each waits for the last of its children, then takes its own time.
Outcome ScheduleOnline(Cluster& cluster, Resource& resource, const std::string& system, ULONGLONG earliest,
                       ULONGLONG now) {
    int current = StateOf(cluster, resource, system);
    if (current == NRX_RES_ONLINE) return {now, NRX_RES_ONLINE};
    SystemState* running = resource.FindState(system);
    if (current == NRX_RES_WAIT_ONLINE) return {running->end, running->result};
    ULONGLONG start = std::max(now, earliest);
    bool childDown = false;
    for (const std::string& name : resource.children) {
        Resource* child = cluster.FindResource(name);
        if (!child || !Enabled(*child)) continue;
        Outcome outcome = ScheduleOnline(cluster, *child, system, earliest, now);
        start = std::max(start, outcome.end);
        childDown = childDown || outcome.result != NRX_RES_ONLINE;
    }
    Outcome outcome = Plan(cluster, resource, system, NRX_RES_ONLINE, start);
    // A resource whose child failed never starts.
    if (childDown) outcome.result = NRX_RES_OFFLINE;
    Start(resource, resource.StateOn(system), NRX_RES_ONLINE, outcome, now);
    return outcome;
}

// Takes the resource offline on the system once its parents are.
Outcome ScheduleOffline(Cluster& cluster, Resource& resource, const std::string& system, ULONGLONG now) {
    int current = StateOf(cluster, resource, system);
    if (Down(current)) return {now, current};
    SystemState& state = *resource.FindState(system);
    if (current == kGoingOffline) return {state.end, state.result};
    if (current == NRX_RES_WAIT_ONLINE) {
        // Still on its way online: it stops where it started.
        state.moving = false;
        return {now, state.state};
    }
    ULONGLONG start = now;
    for (Resource* parent : cluster.Parents(resource))
        start = std::max(start, ScheduleOffline(cluster, *parent, system, now).end);
    Outcome outcome = Plan(cluster, resource, system, NRX_RES_OFFLINE, start);
    Start(resource, *resource.FindState(system), NRX_RES_OFFLINE, outcome, now);
    return outcome;
}

// A frozen group, or one disabled on the system, stays where it is.
Status Movable(Group& group, const std::string& system) {
    if (Frozen(group)) return Error(NRX_E_STATE, "group " + Quote(group.name) + " is frozen");
    const Values* enabled = group.FindAttribute(kEnabled)->Find(system);
    if (enabled && enabled->size() == 1 && enabled->front() == "0")
        return Error(NRX_E_STATE, "group " + Quote(group.name) + " is disabled on " + Quote(system));
    return Ok();
}

// What keeps a group from coming online on a system, the state of its
// resources aside.
Status GroupRefusesOnline(Cluster& cluster, Group& group, const std::string& system) {
    Status status = Movable(group, system);
    if (status.Failed()) return status;
    for (const std::string& other : cluster.SystemList(group)) {
        if (SameSystem(other, system) || !Running(StateOf(cluster, group, other))) continue;
        return Error(NRX_E_STATE, "group " + Quote(group.name) + " runs on " + Quote(other));
    }
    if (StateOf(cluster, group, system) == NRX_GRP_GOING_OFFLINE)
        return Error(NRX_E_STATE, "group " + Quote(group.name) + " is going offline on " + Quote(system));
    return Ok();
}

Status ChildGroupsOnline(Cluster& cluster, Group& group, const std::string& system) {
    for (const std::string& name : group.children) {
        Group* child = cluster.FindGroup(name);
        if (child && StateOf(cluster, *child, system) != NRX_GRP_ONLINE)
            return Error(NRX_E_STATE, "group " + Quote(group.name) + " depends on group " + Quote(name) +
                                          ", which is not online on " + Quote(system));
    }
    return Ok();
}

Status ParentGroupsOffline(Cluster& cluster, Group& group, const std::string& system) {
    for (Group* parent : cluster.Parents(group))
        if (Running(StateOf(cluster, *parent, system)))
            return Error(NRX_E_STATE, "group " + Quote(parent->name) + " depends on group " + Quote(group.name) +
                                          " and is not offline on " + Quote(system));
    return Ok();
}

// Every enabled resource of the group must be probed and not faulted there.
Status MembersReady(Cluster& cluster, Group& group, const std::string& system) {
    for (Resource* member : cluster.Members(group.name)) {
        if (!Enabled(*member)) continue;
        int state = StateOf(cluster, *member, system);
        if (state == NRX_RES_FAULTED)
            return Error(NRX_E_STATE, "resource " + Quote(member->name) + " is faulted on " + Quote(system));
        if (state == NRX_RES_UNKNOWN)
            return Error(NRX_E_STATE, "resource " + Quote(member->name) + " is not probed on " + Quote(system));
    }
    return Ok();
}

ULONGLONG OfflineMembers(Cluster& cluster, Group& group, const std::string& system, ULONGLONG now) {
    ULONGLONG end = now;
    for (Resource* member : cluster.Members(group.name))
        end = std::max(end, ScheduleOffline(cluster, *member, system, now).end);
    return end;
}

struct Word {
    int state;
    const char* word;
};
const Word kResourceWords[] = {
    {NRX_RES_ONLINE, "ONLINE"},   {NRX_RES_OFFLINE, "OFFLINE"},          {NRX_RES_FAULTED, "FAULTED"},
    {NRX_RES_UNKNOWN, "UNKNOWN"}, {NRX_RES_WAIT_ONLINE, "GOING_ONLINE"}, {kGoingOffline, "GOING_OFFLINE"}};
const Word kGroupWords[] = {
    {NRX_GRP_ONLINE, "ONLINE"},   {NRX_GRP_OFFLINE, "OFFLINE"},           {NRX_GRP_PARTIAL, "PARTIAL"},
    {NRX_GRP_FAULTED, "FAULTED"}, {NRX_GRP_GOING_ONLINE, "GOING_ONLINE"}, {NRX_GRP_GOING_OFFLINE, "GOING_OFFLINE"},
    {NRX_GRP_UNKNOWN, "UNKNOWN"}};

template <size_t N>
const char* WordOf(const Word (&words)[N], int state) {
    for (const Word& word : words)
        if (word.state == state) return word.word;
    return "UNKNOWN";
}

}  // namespace

ULONGLONG Now() { return SimClock_GetTickCount64(); }

void Settle(Cluster& cluster) {
    const ULONGLONG now = Now();
    for (Resource& resource : cluster.resources) {
        std::vector<SystemState*> due;
        for (SystemState& state : resource.states)
            if (state.moving && state.end <= now) due.push_back(&state);
        // In the order they ended, so that "LastOnline" names the last one.
        std::sort(due.begin(), due.end(), [](SystemState* a, SystemState* b) { return a->end < b->end; });
        for (SystemState* state : due) Finish(resource, *state);
    }
}

int StateOf(Cluster& cluster, Resource& resource, const std::string& system) {
    Group* group = cluster.FindGroup(resource.group);
    SystemState* state = resource.FindState(system);
    if (!group || !cluster.InSystemList(*group, system) || !state || !state->probed) return NRX_RES_UNKNOWN;
    if (state->moving && state->end <= Now()) Finish(resource, *state);
    if (!state->moving) return state->state;
    return state->target == NRX_RES_ONLINE ? NRX_RES_WAIT_ONLINE : kGoingOffline;
}

int StateOf(Cluster& cluster, Group& group, const std::string& system) {
    if (!cluster.InSystemList(group, system)) return NRX_GRP_UNKNOWN;
    bool any = false, allOnline = true, someOnline = false, goingOnline = false, goingOffline = false;
    bool faulted = false, allUnknown = true;
    for (Resource* member : cluster.Members(group.name)) {
        if (!Enabled(*member)) continue;
        int state = StateOf(cluster, *member, system);
        any = true;
        goingOffline = goingOffline || state == kGoingOffline;
        goingOnline = goingOnline || state == NRX_RES_WAIT_ONLINE;
        someOnline = someOnline || state == NRX_RES_ONLINE;
        allOnline = allOnline && state == NRX_RES_ONLINE;
        faulted = faulted || state == NRX_RES_FAULTED;
        allUnknown = allUnknown && state == NRX_RES_UNKNOWN;
    }
    if (!any) return NRX_GRP_OFFLINE;
    if (goingOffline) return NRX_GRP_GOING_OFFLINE;
    if (goingOnline) return NRX_GRP_GOING_ONLINE;
    if (allOnline) return NRX_GRP_ONLINE;
    if (someOnline) return NRX_GRP_PARTIAL;
    if (faulted) return NRX_GRP_FAULTED;
    if (allUnknown) return NRX_GRP_UNKNOWN;
    return NRX_GRP_OFFLINE;
}

const char* ResourceStateWord(int state) { return WordOf(kResourceWords, state); }
const char* GroupStateWord(int state) { return WordOf(kGroupWords, state); }

int ResourceStateFromWord(const std::string& word) {
    for (const Word& entry : kResourceWords)
        if (word == entry.word) return entry.state;
    return -1;
}

Status CheckSystem(Cluster& cluster, const Group& group, const std::string& system, std::string& canonical) {
    if (system.empty()) return Error(NRX_E_BAD_ARGUMENT, "no system was named");
    const std::string* found = cluster.FindSystem(system);
    if (!found) return Error(NRX_E_NO_SUCH_OBJECT, "no system is named " + Quote(system));
    if (!cluster.InSystemList(group, system))
        return Error(NRX_E_NOT_IN_SYSTEM_LIST,
                     "system " + Quote(*found) + " is not in the SystemList of group " + Quote(group.name));
    canonical = *found;
    return Ok();
}

bool ForceState(Resource& resource, const std::string& system, int state) {
    SystemState& entry = resource.StateOn(system);
    switch (state) {
        case NRX_RES_OFFLINE:
        case NRX_RES_ONLINE:
        case NRX_RES_FAULTED:
            entry.probed = true;
            entry.moving = true;
            entry.result = state;
            Finish(resource, entry);
            return true;
        case NRX_RES_UNKNOWN:
            entry.probed = false;
            entry.moving = false;
            return true;
        case NRX_RES_WAIT_ONLINE:
        case kGoingOffline:
            entry.probed = true;
            entry.moving = true;
            entry.target = state == NRX_RES_WAIT_ONLINE ? NRX_RES_ONLINE : NRX_RES_OFFLINE;
            entry.state = state == NRX_RES_WAIT_ONLINE ? NRX_RES_OFFLINE : NRX_RES_ONLINE;
            entry.end = kNever;
            entry.result = entry.target;
            return true;
        default:
            return false;
    }
}

Status OnlineResource(Cluster& cluster, Resource& resource, const std::string& system) {
    Group& group = *cluster.FindGroup(resource.group);
    std::string on;
    Status status = CheckSystem(cluster, group, system, on);
    if (status.Failed()) return status;
    if (!Enabled(resource)) return Error(NRX_E_STATE, "resource " + Quote(resource.name) + " is not enabled");
    int state = StateOf(cluster, resource, on);
    if (state == NRX_RES_ONLINE || state == NRX_RES_WAIT_ONLINE) return Ok();
    status = GroupRefusesOnline(cluster, group, on);
    if (status.Failed()) return status;
    if (state != NRX_RES_OFFLINE)
        return Error(NRX_E_STATE,
                     "resource " + Quote(resource.name) + " is " + ResourceStateWord(state) + " on " + Quote(on));
    for (const std::string& name : resource.children) {
        Resource* child = cluster.FindResource(name);
        if (child && Enabled(*child) && StateOf(cluster, *child, on) != NRX_RES_ONLINE)
            return Error(NRX_E_STATE, "resource " + Quote(resource.name) + " depends on " + Quote(name) +
                                          ", which is not online on " + Quote(on));
    }
    ScheduleOnline(cluster, resource, on, 0, Now());
    return Ok();
}

Status OfflineResource(Cluster& cluster, Resource& resource, const std::string& system) {
    Group& group = *cluster.FindGroup(resource.group);
    std::string on;
    Status status = CheckSystem(cluster, group, system, on);
    if (status.Failed()) return status;
    int state = StateOf(cluster, resource, on);
    if (state == NRX_RES_OFFLINE || state == kGoingOffline) return Ok();
    if (Frozen(group)) return Error(NRX_E_STATE, "group " + Quote(group.name) + " is frozen");
    if (state != NRX_RES_ONLINE)
        return Error(NRX_E_STATE,
                     "resource " + Quote(resource.name) + " is " + ResourceStateWord(state) + " on " + Quote(on));
    for (Resource* parent : cluster.Parents(resource))
        if (!Down(StateOf(cluster, *parent, on)))
            return Error(NRX_E_STATE, "resource " + Quote(parent->name) + " depends on " + Quote(resource.name) +
                                          " and is not offline on " + Quote(on));
    ScheduleOffline(cluster, resource, on, Now());
    return Ok();
}

Status OnlineGroup(Cluster& cluster, Group& group, const std::string& system) {
    std::string on;
    Status status = CheckSystem(cluster, group, system, on);
    if (status.Failed()) return status;
    for (Status check : {GroupRefusesOnline(cluster, group, on), ChildGroupsOnline(cluster, group, on),
                         MembersReady(cluster, group, on)})
        if (check.Failed()) return check;
    const ULONGLONG now = Now();
    for (Resource* member : cluster.Members(group.name))
        if (Enabled(*member)) ScheduleOnline(cluster, *member, on, now, now);
    return Ok();
}

Status OfflineGroup(Cluster& cluster, Group& group, const std::string& system) {
    std::vector<std::string> systems;
    if (system.empty()) {
        systems = cluster.SystemList(group);
    } else {
        std::string on;
        Status status = CheckSystem(cluster, group, system, on);
        if (status.Failed()) return status;
        systems.push_back(on);
    }
    if (Frozen(group)) return Error(NRX_E_STATE, "group " + Quote(group.name) + " is frozen");
    for (const std::string& on : systems) {
        Status status = ParentGroupsOffline(cluster, group, on);
        if (status.Failed()) return status;
    }
    for (const std::string& on : systems) OfflineMembers(cluster, group, on, Now());
    return Ok();
}

Status SwitchGroup(Cluster& cluster, Group& group, const std::string& system) {
    std::string to;
    Status status = CheckSystem(cluster, group, system, to);
    if (status.Failed()) return status;
    std::string from;
    for (const std::string& candidate : cluster.SystemList(group)) {
        int state = StateOf(cluster, group, candidate);
        if (state == NRX_GRP_GOING_ONLINE || state == NRX_GRP_GOING_OFFLINE)
            return Error(NRX_E_STATE,
                         "group " + Quote(group.name) + " is " + GroupStateWord(state) + " on " + Quote(candidate));
        if (from.empty() && (state == NRX_GRP_ONLINE || state == NRX_GRP_PARTIAL)) from = candidate;
    }
    if (from.empty()) return Error(NRX_E_STATE, "group " + Quote(group.name) + " is not online anywhere");
    if (SameSystem(from, to))
        return Error(NRX_E_STATE, "group " + Quote(group.name) + " runs on " + Quote(to) + " already");
    for (Status check : {Movable(group, to), ParentGroupsOffline(cluster, group, from),
                         ChildGroupsOnline(cluster, group, to), MembersReady(cluster, group, to)})
        if (check.Failed()) return check;
    const ULONGLONG now = Now();
    const ULONGLONG down = OfflineMembers(cluster, group, from, now);
    for (Resource* member : cluster.Members(group.name))
        if (Enabled(*member)) ScheduleOnline(cluster, *member, to, down, now);
    return Ok();
}

void Probe(Resource& resource, const std::vector<std::string>& systems) {
    for (const std::string& system : systems) resource.StateOn(system).probed = true;
}

void ClearFault(Resource& resource, const std::string& system) {
    SystemState* state = resource.FindState(system);
    if (state && !state->moving && state->state == NRX_RES_FAULTED) state->state = NRX_RES_OFFLINE;
}

void Flush(Resource& resource, const std::string& system) {
    if (SystemState* state = resource.FindState(system)) state->moving = false;
}

}  // namespace simnrx

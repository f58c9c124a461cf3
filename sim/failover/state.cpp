#include "state.h"

#include <algorithm>

#include "addresses.h"
#include "simclock.h"

namespace simcluster {

namespace {

constexpr ULONGLONG kNever = ~0ull;

// When a requested transition of one resource ends, and in which state.
struct Outcome {
    ULONGLONG end;
    CLUSTER_RESOURCE_STATE result;
};

// A resource's own transition starts once the ones it waits for have ended.
void Start(Resource& resource, CLUSTER_RESOURCE_STATE pendingState, const Outcome& outcome, ULONGLONG now) {
    if (outcome.end <= now) {
        ForceState(resource, outcome.result);
        return;
    }
    resource.state = pendingState;
    resource.transitionRunning = true;
    resource.transitionEnd = outcome.end;
    resource.transitionResult = outcome.result;
}

// A pending state set by hand has no end: it lasts until changed.
Outcome PendingOutcome(const Resource& resource, CLUSTER_RESOURCE_STATE target) {
    if (resource.transitionRunning) return {resource.transitionEnd, resource.transitionResult};
    return {kNever, target};
}

ULONGLONG After(ULONGLONG start, DWORD delay) { return start == kNever ? kNever : start + delay; }

Outcome ScheduleOnline(Cluster& cluster, Resource& resource, ULONGLONG now) {
    CLUSTER_RESOURCE_STATE state = CurrentState(resource);
    if (state == ClusterResourceOnline) return {now, ClusterResourceOnline};
    if (state == ClusterResourceOnlinePending) return PendingOutcome(resource, ClusterResourceOnline);
    ULONGLONG start = now;
    CLUSTER_RESOURCE_STATE result = resource.online.finalState;
    if (!resource.online.scripted && IsIpAddressResource(resource) && !AddressComesUp(cluster, resource))
        result = ClusterResourceFailed;
    for (ObjectId id : resource.dependencies) {
        Resource* dependency = cluster.FindResource(id);
        if (!dependency) continue;
        Outcome outcome = ScheduleOnline(cluster, *dependency, now);
        start = std::max(start, outcome.end);
        if (outcome.result != ClusterResourceOnline) result = ClusterResourceFailed;
    }
    Outcome outcome{After(start, resource.online.delayMs), result};
    Start(resource, ClusterResourceOnlinePending, outcome, now);
    return outcome;
}

Outcome ScheduleOffline(Cluster& cluster, Resource& resource, ULONGLONG now) {
    CLUSTER_RESOURCE_STATE state = CurrentState(resource);
    if (state == ClusterResourceOffline) return {now, ClusterResourceOffline};
    if (state == ClusterResourceFailed) {
        ForceState(resource, ClusterResourceOffline);
        return {now, ClusterResourceOffline};
    }
    if (state == ClusterResourceOfflinePending) return PendingOutcome(resource, ClusterResourceOffline);
    ULONGLONG start = now;
    for (Resource* dependent : cluster.DependentsOf(resource))
        start = std::max(start, ScheduleOffline(cluster, *dependent, now).end);
    Outcome outcome{After(start, resource.offline.delayMs), resource.offline.finalState};
    Start(resource, ClusterResourceOfflinePending, outcome, now);
    return outcome;
}

// The resource with everything it depends on (`prerequisites`), or with
// everything that depends on it.
std::vector<Resource*> Closure(Cluster& cluster, Resource& resource, bool prerequisites) {
    std::vector<Resource*> closure{&resource};
    for (size_t next = 0; next < closure.size(); ++next) {
        std::vector<Resource*> neighbours;
        if (prerequisites) {
            for (ObjectId id : closure[next]->dependencies)
                if (Resource* dependency = cluster.FindResource(id)) neighbours.push_back(dependency);
        } else {
            neighbours = cluster.DependentsOf(*closure[next]);
        }
        for (Resource* neighbour : neighbours)
            if (std::find(closure.begin(), closure.end(), neighbour) == closure.end()) closure.push_back(neighbour);
    }
    return closure;
}

bool AnyInState(const std::vector<Resource*>& resources, CLUSTER_RESOURCE_STATE state) {
    for (Resource* resource : resources)
        if (CurrentState(*resource) == state) return true;
    return false;
}

DWORD Answer(const Outcome& outcome, ULONGLONG now, CLUSTER_RESOURCE_STATE target) {
    if (outcome.end > now) return ERROR_IO_PENDING;
    return outcome.result == target ? ERROR_SUCCESS : ERROR_RESOURCE_FAILED;
}

bool HostsAllowed(const Resource& resource, ObjectId node) {
    return resource.possibleOwners.empty() || std::find(resource.possibleOwners.begin(), resource.possibleOwners.end(),
                                                        node) != resource.possibleOwners.end();
}

}  // namespace

ULONGLONG Now() { return SimClock_GetTickCount64(); }

bool IsPending(CLUSTER_RESOURCE_STATE state) {
    return state == ClusterResourcePending || state == ClusterResourceOnlinePending ||
           state == ClusterResourceOfflinePending;
}

CLUSTER_RESOURCE_STATE CurrentState(Resource& resource) {
    if (resource.transitionRunning && Now() >= resource.transitionEnd) ForceState(resource, resource.transitionResult);
    return resource.state;
}

CLUSTER_GROUP_STATE CurrentState(Cluster& cluster, Group& group) {
    if (group.forcedState) return *group.forcedState;
    std::vector<Resource*> members = cluster.ResourcesOf(group);
    if (members.empty()) return group.emptyState;
    size_t online = 0, offline = 0, failed = 0;
    for (Resource* member : members) {
        CLUSTER_RESOURCE_STATE state = CurrentState(*member);
        if (IsPending(state)) return ClusterGroupPending;
        if (state == ClusterResourceOnline) ++online;
        if (state == ClusterResourceOffline) ++offline;
        if (state == ClusterResourceFailed) ++failed;
    }
    if (online == members.size()) return ClusterGroupOnline;
    if (offline == members.size()) return ClusterGroupOffline;
    if (online == 0 && failed > 0) return ClusterGroupFailed;
    return ClusterGroupPartialOnline;
}

void ForceState(Resource& resource, CLUSTER_RESOURCE_STATE state) {
    resource.state = state;
    resource.transitionRunning = false;
}

DWORD BringOnline(Cluster& cluster, Resource& resource) {
    Node* owner = cluster.OwnerOf(resource);
    if (!owner || owner->state == ClusterNodeDown) return ERROR_HOST_NODE_NOT_AVAILABLE;
    // The platform refuses to start a resource that is already on its way
    // somewhere: only an initializing, online, offline or failed one.
    if (IsPending(CurrentState(resource))) return ERROR_INVALID_STATE;
    if (AnyInState(Closure(cluster, resource, true), ClusterResourceOfflinePending)) return ERROR_INVALID_STATE;
    ULONGLONG now = Now();
    return Answer(ScheduleOnline(cluster, resource, now), now, ClusterResourceOnline);
}

DWORD TakeOffline(Cluster& cluster, Resource& resource) {
    // The platform stops only an online, offline or failed resource.
    CLUSTER_RESOURCE_STATE state = CurrentState(resource);
    if (state != ClusterResourceOnline && state != ClusterResourceOffline && state != ClusterResourceFailed)
        return ERROR_INVALID_STATE;
    // A failed resource goes offline at once from version 6.1 on; before,
    // the platform answers ERROR_RESOURCE_FAILED and leaves it failed.
    if (state == ClusterResourceFailed && (cluster.BeforeVersion6() || cluster.IsVersion6_0()))
        return ERROR_RESOURCE_FAILED;
    if (AnyInState(Closure(cluster, resource, false), ClusterResourceOnlinePending)) return ERROR_INVALID_STATE;
    ULONGLONG now = Now();
    return Answer(ScheduleOffline(cluster, resource, now), now, ClusterResourceOffline);
}

DWORD BringGroupOnline(Cluster& cluster, Group& group, Node* destination) {
    Node* node = destination ? destination : cluster.FindNode(group.owner);
    if (!node || node->state != ClusterNodeUp) return ERROR_HOST_NODE_NOT_AVAILABLE;
    std::vector<Resource*> members = cluster.ResourcesOf(group);
    for (Resource* member : members) {
        if (!HostsAllowed(*member, node->id)) return ERROR_HOST_NODE_NOT_AVAILABLE;
        if (CurrentState(*member) == ClusterResourceOfflinePending) return ERROR_INVALID_STATE;
    }
    group.owner = node->id;
    group.forcedState.reset();
    if (members.empty()) {
        group.emptyState = ClusterGroupOnline;
        return ERROR_SUCCESS;
    }
    ULONGLONG now = Now();
    DWORD result = ERROR_SUCCESS;
    for (Resource* member : members) {
        DWORD answer = Answer(ScheduleOnline(cluster, *member, now), now, ClusterResourceOnline);
        if (answer == ERROR_IO_PENDING || result == ERROR_SUCCESS) result = answer;
    }
    return result;
}

}  // namespace simcluster

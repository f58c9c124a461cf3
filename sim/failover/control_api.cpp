// The simulator's control API (simcluster.h).

#include <algorithm>
#include <cstring>

#include "addresses.h"
#include "scenario.h"
#include "simcluster.h"
#include "simulator.h"
#include "state.h"
#include "text.h"

using namespace simcluster;

namespace {

// Runs a control call under the lock, after the default scenario was
// loaded. `body` answers what went wrong, or nothing; that sentence becomes
// SimCluster_LastError().
template <class Body>
BOOL Control(Body body) {
    Locked simulator;
    simulator->LoadDefaultScenario();
    simulator->lastError = body(*simulator);
    return simulator->lastError.empty();
}

std::wstring NoSuch(const wchar_t* kind, const wchar_t* name) {
    return std::wstring(L"no ") + kind + L" is named '" + FromCaller(name) + L"'";
}

std::wstring ReadValue(const char* json, const wchar_t* name, PropertyValue& value) {
    try {
        value = ReadPropertyValue(json, "property '" + Narrow(FromCaller(name)) + "'");
        return std::wstring();
    } catch (const ScenarioError& error) {
        return Widen(error.what());
    }
}

// Sets (or with a null value removes) one property of a map.
std::wstring SetProperty(PropertyMap& properties, const wchar_t* name, const char* json) {
    if (!name || !*name) return L"a property needs a name";
    if (!json) {
        properties.Remove(name);
        return std::wstring();
    }
    PropertyValue value;
    std::wstring problem = ReadValue(json, name, value);
    if (problem.empty()) properties.Set(name, value);
    return problem;
}

bool KnownResourceState(int state) {
    switch (state) {
        case ClusterResourceInitializing:
        case ClusterResourceOnline:
        case ClusterResourceOffline:
        case ClusterResourceFailed:
        case ClusterResourcePending:
        case ClusterResourceOnlinePending:
        case ClusterResourceOfflinePending:
            return true;
        default:
            return false;
    }
}

}  // namespace

extern "C" {

BOOL WINAPI SimCluster_LoadScenarioFile(const wchar_t* path) {
    Locked simulator;
    std::string text;
    if (!path || !ReadWholeFile(path, text)) {
        simulator->lastError = L"scenario: cannot read " + FromCaller(path);
        return FALSE;
    }
    return simulator->LoadScenario(text, path);
}

BOOL WINAPI SimCluster_LoadScenarioText(const char* utf8Json) {
    Locked simulator;
    if (!utf8Json) {
        simulator->lastError = L"scenario: no text given";
        return FALSE;
    }
    return simulator->LoadScenario(utf8Json, std::wstring());
}

void WINAPI SimCluster_Unload(void) {
    Locked simulator;
    simulator->Unload();
}

BOOL WINAPI SimCluster_SaveScenarioText(char* buffer, DWORD* size) {
    DWORD error = ERROR_SUCCESS;
    BOOL saved = Control([&](Simulator& simulator) -> std::wstring {
        if (!size) return L"the size of the buffer is missing";
        if (!simulator.cluster.present) return L"there is no cluster to save";
        std::string text = WriteScenario(simulator.cluster);
        DWORD needed = static_cast<DWORD>(text.size() + 1);
        bool fits = buffer && *size >= needed;
        if (fits) std::memcpy(buffer, text.c_str(), needed);
        *size = needed;
        if (!fits) error = ERROR_MORE_DATA;
        return fits ? std::wstring() : L"the buffer is too small for the scenario";
    });
    if (error != ERROR_SUCCESS) SetLastError(error);
    return saved;
}

const wchar_t* WINAPI SimCluster_LastError(void) {
    Locked simulator;
    return simulator->lastError.c_str();
}

BOOL WINAPI SimCluster_SetResourceState(const wchar_t* resource, int state) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Resource* found = simulator.cluster.FindResource(FromCaller(resource));
        if (!found) return NoSuch(L"resource", resource);
        if (!KnownResourceState(state)) return L"a resource cannot be in state " + std::to_wstring(state);
        ForceState(*found, static_cast<CLUSTER_RESOURCE_STATE>(state));
        return std::wstring();
    });
}

int WINAPI SimCluster_GetResourceState(const wchar_t* resource) {
    int state = ClusterResourceStateUnknown;
    Control([&](Simulator& simulator) -> std::wstring {
        Resource* found = simulator.cluster.FindResource(FromCaller(resource));
        if (!found) return NoSuch(L"resource", resource);
        state = CurrentState(*found);
        return std::wstring();
    });
    return state;
}

BOOL WINAPI SimCluster_SetGroupState(const wchar_t* group, int state) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Group* found = simulator.cluster.FindGroup(FromCaller(group));
        if (!found) return NoSuch(L"group", group);
        if (state == SIMCLUSTER_GROUP_STATE_DERIVED) {
            found->forcedState.reset();
            return std::wstring();
        }
        if (state < ClusterGroupOnline || state > ClusterGroupPending)
            return L"a group cannot be in state " + std::to_wstring(state);
        found->forcedState = static_cast<CLUSTER_GROUP_STATE>(state);
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_SetNodeState(const wchar_t* node, int state) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Node* found = simulator.cluster.FindNode(FromCaller(node));
        if (!found) return NoSuch(L"node", node);
        if (state < ClusterNodeUp || state > ClusterNodeJoining)
            return L"a node cannot be in state " + std::to_wstring(state);
        found->state = static_cast<CLUSTER_NODE_STATE>(state);
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_MoveGroup(const wchar_t* group, const wchar_t* node) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Group* foundGroup = simulator.cluster.FindGroup(FromCaller(group));
        Node* foundNode = simulator.cluster.FindNode(FromCaller(node));
        if (!foundGroup) return NoSuch(L"group", group);
        if (!foundNode) return NoSuch(L"node", node);
        foundGroup->owner = foundNode->id;
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_SetResourceProperty(const wchar_t* resource, BOOL common, const wchar_t* name,
                                           const char* jsonValue) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Resource* found = simulator.cluster.FindResource(FromCaller(resource));
        if (!found) return NoSuch(L"resource", resource);
        if (common && name && SameName(name, L"Name")) return L"a resource's name is not one of its stored properties";
        return SetProperty(common ? found->common : found->privateProperties, name, jsonValue);
    });
}

BOOL WINAPI SimCluster_SetClusterProperty(BOOL readOnly, const wchar_t* name, const char* jsonValue) {
    return Control([&](Simulator& simulator) -> std::wstring {
        if (!simulator.cluster.present) return L"there is no cluster";
        Cluster& cluster = simulator.cluster;
        return SetProperty(readOnly ? cluster.readOnlyCommonProperties : cluster.commonProperties, name, jsonValue);
    });
}

BOOL WINAPI SimCluster_ScriptTransition(const wchar_t* resource, int target, DWORD delayMs, int finalState) {
    return Control([&](Simulator& simulator) -> std::wstring {
        Resource* found = simulator.cluster.FindResource(FromCaller(resource));
        if (!found) return NoSuch(L"resource", resource);
        if (target != ClusterResourceOnline && target != ClusterResourceOffline)
            return L"a transition goes online or offline, not to state " + std::to_wstring(target);
        if (finalState != target && finalState != ClusterResourceFailed)
            return L"a transition ends in its target or in failure, not in state " + std::to_wstring(finalState);
        Transition& transition = target == ClusterResourceOnline ? found->online : found->offline;
        transition.delayMs = delayMs;
        transition.finalState = static_cast<CLUSTER_RESOURCE_STATE>(finalState);
        transition.scripted = true;
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_SetPendingTime(DWORD delayMs) {
    return Control([&](Simulator& simulator) -> std::wstring {
        if (!simulator.cluster.present) return L"there is no cluster";
        simulator.cluster.pendingMs = delayMs;
        for (Resource& resource : simulator.cluster.resources) resource.online.delayMs = resource.offline.delayMs = delayMs;
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_SetAddressInUse(const wchar_t* address, BOOL inUse) {
    return Control([&](Simulator& simulator) -> std::wstring {
        if (!simulator.cluster.present) return L"there is no cluster";
        DWORD value = 0;
        if (!ParseAddress(FromCaller(address), value)) return L"'" + FromCaller(address) + L"' is not an IPv4 address";
        std::vector<std::wstring>& used = simulator.cluster.addressesInUse;
        const std::wstring text = AddressText(value);
        used.erase(std::remove(used.begin(), used.end(), text), used.end());
        if (inUse) used.push_back(text);
        return std::wstring();
    });
}

BOOL WINAPI SimCluster_InjectFailure(const wchar_t* entryPoint, DWORD nth, DWORD count, DWORD error) {
    Locked simulator;
    if (!simulator->InjectFailure(FromCaller(entryPoint), nth, count, error)) return FALSE;
    simulator->lastError.clear();
    return TRUE;
}

void WINAPI SimCluster_ClearFailures(void) {
    Locked simulator;
    simulator->ClearFailures();
}

DWORD WINAPI SimCluster_CallCount(const wchar_t* entryPoint) {
    Locked simulator;
    return simulator->CallCount(FromCaller(entryPoint));
}

void WINAPI SimCluster_ResetCounters(void) {
    Locked simulator;
    simulator->ResetCounters();
}

DWORD WINAPI SimCluster_OpenHandles(SIMCLUSTER_HANDLE_KIND kind) {
    Locked simulator;
    return simulator->handles.Count(kind);
}

}  // extern "C"

// The simulator's control API (simnrx.h).

#include <algorithm>
#include <cstring>

#include "nrx_attributes.h"
#include "nrx_engine.h"
#include "nrx_scenario.h"
#include "nrx_text.h"
#include "simnrx.h"

using namespace simnrx;

namespace {

// Runs a control call under the lock, after the default scenario was loaded
// and the transitions settled. `body` answers what went wrong, or nothing;
// that sentence becomes SimNrx_LastError().
template <class Body>
BOOL Control(Body body) {
    Locked engine;
    engine->LoadDefaultScenario();
    Settle(engine->cluster);
    engine->lastError = Widen(body(*engine));
    return engine->lastError.empty();
}

std::string NoSuch(const char* kind, const char* name) {
    return std::string("no ") + kind + " is named " + Quote(FromCaller(name));
}

// The system of the cluster named so, or null (and `problem` says why).
const std::string* SystemOf(Cluster& cluster, const char* name, std::string& problem) {
    const std::string* system = name ? cluster.FindSystem(name) : nullptr;
    if (!system) problem = NoSuch("system", name);
    return system;
}

// One of "0" and "1", from a scenario value.
std::string Flag(const Attribute& value, std::string& problem) {
    if (value.local || value.dimension != NRX_DIM_SCALAR || value.type != NRX_TYPE_INT ||
        (value.global.front() != "0" && value.global.front() != "1"))
        problem = Quote(value.name) + " is 0 or 1";
    return problem.empty() ? value.global.front() : std::string();
}

// The attributes that the simulator keeps by rules of its own.
std::string SetKeptAttribute(Cluster& cluster, int objType, Object& object, const Attribute& value) {
    std::string problem;
    if (value.name == kSystemList || value.name == kAutoStartList) {
        if (value.local || (value.dimension != NRX_DIM_KEYLIST && value.dimension != NRX_DIM_VECTOR))
            return Quote(value.name) + " takes a keylist of systems";
        Values systems;
        for (const std::string& name : value.global) {
            const std::string* system = ScenarioSystem(cluster, name);
            systems.push_back(system ? *system : name);
        }
        Status status = SetSystems(cluster, static_cast<Group&>(object), value.name, systems);
        return status.message;
    }
    if (value.name == "LastOnline") {
        if (value.local || value.dimension != NRX_DIM_SCALAR) return "'LastOnline' takes one text";
        static_cast<Resource&>(object).lastOnline = value.global.front();
        return std::string();
    }
    const std::string flag = Flag(value, problem);
    if (!problem.empty()) return problem;
    if (objType == NRX_OBJ_GROUP && value.name == kEnabled) {
        for (const std::string& system : cluster.SystemList(static_cast<Group&>(object)))
            object.FindAttribute(kEnabled)->On(system) = {flag};
    } else {
        object.SetText(value.name, flag, NRX_TYPE_INT);
    }
    return std::string();
}

bool KeptByRule(int objType, const std::string& attribute) {
    if (objType == NRX_OBJ_RESOURCE) return attribute == kEnabled || attribute == "LastOnline";
    return objType == NRX_OBJ_GROUP &&
           (attribute == kSystemList || attribute == kAutoStartList || attribute == kFrozen ||
            attribute == kTemporarilyFrozen || attribute == kEnabled);
}

}  // namespace

extern "C" {

BOOL WINAPI SimNrx_LoadScenarioFile(const wchar_t* path) {
    Locked engine;
    std::string text;
    if (!path || !ReadWholeFile(path, text)) {
        engine->lastError = L"scenario: cannot read " + std::wstring(path ? path : L"(no path)");
        return FALSE;
    }
    return engine->LoadScenario(text, path);
}

BOOL WINAPI SimNrx_LoadScenarioText(const char* utf8Json) {
    Locked engine;
    if (!utf8Json) {
        engine->lastError = L"scenario: no text given";
        return FALSE;
    }
    return engine->LoadScenario(utf8Json, std::wstring());
}

void WINAPI SimNrx_Unload(void) {
    Locked engine;
    engine->Unload();
}

const wchar_t* WINAPI SimNrx_LastError(void) {
    Locked engine;
    return engine->lastError.c_str();
}

BOOL WINAPI SimNrx_SaveScenarioText(char* buffer, DWORD* size) {
    bool tooSmall = false;
    BOOL saved = Control([&](Engine& engine) -> std::string {
        if (!size) return "the size of the buffer is missing";
        if (!engine.cluster.present) return "there is no cluster to save";
        std::string text = WriteScenario(engine.cluster);
        DWORD needed = static_cast<DWORD>(text.size() + 1);
        tooSmall = !buffer || *size < needed;
        if (!tooSmall) std::memcpy(buffer, text.c_str(), needed);
        *size = needed;
        return tooSmall ? "the buffer is too small for the scenario" : std::string();
    });
    if (tooSmall) SetLastError(ERROR_MORE_DATA);
    return saved;
}

BOOL WINAPI SimNrx_SetResourceState(const char* resource, const char* system, int state) {
    return Control([&](Engine& engine) -> std::string {
        Cluster& cluster = engine.cluster;
        Resource* found = resource ? cluster.FindResource(resource) : nullptr;
        if (!found) return NoSuch("resource", resource);
        Values systems = cluster.SystemList(*found);
        if (system) {
            std::string problem;
            const std::string* named = SystemOf(cluster, system, problem);
            if (!named) return problem;
            if (!cluster.InSystemList(*cluster.FindGroup(found->group), *named))
                return "system " + Quote(*named) + " is not in the SystemList of group " + Quote(found->group);
            systems = {*named};
        }
        for (const std::string& on : systems)
            if (!ForceState(*found, on, state)) return "a resource cannot be in state " + std::to_string(state);
        return std::string();
    });
}

int WINAPI SimNrx_GetResourceState(const char* resource, const char* system) {
    int state = -1;
    Control([&](Engine& engine) -> std::string {
        Cluster& cluster = engine.cluster;
        Resource* found = resource ? cluster.FindResource(resource) : nullptr;
        if (!found) return NoSuch("resource", resource);
        std::string problem;
        if (const std::string* named = SystemOf(cluster, system, problem)) state = StateOf(cluster, *found, *named);
        return problem;
    });
    return state;
}

BOOL WINAPI SimNrx_ScriptTransition(const char* resource, const char* system, int target, DWORD delayMs,
                                    int finalState) {
    return Control([&](Engine& engine) -> std::string {
        Resource* found = resource ? engine.cluster.FindResource(resource) : nullptr;
        if (!found) return NoSuch("resource", resource);
        std::string on, problem;
        if (system) {
            const std::string* named = SystemOf(engine.cluster, system, problem);
            if (!named) return problem;
            on = *named;
        }
        if (target != NRX_RES_ONLINE && target != NRX_RES_OFFLINE)
            return "a transition goes online or offline, not to state " + std::to_string(target);
        if (finalState != target && finalState != NRX_RES_FAULTED)
            return "a transition ends in its target or faulted, not in state " + std::to_string(finalState);
        std::vector<Script>& scripts = found->scripts;
        scripts.erase(
            std::remove_if(scripts.begin(), scripts.end(),
                           [&](const Script& script) { return script.target == target && script.system == on; }),
            scripts.end());
        scripts.push_back(Script{on, target, delayMs, finalState});
        return std::string();
    });
}

BOOL WINAPI SimNrx_SetPendingTime(DWORD delayMs) {
    return Control([&](Engine& engine) -> std::string {
        if (!engine.cluster.present) return "there is no cluster";
        engine.cluster.pendingMs = delayMs;
        return std::string();
    });
}

BOOL WINAPI SimNrx_SetAttribute(int objType, const char* object, const char* attribute, const char* jsonValue) {
    return Control([&](Engine& engine) -> std::string {
        Cluster& cluster = engine.cluster;
        if (objType != NRX_OBJ_GROUP && objType != NRX_OBJ_RESOURCE && objType != NRX_OBJ_RESTYPE)
            return "attributes belong to groups, resources and resource types, not to objects of kind " +
                   std::to_string(objType);
        Object* found = object ? cluster.FindObject(static_cast<NRXObjType>(objType), object) : nullptr;
        if (!found) return NoSuch("object of that kind", object);
        if (!attribute || !*attribute) return "no attribute was named";
        if (attribute == std::string("State") || attribute == std::string("ArgListValues"))
            return Quote(attribute) + " is kept by the engine";
        if (!jsonValue) {
            if (KeptByRule(objType, attribute)) return "every object of its kind has " + Quote(attribute);
            if (!found->FindAttribute(attribute)) return Quote(found->name) + " has no attribute " + Quote(attribute);
            found->RemoveAttribute(attribute);
            return std::string();
        }
        const Group* group = objType == NRX_OBJ_GROUP      ? static_cast<Group*>(found)
                             : objType == NRX_OBJ_RESOURCE ? cluster.FindGroup(static_cast<Resource*>(found)->group)
                                                           : nullptr;
        const Values systemList = group ? cluster.SystemList(*group) : Values();
        try {
            Attribute value = ReadAttributeValue(jsonValue, attribute, cluster, group ? &systemList : nullptr);
            if (KeptByRule(objType, attribute)) return SetKeptAttribute(cluster, objType, *found, value);
            if (Attribute* existing = found->FindAttribute(attribute))
                *existing = std::move(value);
            else
                found->attributes.push_back(std::move(value));
            return std::string();
        } catch (const ScenarioError& error) {
            return error.what();
        }
    });
}

BOOL WINAPI SimNrx_InjectFailure(const char* entryPoint, DWORD nth, DWORD count, int errorCode) {
    Locked engine;
    return engine->Inject(FromCaller(entryPoint), nth, count, errorCode, false);
}

BOOL WINAPI SimNrx_InjectException(const char* entryPoint, DWORD nth) {
    Locked engine;
    return engine->Inject(FromCaller(entryPoint), nth, 1, NRX_E_NONE, true);
}

void WINAPI SimNrx_ClearFailures(void) {
    Locked engine;
    engine->ClearFailures();
}

DWORD WINAPI SimNrx_CallCount(const char* entryPoint) {
    Locked engine;
    return engine->CallCount(FromCaller(entryPoint));
}

void WINAPI SimNrx_ResetCounters(void) {
    Locked engine;
    engine->ResetCounters();
}

DWORD WINAPI SimNrx_UnfreedRecords(int kind) {
    Locked engine;
    return engine->records.Unfreed(kind);
}

DWORD WINAPI SimNrx_BadFrees(void) {
    Locked engine;
    return engine->records.BadFrees();
}

DWORD WINAPI SimNrx_OpenConnections(void) {
    Locked engine;
    return engine->OpenConnections();
}

}  // extern "C"

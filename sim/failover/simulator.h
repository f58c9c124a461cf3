#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "call_schedule.h"
#include "entry_points.h"
#include "model.h"
#include "simcluster.h"

namespace simcluster {

enum class EntryPoint {
#define SIMCLUSTER_ENUMERATOR(name) name,
    SIMCLUSTER_ENTRY_POINTS(SIMCLUSTER_ENUMERATOR)
#undef SIMCLUSTER_ENUMERATOR
        Count
};

// What a cluster API handle stands for. The handle value is the address of
// this record; a value that is not in the table is never dereferenced.
//
// Every handle belongs to the cluster handle it was obtained from, directly
// or through another handle (its session). The platform says that once a
// cluster handle is closed, all handles obtained from it are invalid: they
// die with it. A dead handle answers ERROR_INVALID_HANDLE wherever it is
// used, but stays in the table, and is counted as open, until the program
// hands it to its close function; so the counters still show whether a
// program closed every handle it opened.
struct Handle {
    SIMCLUSTER_HANDLE_KIND kind;
    ObjectId session = 0;                               // the cluster handle's, never reused
    bool dead = false;                                  // its cluster handle was closed
    ObjectId object = 0;                                // the node, group, resource or network
    ObjectId connection = 0;                            // cluster handles: the node the connection was made to
    std::vector<std::pair<DWORD, std::wstring>> items;  // enumerations: type and name, taken at opening
};

class HandleTable {
public:
    // What closing a handle found.
    enum class Closed { Live, Dead, Unknown };

    void* Open(Handle handle);
    // A live handle of this kind, or null.
    Handle* Find(const void* value, SIMCLUSTER_HANDLE_KIND kind);
    // Forgets a handle of this kind, live or dead.
    Closed Close(const void* value, SIMCLUSTER_HANDLE_KIND kind);
    // Kills every handle of the session but the cluster handle itself.
    void EndSession(ObjectId session);
    DWORD Count(SIMCLUSTER_HANDLE_KIND kind) const;

private:
    std::unordered_map<const void*, std::unique_ptr<Handle>> handles_;
};

// One failure plan for an entry point: skip `before` calls, then fail
// `left` calls (forever when `forever`).
// The simulator's process-wide state, guarded by one lock.
class Simulator {
public:
    static Simulator& Instance();

    CRITICAL_SECTION lock;
    Cluster cluster;
    HandleTable handles;
    std::wstring lastError;

    // Loads the scenario that the environment names, once, unless one was
    // loaded (or unloaded) explicitly.
    void LoadDefaultScenario();
    bool LoadScenario(const std::string& json, const std::wstring& origin);
    void Unload();
    // Writes the cluster back to the state file the environment names, if any.
    void KeepState();

    // Counts a call and answers the injected failure, if one is due.
    DWORD CountCall(EntryPoint entryPoint);
    bool InjectFailure(const std::wstring& entryPoint, DWORD nth, DWORD count, DWORD error);
    void ClearFailures();
    DWORD CallCount(const std::wstring& entryPoint) const;
    void ResetCounters();

private:
    Simulator();

    bool decided_ = false;  // a scenario was loaded or refused, by hand or automatically
    std::wstring statePath_;  // ORVSIM_STATE: where the cluster outlives the program
    std::string keptState_;   // what the state file holds now
    // The error each scripted failure answers.
    simhost::CallSchedule<DWORD, wchar_t, static_cast<size_t>(EntryPoint::Count)> schedule_;
};

// Holds the simulator's lock for one call.
class Locked {
public:
    Locked() : simulator_(Simulator::Instance()) { EnterCriticalSection(&simulator_.lock); }
    ~Locked() { LeaveCriticalSection(&simulator_.lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    Simulator* operator->() { return &simulator_; }
    Simulator& operator*() { return simulator_; }

private:
    Simulator& simulator_;
};

// Runs an entry point's body under the lock, after the default scenario was
// loaded, the call counted and an injected failure applied (the body does
// not run then). Answers the body's result or the injected error.
template <class Body>
DWORD RunEntryPoint(EntryPoint entryPoint, Body body) {
    Locked simulator;
    simulator->LoadDefaultScenario();
    DWORD injected = simulator->CountCall(entryPoint);
    if (injected != ERROR_SUCCESS) return injected;
    DWORD result = body(*simulator);
    simulator->KeepState();
    return result;
}

// The three ways an entry point reports a failure besides a status result.
template <class Body>
BOOL RunBoolEntryPoint(EntryPoint entryPoint, Body body) {
    DWORD error = RunEntryPoint(entryPoint, body);
    if (error == ERROR_SUCCESS) return TRUE;
    SetLastError(error);
    return FALSE;
}

template <class Result, class Body>
Result RunHandleEntryPoint(EntryPoint entryPoint, Body body) {
    Result result = nullptr;
    DWORD error = RunEntryPoint(entryPoint, [&](Simulator& simulator) { return body(simulator, result); });
    if (error == ERROR_SUCCESS) return result;
    SetLastError(error);
    return nullptr;
}

template <class State, class Body>
State RunStateEntryPoint(EntryPoint entryPoint, Body body) {
    State state = static_cast<State>(-1);
    DWORD error = RunEntryPoint(entryPoint, [&](Simulator& simulator) { return body(simulator, state); });
    if (error == ERROR_SUCCESS) return state;
    SetLastError(error);
    return static_cast<State>(-1);
}

}  // namespace simcluster

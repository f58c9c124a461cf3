#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "call_schedule.h"
#include "nrx_entry_points.h"
#include "nrx_model.h"
#include "nrx_records.h"
#include "nrx_states.h"
#include "simnrx.h"

namespace simnrx {

enum class EntryPoint {
#define SIMNRX_ENUMERATOR(name) name,
    SIMNRX_ENTRY_POINTS(SIMNRX_ENUMERATOR)
#undef SIMNRX_ENUMERATOR
        Count
};

const char* NameOf(EntryPoint entryPoint);

// The calling thread's last error.
struct ThreadError {
    int code;
    std::string function;
    std::string message;
};

// One plan for an entry point: skip `before` calls, then fail `left` calls
// (forever when `forever`) or raise once.
struct Injection {
    int code;
    bool exception;
};

// The simulator's process-wide state, guarded by one lock.
class Engine {
public:
    static Engine& Instance();

    CRITICAL_SECTION lock;
    Cluster cluster;
    Records records;
    std::wstring lastError;  // of the control API
    bool initialised = false;

    // Loads the scenario that the environment names, once, unless one was
    // loaded (or unloaded) explicitly.
    void LoadDefaultScenario();
    bool LoadScenario(const std::string& json, const std::wstring& origin);
    void Unload();

    NRXHandle OpenConnection();
    // Forgets the connection; false for a value that is none.
    bool CloseConnection(const void* handle);
    DWORD OpenConnections() const { return static_cast<DWORD>(connections_.size()); }
    // NRX_E_BAD_HANDLE for a value that is no open connection,
    // NRX_E_CONNECT when no cluster is loaded.
    Status Reach(const void* handle) const;
    // NRX_E_CONF_READ_ONLY unless the configuration was opened through it.
    Status Writable(const void* handle) const;
    Status OpenConfiguration(const void* handle);
    Status CloseConfiguration(const void* handle);

    // Sets the calling thread's error, or clears it for a success.
    void SetError(EntryPoint entryPoint, const Status& status);
    const ThreadError* LastThreadError() const;

    // Counts a call and answers the injection due, if any.
    const Injection* CountCall(EntryPoint entryPoint);
    bool Inject(const std::string& entryPoint, DWORD nth, DWORD count, int code, bool exception);
    void ClearFailures();
    DWORD CallCount(const std::string& entryPoint) const;
    void ResetCounters();

private:
    Engine();

    bool decided_ = false;  // a scenario was loaded or refused, by hand or automatically
    // Connection handles are numbers that are never handed out twice, so a
    // closed handle never comes back to life; none is ever dereferenced.
    std::set<const void*> connections_;
    uintptr_t lastConnection_ = 0x4E520000;
    const void* configurationHolder_ = nullptr;
    std::map<DWORD, ThreadError> errors_;
    simhost::CallSchedule<Injection, char, static_cast<size_t>(EntryPoint::Count)> schedule_;
};

// Holds the engine's lock for one call.
class Locked {
public:
    Locked() : engine_(Engine::Instance()) { EnterCriticalSection(&engine_.lock); }
    ~Locked() { LeaveCriticalSection(&engine_.lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    Engine* operator->() { return &engine_; }
    Engine& operator*() { return engine_; }

private:
    Engine& engine_;
};

// Raises SIMNRX_EXCEPTION_CODE, which does not come back.
void RaiseInjectedException();

// Runs an entry point's body under the lock, after the default scenario was
// loaded, the call counted and an injection applied (the body does not run
// then), NRXApiInit checked (unless `anyTime`) and the transitions settled.
// The thread's error follows the answer.
template <class Body>
NRXStatusCode Run(EntryPoint entryPoint, Body body, bool anyTime = false) {
    bool raise = false;
    Status status;
    {
        Locked engine;
        engine->LoadDefaultScenario();
        const Injection* injection = engine->CountCall(entryPoint);
        if (injection && injection->exception) {
            raise = true;
        } else {
            if (injection)
                status = Error(injection->code, "failure injected by the simulator");
            else if (!anyTime && !engine->initialised)
                status = Error(NRX_E_NOT_INITIALISED, "NRXApiInit was not called");
            else {
                Settle(engine->cluster);
                status = body(*engine);
            }
            engine->SetError(entryPoint, status);
        }
    }
    if (raise) RaiseInjectedException();
    return status.Failed() ? NRX_FAILURE : NRX_SUCCESS;
}

// For the entry points that leave the thread's error alone (the free
// functions and the last-error readers): runs `body(engine, failure)` under
// the lock after counting the call, `failure` being the injected failure
// due or null; an injected exception is raised instead.
template <class Body>
void RunPlain(EntryPoint entryPoint, Body body) {
    bool raise = false;
    {
        Locked engine;
        const Injection* injection = engine->CountCall(entryPoint);
        raise = injection && injection->exception;
        if (!raise) body(*engine, injection);
    }
    if (raise) RaiseInjectedException();
}

// The same for a call on a connection: the body runs on a cluster reached
// through it.
template <class Body>
NRXStatusCode RunOn(EntryPoint entryPoint, NRXHandle handle, Body body) {
    return Run(entryPoint, [&](Engine& engine) {
        Status status = engine.Reach(handle);
        return status.Failed() ? status : body(engine, engine.cluster);
    });
}

}  // namespace simnrx

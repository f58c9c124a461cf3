#include "nrx_engine.h"

#include "nrx_scenario.h"
#include "nrx_text.h"

namespace simnrx {

namespace {

const char* const kEntryPointNames[] = {
#define SIMNRX_NAME(name) #name,
    SIMNRX_ENTRY_POINTS(SIMNRX_NAME)
#undef SIMNRX_NAME
};

static_assert(sizeof kEntryPointNames / sizeof kEntryPointNames[0] == static_cast<size_t>(EntryPoint::Count),
              "one name per entry point");

}  // namespace

const char* NameOf(EntryPoint entryPoint) { return kEntryPointNames[static_cast<int>(entryPoint)]; }

void RaiseInjectedException() { RaiseException(SIMNRX_EXCEPTION_CODE, EXCEPTION_NONCONTINUABLE, 0, nullptr); }

Engine& Engine::Instance() {
    static Engine engine;
    return engine;
}

Engine::Engine() : schedule_(kEntryPointNames) { InitializeCriticalSection(&lock); }

void Engine::LoadDefaultScenario() {
    if (decided_) return;
    decided_ = true;
    std::wstring path = simhost::Environment(L"ORVNRX_SCENARIO");
    if (path.empty()) {
        path = simhost::ModuleFolder() + L"nrx-scenario.json";
        if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) return;
    }
    std::string text;
    if (!ReadWholeFile(path, text)) {
        lastError = L"scenario: cannot read " + path;
        return;
    }
    LoadScenario(text, path);
}

bool Engine::LoadScenario(const std::string& json, const std::wstring& origin) {
    decided_ = true;
    try {
        cluster = ReadScenario(json);
        configurationHolder_ = nullptr;
        lastError.clear();
        return true;
    } catch (const ScenarioError& error) {
        lastError = Widen(error.what());
        if (!origin.empty()) lastError += L" (" + origin + L")";
        return false;
    }
}

void Engine::Unload() {
    decided_ = true;
    cluster = Cluster();
    configurationHolder_ = nullptr;
    lastError.clear();
}

NRXHandle Engine::OpenConnection() {
    lastConnection_ += 0x10;
    NRXHandle handle = reinterpret_cast<NRXHandle>(lastConnection_);
    connections_.insert(handle);
    return handle;
}

bool Engine::CloseConnection(const void* handle) {
    if (!connections_.erase(handle)) return false;
    if (configurationHolder_ == handle) configurationHolder_ = nullptr;
    return true;
}

Status Engine::Reach(const void* handle) const {
    if (!handle || !connections_.count(handle)) return Error(NRX_E_BAD_HANDLE, "the handle is no open connection");
    if (!cluster.present) return Error(NRX_E_CONNECT, "no NRX engine answers: there is no cluster");
    return Ok();
}

Status Engine::Writable(const void* handle) const {
    if (configurationHolder_ && configurationHolder_ == handle) return Ok();
    return Error(NRX_E_CONF_READ_ONLY, configurationHolder_
                                           ? "the configuration is opened for writing through another connection"
                                           : "the configuration is not opened for writing");
}

Status Engine::OpenConfiguration(const void* handle) {
    if (configurationHolder_) return Error(NRX_E_CONF_OPEN, "the configuration is opened for writing already");
    configurationHolder_ = handle;
    return Ok();
}

Status Engine::CloseConfiguration(const void* handle) {
    Status status = Writable(handle);
    if (!status.Failed()) configurationHolder_ = nullptr;
    return status;
}

void Engine::SetError(EntryPoint entryPoint, const Status& status) {
    if (!status.Failed()) {
        errors_.erase(GetCurrentThreadId());
        return;
    }
    errors_[GetCurrentThreadId()] = ThreadError{status.code, NameOf(entryPoint), status.message};
}

const ThreadError* Engine::LastThreadError() const {
    auto it = errors_.find(GetCurrentThreadId());
    return it == errors_.end() ? nullptr : &it->second;
}

const Injection* Engine::CountCall(EntryPoint entryPoint) {
    return schedule_.Count(static_cast<size_t>(entryPoint));
}

bool Engine::Inject(const std::string& entryPoint, DWORD nth, DWORD count, int code, bool exception) {
    int index = schedule_.Find(entryPoint);
    if (index < 0) {
        lastError = L"no entry point is named '" + Widen(entryPoint) + L"'";
        return false;
    }
    if (nth == 0 || (!exception && code == NRX_E_NONE)) {
        lastError = L"an injection needs a call number of 1 or more, and a failure an error code other than 0";
        return false;
    }
    // An exception is raised once.
    schedule_.Script(index, nth, exception ? 1 : count, Injection{code, exception});
    lastError.clear();
    return true;
}

void Engine::ClearFailures() {
    schedule_.Clear();
}

DWORD Engine::CallCount(const std::string& entryPoint) const {
    return schedule_.Calls(entryPoint);
}

void Engine::ResetCounters() {
    schedule_.ResetCalls();
    records.ResetBadFrees();
}

}  // namespace simnrx

#include "simulator.h"

#include "scenario.h"
#include "text.h"

namespace simcluster {

namespace {

const wchar_t* const kEntryPointNames[] = {
#define SIMCLUSTER_NAME(name) L## #name,
    SIMCLUSTER_ENTRY_POINTS(SIMCLUSTER_NAME)
#undef SIMCLUSTER_NAME
};

static_assert(sizeof kEntryPointNames / sizeof kEntryPointNames[0] == static_cast<size_t>(EntryPoint::Count),
              "one name per entry point");

}  // namespace

void* HandleTable::Open(Handle handle) {
    std::unique_ptr<Handle> record(new Handle(std::move(handle)));
    void* value = record.get();
    handles_.emplace(value, std::move(record));
    return value;
}

Handle* HandleTable::Find(const void* value, SIMCLUSTER_HANDLE_KIND kind) {
    auto it = handles_.find(value);
    return it != handles_.end() && it->second->kind == kind && !it->second->dead ? it->second.get() : nullptr;
}

HandleTable::Closed HandleTable::Close(const void* value, SIMCLUSTER_HANDLE_KIND kind) {
    auto it = handles_.find(value);
    if (it == handles_.end() || it->second->kind != kind) return Closed::Unknown;
    Closed closed = it->second->dead ? Closed::Dead : Closed::Live;
    handles_.erase(it);
    return closed;
}

void HandleTable::EndSession(ObjectId session) {
    for (auto& entry : handles_)
        if (entry.second->session == session && entry.second->kind != SIMCLUSTER_HANDLE_CLUSTER)
            entry.second->dead = true;
}

DWORD HandleTable::Count(SIMCLUSTER_HANDLE_KIND kind) const {
    DWORD count = 0;
    for (const auto& entry : handles_)
        if (kind == SIMCLUSTER_HANDLE_ALL || entry.second->kind == kind) ++count;
    return count;
}

Simulator& Simulator::Instance() {
    static Simulator simulator;
    return simulator;
}

Simulator::Simulator() : schedule_(kEntryPointNames) { InitializeCriticalSection(&lock); }

void Simulator::LoadDefaultScenario() {
    if (decided_) return;
    decided_ = true;
    statePath_ = simhost::Environment(L"ORVSIM_STATE");
    std::wstring path = statePath_;
    if (path.empty() || GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        path = simhost::Environment(L"ORVSIM_SCENARIO");
        const bool named = !path.empty();
        if (!named) path = simhost::ModuleFolder() + L"scenario.json";
        if (!named && GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) return;
    }
    std::string text;
    if (!ReadWholeFile(path, text)) {
        lastError = L"scenario: cannot read " + path;
        return;
    }
    LoadScenario(text, path);
}

void Simulator::KeepState() {
    if (statePath_.empty() || !cluster.present) return;
    // Most calls only read: the file is written when the cluster changed.
    std::string state = WriteScenario(cluster);
    if (state == keptState_) return;
    if (WriteWholeFile(statePath_, state)) keptState_ = std::move(state);
}

bool Simulator::LoadScenario(const std::string& json, const std::wstring& origin) {
    decided_ = true;
    try {
        cluster = ReadScenario(json);
        lastError.clear();
        return true;
    } catch (const ScenarioError& error) {
        lastError = Widen(error.what());
        if (!origin.empty()) lastError += L" (" + origin + L")";
        return false;
    }
}

void Simulator::Unload() {
    decided_ = true;
    cluster = Cluster();
    lastError.clear();
}

DWORD Simulator::CountCall(EntryPoint entryPoint) {
    const DWORD* error = schedule_.Count(static_cast<size_t>(entryPoint));
    return error ? *error : ERROR_SUCCESS;
}

bool Simulator::InjectFailure(const std::wstring& entryPoint, DWORD nth, DWORD count, DWORD error) {
    int index = schedule_.Find(entryPoint);
    if (index < 0) {
        lastError = L"no entry point is named '" + entryPoint + L"'";
        return false;
    }
    if (nth == 0 || error == ERROR_SUCCESS) {
        lastError = L"a failure needs a call number of 1 or more and an error other than 0";
        return false;
    }
    schedule_.Script(index, nth, count, error);
    return true;
}

void Simulator::ClearFailures() {
    schedule_.Clear();
}

DWORD Simulator::CallCount(const std::wstring& entryPoint) const {
    return schedule_.Calls(entryPoint);
}

void Simulator::ResetCounters() {
    schedule_.ResetCalls();
}

}  // namespace simcluster

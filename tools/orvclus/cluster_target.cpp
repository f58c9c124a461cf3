// Finding the cluster a command asks, and saying plainly when there is none.

#include "cluster_target.h"

#include "console.h"
#include "nrx_view.h"

namespace orvclus {

namespace {

// The states of Cluster::QueryClusterServiceState.
constexpr unsigned long kServiceRunning = 4;
constexpr unsigned long kServiceStarting = 2;
constexpr unsigned long kServiceUnreachable = 0;

bool IsThisComputer(const std::wstring* machine) {
    return !machine || orv::EqualsIgnoreCase(*machine, OrvGetComputerName());
}

// The sentence the cluster simulator left about the cluster it could not
// load, when the clusapi.dll the library loaded is the simulator's; empty
// otherwise. orvclus does not link the simulator: it asks for its export.
std::wstring SimulatedClusterProblem() {
    const HMODULE clusapi = GetModuleHandleW(L"clusapi.dll");
    const FARPROC found = clusapi ? GetProcAddress(clusapi, "SimCluster_LastError") : nullptr;
    if (!found) return std::wstring();
    using LastError = const wchar_t*(WINAPI*)();
    const wchar_t* sentence = reinterpret_cast<LastError>(reinterpret_cast<void (*)()>(found))();
    return sentence ? sentence : L"";
}

}  // namespace

const wchar_t kMachineOption[] = L"--machine";

OptionSpec MachineOption() {
    return {kMachineOption, L"NAME", L"ask about machine NAME instead of this computer"};
}

std::wstring ClusterTarget::Name() const {
    const wchar_t* name = cluster ? cluster->GetClusterName() : nullptr;
    if (name && *name) return name;
    return machine ? *machine : OrvGetComputerName();
}

std::wstring ClusterTarget::NoClusterReason() const {
    // A remote machine that cannot be reached looks exactly like one without cluster.
    if (!local.asked) return *machine + L" is not part of a cluster, or cannot be reached";
    if (!local.keyPresent) return L"this machine is not part of a cluster";
    const std::wstring node = L"this machine is a cluster node";
    const std::wstring service = L"its cluster service (ClusSvc)";
    if (local.serviceAfter == kServiceRunning)
        return node + L" and " + service + L" is running, but its cluster cannot be opened (run with --trace to see why)";
    if (local.serviceAfter == kServiceUnreachable)
        return node + L", but the service manager cannot be asked about " + service;
    if (local.serviceBefore == kServiceStarting)
        return node + L", but " + service + L" did not start within " + std::to_wstring(kServiceWaitSeconds) +
               L" seconds";
    return node + L", but " + service + L" is not running";
}

bool FindCluster(const std::wstring* machine, ClusterTarget& target) {
    target = ClusterTarget();
    target.machine = machine;
    const wchar_t* name = machine ? machine->c_str() : nullptr;
    if (IsThisComputer(machine)) {
        // The signs the library itself reads before it opens this computer's
        // cluster: it waits for a starting cluster service.
        target.local.asked = true;
        target.local.keyPresent = Cluster::MachineMightBeClustered(nullptr);
        if (target.local.keyPresent) target.local.serviceBefore = Cluster::QueryClusterServiceState(nullptr);
        if (target.local.serviceBefore == kServiceStarting)
            Progress(L"waiting for the cluster service (ClusSvc) to start; this can take up to " +
                     std::to_wstring(kServiceWaitSeconds) + L" seconds...");
    }
    target.cluster = Cluster::GetInstance(name);
    if (target.cluster->GetClusterType() == Cluster::MSCS)
        target.failover = dynamic_cast<MSCSCluster*>(target.cluster.get());
    if (target.cluster->GetClusterType() == Cluster::NRX)
        target.nrx = dynamic_cast<NRXCluster*>(target.cluster.get());
    if (target.local.keyPresent && target.cluster->GetClusterType() == Cluster::NotClustered)
        target.local.serviceAfter = Cluster::QueryClusterServiceState(nullptr);

    const std::wstring problem = SimulatedClusterProblem();
    if (!problem.empty()) {
        Failure(L"the simulated cluster could not be loaded: " + problem);
        return false;
    }
    return true;
}

bool OpenTarget(const ParsedArguments& arguments, const std::wstring& command, ClusterTarget& target) {
    if (!FindCluster(arguments.Value(kMachineOption), target)) return false;
    if (target.cluster->GetClusterType() == Cluster::NotClustered) {
        Failure(target.NoClusterReason());
        return false;
    }
    const std::wstring where = target.machine ? *target.machine : L"this machine";
    if (!target.cluster->Open()) {
        Failure(L"the cluster of " + where + L" cannot be opened (run with --trace to see why)");
        return false;
    }
    const Command* asked = FindCommand(command);
    if (asked && asked->needs == Needs::FailoverCluster && !target.failover) {
        Failure(L"'" + command + L"' needs a failover cluster, and " + where + L" belongs to " +
                KindName(target.cluster->GetClusterType()) + L" " + target.Name());
        return false;
    }
    return true;
}

const wchar_t* KindName(Cluster::ClusterType type) {
    switch (type) {
        case Cluster::NotClustered: break;
        case Cluster::MSCS: return L"failover cluster";
        case Cluster::NRX: return L"NRX cluster";
    }
    return L"cluster of unknown type";
}

std::wstring CountHeadline(const ClusterTarget& target, size_t count, const std::wstring& what,
                           const std::wstring& more) {
    return L"Cluster " + target.Name() + L" has " + Count(count, what) + more + L".";
}

Report ClusterReport(const ClusterTarget& target, const std::wstring& headline) {
    Report report;
    report.SetHeadline(headline);
    report.AddJsonOnly(L"cluster_name", Value::Text(target.Name()));
    return report;
}

Command ClusterCommand(const wchar_t* name, const std::wstring& summary, int (*run)(const ParsedArguments&, Format),
                       const wchar_t* operands, size_t maxOperands, const std::wstring& details) {
    Command command;
    command.name = name;
    command.operands = operands;
    command.maxOperands = maxOperands;
    command.summary = summary;
    command.details = details;
    command.options = {MachineOption()};
    command.run = run;
    return command;
}

Command FailoverOnly(Command command) {
    command.needs = Needs::FailoverCluster;
    return command;
}

const wchar_t* ResourceStateName(CLUSTER_RESOURCE_STATE state) {
    switch (state) {
        case ClusterResourceInherited: return L"inherited";
        case ClusterResourceInitializing: return L"initializing";
        case ClusterResourceOnline: return L"online";
        case ClusterResourceOffline: return L"offline";
        case ClusterResourceFailed: return L"failed";
        case ClusterResourcePending: return L"pending";
        case ClusterResourceOnlinePending: return L"online pending";
        case ClusterResourceOfflinePending: return L"offline pending";
        case ClusterResourceStateUnknown: break;
    }
    return L"unknown";
}

bool NetworkProperties(HNETWORK network, DWORD code, ClusterPropertyList& properties) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    orv::ControlOutput output;
    const DWORD result = orv::ControlWithGrowingBuffer(
        [&](void* buffer, DWORD size, DWORD* returned) {
            return glue->ClusterNetworkControl(network, nullptr, code, nullptr, 0, buffer, size, returned);
        },
        output);
    if (result != ERROR_SUCCESS) return false;
    properties.Assign(output.Data(), output.Size());
    return true;
}

int ListFailure(const ClusterTarget& target, const std::wstring& what) {
    const std::wstring action = L"list the " + what + L" of cluster " + target.Name();
    if (target.nrx) return NrxFailure(action);
    const DWORD error = GetLastError();
    return Win32Failure(action, error);
}

}  // namespace orvclus

// Finding the cluster a command asks, and saying plainly when there is none.

#include "cluster_target.h"

#include "console.h"

namespace orvclus {

const wchar_t kMachineOption[] = L"--machine";

OptionSpec MachineOption() {
    return {kMachineOption, L"NAME", L"ask about machine NAME instead of this computer"};
}

std::wstring NotClustered(const std::wstring* machine) {
    // A remote machine that cannot be reached looks exactly like one without cluster.
    return machine ? *machine + L" is not part of a cluster, or cannot be reached"
                   : L"this machine is not part of a cluster";
}

std::wstring ClusterTarget::Name() const {
    const wchar_t* name = cluster ? cluster->GetClusterName() : nullptr;
    if (name && *name) return name;
    return machine ? *machine : OrvGetComputerName();
}

bool OpenTarget(const ParsedArguments& arguments, const std::wstring& command, Needs needs,
                ClusterTarget& target) {
    target = ClusterTarget();
    target.machine = arguments.Value(kMachineOption);
    target.cluster = Cluster::GetInstance(target.machine ? target.machine->c_str() : nullptr);
    const std::wstring where = target.machine ? *target.machine : L"this machine";
    switch (target.cluster->GetClusterType()) {
        case Cluster::NotClustered: Failure(NotClustered(target.machine)); return false;
        case Cluster::MSCS: target.failover = dynamic_cast<MSCSCluster*>(target.cluster.get()); break;
        default: break;
    }
    if (!target.cluster->Open()) {
        Failure(L"the cluster of " + where + L" cannot be opened (run with --trace to see why)");
        return false;
    }
    if (needs == Needs::FailoverCluster && !target.failover) {
        Failure(L"'" + command + L"' needs a failover cluster, and " + where +
                L" belongs to another kind of cluster");
        return false;
    }
    return true;
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

Command ClusterCommand(const wchar_t* name, const wchar_t* summary, int (*run)(const ParsedArguments&, Format)) {
    Command command;
    command.name = name;
    command.summary = summary;
    command.options = {MachineOption()};
    command.run = run;
    return command;
}

int ListFailure(const ClusterTarget& target, const std::wstring& what) {
    const DWORD error = GetLastError();
    return Win32Failure(L"list the " + what + L" of cluster " + target.Name(), error);
}

int Win32Failure(const std::wstring& what, DWORD error) {
    wchar_t* text = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::wstring reason = length && text ? std::wstring(text, length) : std::wstring();
    if (text) LocalFree(text);
    // The system's sentence ends in a full stop and a line break; here the
    // error number follows it in brackets.
    reason.erase(reason.find_last_not_of(L" .\r\n") + 1);
    const std::wstring code = L"error " + std::to_wstring(error);
    return Failure(L"cannot " + what + L": " + (reason.empty() ? code : reason + L" (" + code + L")"));
}

}  // namespace orvclus

#pragma once

#include <windows.h>

#include <string>

#include "orvcluster.h"

#include "arguments.h"
#include "commands.h"

namespace orvclus {

// The option of every command that asks a cluster: which machine's.
extern const wchar_t kMachineOption[];
OptionSpec MachineOption();

// "this machine is not part of a cluster", or the same of a named machine.
std::wstring NotClustered(const std::wstring* machine);

// The cluster a command works on: that of --machine, or of this computer.
struct ClusterTarget {
    const std::wstring* machine = nullptr;  // null: this computer
    boost::shared_ptr<Cluster> cluster;
    MSCSCluster* failover = nullptr;  // the same object, when it is a failover cluster

    // The cluster's own name, or the machine's when the cluster gave none.
    std::wstring Name() const;
};

// What a command needs of the cluster.
enum class Needs { AnyCluster, FailoverCluster };

// Finds and opens the cluster of the command's --machine. When there is no
// open cluster, or not the kind `needs` asks for, prints the one error line
// that says so (naming `command`) and answers false.
bool OpenTarget(const ParsedArguments& arguments, const std::wstring& command, Needs needs, ClusterTarget& target);

// "Cluster NAME has 3 groups", with `more` before the full stop: a headline.
std::wstring CountHeadline(const ClusterTarget& target, size_t count, const std::wstring& what,
                           const std::wstring& more = std::wstring());

// A report with the headline and, for scripts, the cluster's name.
Report ClusterReport(const ClusterTarget& target, const std::wstring& headline);

// A command that asks the cluster of --machine.
Command ClusterCommand(const wchar_t* name, const wchar_t* summary, int (*run)(const ParsedArguments&, Format));

// The failure of listing `what` of the cluster, with the thread's last error.
int ListFailure(const ClusterTarget& target, const std::wstring& what);

// "cannot WHAT: the system's text for `error` (error N)" on standard error;
// answers the exit code of a failed operation.
int Win32Failure(const std::wstring& what, DWORD error);

}  // namespace orvclus

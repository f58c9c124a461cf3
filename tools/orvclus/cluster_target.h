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

// How long the library waits for a starting cluster service on this computer.
constexpr int kServiceWaitSeconds = 60;

// What this computer showed of a failover cluster around the opening of its
// cluster. Only asked when the target is this computer.
struct LocalSigns {
    bool asked = false;
    bool keyPresent = false;  // HKLM\Cluster
    // Cluster::QueryClusterServiceState before and after the opening (4
    // running, 2 starting, 1 otherwise, 0 no service manager); only asked
    // when the key is there.
    unsigned long serviceBefore = 0;
    unsigned long serviceAfter = 0;
};

// The cluster a command works on: that of --machine, or of this computer.
struct ClusterTarget {
    const std::wstring* machine = nullptr;  // null: this computer
    boost::shared_ptr<Cluster> cluster;
    MSCSCluster* failover = nullptr;  // the same object, when it is a failover cluster
    NRXCluster* nrx = nullptr;        // the same object, when it is an NRX cluster
    LocalSigns local;

    // The cluster's own name, or the machine's when the cluster gave none.
    std::wstring Name() const;
    // Why there is no cluster, as an error line says it: "this machine is
    // not part of a cluster", "... but its cluster service (ClusSvc) is not
    // running", ...
    std::wstring NoClusterReason() const;
};

// Finds the cluster of `machine` (null: this computer) as the library sees
// it. While the library waits for this computer's cluster service to start,
// a line on standard error says so. When the simulated cluster platform
// could not load its cluster, prints the failure line that says why and
// answers false.
bool FindCluster(const std::wstring* machine, ClusterTarget& target);

// Finds and opens the cluster of the command's --machine. When there is no
// open cluster, or not the kind the command `command` needs, prints the one
// error line that says so and answers false.
bool OpenTarget(const ParsedArguments& arguments, const std::wstring& command, ClusterTarget& target);

// "failover cluster", "NRX cluster": the kind, as a sentence names it
// before the cluster's name.
const wchar_t* KindName(Cluster::ClusterType type);

// "Cluster NAME has 3 groups", with `more` before the full stop: a headline.
std::wstring CountHeadline(const ClusterTarget& target, size_t count, const std::wstring& what,
                           const std::wstring& more = std::wstring());

// A report with the headline and, for scripts, the cluster's name.
Report ClusterReport(const ClusterTarget& target, const std::wstring& headline);

// A command that asks the cluster of --machine.
// `operands` is how the usage text shows them, `maxOperands` how many it
// takes, `details` what "help COMMAND" adds.
Command ClusterCommand(const wchar_t* name, const std::wstring& summary, int (*run)(const ParsedArguments&, Format),
                       const wchar_t* operands = L"", size_t maxOperands = 0,
                       const std::wstring& details = std::wstring());

// The command marked as one that needs a failover cluster.
Command FailoverOnly(Command command);

// A resource state as a person reads it: "online", "offline pending"...
const wchar_t* ResourceStateName(CLUSTER_RESOURCE_STATE state);

// One network's properties of one kind (CLUSCTL_NETWORK_GET_COMMON_PROPERTIES
// or CLUSCTL_NETWORK_GET_RO_COMMON_PROPERTIES); false when they cannot be read.
bool NetworkProperties(HNETWORK network, DWORD code, ClusterPropertyList& properties);

// The failure of listing `what` of the cluster, with the reason the cluster
// gave: the thread's last error, or NRX's own.
int ListFailure(const ClusterTarget& target, const std::wstring& what);

}  // namespace orvclus

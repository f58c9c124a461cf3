// "status": whether a machine belongs to a cluster, and how the product sees
// this computer.

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

struct TypeNames {
    const wchar_t* name;     // as scripts get it
    const wchar_t* article;  // as a sentence uses it, before the cluster's name
};

TypeNames NamesOf(Cluster::ClusterType type) {
    switch (type) {
        case Cluster::NotClustered: return {L"not clustered", L""};
        case Cluster::MSCS: return {L"failover cluster", L"failover cluster"};
        case Cluster::NRX: return {L"NRX", L"NRX cluster"};
    }
    return {L"unknown", L"cluster of unknown type"};
}

std::wstring ServiceStateName(unsigned long state) {
    switch (state) {
        case 4: return L"running";
        case 2: return L"starting";
        case 1: return L"not running";
    }
    return L"cannot be asked";
}

std::wstring Headline(const ClusterTarget& target, const std::wstring& clusterName, bool nodesKnown, bool isNode) {
    const Cluster::ClusterType type = target.cluster->GetClusterType();
    if (type == Cluster::NotClustered) {
        std::wstring sentence = target.NoClusterReason() + L".";
        if (!target.machine) sentence[0] = L'T';
        return sentence;
    }
    const std::wstring cluster =
        std::wstring(NamesOf(type).article) + (clusterName.empty() ? L"" : L" " + clusterName);
    // This computer may reach a cluster that it is no node of: say so,
    // rather than that it belongs to it.
    if (!target.machine && nodesKnown && !isNode)
        return L"This machine can reach " + cluster + L" but is not one of its nodes.";
    return (target.machine ? *target.machine : std::wstring(L"This machine")) + L" belongs to " + cluster + L".";
}

int RunStatus(const ParsedArguments& arguments, Format format) {
    const std::wstring* machine = arguments.Value(kMachineOption);
    ClusterTarget target;
    if (!FindCluster(machine, target)) return kExitFailure;
    const wchar_t* targetName = machine ? machine->c_str() : nullptr;
    const Cluster::ClusterType type = target.cluster->GetClusterType();
    const bool open = target.cluster->Open();
    const std::wstring clusterName = target.cluster->GetClusterName() ? target.cluster->GetClusterName() : L"";
    const bool keyPresent = target.local.asked ? target.local.keyPresent : Cluster::MachineMightBeClustered(targetName);
    // The product's own view, always of this computer; asking it may open
    // this computer's cluster too, and wait for its service.
    if (!target.local.asked) {
        ClusterTarget here;
        if (!FindCluster(nullptr, here)) return kExitFailure;
    }
    const std::wstring computerName = OrvGetComputerName();
    boost::shared_ptr<const std::wstring> virtualServer = Cluster::GetOrvVirtualServerName();
    const bool productClustered = Cluster::IsOrvClustered();
    // The cluster's nodes, and whether this computer is one of them.
    std::list<std::wstring> nodes;
    bool isNode = false;
    const bool nodesKnown = open && target.cluster->GetNodes(nodes) &&
                            target.cluster->GetMachineNodeStatus(computerName.c_str(), &isNode);

    // A backend's empty cluster name means the cluster of this computer.
    std::wstring shownClusterName = clusterName;
    if (shownClusterName.empty()) shownClusterName = type == Cluster::NotClustered ? L"(none)" : L"(local)";

    Report report;
    report.SetHeadline(Headline(target, clusterName, nodesKnown, isNode));
    report.Add(L"machine", L"Machine", machine ? Value::Text(*machine) : Value::None(),
               machine ? std::wstring() : L"(this computer)");
    report.Add(L"cluster_type", L"Cluster type", Value::Number(type),
               std::wstring(NamesOf(type).name) + L" (" + std::to_wstring(type) + L")");
    report.AddJsonOnly(L"cluster_type_name", Value::Text(NamesOf(type).name));
    report.Add(L"cluster_open", L"Cluster open", Value::YesNo(open));
    report.Add(L"cluster_name", L"Cluster name", Value::Text(clusterName), shownClusterName);
    if (nodesKnown) {
        report.Add(L"nodes", L"Nodes", Value::TextList(nodes));
    } else {
        report.AddJsonOnly(L"nodes", Value::None());
    }
    report.Add(L"cluster_key_present", L"Cluster key present", Value::YesNo(keyPresent));
    if (target.local.keyPresent) {
        const unsigned long service = Cluster::QueryClusterServiceState(nullptr);
        report.Add(L"cluster_service", L"Cluster service", Value::Text(ServiceStateName(service)),
                   L"ClusSvc " + ServiceStateName(service));
    } else {
        report.AddJsonOnly(L"cluster_service", Value::None());
    }
    report.Add(L"computer_name", L"This computer's name", Value::Text(computerName));
    if (nodesKnown) {
        report.Add(L"computer_is_node", L"This computer is a node", Value::YesNo(isNode));
    } else {
        report.AddJsonOnly(L"computer_is_node", Value::None());
    }
    report.Add(L"virtual_server_name", L"This computer's virtual server name",
               Value::Text(virtualServer ? *virtualServer : std::wstring()));
    // Where the product runs now: the owner of its RPC service's resource, a
    // question only a failover cluster answers.
    std::wstring activeNode;
    if (open && target.failover) {
        const bool known = target.failover->GetOrvActiveNodeName(activeNode) && !activeNode.empty();
        report.Add(L"active_node", L"Product's active node", known ? Value::Text(activeNode) : Value::None(),
                   known ? std::wstring() : L"(unknown: the cluster shows no owner of the product's RPC service resource)");
    } else {
        report.AddJsonOnly(L"active_node", Value::None());
    }
    report.Add(L"product_clustered", L"Product clustered on this computer", Value::YesNo(productClustered));
    return PrintReport(report, format);
}

}  // namespace

Command StatusCommand() {
    Command command;
    command.name = L"status";
    command.summary =
        L"Show whether a machine belongs to a cluster, its nodes, how the product names this computer and where "
        L"the product runs.";
    command.options = {MachineOption()};
    command.run = RunStatus;
    return command;
}

}  // namespace orvclus

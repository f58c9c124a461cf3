// "status": whether a machine belongs to a cluster, and how the product sees
// this computer.

#include <list>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

// The type of the product's own NRX resource.
const char kProductResourceType[] = "Orvane";

// The cluster type as scripts get it.
const wchar_t* TypeName(Cluster::ClusterType type) {
    switch (type) {
        case Cluster::NotClustered: return L"not clustered";
        case Cluster::MSCS: return L"failover cluster";
        case Cluster::NRX: return L"NRX";
    }
    return L"unknown";
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
    const std::wstring cluster = std::wstring(KindName(type)) + (clusterName.empty() ? L"" : L" " + clusterName);
    // This computer may reach a cluster that it is no node of: say so,
    // rather than that it belongs to it.
    if (!target.machine && nodesKnown && !isNode)
        return L"This machine can reach " + cluster + L" but is not one of its nodes.";
    return (target.machine ? *target.machine : std::wstring(L"This machine")) + L" belongs to " + cluster + L".";
}

// Why the cluster names no active node of the product.
std::wstring UnknownActiveNode(const ClusterTarget& target) {
    if (!target.nrx) return L"(unknown: the cluster shows no owner of the product's RPC service resource)";
    std::list<std::wstring> products;
    target.nrx->GetResources(products, kProductResourceType);
    if (products.size() != 1)
        return L"(unknown: the cluster has " + Count(products.size(), L"resource") +
               L" of type \"Orvane\"; an active node is named for exactly one)";
    return L"(unknown: the service group of the product's resource \"" + products.front() + L"\" is up on no system)";
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
               std::wstring(TypeName(type)) + L" (" + std::to_wstring(type) + L")");
    report.AddJsonOnly(L"cluster_type_name", Value::Text(TypeName(type)));
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
    // Where the product runs now: the owner of its RPC service's resource on
    // a failover cluster; on NRX the system where the service group of the
    // product's one "Orvane" resource is up.
    std::wstring activeNode;
    if (open && type != Cluster::NotClustered) {
        const bool known = target.cluster->GetOrvActiveNodeName(activeNode) && !activeNode.empty();
        report.Add(L"active_node", L"Product's active node", known ? Value::Text(activeNode) : Value::None(),
                   known ? std::wstring() : UnknownActiveNode(target));
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
    command.details =
        L"The virtual server name is the name under which the product runs on this computer: the network name\n"
        L"of its clustered group, or this computer's own name. The active node is, on a failover\n"
        L"cluster, the owner of the product's RPC service resource; on an NRX cluster the system where the\n"
        L"service group of the product's \"Orvane\" resource is up (named only when there is exactly one).";
    command.options = {MachineOption()};
    command.run = RunStatus;
    return command;
}

}  // namespace orvclus

// "status": whether a machine belongs to a cluster, and how the product sees
// this computer.

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"

namespace orvclus {

namespace {

struct TypeNames {
    const wchar_t* name;     // as scripts get it
    const wchar_t* article;  // as a sentence uses it
};

TypeNames NamesOf(Cluster::ClusterType type) {
    switch (type) {
        case Cluster::NotClustered: return {L"not clustered", L""};
        case Cluster::MSCS: return {L"failover cluster", L"a failover cluster"};
        case Cluster::NRX: return {L"NRX", L"an NRX cluster"};
    }
    return {L"unknown", L"a cluster of unknown type"};
}

std::wstring Headline(const std::wstring* machine, Cluster::ClusterType type) {
    if (type == Cluster::NotClustered) {
        std::wstring sentence = NotClustered(machine) + L".";
        if (!machine) sentence[0] = L'T';
        return sentence;
    }
    return (machine ? *machine : std::wstring(L"This machine")) + L" belongs to " +
           NamesOf(type).article + L".";
}

int RunStatus(const ParsedArguments& arguments, Format format) {
    const std::wstring* machine = arguments.Value(kMachineOption);
    const wchar_t* target = machine ? machine->c_str() : nullptr;

    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(target);
    const Cluster::ClusterType type = cluster->GetClusterType();
    const bool open = cluster->Open();
    const std::wstring clusterName = cluster->GetClusterName() ? cluster->GetClusterName() : L"";
    const bool keyPresent = Cluster::MachineMightBeClustered(target);
    const std::wstring computerName = OrvGetComputerName();
    boost::shared_ptr<const std::wstring> virtualServer = Cluster::GetOrvVirtualServerName();
    const bool productClustered = Cluster::IsOrvClustered();
    // The cluster's nodes, and whether this computer is one of them.
    std::list<std::wstring> nodes;
    bool isNode = false;
    const bool nodesKnown = open && cluster->GetNodes(nodes) &&
                            cluster->GetMachineNodeStatus(computerName.c_str(), &isNode);

    // A backend's empty cluster name means the cluster of this computer.
    std::wstring shownClusterName = clusterName;
    if (shownClusterName.empty()) shownClusterName = type == Cluster::NotClustered ? L"(none)" : L"(local)";

    Report report;
    report.SetHeadline(Headline(machine, type));
    report.Add(L"machine", L"Machine", machine ? Value::Text(*machine) : Value::None(),
               machine ? std::wstring() : L"(this computer)");
    report.Add(L"cluster_type", L"Cluster type", Value::Number(type),
               std::to_wstring(type) + L" (" + NamesOf(type).name + L")");
    report.AddJsonOnly(L"cluster_type_name", Value::Text(NamesOf(type).name));
    report.Add(L"cluster_open", L"Cluster open", Value::YesNo(open));
    report.Add(L"cluster_name", L"Cluster name", Value::Text(clusterName), shownClusterName);
    if (nodesKnown) {
        report.Add(L"nodes", L"Cluster nodes", Value::TextList(nodes));
    } else {
        report.AddJsonOnly(L"nodes", Value::None());
    }
    report.Add(L"cluster_key_present", L"Cluster key present", Value::YesNo(keyPresent));
    // The product's own view, always of this computer.
    report.Add(L"computer_name", L"Computer name", Value::Text(computerName));
    if (nodesKnown) {
        report.Add(L"computer_is_node", L"Computer is a node", Value::YesNo(isNode));
    } else {
        report.AddJsonOnly(L"computer_is_node", Value::None());
    }
    report.Add(L"virtual_server_name", L"Virtual server name",
               Value::Text(virtualServer ? *virtualServer : std::wstring()));
    report.Add(L"product_clustered", L"Product clustered", Value::YesNo(productClustered));
    return PrintReport(report, format);
}

}  // namespace

Command StatusCommand() {
    Command command;
    command.name = L"status";
    command.summary =
        L"Show whether a machine belongs to a cluster, its nodes, and how the product names this computer.";
    command.options = {MachineOption()};
    command.run = RunStatus;
    return command;
}

}  // namespace orvclus

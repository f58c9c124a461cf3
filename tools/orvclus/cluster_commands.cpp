// "nodes", "resources", "groups" and "networks": what a cluster is made of.

#include <list>
#include <map>
#include <memory>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"
#include "nrx_view.h"

namespace orvclus {

namespace {

const wchar_t kTypeOption[] = L"--type";

// Room for a name as the cluster API hands it out, terminator included.
constexpr DWORD kNameChars = 260;

Value TextOrNone(bool known, const std::wstring& text) { return known ? Value::Text(text) : Value::None(); }

const wchar_t* GroupStateName(CLUSTER_GROUP_STATE state) {
    switch (state) {
        case ClusterGroupOnline: return L"online";
        case ClusterGroupOffline: return L"offline";
        case ClusterGroupFailed: return L"failed";
        case ClusterGroupPartialOnline: return L"partially online";
        case ClusterGroupPending: return L"pending";
        case ClusterGroupStateUnknown: break;
    }
    return L"unknown";
}

const wchar_t* NetworkRoleName(DWORD role) {
    switch (role) {
        case ClusterNetworkRoleNone: return L"none";
        case ClusterNetworkRoleInternalUse: return L"cluster only";
        case ClusterNetworkRoleClientAccess: return L"clients only";
        case ClusterNetworkRoleInternalAndClient: return L"cluster and clients";
    }
    return L"unknown";
}

int RunNodes(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"nodes", target)) return kExitFailure;
    std::list<std::wstring> nodes;
    if (!target.cluster->GetNodes(nodes)) return ListFailure(target, L"nodes");

    Table table({{L"name", L"Node"}, {L"is_this_computer", L"This computer"}});
    const std::wstring& thisComputer = OrvGetComputerName();
    for (const std::wstring& node : nodes) {
        // Node names are compared without regard to case, as the library does.
        const bool isThisComputer = orv::EqualsIgnoreCase(node, thisComputer);
        table.AddRow({Value::Text(node), Value::YesNo(isThisComputer)});
    }
    Report report = ClusterReport(target, CountHeadline(target, nodes.size(), L"node"));
    report.AddTable(L"nodes", table);
    return PrintReport(report, format);
}

// A failover cluster keeps one owner node and one state per group and
// resource; NRX keeps a state on every system of a service group, shown in
// words and given to scripts as a list.
std::vector<Column> ResourceColumns(const ClusterTarget& target) {
    if (target.failover)
        return {{L"name", L"Resource"},         {L"type", L"Type"},   {L"group", L"Group"},
                {L"owner_node", L"Owner node"}, {L"state", L"State"}, {L"state_code", L""}};
    return {{L"name", L"Resource"}, {L"type", L"Type"}, {L"group", L"Service group"}, {L"", L"State"}, {L"states", L""}};
}

std::vector<Column> GroupColumns(const ClusterTarget& target) {
    if (target.failover)
        return {{L"name", L"Group"}, {L"owner_node", L"Owner node"}, {L"state", L"State"}, {L"state_code", L""}};
    return {{L"name", L"Service group"}, {L"", L"State"}, {L"states", L""}};
}

// The failover cluster's resources (of `type`, when given), each with the
// owner node and state the cluster keeps for it.
bool FailoverResources(MSCSCluster& cluster, const std::wstring* type, Table& table) {
    std::list<std::wstring> names;
    if (!(type ? cluster.GetResources(names, type->c_str()) : cluster.GetResources(names))) return false;
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    for (const std::wstring& name : names) {
        std::unique_ptr<ClusterResource> resource(cluster.OpenResource(name.c_str()));
        std::wstring typeName, group, owner;
        // A resource that cannot be opened stays in the list, its facts unknown.
        const bool typeKnown = resource && resource->GetTypeName(typeName);
        const bool groupKnown = resource && resource->GetGroupName(group);
        const bool ownerKnown = resource && resource->GetNodeName(owner);
        const CLUSTER_RESOURCE_STATE state =
            resource ? glue->GetClusterResourceState(resource->GetHandle(), nullptr, nullptr, nullptr, nullptr)
                     : ClusterResourceStateUnknown;
        table.AddRow({Value::Text(name), TextOrNone(typeKnown, typeName), TextOrNone(groupKnown, group),
                      TextOrNone(ownerKnown, owner), Value::Text(ResourceStateName(state)), Value::Number(state)});
    }
    return true;
}

// The NRX cluster's resources (of `type`, when given), each with its state on
// every system of its service group; and in `types` the cluster's resource
// types.
bool NrxResources(NRXCluster& cluster, const std::wstring* type, std::list<std::wstring>& types, Table& table) {
    std::vector<std::string> typeNames, names;
    if (!NrxObjectNames(cluster, NRX_OBJ_RESTYPE, typeNames) || !NrxObjectNames(cluster, NRX_OBJ_RESOURCE, names))
        return false;
    // NRX gives a resource's type only by listing the resources of each type;
    // a type without resources lists none.
    std::map<std::wstring, std::wstring> typeOf;
    for (const std::string& each : typeNames) {
        types.push_back(WidenBytes(each.c_str()));
        std::list<std::wstring> ofType;
        cluster.GetResources(ofType, each.c_str());
        for (const std::wstring& name : ofType) typeOf[name] = types.back();
    }
    for (const std::string& name : names) {
        const std::wstring wide = WidenBytes(name.c_str());
        const auto typed = typeOf.find(wide);
        if (type && (typed == typeOf.end() || typed->second != *type)) continue;
        std::wstring group;
        const bool groupKnown = NrxGroupOf(cluster, name, group);
        SystemStates states;
        const bool statesKnown = NrxStates(cluster, NRX_OBJ_RESOURCE, name, states);
        table.AddRow({Value::Text(wide), typed == typeOf.end() ? Value::None() : Value::Text(typed->second),
                      TextOrNone(groupKnown, group),
                      statesKnown ? Value::Text(StatesInWords(NRX_OBJ_RESOURCE, states)) : Value::None(),
                      statesKnown ? StatesAsJson(NRX_OBJ_RESOURCE, states) : Value::None()});
    }
    return true;
}

int RunResources(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"resources", target)) return kExitFailure;
    const std::wstring* type = arguments.Value(kTypeOption);
    Table table(ResourceColumns(target));
    std::list<std::wstring> types;
    const bool listed = target.failover ? FailoverResources(*target.failover, type, table)
                                        : NrxResources(*target.nrx, type, types, table);
    if (!listed) return ListFailure(target, L"resources");
    if (type && table.Rows() == 0) {
        // The type is matched exactly: point at the types that differ only in
        // case. NRX's are listed already.
        if (target.failover) target.failover->GetTypes(types);
        std::wstring others;
        for (const std::wstring& known : types)
            if (orv::EqualsIgnoreCase(known, *type)) others += (others.empty() ? L"" : L" or ") + Quoted(known);
        if (!others.empty())
            return Failure(L"no resource has type " + Quoted(*type) + L"; did you mean " + others + L"?");
    }

    Report report = ClusterReport(
        target, CountHeadline(target, table.Rows(), L"resource", type ? L" of type " + Quoted(*type) : L""));
    report.AddJsonOnly(L"type", type ? Value::Text(*type) : Value::None());
    report.AddTable(L"resources", table);
    return PrintReport(report, format);
}

// The failover cluster's groups with the node that owns each.
bool FailoverGroups(MSCSCluster& cluster, Table& table) {
    std::list<std::wstring> names;
    orv::ClusterObjects groups(cluster.GetClusterHandle(), CLUSTER_ENUM_GROUP, /*growNames=*/true);
    if (!groups || !groups.AppendNames(names)) return false;
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    for (const std::wstring& name : names) {
        orv::UniqueClusterGroup group(glue->OpenClusterGroup(cluster.GetClusterHandle(), name.c_str()));
        wchar_t owner[kNameChars] = {};
        DWORD length = kNameChars;
        const CLUSTER_GROUP_STATE state =
            group ? glue->GetClusterGroupState(group.Get(), owner, &length) : ClusterGroupStateUnknown;
        table.AddRow({Value::Text(name), TextOrNone(state != ClusterGroupStateUnknown, owner),
                      Value::Text(GroupStateName(state)), Value::Number(state)});
    }
    return true;
}

// The NRX cluster's service groups with their state on each system.
bool NrxGroups(NRXCluster& cluster, Table& table) {
    std::list<std::wstring> names;
    if (!cluster.GetServiceGroups(names)) return false;
    for (const std::wstring& name : names) {
        SystemStates states;
        const bool known = NrxStates(cluster, NRX_OBJ_GROUP, NarrowBytes(name), states);
        table.AddRow({Value::Text(name), known ? Value::Text(StatesInWords(NRX_OBJ_GROUP, states)) : Value::None(),
                      known ? StatesAsJson(NRX_OBJ_GROUP, states) : Value::None()});
    }
    return true;
}

int RunGroups(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"groups", target)) return kExitFailure;
    Table table(GroupColumns(target));
    const bool listed = target.failover ? FailoverGroups(*target.failover, table) : NrxGroups(*target.nrx, table);
    if (!listed) return ListFailure(target, target.failover ? L"groups" : L"service groups");
    Report report =
        ClusterReport(target, CountHeadline(target, table.Rows(), target.failover ? L"group" : L"service group"));
    report.AddTable(L"groups", table);
    return PrintReport(report, format);
}

int RunNetworks(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"networks", target)) return kExitFailure;
    std::list<std::wstring> names;
    if (!target.failover->GetNetworks(names)) return ListFailure(target, L"networks");

    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    Table table({{L"name", L"Network"},
                 {L"role", L"Role"},
                 {L"role_code", L""},
                 {L"address", L"Address"},
                 {L"address_mask", L"Address mask"}});
    for (const std::wstring& name : names) {
        orv::UniqueClusterNetwork network(
            glue->OpenClusterNetwork(target.failover->GetClusterHandle(), name.c_str()));
        ClusterPropertyList common, readOnly;
        DWORD role = 0;
        std::wstring address, mask;
        const bool roleKnown = network &&
                               NetworkProperties(network.Get(), CLUSCTL_NETWORK_GET_COMMON_PROPERTIES, common) &&
                               common.GetValue(L"Role", role);
        const bool readOnlyKnown =
            network && NetworkProperties(network.Get(), CLUSCTL_NETWORK_GET_RO_COMMON_PROPERTIES, readOnly);
        const bool addressKnown = readOnlyKnown && readOnly.GetValue(L"Address", address);
        const bool maskKnown = readOnlyKnown && readOnly.GetValue(L"AddressMask", mask);
        table.AddRow({Value::Text(name), roleKnown ? Value::Text(NetworkRoleName(role)) : Value::None(),
                      roleKnown ? Value::Number(role) : Value::None(), TextOrNone(addressKnown, address),
                      TextOrNone(maskKnown, mask)});
    }
    Report report = ClusterReport(target, CountHeadline(target, names.size(), L"network"));
    report.AddTable(L"networks", table);
    return PrintReport(report, format);
}

}  // namespace

std::vector<Command> ClusterCommands() {
    Command resources = ClusterCommand(
        L"resources", L"List the cluster's resources with their type, group, owner node and state.", RunResources,
        L"", 0,
        L"On an NRX cluster the group is the resource's service group, and there is no owner node: NRX keeps\n"
        L"the resource's state on every system of its group (\"online on NODE1, offline on NODE2\"; in JSON\n"
        L"\"states\", one {\"system\", \"state\", \"state_code\"} per system).");
    resources.options.push_back(
        {kTypeOption, L"TYPE", L"only resources of type TYPE (its exact name and letter case, such as \"Network Name\")"});
    return {
        ClusterCommand(L"nodes", L"List the cluster's nodes, marking this computer.", RunNodes, L"", 0,
                       L"On an NRX cluster the nodes are its systems."),
        resources,
        ClusterCommand(L"groups", L"List the cluster's groups with their owner node and state.", RunGroups, L"", 0,
                       L"On an NRX cluster these are its service groups, and there is no owner node: NRX keeps a\n"
                       L"group's state on every system of its system list (\"online on NODE1, offline on NODE2\"; in\n"
                       L"JSON \"states\", one {\"system\", \"state\", \"state_code\"} per system)."),
        FailoverOnly(ClusterCommand(L"networks", L"List the cluster's networks with their role, address and mask.",
                                    RunNetworks)),
    };
}

}  // namespace orvclus

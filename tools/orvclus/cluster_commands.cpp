// "nodes", "resources", "groups" and "networks": what a cluster is made of.

#include <list>
#include <memory>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

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
    if (!OpenTarget(arguments, L"nodes", Needs::AnyCluster, target)) return kExitFailure;
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

int RunResources(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"resources", Needs::FailoverCluster, target)) return kExitFailure;
    const std::wstring* type = arguments.Value(kTypeOption);
    std::list<std::wstring> names;
    const bool listed =
        type ? target.failover->GetResources(names, type->c_str()) : target.failover->GetResources(names);
    if (!listed) return ListFailure(target, L"resources");
    if (type && names.empty()) {
        // The type is matched exactly: point at the types that differ only in case.
        std::list<std::wstring> types;
        std::wstring others;
        if (target.failover->GetTypes(types))
            for (const std::wstring& known : types)
                if (orv::EqualsIgnoreCase(known, *type))
                    others += (others.empty() ? L"" : L" or ") + Quoted(known);
        if (!others.empty())
            return Failure(L"no resource has type " + Quoted(*type) + L"; did you mean " + others + L"?");
    }

    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    Table table({{L"name", L"Resource"},
                 {L"type", L"Type"},
                 {L"group", L"Group"},
                 {L"owner_node", L"Owner node"},
                 {L"state", L"State"},
                 {L"state_code", L""}});
    for (const std::wstring& name : names) {
        std::unique_ptr<ClusterResource> resource(target.failover->OpenResource(name.c_str()));
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
    Report report =
        ClusterReport(target, CountHeadline(target, names.size(), L"resource", type ? L" of type " + Quoted(*type) : L""));
    report.AddJsonOnly(L"type", type ? Value::Text(*type) : Value::None());
    report.AddTable(L"resources", table);
    return PrintReport(report, format);
}

int RunGroups(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"groups", Needs::FailoverCluster, target)) return kExitFailure;
    const HCLUSTER cluster = target.failover->GetClusterHandle();
    std::list<std::wstring> names;
    orv::ClusterObjects groups(cluster, CLUSTER_ENUM_GROUP, /*growNames=*/true);
    if (!groups || !groups.AppendNames(names)) return ListFailure(target, L"groups");

    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    Table table({{L"name", L"Group"}, {L"owner_node", L"Owner node"}, {L"state", L"State"}, {L"state_code", L""}});
    for (const std::wstring& name : names) {
        orv::UniqueClusterGroup group(glue->OpenClusterGroup(cluster, name.c_str()));
        wchar_t owner[kNameChars] = {};
        DWORD length = kNameChars;
        const CLUSTER_GROUP_STATE state =
            group ? glue->GetClusterGroupState(group.Get(), owner, &length) : ClusterGroupStateUnknown;
        table.AddRow({Value::Text(name), TextOrNone(state != ClusterGroupStateUnknown, owner),
                      Value::Text(GroupStateName(state)), Value::Number(state)});
    }
    Report report = ClusterReport(target, CountHeadline(target, names.size(), L"group"));
    report.AddTable(L"groups", table);
    return PrintReport(report, format);
}

int RunNetworks(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"networks", Needs::FailoverCluster, target)) return kExitFailure;
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
        L"resources", L"List the cluster's resources with their type, group, owner node and state.", RunResources);
    resources.options.push_back(
        {kTypeOption, L"TYPE", L"only resources of type TYPE (its exact name and letter case, such as \"Network Name\")"});
    return {
        ClusterCommand(L"nodes", L"List the cluster's nodes, marking this computer.", RunNodes),
        resources,
        ClusterCommand(L"groups", L"List the cluster's groups with their owner node and state.", RunGroups),
        ClusterCommand(L"networks", L"List the cluster's networks with their role, address and mask.",
                       RunNetworks),
    };
}

}  // namespace orvclus

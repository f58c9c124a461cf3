// "whois" and "check-address": who owns a name or an address of a cluster,
// and whether an address can be brought online on one of a failover
// cluster's networks.

#include <list>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"
#include "nrx_view.h"

namespace orvclus {

namespace {

// Four decimal numbers from 0 to 255, separated by dots: the form in which
// an address and its mask are given to the cluster. `value` holds the first
// number in its high byte.
bool ParseAddress(const std::wstring& text, unsigned long& value) {
    int parts = 0;
    size_t digits = 0;
    unsigned long part = 0;
    value = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == L'.') {
            if (digits == 0 || part > 255) return false;
            value = (value << 8) | part;
            ++parts;
            digits = 0;
            part = 0;
        } else if (text[i] >= L'0' && text[i] <= L'9' && digits < 3) {
            part = part * 10 + static_cast<unsigned long>(text[i] - L'0');
            ++digits;
        } else {
            return false;
        }
    }
    return parts == 4;
}

template <typename Names>
bool ContainsName(const Names& names, const std::wstring& name) {
    for (const auto& each : names)
        if (orv::EqualsIgnoreCase(each, name)) return true;
    return false;
}

int RunWhois(const ParsedArguments& arguments, Format format) {
    if (arguments.Operands().empty())
        return UsageError(L"'whois' needs the network name or IP address to look up (NAME-OR-ADDRESS)");
    const std::wstring& asked = arguments.Operands().front();
    // "\\NAME" names NAME, as the library reads it.
    const size_t start = asked.find_first_not_of(L'\\');
    if (start == std::wstring::npos) return UsageError(L"'" + asked + L"' is no network name or IP address");
    const std::wstring name = asked.substr(start);
    ClusterTarget target;
    if (!OpenTarget(arguments, L"whois", target)) return kExitFailure;

    // The library decides by the name whether it looks for an IP address
    // resource or a network name resource ("IP" and "Lanman" on NRX).
    const bool isAddress = Cluster::IsIp(name);
    const std::wstring kind = isAddress ? L"IP address" : L"network name";
    std::wstring owner;
    // NRX answers true without touching `owner` when no resource carries the
    // name, and false when its resources cannot be read.
    const bool answered = target.cluster->NetworkNameToNodeName(name, owner);
    if (target.nrx && !answered)
        return NrxFailure(L"look up " + Quoted(name) + L" among the " + kind + L" resources of cluster " +
                          target.Name());
    if (!answered || owner.empty())
        return Failure(L"no " + kind + L" resource of cluster " + target.Name() + L" carries " +
                           (isAddress ? L"the address " : L"the name ") + Quoted(name),
                       {{"name", ToUtf8(name)}, {"kind", ToUtf8(kind)}});

    // NRX names the system where the resource was last online.
    Report report =
        ClusterReport(target, name + L" is " + (isAddress ? L"an " : L"a ") + kind + L" of cluster " + target.Name() +
                                  (target.nrx ? L", last online on node " : L", owned by node ") + owner + L".");
    report.Add(L"name", L"Name", Value::Text(name));
    report.Add(L"kind", L"Kind", Value::Text(kind));
    report.Add(L"owner_node", L"Owner node", Value::Text(owner),
               target.nrx ? owner + L" (where it was last online)" : std::wstring());
    if (isAddress) {
        // The network name that clients reach through this address.
        std::wstring virtualName;
        const bool listed = target.cluster->GetVirtualNameFromIp(virtualName, name.c_str());
        const bool known = listed && !virtualName.empty();
        const std::wstring why =
            target.nrx ? L"(none or unknown: the address's service group has no readable network name resource)"
            : listed   ? L"(none: no network name resource depends on this address)"
                       : L"(unknown: the resources that depend on this address cannot be listed)";
        report.Add(L"virtual_name", L"Virtual name", known ? Value::Text(virtualName) : Value::None(),
                   known ? std::wstring() : why);
    } else {
        report.AddJsonOnly(L"virtual_name", Value::None());
    }
    return PrintReport(report, format);
}

// Why an address did not come online on a network, as far as the cluster's
// networks and resources tell.
std::wstring WhyNotOnline(MSCSCluster& cluster, const std::wstring& address, const std::wstring& network) {
    std::list<std::wstring> networks;
    if (cluster.GetNetworks(networks) && !ContainsName(networks, network)) {
        std::wstring names;
        for (const std::wstring& each : networks) names += (names.empty() ? L"" : L", ") + each;
        return L"the cluster has no such network" + (names.empty() ? L"" : L" (its networks: " + names + L")");
    }
    // The network's subnet: its own address and mask.
    orv::UniqueClusterNetwork handle(
        MSCSClusterGlue::GetInstance()->OpenClusterNetwork(cluster.GetClusterHandle(), network.c_str()));
    ClusterPropertyList properties;
    std::wstring subnet, subnetMask;
    unsigned long subnetValue = 0, maskValue = 0, addressValue = 0;
    if (handle && NetworkProperties(handle.Get(), CLUSCTL_NETWORK_GET_RO_COMMON_PROPERTIES, properties) &&
        properties.GetValue(L"Address", subnet) && properties.GetValue(L"AddressMask", subnetMask) &&
        ParseAddress(subnet, subnetValue) && ParseAddress(subnetMask, maskValue) &&
        ParseAddress(address, addressValue) && (addressValue & maskValue) != (subnetValue & maskValue))
        return L"the address lies outside the network's subnet (" + subnet + L" with mask " + subnetMask + L")";
    std::wstring owner;
    if (cluster.NetworkNameToNodeName(address, owner))
        return L"an IP address resource of the cluster already carries it (owned by node " + owner + L")";
    return L"the scratch resource did not come online (the address may be in use elsewhere on the network), or "
           L"the scratch group or resource could not be made";
}

int RunCheckAddress(const ParsedArguments& arguments, Format format) {
    const std::vector<std::wstring>& operands = arguments.Operands();
    if (operands.size() < 3)
        return UsageError(L"'check-address' needs an address, its subnet mask and a cluster network "
                          L"(ADDRESS MASK NETWORK)");
    const std::wstring& address = operands[0];
    const std::wstring& mask = operands[1];
    const std::wstring& network = operands[2];
    unsigned long value = 0;
    if (!ParseAddress(address, value)) return UsageError(L"'" + address + L"' is no IPv4 address such as 10.20.30.99");
    if (!ParseAddress(mask, value)) return UsageError(L"'" + mask + L"' is no subnet mask such as 255.255.255.0");
    ClusterTarget target;
    if (!OpenTarget(arguments, L"check-address", target)) return kExitFailure;

    const std::wstring what = L"address " + address + L" with mask " + mask + L" on network " + Quoted(network) +
                              L" of cluster " + target.Name();
    Progress(L"trying " + what + L" for real: a scratch group \"NULLTESTGRP13\" with an IP address resource "
             L"\"TestNullRes13\" goes online and offline, then both are deleted again...");
    const unsigned result = target.failover->IsValidNetworkConfig(address.c_str(), mask.c_str(), network.c_str());
    if (result != 1)
        return Failure(L"the " + what + L" cannot be brought online (result " + std::to_wstring(result) + L"): " +
                           WhyNotOnline(*target.failover, address, network),
                       {{"address", ToUtf8(address)}, {"mask", ToUtf8(mask)}, {"network", ToUtf8(network)},
                        {"result", result}});

    Report report = ClusterReport(target, L"The " + what + L" can be brought online.");
    report.Add(L"address", L"Address", Value::Text(address));
    report.Add(L"mask", L"Mask", Value::Text(mask));
    report.Add(L"network", L"Network", Value::Text(network));
    report.Add(L"result", L"Result", Value::Number(result), L"1 (the address came online, and went offline again)");
    return PrintReport(report, format);
}

}  // namespace

std::vector<Command> IdentityCommands() {
    return {
        ClusterCommand(
            L"whois", L"Show the node that owns a network name or an IP address, and an address's network name.",
            RunWhois, L"NAME-OR-ADDRESS", 1,
            L"A name is looked up among the cluster's network name resources (leading backslashes are ignored), an\n"
            L"address among its IP address resources. For an address, the virtual name is the network name that\n"
            L"depends on it. A name or address that no resource carries is a failure. On an NRX cluster these\n"
            L"are its \"Lanman\" and \"IP\" resources, the owner node is the system where the resource was last\n"
            L"online, and an address's virtual name is that of its service group's network name."),
        FailoverOnly(ClusterCommand(
            L"check-address", L"Try whether an address can be brought online on a cluster network.",
            RunCheckAddress, L"ADDRESS MASK NETWORK", 3,
            L"The library tries it for real: it makes a scratch group \"NULLTESTGRP13\" with an IP address resource\n"
        L"\"TestNullRes13\" for ADDRESS and MASK on NETWORK, brings it online and offline again, and deletes both.\n"
            L"An address that does not come online is a failure."))};
}

}  // namespace orvclus

#include "addresses.h"

#include <cwchar>

#include "state.h"
#include "text.h"

namespace simcluster {

namespace {

bool PrivateText(const Resource& resource, const wchar_t* name, std::wstring& text) {
    const PropertyValue* value = resource.privateProperties.Find(name);
    if (!value || !value->IsString()) return false;
    text = value->Text();
    return true;
}

bool PrivateAddress(const Resource& resource, DWORD& address) {
    std::wstring text;
    return PrivateText(resource, L"Address", text) && ParseAddress(text, address);
}

// Online, or on its way there through a transition that ends online.
bool HoldsItsAddress(Resource& resource) {
    CLUSTER_RESOURCE_STATE state = CurrentState(resource);
    return state == ClusterResourceOnline || (state == ClusterResourceOnlinePending && resource.transitionRunning &&
                                              resource.transitionResult == ClusterResourceOnline);
}

bool InSubnet(const Resource& resource, const Network& network, DWORD address) {
    const PropertyValue* anyNetwork = resource.privateProperties.Find(L"OverrideAddressMatch");
    if (anyNetwork && anyNetwork->Format() == CLUSPROP_FORMAT_DWORD && anyNetwork->Dword() == 1) return true;
    DWORD subnet = 0, mask = 0;
    // A network the scenario gives no address and mask accepts any address.
    if (!ParseAddress(network.address, subnet) || !ParseAddress(network.addressMask, mask)) return true;
    return (address & mask) == (subnet & mask);
}

}  // namespace

bool ParseAddress(const std::wstring& text, DWORD& value) {
    value = 0;
    size_t at = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && (at >= text.size() || text[at++] != L'.')) return false;
        size_t digits = 0;
        DWORD number = 0;
        while (at < text.size() && text[at] >= L'0' && text[at] <= L'9' && digits < 4) {
            number = number * 10 + static_cast<DWORD>(text[at++] - L'0');
            ++digits;
        }
        if (digits == 0 || digits > 3 || number > 255) return false;
        value = (value << 8) | number;
    }
    return at == text.size();
}

std::wstring AddressText(DWORD value) {
    wchar_t text[16];
    swprintf(text, 16, L"%lu.%lu.%lu.%lu", (value >> 24) & 0xFFul, (value >> 16) & 0xFFul, (value >> 8) & 0xFFul,
             value & 0xFFul);
    return text;
}

bool IsIpAddressResource(const Resource& resource) { return SameName(resource.type.Text(), L"IP Address"); }

bool AddressComesUp(Cluster& cluster, Resource& resource) {
    DWORD address = 0;
    std::wstring networkName;
    if (!PrivateAddress(resource, address) || !PrivateText(resource, L"Network", networkName)) return false;
    const Network* network = cluster.FindNetwork(networkName);
    if (!network || !InSubnet(resource, *network, address)) return false;
    for (const std::wstring& used : cluster.addressesInUse) {
        DWORD other = 0;
        if (ParseAddress(used, other) && other == address) return false;
    }
    for (Resource& other : cluster.resources) {
        DWORD held = 0;
        if (&other != &resource && IsIpAddressResource(other) && PrivateAddress(other, held) && held == address &&
            HoldsItsAddress(other))
            return false;
    }
    return true;
}

}  // namespace simcluster

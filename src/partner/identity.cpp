// Who the product is on an NRX cluster: its virtual server name, the system
// that runs it, the owners of network names and addresses, and which
// systems are its nodes. These questions fail quietly: false or 0, and no
// trace line.

#include <cstring>

#include "orvcluster/computer_name.h"
#include "orvcluster/nrx_cluster.h"
#include "orvcluster/unique_handle.h"
#include "partner/nrx_records.h"
#include "support/text.h"

namespace {

constexpr wchar_t kActiveComputerNameKey[] = L"System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName";
constexpr size_t kComputerNameChars = 16;
constexpr unsigned long kLocalNameChars = 257;

// The product definition's IP address record, whose per-system arguments
// tell the product's nodes; null while no definition is loaded.
const CLUSTERRESOURCE* AddressRecord() {
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record->resourceName[0]; ++record)
        if (orv::EqualsIgnoreCase(record->resourceType, L"IP Address")) return record;
    return nullptr;
}

}  // namespace

bool NRXCluster::GetOrvVirtualName(std::wstring& name) {
    std::list<std::wstring> products;
    if (!GetResources(products, "Orvane")) return false;

    // The product's group is the one whose state lists this computer.
    const std::wstring& computer = OrvGetComputerName();
    orv::NrxText group(*glue_);
    bool chosen = false;
    for (auto product = products.begin(); product != products.end() && !chosen; ++product) {
        orv::ObjectName resource;
        orv::NrxAttribute state(*glue_);
        if (!resource.Assign(*product) ||
            glue_->ResGetGrpName(handle_, resource.c_str(), group.Receive()) != NRX_SUCCESS || !group ||
            glue_->ObjGetAttribute(handle_, NRX_OBJ_GROUP, group.Get(), "State", state.Receive()) != NRX_SUCCESS)
            return false;
        chosen = orv::AnyValue(state.Get(), [&](const char* value) {
            return *value && orv::EqualsIgnoreCase(orv::Widen(value), computer);
        });
    }
    if (!chosen) return false;

    std::list<std::wstring> lanmans;
    orv::ObjectName lanman;
    std::string virtualName;
    if (!GetGroupResourceNames(lanmans, group.Get(), "Lanman") || !lanman.Assign(lanmans.front()) ||
        !orv::ReadFirstValue(*glue_, handle_, lanman.c_str(), "VirtualName", virtualName))
        return false;
    name = orv::Widen(virtualName);
    return true;
}

bool NRXCluster::GetOrvActiveNodeName(std::wstring& node) {
    std::list<std::wstring> products;
    if (!GetResources(products, "Orvane")) {
        node.clear();
        return false;
    }
    // Deliberately no choice among several of the product's resources.
    if (products.size() != 1) return false;
    char system[16] = {};
    if (!GetOwningNode(system, sizeof(system), orv::LowBytes(products.front()).c_str())) return false;
    node = orv::Widen(system);
    return true;
}

bool NRXCluster::GetActiveServerNode(std::wstring& node, char* resource) {
    orv::ObjectName name;
    orv::NrxState states(*glue_);
    if (!handle_ || !name.Assign(resource) ||
        glue_->GetClusterResourceState(handle_, NRX_OBJ_RESOURCE, name.c_str(), states.Receive(), nullptr) !=
            NRX_SUCCESS ||
        !states || !states->entries)
        return false;
    for (int i = 0; i < states->count; ++i) {
        if (states->entries[i].state == NRX_RES_ONLINE && states->entries[i].system) {
            node = orv::Widen(states->entries[i].system);
            return true;
        }
    }
    return false;
}

void NRXCluster::SetActiveComputerName(std::wstring name) {
    if (name.empty() || name.size() >= kComputerNameChars) return;
    orv::UniqueRegistryKey root;
    orv::UniqueRegistryKey key;
    if (RegConnectRegistryW((L"\\\\" + name).c_str(), HKEY_LOCAL_MACHINE, root.Receive()) != ERROR_SUCCESS ||
        RegOpenKeyExW(root.Get(), kActiveComputerNameKey, 0, KEY_WRITE, key.Receive()) != ERROR_SUCCESS)
        return;
    RegSetValueExW(key.Get(), L"ComputerName", 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                   static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)));
}

bool NRXCluster::GetIPResourceProps(std::wstring resource, std::wstring& address, std::wstring& subnet) {
    orv::ObjectName name;
    std::string value;
    if (!name.Assign(resource) || !orv::ReadFirstValue(*glue_, handle_, name.c_str(), "Address", value)) return false;
    address = orv::Widen(value);
    if (!orv::ReadFirstValue(*glue_, handle_, name.c_str(), "SubNetMask", value)) return false;
    subnet = orv::Widen(value);
    return true;
}

bool NRXCluster::GetNetworkNames(std::list<std::wstring>& names) {
    std::list<std::wstring> lanmans;
    if (!GetResources(lanmans, "Lanman")) return false;
    for (const std::wstring& lanman : lanmans) {
        orv::ObjectName resource;
        std::string virtualName;
        if (!resource.Assign(lanman) ||
            !orv::ReadFirstValue(*glue_, handle_, resource.c_str(), "VirtualName", virtualName))
            return false;
        names.push_back(orv::Widen(virtualName));
    }
    return true;
}

bool NRXCluster::NetworkNameToNodeName(const std::wstring& name, std::wstring& node) {
    const bool address = IsIp(name);
    if (name.empty()) node = orv::SkipLeadingBackslashes(OrvGetComputerName().c_str());
    std::list<std::wstring> resources;
    if (!GetResources(resources, address ? "IP" : "Lanman")) return false;
    for (const std::wstring& resource : resources) {
        orv::ObjectName resourceName;
        std::string value;
        if (!resourceName.Assign(resource) ||
            !orv::ReadFirstValue(*glue_, handle_, resourceName.c_str(), address ? "Address" : "VirtualName", value))
            return false;
        if (!orv::EqualsIgnoreCase(orv::Widen(value), name)) continue;
        if (!orv::ReadFirstValue(*glue_, handle_, resourceName.c_str(), "LastOnline", value)) return false;
        node = orv::Widen(value);
        return true;
    }
    // Deliberately true without a match: callers compare `node` with what
    // they passed.
    return true;
}

bool NRXCluster::GetVirtualNameFromIp(std::wstring& name, const wchar_t* ip) {
    orv::ObjectName address;
    return address.Assign(ip) && GetVirtualNameFromIp(name, address.c_str());
}

bool NRXCluster::GetVirtualNameFromIp(std::wstring& name, const char* ip) {
    std::list<std::wstring> addresses;
    if (!ip || !GetResources(addresses, "IP")) return false;
    for (const std::wstring& address : addresses) {
        orv::ObjectName resource;
        std::string value;
        if (!resource.Assign(address) || !orv::ReadFirstValue(*glue_, handle_, resource.c_str(), "Address", value))
            return false;
        if (value != ip) continue;

        orv::NrxText group(*glue_);
        std::list<std::wstring> lanmans;
        orv::ObjectName lanman;
        if (glue_->ResGetGrpName(handle_, resource.c_str(), group.Receive()) != NRX_SUCCESS || !group ||
            !GetGroupResourceNames(lanmans, group.Get(), "Lanman") || !lanman.Assign(lanmans.front()) ||
            !orv::ReadFirstValue(*glue_, handle_, lanman.c_str(), "VirtualName", value))
            return false;
        name = orv::Widen(value);
        return true;
    }
    return false;
}

unsigned NRXCluster::IsNode(const wchar_t* system) {
    if (!glue_) return 0;
    const CLUSTERRESOURCE* address = AddressRecord();
    orv::NrxNames resources(*glue_);
    if (!system || !address || !handle_ ||
        glue_->ObjectGetNames(handle_, NRX_OBJ_RESOURCE, nullptr, resources.Receive(), nullptr) != NRX_SUCCESS ||
        !resources || !resources->names)
        return 0;
    for (int i = 0; i < resources->count; ++i) {
        const char* resource = resources->names[i];
        if (!resource || !orv::EqualsIgnoreCase(orv::Widen(resource), address->resourceName)) continue;
        orv::NrxAttribute arguments(*glue_);
        if (glue_->OpenClusterResource(handle_, resource, "ArgListValues", arguments.Receive()) != NRX_SUCCESS)
            return 0;
        // The systems are the keys of the per-system arguments.
        if (orv::AnyValue(arguments.Get(),
                          [&](const char* value) { return orv::EqualsIgnoreCase(orv::Widen(value), system); }))
            return 1;
    }
    return 0;
}

unsigned NRXCluster::IsClusteredOrv(wcstring) { return IsNode(OrvGetComputerName().c_str()); }

unsigned NRXCluster::IsActiveClusterNode(const wchar_t* system) {
    wchar_t computer[kLocalNameChars] = {};
    if (!system) {
        unsigned long size = kLocalNameChars;
        OrvGetComputerName(computer, &size);
        system = computer;
    }
    // IsClusteredOrv always looks at this computer, whatever it is given.
    if (!IsClusteredOrv(wcstring(system))) return 0;

    orv::ObjectName first;
    orv::SystemName systemName;
    orv::NrxNames resources(*glue_);
    if (!first.Assign(CWIZ_GetResourceList()[0].resourceName) || !systemName.Assign(system) ||
        glue_->ObjectGetNames(handle_, NRX_OBJ_RESOURCE, nullptr, resources.Receive(), nullptr) != NRX_SUCCESS ||
        !resources || !resources->names)
        return 0;
    for (int i = 0; i < resources->count; ++i) {
        if (!resources->names[i] || _stricmp(resources->names[i], first.c_str()) != 0) continue;
        orv::NrxControl control(*glue_);
        int state = 0;
        if (!orv::SystemControl(*glue_, systemName, control) ||
            !orv::ResourceStateOn(*glue_, handle_, resources->names[i], control, state))
            return 0;
        if (state & NRX_RES_ONLINE) return 1;
    }
    return 0;
}

// Who the product is on a failover cluster: its virtual server name, the node
// that runs it, the owners of names and addresses, and the networks it may
// use. These questions fail quietly: false or 0, and no trace line.

#include <memory>

#include "orvcluster/cluster_control.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/computer_name.h"
#include "orvcluster/mscs_cluster.h"
#include "failover/product_records.h"
#include "failover/resource_states.h"
#include "failover/value_list.h"
#include "support/text.h"

namespace {

constexpr wchar_t kJobEngineResource[] = L"Orvane Job Engine";
constexpr wchar_t kRpcService[] = L"OrvaneRPCService";
constexpr wchar_t kAddressResource[] = L"Orvane IP Address";
constexpr wchar_t kScratchGroup[] = L"NULLTESTGRP13";
constexpr wchar_t kScratchResource[] = L"TestNullRes13";

constexpr DWORD kNetworkNameChars = 257;
constexpr DWORD kOwnerNameChars = 257;
constexpr DWORD kDependentNameChars = 261;
constexpr DWORD kNarrowAddressChars = 16;

}  // namespace

namespace orv {

const CLUSTERRESOURCE* MarkerServiceRecord() {
    const CLUSTERRESOURCE* table = Cluster::CWIZ_GetResourceList();
    for (int record = 0; record <= 3; ++record)
        if (!table[record].resourceName[0]) return nullptr;
    return &table[3];
}

}  // namespace orv

bool MSCSCluster::GetOrvVirtualName(std::wstring& name) {
    std::unique_ptr<ClusterResource> engine(hCluster_ ? OpenAs<ClusterResource>(kJobEngineResource) : nullptr);
    if (engine) {
        wchar_t networkName[kNetworkNameChars] = {};
        DWORD length = kNetworkNameChars;
        if (glue_->GetClusterResourceNetworkName(engine->GetHandle(), networkName, &length)) {
            // Only a computer that may own the job engine runs the product.
            orv::ResourceRelations owners(engine->GetHandle(), CLUSTER_RESOURCE_ENUM_NODES, false, kOwnerNameChars);
            const std::wstring& computer = OrvGetComputerName();
            std::wstring owner;
            DWORD type = 0;
            while (owners && owners.Next(owner, &type) == ERROR_SUCCESS) {
                if (type == CLUSTER_RESOURCE_ENUM_NODES && orv::EqualsIgnoreCase(owner, computer)) {
                    name = orv::FieldText(networkName);
                    return true;
                }
            }
        }
    }
    name.clear();
    return false;
}

bool MSCSCluster::GetOrvActiveNodeName(std::wstring& node) {
    std::unique_ptr<ClusterServiceResource> service(OpenGenericServiceResource(kRpcService));
    return service && service->GetNodeName(node);
}

bool MSCSCluster::NetworkNameToNodeName(const std::wstring& name, std::wstring& node) {
    if (name.empty()) return false;
    const bool address = IsIp(name);
    const wchar_t* property = address ? L"Address" : L"Name";
    const std::wstring wanted = orv::SkipLeadingBackslashes(name.c_str());
    std::list<std::wstring> resources;
    if (hCluster_ && GetResources(resources, address ? L"IP Address" : L"Network Name")) {
        for (const std::wstring& resourceName : resources) {
            std::unique_ptr<ClusterResource> resource(OpenAs<ClusterResource>(resourceName));
            std::wstring value;
            if (!resource || !resource->GetPrivateString(property, value) || !orv::EqualsIgnoreCase(value, wanted))
                continue;
            // The first resource that carries the name ends the search.
            std::wstring owner;
            if (!resource->GetNodeName(owner)) break;
            node = owner;
            return true;
        }
    }
    node = wanted;
    return false;
}

bool MSCSCluster::GetVirtualNameFromIp(std::wstring& name, const wchar_t* ip) {
    std::list<std::wstring> addresses;
    if (!hCluster_ || !ip || !GetResources(addresses, L"IP Address")) return false;
    for (const std::wstring& addressName : addresses) {
        std::unique_ptr<ClusterIPResource> address(OpenAs<ClusterIPResource>(addressName));
        std::wstring value;
        if (!address || !address->GetIPAddress(value) || !orv::EqualsIgnoreCase(value.c_str(), ip)) continue;

        orv::ResourceRelations dependents(address->GetHandle(), CLUSTER_RESOURCE_ENUM_PROVIDES, false,
                                          kDependentNameChars);
        if (!dependents) return false;
        std::wstring dependentName;
        while (dependents.Next(dependentName) == ERROR_SUCCESS) {
            std::unique_ptr<ClusterNetworkNameResource> dependent(
                OpenAs<ClusterNetworkNameResource>(dependentName));
            std::wstring type;
            if (!dependent || !dependent->GetTypeName(type) || !orv::EqualsIgnoreCase(type.c_str(), L"Network Name"))
                continue;
            // Deliberately true whether or not the name can be read; `name`
            // keeps what it held when it cannot.
            std::wstring networkName;
            if (dependent->GetNetworkName(networkName)) name = networkName;
            break;
        }
        return true;
    }
    return false;
}

bool MSCSCluster::GetVirtualNameFromIp(std::wstring& name, const char* ip) {
    wchar_t wide[kNarrowAddressChars] = {};
    // A dotted address has at most 15 characters; anything longer does not fit.
    if (!ip || !MultiByteToWideChar(CP_UTF8, 0, ip, -1, wide, kNarrowAddressChars)) return false;
    return GetVirtualNameFromIp(name, wide);
}

unsigned MSCSCluster::IsNode(const wchar_t* name) {
    if (!name || !IsClusteredOrv(wcstring())) return 0;
    std::list<wcstring>* nodes = nullptr;
    GetClusterNodes(&nodes);
    std::unique_ptr<std::list<wcstring>> owned(nodes);
    const wchar_t* wanted = orv::SkipLeadingBackslashes(name);
    for (const wcstring& node : *owned)
        if (orv::EqualsIgnoreCase(node.c_str(), wanted)) return 1;
    return 0;
}

unsigned MSCSCluster::IsActiveClusterNode(const wchar_t* node) {
    wchar_t computer[257] = {};
    if (!node) {
        unsigned long size = ARRAYSIZE(computer);
        OrvGetComputerName(computer, &size);
        node = computer;
    }
    if (!IsClusteredOrv(wcstring()) || !hCluster_) return 0;
    orv::UniqueClusterResource address(glue_->OpenClusterResource(hCluster_, kAddressResource));
    if (!address) return 0;
    wchar_t owner[257] = {};
    DWORD length = ARRAYSIZE(owner);
    if (glue_->GetClusterResourceState(address.Get(), owner, &length, nullptr, nullptr) ==
        ClusterResourceStateUnknown) {
        (void)address.Release();  // deliberately left open, as the product always has
        return 0;
    }
    return orv::EqualsIgnoreCase(orv::FieldText(owner).c_str(), orv::SkipLeadingBackslashes(node)) ? 1 : 0;
}

unsigned MSCSCluster::IsClusteredOrv(wcstring) {
    const CLUSTERRESOURCE* marker = orv::MarkerServiceRecord();
    if (!hCluster_ || !marker) return 0;
    // Walked as the cluster names them, without a list of every name first.
    orv::ClusterObjects resources(hCluster_, CLUSTER_ENUM_RESOURCE, false);
    std::wstring resourceName;
    while (resources && resources.Next(resourceName) == ERROR_SUCCESS) {
        std::unique_ptr<ClusterServiceResource> resource(OpenAs<ClusterServiceResource>(resourceName));
        std::wstring type;
        std::wstring service;
        if (resource && resource->GetTypeName(type) && orv::EqualsIgnoreCase(type.c_str(), L"Generic Service") &&
            resource->GetServiceName(service) && orv::EqualsIgnoreCase(service.c_str(), marker->serviceName))
            return 1;
    }
    return 0;
}

unsigned MSCSCluster::GetClusterNodes(std::list<wcstring>** nodes) {
    if (!nodes) return ERROR_INVALID_PARAMETER;
    *nodes = new std::list<wcstring>();
    if (!hCluster_) {
        // Never success without a cluster, whatever the last error held.
        const DWORD error = GetLastError();
        return error != ERROR_SUCCESS ? error : ERROR_INVALID_HANDLE;
    }
    const CLUSTERRESOURCE* marker = orv::MarkerServiceRecord();
    if (!marker) return ERROR_RESOURCE_NOT_FOUND;
    orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, marker->resourceName));
    if (!resource) return GetLastError();
    orv::ResourceRelations owners(resource.Get(), CLUSTER_RESOURCE_ENUM_NODES, false);
    if (!owners) return GetLastError();
    std::wstring owner;
    DWORD result;
    while ((result = owners.Next(owner)) == ERROR_SUCCESS) (*nodes)->push_back(owner);
    return result == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : result;
}

unsigned MSCSCluster::GetNetworkNames(std::list<wcstring>& names, const wchar_t*) {
    if (!hCluster_) return 0;
    orv::ClusterObjects networks(hCluster_, CLUSTER_ENUM_NETWORK, false);
    if (!networks) return 0;
    std::wstring networkName;
    while (networks.Next(networkName) == ERROR_SUCCESS) {
        orv::UniqueClusterNetwork network(glue_->OpenClusterNetwork(hCluster_, networkName.c_str()));
        if (!network) continue;
        orv::ControlOutput output;
        const DWORD result = orv::ControlWithGrowingBuffer(
            [&](void* buffer, DWORD size, DWORD* returned) {
                return glue_->ClusterNetworkControl(network.Get(), nullptr, CLUSCTL_NETWORK_GET_COMMON_PROPERTIES,
                                                    nullptr, 0, buffer, size, returned);
            },
            output);
        DWORD role = ClusterNetworkRoleNone;
        // Clients reach the product only on networks open to them.
        if (result == ERROR_SUCCESS && ClusterPropertyList(output.Data(), output.Size()).GetValue(L"Role", role) &&
            role >= ClusterNetworkRoleClientAccess)
            names.push_back(networkName);
    }
    return 1;
}

unsigned MSCSCluster::IsValidNetworkConfig(const wchar_t* address, const wchar_t* subnetMask,
                                           const wchar_t* network) {
    if (!hCluster_ || !address || !subnetMask || !network) return 0;
    orv::UniqueClusterGroup group(glue_->OpenClusterGroup(hCluster_, kScratchGroup));
    if (!group) group.Reset(glue_->CreateClusterGroup(hCluster_, kScratchGroup));
    if (!group) return 0;
    orv::UniqueClusterResource resource(glue_->OpenClusterResource(hCluster_, kScratchResource));
    if (!resource) resource.Reset(glue_->CreateClusterResource(group.Get(), kScratchResource, L"IP Address", 0));

    unsigned valid = 0;
    if (resource) {
        ClusterPropertyList properties;
        properties.Append(L"Address", address);
        properties.Append(L"SubnetMask", subnetMask);
        properties.Append(L"Network", network);
        properties.Append(L"EnableNetBios", DWORD{1});
        if (orv::PropertiesTaken(orv::SetPrivateProperties(resource.Get(), properties))) {
            const DWORD online = glue_->OnlineClusterResource(resource.Get());
            if (online == ERROR_IO_PENDING)
                valid = orv::SettledState(resource.Get(), 0, orv::IsSettling) == ClusterResourceOnline ? 1 : 0;
            else
                valid = online == ERROR_SUCCESS ? 1 : 0;
            glue_->OfflineClusterResource(resource.Get());
            orv::SettledState(resource.Get(), 0, orv::IsSettling);
        }
        glue_->DeleteClusterResource(resource.Get());
    }
    // The scratch group goes whether or not its resource could be made.
    glue_->DeleteClusterGroup(group.Get());
    return valid;
}

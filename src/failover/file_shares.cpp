// The product's file share on a failover cluster. Before Windows version 6
// it is a "File Share" resource of the product's group; from version 6 on
// it is a share of this computer, published under the group's "File Server"
// resources. Either way the share's name is kept in the product's cluster
// key, where the product's services look for it.

#include <windows.h>

#include <lm.h>

#include <cwchar>
#include <memory>

#include "failover/group_members.h"
#include "failover/resource_states.h"
#include "orvcluster/cluster_control.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/mscs_cluster.h"
#include "support/text.h"
#include "wizard/wizard_data.h"

namespace {

constexpr wchar_t kProductClusterKey[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\Cluster";
constexpr wchar_t kDesktopShare[] = L"KPTClus";
constexpr DWORD kPollMilliseconds = 2000;

// Writes the share's name as the value "FileShare" of the product's cluster
// key. Deliberately the byte count leaves out the terminator.
bool KeepShareName(const wchar_t* shareName) {
    HKEY opened = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kProductClusterKey, 0, nullptr, 0, KEY_WRITE, nullptr, &opened,
                        nullptr) != ERROR_SUCCESS)
        return false;
    orv::UniqueRegistryKey key(opened);
    const DWORD bytes = static_cast<DWORD>(wcslen(shareName) * sizeof(wchar_t));
    return RegSetValueExW(key.Get(), L"FileShare", 0, REG_SZ, reinterpret_cast<const BYTE*>(shareName), bytes) ==
           ERROR_SUCCESS;
}

}  // namespace

unsigned MSCSCluster::AddFileShareName(const wchar_t* group, const wchar_t* shareName, const wchar_t* path) {
    if (IsOsVersion6OrLater()) return 1;
    if (!hCluster_ || !group || !shareName || !path) return 0;
    std::list<wcstring>* productNodes = nullptr;
    GetClusterNodes(&productNodes);
    const std::unique_ptr<std::list<wcstring>> nodes(productNodes);
    {
        orv::UniqueClusterGroup groupHandle(glue_->OpenClusterGroup(hCluster_, group));
        if (!groupHandle) return 0;
        orv::UniqueClusterResource share(glue_->CreateClusterResource(groupHandle.Get(), shareName, L"File Share", 0));
        if (!share) share.Reset(glue_->OpenClusterResource(hCluster_, shareName));
        if (!share) return 0;
        // Only a folder on a drive can be shared.
        if (wcslen(path) < 2 || path[1] != L':') return 0;
        ClusterPropertyList properties;
        properties.Append(L"ShareName", shareName);
        properties.Append(L"Path", path);
        properties.Append(L"MaxUsers", DWORD{0xFFFFFFFF});
        if (!orv::PropertiesTaken(orv::SetPrivateProperties(share.Get(), properties))) return 0;

        const CLUSTERRESOURCE& moved = orv::MovedResourceRecord();
        orv::UniqueClusterResource opened(
            moved.resourceHandle || !moved.resourceName[0] ? nullptr
                                                          : glue_->OpenClusterResource(hCluster_, moved.resourceName));
        HRESOURCE disk = moved.resourceHandle ? static_cast<HRESOURCE>(moved.resourceHandle) : opened.Get();
        if (!disk) return 0;
        glue_->AddClusterResourceDependency(share.Get(), disk);
    }
    for (const wcstring& node : *nodes) AddNode(group, node.c_str());
    return KeepShareName(shareName) ? 1 : 0;
}

unsigned MSCSCluster::AddFileServerResource(const wchar_t*, const wchar_t* shareName, const wchar_t* path) {
    // Before version 6 the share is a resource of the group (AddFileShareName).
    if (!IsOsVersion6OrLater()) return 1;
    if (!shareName || !path) return ERROR_INVALID_PARAMETER;
    if (!KeepShareName(shareName)) return 0xFFFFFFFF;
    SHARE_INFO_2 share = {};
    share.shi2_netname = const_cast<wchar_t*>(shareName);
    share.shi2_type = STYPE_DISKTREE;
    share.shi2_permissions = ACCESS_ALL;
    share.shi2_max_uses = static_cast<DWORD>(-1);
    share.shi2_path = const_cast<wchar_t*>(path);
    const NET_API_STATUS status = NetShareAdd(nullptr, 2, reinterpret_cast<BYTE*>(&share), nullptr);
    return status == NERR_Success ? 1 : status;
}

unsigned MSCSCluster::DelFileServerResource(wchar_t* server) {
    if (!IsOsVersion6OrLater()) return 0;
    BYTE* buffer = nullptr;
    DWORD entries = 0;
    DWORD total = 0;
    if (NetShareEnum(server, 2, &buffer, MAX_PREFERRED_LENGTH, &entries, &total, nullptr) != NERR_Success) return 0;
    SHARE_INFO_2* walk = reinterpret_cast<SHARE_INFO_2*>(buffer);
    for (DWORD i = 0; i < entries; ++i, ++walk) {
        if (walk->shi2_netname && _wcsicmp(walk->shi2_netname, kDesktopShare) == 0) {
            NetShareDel(server, walk->shi2_netname, 0);
            break;
        }
    }
    // Deliberately the walking pointer's own address, as the product always
    // has: the enumeration's buffer stays allocated.
    NetApiBufferFree(&walk);
    return 0;
}

unsigned MSCSCluster::OnlineFileServerResource(const wchar_t* group) {
    std::list<std::wstring> members;
    if (!hCluster_ || !group || !orv::GroupMembers(hCluster_, group, members)) return 0;
    unsigned result = 1;
    for (const std::wstring& name : members) {
        std::unique_ptr<ClusterResource> resource(OpenAs<ClusterResource>(name));
        std::wstring type;
        if (!resource || !resource->GetTypeName(type) || !orv::EqualsIgnoreCase(type.c_str(), L"File Server")) continue;
        const DWORD answer = glue_->OnlineClusterResource(resource->GetHandle());
        const CLUSTER_RESOURCE_STATE state =
            answer == ERROR_IO_PENDING ? orv::SettledState(resource->GetHandle(), kPollMilliseconds, orv::IsSettling)
                                       : glue_->GetClusterResourceState(resource->GetHandle(), nullptr, nullptr,
                                                                        nullptr, nullptr);
        if (state != ClusterResourceOnline) result = 0;
    }
    return result;
}

unsigned MSCSCluster::FileServerExists(const wchar_t* shareName) {
    if (!shareName) return 0;
    BYTE* buffer = nullptr;
    DWORD entries = 0;
    DWORD total = 0;
    if (NetShareEnum(nullptr, 2, &buffer, MAX_PREFERRED_LENGTH, &entries, &total, nullptr) != NERR_Success) return 0;
    unsigned found = 0;
    const SHARE_INFO_2* shares = reinterpret_cast<const SHARE_INFO_2*>(buffer);
    for (DWORD i = 0; i < entries && !found; ++i)
        if (shares[i].shi2_netname && _wcsicmp(shares[i].shi2_netname, shareName) == 0) found = 1;
    NetApiBufferFree(buffer);
    return found;
}

// The installation wizard's steps: most hand the wizard's arguments to this
// machine's cluster backend; the rest answer from the product definition,
// the registry or the network.

#include <windows.h>
#include <winnetwk.h>

#include <cwchar>
#include <list>
#include <string>
#include <vector>

#include "orvcluster/cluster.h"
#include "orvcluster/names.h"
#include "orvcluster/unique_handle.h"
#include "wizard/definition_search.h"
#include "wizard/wizard_data.h"

namespace {

// No exception reaches the wizard: a step that runs out of memory answers
// `failed` instead.
template <typename Step, typename Result>
Result Guarded(Step step, Result failed) {
    try {
        return step();
    } catch (...) {
        return failed;
    }
}

// Hands one step to this machine's cluster backend with the wizard's
// arguments as they are, and answers what the backend answers. Without an
// open cluster nothing is asked and the answer is 0.
template <typename Result, typename... Parameters, typename... Arguments>
unsigned Forward(Result (Cluster::*operation)(Parameters...), Arguments... arguments) {
    return Guarded(
        [&]() -> unsigned {
            const boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
            if (!cluster->Open()) return 0;
            return static_cast<unsigned>(((*cluster).*operation)(arguments...));
        },
        0u);
}

// The name at `index` of a table that CWIZ_InitData filled, copied into the
// caller's buffer, which must hold it.
unsigned CopyTableName(const std::vector<std::wstring>& names, int index, wchar_t* out) {
    // A negative index is the caller's mistake; as a slot it falls past the end.
    const size_t slot = static_cast<size_t>(index);
    if (!out || slot >= orv::kWizardNameSlots || slot >= names.size() || names[slot].empty()) return 0;
    wcscpy(out, names[slot].c_str());
    return 1;
}

// The one build whose registry checkpoints BounceReg repairs.
struct VersionValue {
    const wchar_t* name;
    DWORD repaired;
};
constexpr VersionValue kRepairedBuild[] = {
    {L"Major Version", 13}, {L"Minor Version", 0}, {L"Build Major", 4201}, {L"Build Minor", 0}};

// A value of another type or size is as unreadable as a missing one.
bool ReadDword(HKEY key, const wchar_t* name, DWORD& value) {
    DWORD type = REG_NONE;
    DWORD size = sizeof(value);
    return RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) ==
               ERROR_SUCCESS &&
           type == REG_DWORD && size == sizeof(value);
}

bool IsRepairedBuildInstalled() {
    orv::UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, orv::ProductInstallKey(), 0, KEY_QUERY_VALUE,
                      key.Receive()) != ERROR_SUCCESS)
        return false;
    for (const VersionValue& part : kRepairedBuild) {
        DWORD value = 0;
        if (!ReadDword(key.Get(), part.name, value) || value != part.repaired) return false;
    }
    return true;
}

// The services that products before this one put into the group.
constexpr const wchar_t* kLegacyServices[] = {L"OrvaneAgentBrowser", L"OrvaneDeviceMediaService",
                                              L"OrvaneJobEngine", L"OrvaneNamingService",
                                              L"OrvaneRPCService"};
constexpr size_t kLegacyAnswerChars = 1024;

std::wstring WithoutOuterBackslashes(const std::wstring& path) {
    const size_t first = path.find_first_not_of(L'\\');
    if (first == std::wstring::npos) return std::wstring();
    return path.substr(first, path.find_last_not_of(L'\\') - first + 1);
}

// Names shorter than this are never reported free.
constexpr size_t kUniqueNameMinimum = 21;

}  // namespace

unsigned Cluster::CWIZ_ClusterConfOpen() { return Forward(&Cluster::ClusterConfOpen); }
unsigned Cluster::CWIZ_ClusterConfClose() { return Forward(&Cluster::ClusterConfClose); }

unsigned Cluster::CWIZ_CreateClusterGroup(const wchar_t* group, const wchar_t* virtualName,
                                          const wchar_t* movedResourceKey, const wchar_t* address,
                                          const wchar_t* subnetMask, const wchar_t* network,
                                          CClusterParams* params) {
    return Forward(&Cluster::CreateGroup, group, virtualName, movedResourceKey, address, subnetMask,
                   network, params);
}

unsigned Cluster::CWIZ_BringOnline(const wchar_t* group) { return Forward(&Cluster::MakeOnline, group); }
unsigned Cluster::CWIZ_TakeOffline(const wchar_t* group) { return Forward(&Cluster::MakeOffline, group); }

unsigned Cluster::CWIZ_CanUseIPAddress(const wchar_t* address, const wchar_t* subnetMask,
                                       const wchar_t* network) {
    return Forward(&Cluster::IsValidNetworkConfig, address, subnetMask, network);
}

unsigned Cluster::CWIZ_IsActiveNode(const wchar_t* node) {
    return Forward(&Cluster::IsActiveClusterNode, node);
}
unsigned Cluster::CWIZ_AddNodeDep(const wchar_t* group, const wchar_t* node) {
    return Forward(&Cluster::AddNode, group, node);
}
unsigned Cluster::CWIZ_RemoveNodeDep(const wchar_t* group, const wchar_t* node) {
    return Forward(&Cluster::DeleteNode, group, node);
}
unsigned Cluster::CWIZ_DeleteGroup(const wchar_t* group) { return Forward(&Cluster::DeleteGroup, group); }
unsigned Cluster::CWIZ_GetClusterNodes(std::list<wcstring>** nodes) {
    return Forward(&Cluster::GetClusterNodes, nodes);
}
unsigned Cluster::CWIZ_IsNode(const wchar_t* node) { return Forward(&Cluster::IsNode, node); }
unsigned Cluster::CWIZ_DeleteServiceFromGroup(const wchar_t* group, const wchar_t* service, int flags) {
    return Forward(&Cluster::DeleteServiceFromGroup, group, service, flags);
}
unsigned Cluster::CWIZ_ResourceExists(const wchar_t* name) { return Forward(&Cluster::ResourceExists, name); }
unsigned Cluster::CWIZ_SyncUpServices() { return Forward(&Cluster::SyncUpServices); }

unsigned Cluster::CWIZ_AddClusterShareResource(const wchar_t* group, const wchar_t* shareName,
                                               const wchar_t* path) {
    return Forward(&Cluster::AddFileShareName, group, shareName, path);
}
unsigned Cluster::CWIZ_AddClusterServerResource(const wchar_t* group, const wchar_t* shareName,
                                                const wchar_t* path) {
    return Forward(&Cluster::AddFileServerResource, group, shareName, path);
}
unsigned Cluster::CWIZ_DelFileServerResource(wchar_t* server) {
    return Forward(&Cluster::DelFileServerResource, server);
}
unsigned Cluster::CWIZ_OnlineFileServerResource(const wchar_t* name) {
    return Forward(&Cluster::OnlineFileServerResource, name);
}
unsigned Cluster::CWIZ_FileServerExists(const wchar_t* name) {
    return Forward(&Cluster::FileServerExists, name);
}
unsigned Cluster::CWIZ_OnlineResource(const wchar_t* name) { return Forward(&Cluster::OnlineResource, name); }
unsigned Cluster::CWIZ_OfflineResource(const wchar_t* name) {
    return Forward(&Cluster::OfflineResource, name);
}

unsigned Cluster::CWIZ_DoResourcesExist(const wchar_t* name) {
    return Guarded([name] { return Forward(&Cluster::IsClusteredOrv, wcstring(name ? name : L"")); }, 0u);
}

unsigned Cluster::CWIZ_IsClusterEnvironment() {
    return Guarded([] { return GetInstance(nullptr)->Open() ? 1u : 0u; }, 0u);
}

int Cluster::CWIZ_IsCluster() { return CWIZ_IsClusterEnvironment() != 0 ? 1 : 0; }

unsigned Cluster::CWIZ_GetNode(int index, wchar_t* out) {
    return CopyTableName(orv::WizardNodeNames(), index, out);
}

unsigned Cluster::CWIZ_GetNetwork(int index, wchar_t* out) {
    return CopyTableName(orv::WizardNetworkNames(), index, out);
}

unsigned Cluster::CWIZ_DelClusterNodePtr(std::list<wcstring>* nodes) {
    delete nodes;
    return 0;
}

unsigned Cluster::CWIZ_BounceReg() {
    if (!IsRepairedBuildInstalled()) return 0;
    return Forward(&Cluster::BounceReg);
}

unsigned Cluster::CWIZ_UpgradeLegacyCluster(const wchar_t* path) {
    // The existing configuration: network, group, virtual name, address and
    // subnet mask; empty where the cluster has none.
    wchar_t existing[5][kLegacyAnswerChars] = {};
    CWIZ_InitData(existing[0], existing[1], existing[2], existing[3], existing[4], nullptr);
    const wchar_t* group = existing[1];
    for (const wchar_t* service : kLegacyServices) CWIZ_DeleteServiceFromGroup(group, service, 1);
    CWIZ_DeleteGroup(group);
    // The new group's disk is the one holding `path`: its drive ("E:") names it.
    wchar_t drive[3] = {};
    if (path) wcsncpy(drive, path, 2);
    CWIZ_CreateClusterGroup(group, existing[2], drive, existing[3], existing[4], existing[0]);
    return 0;
}

unsigned Cluster::CWIZ_IsSharedDrive(const wchar_t* drive) {
    if (!drive) return 0;
    return Guarded(
        [drive]() -> unsigned {
            const boost::shared_ptr<Cluster> cluster = GetInstance(nullptr);
            if (!cluster->Open()) return 0;
            std::list<wcstring> drives;
            if (!cluster->GetDriveNames(drives)) return 0;
            for (const wcstring& name : drives) {
                if (orv::EqualsIgnoreCase(name.c_str(), drive)) return 1;
            }
            return 0;
        },
        0u);
}

int Cluster::CWIZ_DoesNodeContainProduct(const wchar_t* node) {
    return Guarded(
        [node] {
            const auto& keys = orv::ProcessDefinition().DetectionKeys();
            if (keys.empty()) return 1;
            orv::UniqueRegistryKey machine;
            if (RegConnectRegistryW(node, HKEY_LOCAL_MACHINE, machine.Receive()) != ERROR_SUCCESS)
                return 1;
            for (const std::wstring& path : keys) {
                orv::UniqueRegistryKey key;
                // Only a path that leads nowhere tells that the product is
                // missing; a key merely not found, or not opened, counts as there.
                if (RegOpenKeyExW(machine.Get(), WithoutOuterBackslashes(path).c_str(), 0,
                                  KEY_ALL_ACCESS, key.Receive()) == ERROR_PATH_NOT_FOUND)
                    return 0;
                // Kept open, as the wizard always has: it checks a node only a few times.
                key.Release();
            }
            return 1;
        },
        1);
}

unsigned Cluster::CWIZ_SetResourceForInstall(const wchar_t* name, bool install) {
    if (!name) return 0;
    // The service name must match exactly: the wizard passes the names it
    // read from the same table.
    for (CLUSTERRESOURCE* record = CWIZ_GetResourceList(); record->resourceName[0]; ++record) {
        if (wcscmp(record->serviceName, name) == 0) record->install = install ? 1 : 0;
    }
    return 0;
}

unsigned Cluster::CWIZ_IsUnique(const wchar_t* name) {
    if (!name || wcslen(name) < kUniqueNameMinimum) return 0;
    return Guarded(
        [name]() -> unsigned {
            std::wstring remoteName(name);
            NETRESOURCEW resource = {};
            resource.lpRemoteName = &remoteName[0];
            std::vector<BYTE> answer(2);
            DWORD result;
            for (;;) {
                DWORD size = static_cast<DWORD>(answer.size());
                wchar_t* system = nullptr;
                result = WNetGetResourceInformationW(&resource, answer.data(), &size, &system);
                // A size that would not grow the buffer ends the asking.
                if (result != ERROR_MORE_DATA || size <= answer.size()) break;
                answer.resize(size);
            }
            // Free only when nothing on the network answers to the name.
            return result == ERROR_BAD_NET_NAME ? 1u : 0u;
        },
        0u);
}

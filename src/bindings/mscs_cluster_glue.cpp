// clusapi.dll, bound by name. Each wrapper forwards unchanged when its entry
// point exists; the answers for a missing entry point differ from wrapper to
// wrapper, and callers rely on each of them as it is.

#include "orvcluster/mscs_cluster_glue.h"

#include <algorithm>
#include <iterator>

#include "bindings/library_binding.h"
#include "host/clock.h"
#include "orvcluster/unique_handle.h"

namespace {

// clusapi.dll's entry points in lookup order, each with what its wrapper
// answers when it is missing. GetClusterInformation and ClusterGroupEnum
// answer 0, ERROR_SUCCESS, after SetLastError(127): deliberately, and unlike
// the other enumerators.
#define CLUSAPI_ENTRY_POINTS(X)                                                 \
    X(AddClusterResourceDependency, OpenFailedWithLastError)                \
    X(AddClusterResourceNode, OpenFailedWithLastError)                      \
    X(BackupClusterDatabase, Code127)                                       \
    X(ChangeClusterResourceGroup, OpenFailedWithLastError)                  \
    X(CloseCluster, NullWithLastError)                                      \
    X(CloseClusterGroup, NullWithLastError)                                 \
    X(CloseClusterNetwork, NullWithLastError)                               \
    X(CloseClusterNode, NullWithLastError)                                  \
    X(CloseClusterResource, NullWithLastError)                              \
    X(ClusterCloseEnum, Code127)                                            \
    X(ClusterControl, Code127)                                              \
    X(ClusterEnum, Code127)                                                 \
    X(ClusterGroupCloseEnum, Code127)                                       \
    X(ClusterGroupEnum, NullWithLastError)                                  \
    X(ClusterGroupOpenEnum, NullWithLastError)                              \
    X(ClusterNetworkControl, OpenFailedWithLastError)                       \
    X(ClusterOpenEnum, NullWithLastError)                                   \
    X(ClusterResourceCloseEnum, Code127)                                    \
    X(ClusterResourceControl, Code127)                                      \
    X(ClusterResourceEnum, Code127)                                         \
    X(ClusterResourceOpenEnum, NullWithLastError)                           \
    X(CreateClusterGroup, NullWithLastError)                                \
    X(CreateClusterResource, NullWithLastError)                             \
    X(DeleteClusterGroup, OpenFailedWithLastError)                          \
    X(DeleteClusterResource, OpenFailedWithLastError)                       \
    X(GetClusterGroupState, UnknownStateWithLastError)                      \
    X(GetClusterInformation, NullWithLastError)                             \
    X(GetClusterQuorumResource, Code127)                                    \
    X(GetClusterResourceNetworkName, NullWithLastError)                     \
    X(GetClusterResourceState, UnknownState)                                \
    X(GetNodeClusterState, Code127)                                         \
    X(OfflineClusterResource, Code127)                                      \
    X(OnlineClusterGroup, OpenFailedWithLastError)                          \
    X(OnlineClusterResource, Code127)                                       \
    X(OpenCluster, NullWithLastError)                                       \
    X(OpenClusterGroup, NullWithLastError)                                  \
    X(OpenClusterNetwork, NullWithLastError)                                \
    X(OpenClusterNode, NullWithLastError)                                   \
    X(OpenClusterResource, NullWithLastError)                               \
    X(RemoveClusterResourceDependency, OpenFailedWithLastError)             \
    X(RemoveClusterResourceNode, OpenFailedWithLastError)                   \
    X(RestoreClusterDatabase, Code127)

ORV_BINDING_TABLE(CLUSAPI_ENTRY_POINTS)

constexpr DWORD kStopPollMilliseconds = 5000;
constexpr DWORD kStopLimitMilliseconds = 600000;

// Stops the cluster service and waits up to ten minutes for it to stop; the
// reason for a failure is left in the thread's last error.
bool StopClusterService() {
    orv::UniqueServiceHandle manager(OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_CONNECT));
    if (!manager) return false;
    orv::UniqueServiceHandle service(
        OpenServiceW(manager.Get(), L"ClusSvc", SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (!service) return false;

    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service.Get(), &status)) return false;
    if (status.dwCurrentState == SERVICE_STOPPED) return true;
    if (!ControlService(service.Get(), SERVICE_CONTROL_STOP, &status)) return false;

    orv::ClockSleep(kStopPollMilliseconds);
    if (!QueryServiceStatus(service.Get(), &status)) return false;
    for (DWORD elapsed = 0; status.dwCurrentState != SERVICE_STOPPED;) {
        elapsed += kStopPollMilliseconds;
        if (elapsed >= kStopLimitMilliseconds) {
            SetLastError(ERROR_SERVICE_REQUEST_TIMEOUT);
            return false;
        }
        orv::ClockSleep(kStopPollMilliseconds);
        if (!QueryServiceStatus(service.Get(), &status)) return false;
    }
    return true;
}

// The restore replaces the cluster hive, so it must not be loaded; a hive
// that was not loaded at all is fine.
bool UnloadClusterHive() {
    LONG result = RegUnLoadKeyW(HKEY_LOCAL_MACHINE, L"Cluster");
    if (result == ERROR_SUCCESS) return true;
    SetLastError(result);
    return result == ERROR_FILE_NOT_FOUND;
}

}  // namespace

orvclass::shared_ptr<MSCSClusterGlue> MSCSClusterGlue::GetInstance() {
    return orvclass::singleton<MSCSClusterGlue>::instance();
}

MSCSClusterGlue::MSCSClusterGlue() {
    static_assert(kEntryPointCount == kEntryPoints, "one address per entry point");
    module_.Reset(orv::BindLibrary(L"clusapi.dll", kNames, entryPoints_, kEntryPoints));
}

MSCSClusterGlue::~MSCSClusterGlue() = default;

bool MSCSClusterGlue::OK() const {
    return std::all_of(std::begin(entryPoints_), std::end(entryPoints_), [](FARPROC entry) { return entry; });
}

bool MSCSClusterGlue::BackupAndRestoreSupported() const {
    return entryPoints_[kBackupClusterDatabase] && entryPoints_[kRestoreClusterDatabase];
}

HCLUSTER MSCSClusterGlue::OpenCluster(const wchar_t* name) {
    return Forward<kOpenCluster>(entryPoints_, name);
}

BOOL MSCSClusterGlue::CloseCluster(HCLUSTER cluster) {
    return Forward<kCloseCluster>(entryPoints_, cluster);
}

DWORD MSCSClusterGlue::GetClusterInformation(HCLUSTER cluster, wchar_t* name, DWORD* length,
                                             CLUSTERVERSIONINFO* version) {
    return Forward<kGetClusterInformation>(entryPoints_, cluster, name, length, version);
}

HCLUSENUM MSCSClusterGlue::ClusterOpenEnum(HCLUSTER cluster, DWORD type) {
    return Forward<kClusterOpenEnum>(entryPoints_, cluster, type);
}

DWORD MSCSClusterGlue::ClusterEnum(HCLUSENUM enumeration, DWORD index, DWORD* type, wchar_t* name,
                                   DWORD* length) {
    return Forward<kClusterEnum>(entryPoints_, enumeration, index, type, name, length);
}

DWORD MSCSClusterGlue::ClusterCloseEnum(HCLUSENUM enumeration) {
    return Forward<kClusterCloseEnum>(entryPoints_, enumeration);
}

DWORD MSCSClusterGlue::ClusterControl(HCLUSTER cluster, HNODE node, DWORD code, void* in,
                                      DWORD inSize, void* out, DWORD outSize, DWORD* returned) {
    return Forward<kClusterControl>(entryPoints_, cluster, node, code, in, inSize, out, outSize, returned);
}

DWORD MSCSClusterGlue::ClusterGroupCloseEnum(HGROUPENUM enumeration) {
    return Forward<kClusterGroupCloseEnum>(entryPoints_, enumeration);
}

HRESENUM MSCSClusterGlue::ClusterResourceOpenEnum(HRESOURCE resource, DWORD type) {
    return Forward<kClusterResourceOpenEnum>(entryPoints_, resource, type);
}

DWORD MSCSClusterGlue::ClusterResourceEnum(HRESENUM enumeration, DWORD index, DWORD* type,
                                           wchar_t* name, DWORD* length) {
    return Forward<kClusterResourceEnum>(entryPoints_, enumeration, index, type, name, length);
}

DWORD MSCSClusterGlue::ClusterResourceCloseEnum(HRESENUM enumeration) {
    return Forward<kClusterResourceCloseEnum>(entryPoints_, enumeration);
}

HRESOURCE MSCSClusterGlue::OpenClusterResource(HCLUSTER cluster, const wchar_t* name) {
    return Forward<kOpenClusterResource>(entryPoints_, cluster, name);
}

BOOL MSCSClusterGlue::CloseClusterResource(HRESOURCE resource) {
    return Forward<kCloseClusterResource>(entryPoints_, resource);
}

DWORD MSCSClusterGlue::OnlineClusterResource(HRESOURCE resource) {
    return Forward<kOnlineClusterResource>(entryPoints_, resource);
}

DWORD MSCSClusterGlue::OfflineClusterResource(HRESOURCE resource) {
    return Forward<kOfflineClusterResource>(entryPoints_, resource);
}

DWORD MSCSClusterGlue::ClusterResourceControl(HRESOURCE resource, HNODE node, DWORD code, void* in,
                                              DWORD inSize, void* out, DWORD outSize,
                                              DWORD* returned) {
    return Forward<kClusterResourceControl>(entryPoints_, resource, node, code, in, inSize, out, outSize, returned);
}

DWORD MSCSClusterGlue::GetClusterQuorumResource(HCLUSTER cluster, wchar_t* resourceName,
                                                DWORD* resourceLength, wchar_t* device,
                                                DWORD* deviceLength, DWORD* maxLogSize) {
    return Forward<kGetClusterQuorumResource>(entryPoints_, cluster, resourceName, resourceLength, device, deviceLength, maxLogSize);
}

CLUSTER_RESOURCE_STATE MSCSClusterGlue::GetClusterResourceState(HRESOURCE resource, wchar_t* node,
                                                                DWORD* nodeLength, wchar_t* group,
                                                                DWORD* groupLength) {
    return Forward<kGetClusterResourceState>(entryPoints_, resource, node, nodeLength, group, groupLength);
}

BOOL MSCSClusterGlue::GetClusterResourceNetworkName(HRESOURCE resource, wchar_t* buffer,
                                                    DWORD* length) {
    return Forward<kGetClusterResourceNetworkName>(entryPoints_, resource, buffer, length);
}

DWORD MSCSClusterGlue::GetNodeClusterState(const wchar_t* node, DWORD* state) {
    return Forward<kGetNodeClusterState>(entryPoints_, node, state);
}

DWORD MSCSClusterGlue::BackupClusterDatabase(HCLUSTER cluster, const wchar_t* path) {
    return Forward<kBackupClusterDatabase>(entryPoints_, cluster, path);
}

DWORD MSCSClusterGlue::RestoreClusterDatabase(const wchar_t* path, BOOL force,
                                              const wchar_t* quorumDrive) {
    if (!entryPoints_[kRestoreClusterDatabase]) return orv::kMissingEntryPoint;
    if (!StopClusterService() || !UnloadClusterHive()) return GetLastError();
    return Forward<kRestoreClusterDatabase>(entryPoints_, path, force, quorumDrive);
}

HGROUP MSCSClusterGlue::CreateClusterGroup(HCLUSTER cluster, const wchar_t* name) {
    return Forward<kCreateClusterGroup>(entryPoints_, cluster, name);
}

HGROUP MSCSClusterGlue::OpenClusterGroup(HCLUSTER cluster, const wchar_t* name) {
    return Forward<kOpenClusterGroup>(entryPoints_, cluster, name);
}

BOOL MSCSClusterGlue::CloseClusterGroup(HGROUP group) {
    return Forward<kCloseClusterGroup>(entryPoints_, group);
}

HRESOURCE MSCSClusterGlue::CreateClusterResource(HGROUP group, const wchar_t* name,
                                                 const wchar_t* type, DWORD flags) {
    return Forward<kCreateClusterResource>(entryPoints_, group, name, type, flags);
}

DWORD MSCSClusterGlue::ChangeClusterResourceGroup(HRESOURCE resource, HGROUP group) {
    return Forward<kChangeClusterResourceGroup>(entryPoints_, resource, group);
}

DWORD MSCSClusterGlue::AddClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn) {
    return Forward<kAddClusterResourceDependency>(entryPoints_, resource, dependsOn);
}

DWORD MSCSClusterGlue::RemoveClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn) {
    return Forward<kRemoveClusterResourceDependency>(entryPoints_, resource, dependsOn);
}

HNODE MSCSClusterGlue::OpenClusterNode(HCLUSTER cluster, const wchar_t* name) {
    return Forward<kOpenClusterNode>(entryPoints_, cluster, name);
}

BOOL MSCSClusterGlue::CloseClusterNode(HNODE node) {
    return Forward<kCloseClusterNode>(entryPoints_, node);
}

DWORD MSCSClusterGlue::AddClusterResourceNode(HRESOURCE resource, HNODE node) {
    return Forward<kAddClusterResourceNode>(entryPoints_, resource, node);
}

DWORD MSCSClusterGlue::RemoveClusterResourceNode(HRESOURCE resource, HNODE node) {
    return Forward<kRemoveClusterResourceNode>(entryPoints_, resource, node);
}

HGROUPENUM MSCSClusterGlue::ClusterGroupOpenEnum(HGROUP group, DWORD type) {
    return Forward<kClusterGroupOpenEnum>(entryPoints_, group, type);
}

DWORD MSCSClusterGlue::ClusterGroupEnum(HGROUPENUM enumeration, DWORD index, DWORD* type,
                                        wchar_t* name, DWORD* length) {
    return Forward<kClusterGroupEnum>(entryPoints_, enumeration, index, type, name, length);
}

DWORD MSCSClusterGlue::OnlineClusterGroup(HGROUP group, HNODE node) {
    return Forward<kOnlineClusterGroup>(entryPoints_, group, node);
}

CLUSTER_GROUP_STATE MSCSClusterGlue::GetClusterGroupState(HGROUP group, wchar_t* node,
                                                          DWORD* length) {
    return Forward<kGetClusterGroupState>(entryPoints_, group, node, length);
}

DWORD MSCSClusterGlue::DeleteClusterResource(HRESOURCE resource) {
    return Forward<kDeleteClusterResource>(entryPoints_, resource);
}

DWORD MSCSClusterGlue::DeleteClusterGroup(HGROUP group) {
    return Forward<kDeleteClusterGroup>(entryPoints_, group);
}

HNETWORK MSCSClusterGlue::OpenClusterNetwork(HCLUSTER cluster, const wchar_t* name) {
    return Forward<kOpenClusterNetwork>(entryPoints_, cluster, name);
}

DWORD MSCSClusterGlue::ClusterNetworkControl(HNETWORK network, HNODE node, DWORD code, void* in,
                                             DWORD inSize, void* out, DWORD outSize,
                                             DWORD* returned) {
    return Forward<kClusterNetworkControl>(entryPoints_, network, node, code, in, inSize, out, outSize, returned);
}

BOOL MSCSClusterGlue::CloseClusterNetwork(HNETWORK network) {
    return Forward<kCloseClusterNetwork>(entryPoints_, network);
}

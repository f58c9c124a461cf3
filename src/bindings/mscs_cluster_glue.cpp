// clusapi.dll, bound by name. Each wrapper forwards unchanged when its entry
// point exists; the answers for a missing entry point differ from wrapper to
// wrapper, and callers rely on each of them as it is.

#include "orvcluster/mscs_cluster_glue.h"

#include "bindings/library_binding.h"
#include "host/clock.h"
#include "support/unique_handle.h"

using orv::kMissingEntryPoint;
using orv::MissingOpenFailed;
using orv::MissingWithLastError;

namespace {

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
    module_ = orv::BindLibrary(
        L"clusapi.dll",
        {
            {"AddClusterResourceDependency", &addClusterResourceDependency_},
            {"AddClusterResourceNode", &addClusterResourceNode_},
            {"BackupClusterDatabase", &backupClusterDatabase_},
            {"ChangeClusterResourceGroup", &changeClusterResourceGroup_},
            {"CloseCluster", &closeCluster_},
            {"CloseClusterGroup", &closeClusterGroup_},
            {"CloseClusterNetwork", &closeClusterNetwork_},
            {"CloseClusterNode", &closeClusterNode_},
            {"CloseClusterResource", &closeClusterResource_},
            {"ClusterCloseEnum", &clusterCloseEnum_},
            {"ClusterControl", &clusterControl_},
            {"ClusterEnum", &clusterEnum_},
            {"ClusterGroupCloseEnum", &clusterGroupCloseEnum_},
            {"ClusterGroupEnum", &clusterGroupEnum_},
            {"ClusterGroupOpenEnum", &clusterGroupOpenEnum_},
            {"ClusterNetworkControl", &clusterNetworkControl_},
            {"ClusterOpenEnum", &clusterOpenEnum_},
            {"ClusterResourceCloseEnum", &clusterResourceCloseEnum_},
            {"ClusterResourceControl", &clusterResourceControl_},
            {"ClusterResourceEnum", &clusterResourceEnum_},
            {"ClusterResourceOpenEnum", &clusterResourceOpenEnum_},
            {"CreateClusterGroup", &createClusterGroup_},
            {"CreateClusterResource", &createClusterResource_},
            {"DeleteClusterGroup", &deleteClusterGroup_},
            {"DeleteClusterResource", &deleteClusterResource_},
            {"GetClusterGroupState", &getClusterGroupState_},
            {"GetClusterInformation", &getClusterInformation_},
            {"GetClusterQuorumResource", &getClusterQuorumResource_},
            {"GetClusterResourceNetworkName", &getClusterResourceNetworkName_},
            {"GetClusterResourceState", &getClusterResourceState_},
            {"GetNodeClusterState", &getNodeClusterState_},
            {"OfflineClusterResource", &offlineClusterResource_},
            {"OnlineClusterGroup", &onlineClusterGroup_},
            {"OnlineClusterResource", &onlineClusterResource_},
            {"OpenCluster", &openCluster_},
            {"OpenClusterGroup", &openClusterGroup_},
            {"OpenClusterNetwork", &openClusterNetwork_},
            {"OpenClusterNode", &openClusterNode_},
            {"OpenClusterResource", &openClusterResource_},
            {"RemoveClusterResourceDependency", &removeClusterResourceDependency_},
            {"RemoveClusterResourceNode", &removeClusterResourceNode_},
            {"RestoreClusterDatabase", &restoreClusterDatabase_},
        });
}

MSCSClusterGlue::~MSCSClusterGlue() {
    if (module_) FreeLibrary(module_);
}

bool MSCSClusterGlue::OK() const {
    return addClusterResourceDependency_ && addClusterResourceNode_ && backupClusterDatabase_ &&
           changeClusterResourceGroup_ && closeCluster_ && closeClusterGroup_ &&
           closeClusterNetwork_ && closeClusterNode_ && closeClusterResource_ && clusterCloseEnum_ &&
           clusterControl_ && clusterEnum_ && clusterGroupCloseEnum_ && clusterGroupEnum_ &&
           clusterGroupOpenEnum_ && clusterNetworkControl_ && clusterOpenEnum_ &&
           clusterResourceCloseEnum_ && clusterResourceControl_ && clusterResourceEnum_ &&
           clusterResourceOpenEnum_ && createClusterGroup_ && createClusterResource_ &&
           deleteClusterGroup_ && deleteClusterResource_ && getClusterGroupState_ &&
           getClusterInformation_ && getClusterQuorumResource_ && getClusterResourceNetworkName_ &&
           getClusterResourceState_ && getNodeClusterState_ && offlineClusterResource_ &&
           onlineClusterGroup_ && onlineClusterResource_ && openCluster_ && openClusterGroup_ &&
           openClusterNetwork_ && openClusterNode_ && openClusterResource_ &&
           removeClusterResourceDependency_ && removeClusterResourceNode_ && restoreClusterDatabase_;
}

bool MSCSClusterGlue::BackupAndRestoreSupported() const {
    return backupClusterDatabase_ && restoreClusterDatabase_;
}

HCLUSTER MSCSClusterGlue::OpenCluster(const wchar_t* name) {
    return openCluster_ ? openCluster_(name) : MissingWithLastError<HCLUSTER>();
}

BOOL MSCSClusterGlue::CloseCluster(HCLUSTER cluster) {
    return closeCluster_ ? closeCluster_(cluster) : MissingWithLastError<BOOL>();
}

DWORD MSCSClusterGlue::GetClusterInformation(HCLUSTER cluster, wchar_t* name, DWORD* length,
                                             CLUSTERVERSIONINFO* version) {
    // Deliberately ERROR_SUCCESS when missing; callers check the last error.
    return getClusterInformation_ ? getClusterInformation_(cluster, name, length, version)
                                  : MissingWithLastError<DWORD>();
}

HCLUSENUM MSCSClusterGlue::ClusterOpenEnum(HCLUSTER cluster, DWORD type) {
    return clusterOpenEnum_ ? clusterOpenEnum_(cluster, type) : MissingWithLastError<HCLUSENUM>();
}

DWORD MSCSClusterGlue::ClusterEnum(HCLUSENUM enumeration, DWORD index, DWORD* type, wchar_t* name,
                                   DWORD* length) {
    return clusterEnum_ ? clusterEnum_(enumeration, index, type, name, length) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::ClusterCloseEnum(HCLUSENUM enumeration) {
    return clusterCloseEnum_ ? clusterCloseEnum_(enumeration) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::ClusterControl(HCLUSTER cluster, HNODE node, DWORD code, void* in,
                                      DWORD inSize, void* out, DWORD outSize, DWORD* returned) {
    return clusterControl_ ? clusterControl_(cluster, node, code, in, inSize, out, outSize, returned)
                           : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::ClusterGroupCloseEnum(HGROUPENUM enumeration) {
    return clusterGroupCloseEnum_ ? clusterGroupCloseEnum_(enumeration) : kMissingEntryPoint;
}

HRESENUM MSCSClusterGlue::ClusterResourceOpenEnum(HRESOURCE resource, DWORD type) {
    return clusterResourceOpenEnum_ ? clusterResourceOpenEnum_(resource, type)
                                    : MissingWithLastError<HRESENUM>();
}

DWORD MSCSClusterGlue::ClusterResourceEnum(HRESENUM enumeration, DWORD index, DWORD* type,
                                           wchar_t* name, DWORD* length) {
    return clusterResourceEnum_ ? clusterResourceEnum_(enumeration, index, type, name, length)
                                : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::ClusterResourceCloseEnum(HRESENUM enumeration) {
    return clusterResourceCloseEnum_ ? clusterResourceCloseEnum_(enumeration) : kMissingEntryPoint;
}

HRESOURCE MSCSClusterGlue::OpenClusterResource(HCLUSTER cluster, const wchar_t* name) {
    return openClusterResource_ ? openClusterResource_(cluster, name)
                                : MissingWithLastError<HRESOURCE>();
}

BOOL MSCSClusterGlue::CloseClusterResource(HRESOURCE resource) {
    return closeClusterResource_ ? closeClusterResource_(resource) : MissingWithLastError<BOOL>();
}

DWORD MSCSClusterGlue::OnlineClusterResource(HRESOURCE resource) {
    return onlineClusterResource_ ? onlineClusterResource_(resource) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::OfflineClusterResource(HRESOURCE resource) {
    return offlineClusterResource_ ? offlineClusterResource_(resource) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::ClusterResourceControl(HRESOURCE resource, HNODE node, DWORD code, void* in,
                                              DWORD inSize, void* out, DWORD outSize,
                                              DWORD* returned) {
    return clusterResourceControl_
               ? clusterResourceControl_(resource, node, code, in, inSize, out, outSize, returned)
               : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::GetClusterQuorumResource(HCLUSTER cluster, wchar_t* resourceName,
                                                DWORD* resourceLength, wchar_t* device,
                                                DWORD* deviceLength, DWORD* maxLogSize) {
    return getClusterQuorumResource_
               ? getClusterQuorumResource_(cluster, resourceName, resourceLength, device,
                                           deviceLength, maxLogSize)
               : kMissingEntryPoint;
}

CLUSTER_RESOURCE_STATE MSCSClusterGlue::GetClusterResourceState(HRESOURCE resource, wchar_t* node,
                                                                DWORD* nodeLength, wchar_t* group,
                                                                DWORD* groupLength) {
    // Unknown state, last error untouched.
    return getClusterResourceState_
               ? getClusterResourceState_(resource, node, nodeLength, group, groupLength)
               : ClusterResourceStateUnknown;
}

BOOL MSCSClusterGlue::GetClusterResourceNetworkName(HRESOURCE resource, wchar_t* buffer,
                                                    DWORD* length) {
    return getClusterResourceNetworkName_ ? getClusterResourceNetworkName_(resource, buffer, length)
                                          : MissingWithLastError<BOOL>();
}

DWORD MSCSClusterGlue::GetNodeClusterState(const wchar_t* node, DWORD* state) {
    return getNodeClusterState_ ? getNodeClusterState_(node, state) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::BackupClusterDatabase(HCLUSTER cluster, const wchar_t* path) {
    return backupClusterDatabase_ ? backupClusterDatabase_(cluster, path) : kMissingEntryPoint;
}

DWORD MSCSClusterGlue::RestoreClusterDatabase(const wchar_t* path, BOOL force,
                                              const wchar_t* quorumDrive) {
    if (!restoreClusterDatabase_) return kMissingEntryPoint;
    if (!StopClusterService() || !UnloadClusterHive()) return GetLastError();
    return restoreClusterDatabase_(path, force, quorumDrive);
}

HGROUP MSCSClusterGlue::CreateClusterGroup(HCLUSTER cluster, const wchar_t* name) {
    return createClusterGroup_ ? createClusterGroup_(cluster, name) : MissingWithLastError<HGROUP>();
}

HGROUP MSCSClusterGlue::OpenClusterGroup(HCLUSTER cluster, const wchar_t* name) {
    return openClusterGroup_ ? openClusterGroup_(cluster, name) : MissingWithLastError<HGROUP>();
}

BOOL MSCSClusterGlue::CloseClusterGroup(HGROUP group) {
    return closeClusterGroup_ ? closeClusterGroup_(group) : MissingWithLastError<BOOL>();
}

HRESOURCE MSCSClusterGlue::CreateClusterResource(HGROUP group, const wchar_t* name,
                                                 const wchar_t* type, DWORD flags) {
    return createClusterResource_ ? createClusterResource_(group, name, type, flags)
                                  : MissingWithLastError<HRESOURCE>();
}

DWORD MSCSClusterGlue::ChangeClusterResourceGroup(HRESOURCE resource, HGROUP group) {
    return changeClusterResourceGroup_ ? changeClusterResourceGroup_(resource, group)
                                       : MissingOpenFailed();
}

DWORD MSCSClusterGlue::AddClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn) {
    return addClusterResourceDependency_ ? addClusterResourceDependency_(resource, dependsOn)
                                         : MissingOpenFailed();
}

DWORD MSCSClusterGlue::RemoveClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn) {
    return removeClusterResourceDependency_ ? removeClusterResourceDependency_(resource, dependsOn)
                                            : MissingOpenFailed();
}

HNODE MSCSClusterGlue::OpenClusterNode(HCLUSTER cluster, const wchar_t* name) {
    return openClusterNode_ ? openClusterNode_(cluster, name) : MissingWithLastError<HNODE>();
}

BOOL MSCSClusterGlue::CloseClusterNode(HNODE node) {
    return closeClusterNode_ ? closeClusterNode_(node) : MissingWithLastError<BOOL>();
}

DWORD MSCSClusterGlue::AddClusterResourceNode(HRESOURCE resource, HNODE node) {
    return addClusterResourceNode_ ? addClusterResourceNode_(resource, node) : MissingOpenFailed();
}

DWORD MSCSClusterGlue::RemoveClusterResourceNode(HRESOURCE resource, HNODE node) {
    return removeClusterResourceNode_ ? removeClusterResourceNode_(resource, node)
                                      : MissingOpenFailed();
}

HGROUPENUM MSCSClusterGlue::ClusterGroupOpenEnum(HGROUP group, DWORD type) {
    return clusterGroupOpenEnum_ ? clusterGroupOpenEnum_(group, type)
                                 : MissingWithLastError<HGROUPENUM>();
}

DWORD MSCSClusterGlue::ClusterGroupEnum(HGROUPENUM enumeration, DWORD index, DWORD* type,
                                        wchar_t* name, DWORD* length) {
    // Deliberately ERROR_SUCCESS when missing, unlike the other enumerators.
    return clusterGroupEnum_ ? clusterGroupEnum_(enumeration, index, type, name, length)
                             : MissingWithLastError<DWORD>();
}

DWORD MSCSClusterGlue::OnlineClusterGroup(HGROUP group, HNODE node) {
    return onlineClusterGroup_ ? onlineClusterGroup_(group, node) : MissingOpenFailed();
}

CLUSTER_GROUP_STATE MSCSClusterGlue::GetClusterGroupState(HGROUP group, wchar_t* node,
                                                          DWORD* length) {
    if (getClusterGroupState_) return getClusterGroupState_(group, node, length);
    SetLastError(kMissingEntryPoint);
    return ClusterGroupStateUnknown;
}

DWORD MSCSClusterGlue::DeleteClusterResource(HRESOURCE resource) {
    return deleteClusterResource_ ? deleteClusterResource_(resource) : MissingOpenFailed();
}

DWORD MSCSClusterGlue::DeleteClusterGroup(HGROUP group) {
    return deleteClusterGroup_ ? deleteClusterGroup_(group) : MissingOpenFailed();
}

HNETWORK MSCSClusterGlue::OpenClusterNetwork(HCLUSTER cluster, const wchar_t* name) {
    return openClusterNetwork_ ? openClusterNetwork_(cluster, name)
                               : MissingWithLastError<HNETWORK>();
}

DWORD MSCSClusterGlue::ClusterNetworkControl(HNETWORK network, HNODE node, DWORD code, void* in,
                                             DWORD inSize, void* out, DWORD outSize,
                                             DWORD* returned) {
    return clusterNetworkControl_
               ? clusterNetworkControl_(network, node, code, in, inSize, out, outSize, returned)
               : MissingOpenFailed();
}

BOOL MSCSClusterGlue::CloseClusterNetwork(HNETWORK network) {
    return closeClusterNetwork_ ? closeClusterNetwork_(network) : MissingWithLastError<BOOL>();
}

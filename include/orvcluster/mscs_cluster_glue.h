#pragma once

#include "orvcluster/cluster_api.h"
#include "orvcluster/export.h"
#include "orvcluster/singleton.h"
#include "orvcluster/unique_handle.h"

// The one door to the failover cluster API. clusapi.dll is loaded by name
// once per process; a wrapper whose entry point is missing answers a fixed
// result instead, so the library runs where no cluster software is installed.
// The binding owns none of the handles it hands out: close each through the
// matching Close... wrapper.
class ORVCLUSTER_API MSCSClusterGlue {
public:
    static orvclass::shared_ptr<MSCSClusterGlue> GetInstance();

    // Every entry point was found.
    bool OK() const;
    // "BackupClusterDatabase" and "RestoreClusterDatabase" were both found.
    bool BackupAndRestoreSupported() const;

    HCLUSTER OpenCluster(const wchar_t* name);
    BOOL CloseCluster(HCLUSTER cluster);
    DWORD GetClusterInformation(HCLUSTER cluster, wchar_t* name, DWORD* length,
                                CLUSTERVERSIONINFO* version);
    HCLUSENUM ClusterOpenEnum(HCLUSTER cluster, DWORD type);
    DWORD ClusterEnum(HCLUSENUM enumeration, DWORD index, DWORD* type, wchar_t* name, DWORD* length);
    DWORD ClusterCloseEnum(HCLUSENUM enumeration);
    DWORD ClusterControl(HCLUSTER cluster, HNODE node, DWORD code, void* in, DWORD inSize, void* out,
                         DWORD outSize, DWORD* returned);
    DWORD ClusterGroupCloseEnum(HGROUPENUM enumeration);
    HRESENUM ClusterResourceOpenEnum(HRESOURCE resource, DWORD type);
    DWORD ClusterResourceEnum(HRESENUM enumeration, DWORD index, DWORD* type, wchar_t* name,
                              DWORD* length);
    DWORD ClusterResourceCloseEnum(HRESENUM enumeration);
    HRESOURCE OpenClusterResource(HCLUSTER cluster, const wchar_t* name);
    BOOL CloseClusterResource(HRESOURCE resource);
    DWORD OnlineClusterResource(HRESOURCE resource);
    DWORD OfflineClusterResource(HRESOURCE resource);
    DWORD ClusterResourceControl(HRESOURCE resource, HNODE node, DWORD code, void* in, DWORD inSize,
                                 void* out, DWORD outSize, DWORD* returned);
    DWORD GetClusterQuorumResource(HCLUSTER cluster, wchar_t* resourceName, DWORD* resourceLength,
                                   wchar_t* device, DWORD* deviceLength, DWORD* maxLogSize);
    CLUSTER_RESOURCE_STATE GetClusterResourceState(HRESOURCE resource, wchar_t* node,
                                                   DWORD* nodeLength, wchar_t* group,
                                                   DWORD* groupLength);
    BOOL GetClusterResourceNetworkName(HRESOURCE resource, wchar_t* buffer, DWORD* length);
    DWORD GetNodeClusterState(const wchar_t* node, DWORD* state);
    DWORD BackupClusterDatabase(HCLUSTER cluster, const wchar_t* path);
    // Stops the cluster service and unloads the cluster hive before the
    // platform's restore, as the restore requires.
    DWORD RestoreClusterDatabase(const wchar_t* path, BOOL force, const wchar_t* quorumDrive);
    HGROUP CreateClusterGroup(HCLUSTER cluster, const wchar_t* name);
    HGROUP OpenClusterGroup(HCLUSTER cluster, const wchar_t* name);
    BOOL CloseClusterGroup(HGROUP group);
    HRESOURCE CreateClusterResource(HGROUP group, const wchar_t* name, const wchar_t* type,
                                    DWORD flags);
    DWORD ChangeClusterResourceGroup(HRESOURCE resource, HGROUP group);
    DWORD AddClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn);
    DWORD RemoveClusterResourceDependency(HRESOURCE resource, HRESOURCE dependsOn);
    HNODE OpenClusterNode(HCLUSTER cluster, const wchar_t* name);
    BOOL CloseClusterNode(HNODE node);
    DWORD AddClusterResourceNode(HRESOURCE resource, HNODE node);
    DWORD RemoveClusterResourceNode(HRESOURCE resource, HNODE node);
    HGROUPENUM ClusterGroupOpenEnum(HGROUP group, DWORD type);
    DWORD ClusterGroupEnum(HGROUPENUM enumeration, DWORD index, DWORD* type, wchar_t* name,
                           DWORD* length);
    DWORD OnlineClusterGroup(HGROUP group, HNODE node);
    CLUSTER_GROUP_STATE GetClusterGroupState(HGROUP group, wchar_t* node, DWORD* length);
    DWORD DeleteClusterResource(HRESOURCE resource);
    DWORD DeleteClusterGroup(HGROUP group);
    HNETWORK OpenClusterNetwork(HCLUSTER cluster, const wchar_t* name);
    DWORD ClusterNetworkControl(HNETWORK network, HNODE node, DWORD code, void* in, DWORD inSize,
                                void* out, DWORD outSize, DWORD* returned);
    BOOL CloseClusterNetwork(HNETWORK network);

    MSCSClusterGlue(const MSCSClusterGlue&) = delete;
    MSCSClusterGlue& operator=(const MSCSClusterGlue&) = delete;

private:
    friend class orvclass::singleton<MSCSClusterGlue>;
    MSCSClusterGlue();
    ~MSCSClusterGlue();

    static constexpr size_t kEntryPoints = 42;

    orv::UniqueModule module_;
    // One address per entry point, in lookup order; null when not found.
    FARPROC entryPoints_[kEntryPoints] = {};
};

#pragma once

#include <list>
#include <string>

#include <boost/shared_ptr.hpp>

#include "orvcluster/cluster.h"
#include "orvcluster/cluster_resource.h"
#include "orvcluster/export.h"
#include "orvcluster/mscs_cluster_glue.h"

// The Cluster backend for a Windows failover cluster. Every cluster call goes
// through MSCSClusterGlue. Lists of raw resource pointers belong to the
// caller; shared-pointer lists are built afresh on every call.
class ORVCLUSTER_API MSCSCluster : public Cluster {
public:
    // A new, unopened object for `machine` (null: this computer).
    static boost::shared_ptr<MSCSCluster> GetInstance(const wchar_t* machine);

    explicit MSCSCluster(const wchar_t* machine);
    ~MSCSCluster() override;

    // Connects to the cluster; on this computer it first waits up to 6 x 10 s
    // for a starting cluster service. The target name becomes the cluster's.
    bool ClusterOpen() override;
    void Close() override;

    bool GetNodes(std::list<std::wstring>& nodes) override;
    bool GetResources(std::list<std::wstring>& resources);
    // Resources whose type is exactly `typeName`; a resource that cannot be
    // opened or whose type cannot be read stays in the list.
    bool GetResources(std::list<std::wstring>& resources, const wchar_t* typeName);
    bool GetTypes(std::list<std::wstring>& types);
    bool GetNetworks(std::list<std::wstring>& networks);

    bool GetResources(std::list<ClusterDiskResource*>& disks);
    bool GetResources(std::list<ClusterServiceResource*>& services);
    bool GetResources(std::list<ClusterNetworkNameResource*>& networkNames);
    bool GetResources(std::list<ClusterIPResource*>& addresses);

    boost::shared_ptr<const std::list<boost::shared_ptr<ClusterDiskResource>>> GetClusterDiskResources();
    boost::shared_ptr<const std::list<boost::shared_ptr<ClusterNetworkNameResource>>> GetNetworkNameResources();
    boost::shared_ptr<const std::list<boost::shared_ptr<MSCSClusterSharedVolumeResource>>>
    GetClusterSharedVolumeResources();
    boost::shared_ptr<const std::list<boost::shared_ptr<ClusterVMResource>>> GetVMResources();
    boost::shared_ptr<const std::list<boost::shared_ptr<ClusterVMConfigurationResource>>> GetVMConfigResources();

    // The cluster's "SharedVolumesRoot" with a trailing backslash, kept once found.
    const wchar_t* GetSharedVolumesRoot();

    bool GetDriveNames(std::list<std::wstring>& drives) override;
    unsigned GetDriveNames(std::list<wcstring>& drives) override;
    bool BackupDatabase(const wchar_t* path) override;
    bool BackupDatabase(const std::wstring& path) override;

    // Who the product is on the cluster. These answer false or 0, without a
    // trace line, when the cluster is not open or the answer cannot be read.
    //
    // The network name of the product's job engine resource, given only on a
    // computer that may own that resource; empty otherwise.
    bool GetOrvVirtualName(std::wstring& name) override;
    // The node that runs the product's RPC service resource now.
    bool GetOrvActiveNodeName(std::wstring& node) override;
    // The node that owns the network name or IP address resource carrying
    // `name` (leading backslashes ignored). Without one, `node` becomes the
    // name without its backslashes and the answer is false.
    bool NetworkNameToNodeName(const std::wstring& name, std::wstring& node) override;
    // The network name that depends on the IP address resource of `ip`. True
    // once the address's resource and its dependents were found, even when no
    // network name depends on it; `name` is then left as it was.
    bool GetVirtualNameFromIp(std::wstring& name, const wchar_t* ip) override;
    bool GetVirtualNameFromIp(std::wstring& name, const char* ip) override;
    // 1 when the product is clustered and `name` may own its marker resource.
    unsigned IsNode(const wchar_t* name) override;
    // 1 when the product is clustered and `node` (null: this computer) owns
    // its IP address resource now.
    unsigned IsActiveClusterNode(const wchar_t* node) override;
    // 1 when a generic service resource runs the marker service: the second
    // service of the loaded product definition. The argument is not used.
    unsigned IsClusteredOrv(wcstring name) override;
    // The nodes that may own the product's marker resource, in a new list the
    // caller deletes (handed out even on failure); 0 or the Win32 error.
    unsigned GetClusterNodes(std::list<wcstring>** nodes) override;
    // The networks open to clients (role 2 or 3). The node is not used.
    unsigned GetNetworkNames(std::list<wcstring>& names, const wchar_t* node) override;
    // 1 when the address comes online on the network, tried for real with a
    // scratch resource in a scratch group that are deleted again.
    unsigned IsValidNetworkConfig(const wchar_t* address, const wchar_t* subnetMask,
                                  const wchar_t* network) override;

    // Applications. The detectors answer AppClustered when `server` is the
    // virtual server of the application, AppOtherServer when the application
    // is clustered for another, AppNotClustered when it is not clustered.
    appState IsServerRunningSQL(const wchar_t* server, bool* isNode) override;
    appState IsServerRunningExchange(const wchar_t* server, bool* isNode) override;
    // The SQL Server (or agent) resource of that name; the caller deletes it.
    ClusterResource* OpenSqlResource(const wchar_t* name);
    // The generic service resource running `serviceName`; the caller deletes
    // it. Null with last error ERROR_FILE_NOT_FOUND when there is none.
    ClusterServiceResource* OpenGenericServiceResource(const wchar_t* serviceName);
    // 0 done, 1 no such resource, 2 the resource refused. The resource's own
    // pending timeout, when it has one, wins over `timeout` (milliseconds).
    unsigned long OnlineSqlServer(const wchar_t* name, unsigned long timeout) override;
    unsigned long OfflineSqlServer(const wchar_t* name, unsigned long timeout) override;
    unsigned long OfflineExchangeServer(const wchar_t* serviceName, unsigned long timeout) override;
    // 1 done, 0 no such resource or refused. RemoveService takes the resource
    // offline and leaves it in the cluster.
    int OnlineService(const wchar_t* serviceName, unsigned long timeout);
    int OfflineService(const wchar_t* serviceName, unsigned long timeout);
    int RemoveService(const wchar_t* serviceName, unsigned long timeout);
    // Renews the registry checkpoint `key` of the service's resource: the
    // Win32 result, or 0xFFFFFFFF when the service has no resource.
    unsigned long RecheckpointRegistry(const std::wstring& serviceName, const std::wstring& key);

    // Provisioning: the product's group, for the installation wizard. These
    // write no trace lines; their answers say what happened.
    //
    // Fills the wizard's node table (Cluster::CWIZ_GetNode) with the
    // cluster's nodes: 0, or the Win32 error when they cannot be read.
    unsigned PrepareWizardData() override;
    // Creates `group` (or reuses it) with the records of the service
    // resource table whose install flag is 1: the IP address resource
    // (`address`, `subnetMask`, `network`), the network name resource
    // (`virtualName`) and the generic service resources of the services
    // installed on this computer, each depending on the resources its record
    // names and on the moved resource, with its registry keys checkpointed.
    // The moved resource is the group's disk, found from `movedResourceKey`:
    // a drive ("E:", or a path that begins with one) names the physical disk
    // resource holding it; anything else names a resource. It is moved into
    // the group. Before Windows version 6, every new resource may run only on
    // this computer and on the nodes that may already run the product; the
    // wizard adds the others with AddNode. `params` is not read here.
    // 1 success (also without a cluster: nothing to do), 0 failure; what was
    // made before a failure stays.
    unsigned CreateGroup(const wchar_t* group, const wchar_t* virtualName, const wchar_t* movedResourceKey,
                         const wchar_t* address, const wchar_t* subnetMask, const wchar_t* network,
                         CClusterParams* params) override;
    // Brings the group online and waits for it, polling every 2 s: 1 online, 0 not.
    unsigned MakeOnline(const wchar_t* group) override;
    // Takes the group's resources offline and waits for them, except its
    // storage: the disks stay online, so the product's files stay reachable.
    // 1 when every one of them is offline (or failed), or the group lists
    // none; 0 when one refused, or the group cannot be opened.
    unsigned MakeOffline(const wchar_t* group) override;
    // Takes the group's resources offline, deletes them (dependents first)
    // and the group: 0 done, 1603 failed (what was deleted stays deleted).
    unsigned DeleteGroup(const wchar_t* group) override;
    // Makes `node` a possible owner of every resource of the group: 1 done
    // (also where it was one already), 0 failed.
    unsigned AddNode(const wchar_t* group, const wchar_t* node) override;
    // Removes `node` from the possible owners of every resource of the
    // group: 1 done (also where it was none), 0xFFFFFFFF failed, for example
    // for a resource online on that node.
    unsigned DeleteNode(const wchar_t* group, const wchar_t* node) override;
    // Removes the generic service resource running `service` from the group,
    // taking it offline first. With `flags` non-zero the resources that
    // depend on it lose that dependency first; with 0 they block the
    // removal. 1 removed (or there was none), 0 failed.
    unsigned DeleteServiceFromGroup(const wchar_t* group, const wchar_t* service, int flags) override;
    // The product's existing configuration: its IP address resource's
    // network, group, address and subnet mask, and its network name
    // resource's name, each into a buffer of 260 characters (null buffers
    // skipped; empty where nothing exists). Always 0.
    unsigned QueryForExisting(wchar_t* network, wchar_t* group, wchar_t* virtualName, wchar_t* address,
                              wchar_t* subnetMask) override;
    // 1 when a resource of that name can be opened.
    int ResourceExists(const wchar_t* name) override;
    // Removes the generic service resources whose records are no longer to
    // be installed: 0 done, 0xFFFFFFFF a deletion failed, 0xFFFFFFFD a
    // resource refused to go offline.
    unsigned SyncUpServices() override;
    // Renews the registry checkpoints of every resource running a service of
    // the table. Always 0.
    unsigned BounceReg() override;
    // Before Windows version 6: a "File Share" resource `shareName` for
    // `path` ("E:\..."), depending on the moved resource, on every node that
    // may run the product, with the share name kept in the product's cluster
    // key. 1 done (at once from version 6 on), 0 failed.
    unsigned AddFileShareName(const wchar_t* group, const wchar_t* shareName, const wchar_t* path) override;
    // From Windows version 6 on: shares `path` on this computer as
    // `shareName` and keeps the name in the product's cluster key. The group
    // is not used. 1 done (at once before version 6), 0xFFFFFFFF registry
    // failure, else the share error.
    unsigned AddFileServerResource(const wchar_t* group, const wchar_t* shareName, const wchar_t* path) override;
    // From Windows version 6 on: removes the share "KPTClus" of `server`. Always 0.
    unsigned DelFileServerResource(wchar_t* server) override;
    // Brings online the group's "File Server" resources, the scope of the
    // cluster's file shares: 1 when all are online (or there is none), 0 not.
    unsigned OnlineFileServerResource(const wchar_t* group) override;
    // 1 when this computer shares a folder under `shareName`, else 0.
    unsigned FileServerExists(const wchar_t* shareName) override;

    // A new resource object, or null when the resource cannot be opened.
    ClusterResource* OpenResource(const wchar_t* name);
    ClusterDiskResource* OpenDiskResource(const wchar_t* name);

    // The open cluster handle, null when closed. Valid while this object is
    // open; resource objects it made keep their own share of it.
    HCLUSTER GetClusterHandle() const { return hCluster_; }

private:
    bool EnumerateNames(DWORD type, std::list<std::wstring>& names);
    template <typename Resource, typename Keep>
    boost::shared_ptr<const std::list<boost::shared_ptr<Resource>>> CollectResources(DWORD type, Keep keep);
    template <typename Resource>
    bool CollectTyped(const wchar_t* typeName, std::list<Resource*>& resources);

    // A new resource object of that class for the named resource, holding a
    // share of the connection; null (with the reason in the last error) when
    // the resource cannot be opened.
    template <typename Resource>
    Resource* OpenAs(const std::wstring& name) {
        HRESOURCE handle = glue_->OpenClusterResource(hCluster_, name.c_str());
        if (!handle) return nullptr;
        Resource* resource = new Resource(handle, name);
        resource->cluster_ = connection_;
        return resource;
    }

    orvclass::shared_ptr<MSCSClusterGlue> glue_;
    HCLUSTER hCluster_ = nullptr;
    // Owns hCluster_: closed once neither this object nor a resource it made
    // needs it.
    boost::shared_ptr<std::remove_pointer_t<HCLUSTER>> connection_;
    std::wstring sharedVolumesRoot_;
};

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

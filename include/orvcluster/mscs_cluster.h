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

    // Hands a new resource object a share of the connection (null stays null).
    template <typename Resource>
    Resource* Adopt(Resource* resource) const;

    orvclass::shared_ptr<MSCSClusterGlue> glue_;
    HCLUSTER hCluster_ = nullptr;
    // Owns hCluster_: closed once neither this object nor a resource it made
    // needs it.
    boost::shared_ptr<std::remove_pointer_t<HCLUSTER>> connection_;
    std::wstring sharedVolumesRoot_;
};

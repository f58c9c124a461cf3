#pragma once

#include <list>
#include <string>
#include <type_traits>

#include <boost/shared_ptr.hpp>

#include "orvcluster/cluster_api.h"
#include "orvcluster/cluster_property_list.h"
#include "orvcluster/export.h"

// One partition of a cluster disk. Unknown values are a zero GUID and the
// partition number 0xFFFFFFFF.
class ORVCLUSTER_API MSCSPartitionInfo {
public:
    MSCSPartitionInfo(const std::wstring& deviceName, const std::wstring& volumeLabel,
                      const GUID& volumeGuid, DWORD partitionNumber);

    const wchar_t* GetDeviceName() const { return deviceName_.c_str(); }
    const wchar_t* GetVolumeLabel() const { return volumeLabel_.c_str(); }
    GUID GetVolumeGUID() const { return volumeGuid_; }
    DWORD GetPartitionNumber() const { return partitionNumber_; }

private:
    std::wstring deviceName_;
    std::wstring volumeLabel_;
    GUID volumeGuid_;
    DWORD partitionNumber_;
};

typedef boost::shared_ptr<const std::list<boost::shared_ptr<MSCSPartitionInfo>>> MSCSPartitionList;

// One failover cluster resource. The object owns its handle and closes it
// when it goes. Failures answer false with the reason in the thread's last
// error, and string outputs are cleared. Where clusapi.dll is missing that
// reason is the binding's 127, except for GetGroupName and GetNodeName: the
// state query then answers "unknown" without a reason, and the last error is
// left as it was.
class ORVCLUSTER_API ClusterResource {
public:
    explicit ClusterResource(const std::wstring& name);
    ClusterResource(HRESOURCE resource, const std::wstring& name);
    ClusterResource(const ClusterResource&) = delete;
    ClusterResource& operator=(const ClusterResource&) = delete;

    virtual ~ClusterResource();
    virtual const std::wstring* GetResourceName() const;
    // Wait up to `timeoutMs` for the state, polling every second.
    virtual bool TakeOffline(DWORD timeoutMs);
    virtual bool BringOnline(DWORD timeoutMs);
    virtual bool GetGroupName(std::wstring& group);
    virtual bool GetNetworkName(std::wstring& name);
    // The network name equals `name`, both without leading backslashes, in any case.
    virtual bool MatchNetworkName(const std::wstring& name);
    // The node that owns the resource now.
    virtual bool GetNodeName(std::wstring& node);
    virtual bool GetPendingTimeout(DWORD& milliseconds);

    bool GetTypeName(std::wstring& type);
    bool GetClassInfoW(CLUS_RESOURCE_CLASS_INFO* classInfo);
    // Removes and adds again a registry checkpoint; the answer of the add.
    DWORD RecheckpointRegistry(const wchar_t* key);
    bool GetPrivateProperties(ClusterPropertyList& properties);
    // One private property's text, read afresh.
    bool GetPrivateString(const wchar_t* property, std::wstring& value);

    HRESOURCE GetHandle() const { return handle_; }

protected:
    HRESOURCE handle_;
    std::wstring name_;

private:
    friend class MSCSCluster;

    bool ChangeState(DWORD result, CLUSTER_RESOURCE_STATE target, DWORD timeoutMs);
    bool WaitForState(CLUSTER_RESOURCE_STATE target, DWORD timeoutMs);

    // The connection the handle came from. A resource handle dies with its
    // cluster handle, so a resource made by MSCSCluster keeps that open for
    // as long as it lives, even past the MSCSCluster itself.
    boost::shared_ptr<std::remove_pointer_t<HCLUSTER>> cluster_;
};

// A "Physical Disk" resource, with its disk information read once.
class ORVCLUSTER_API ClusterDiskResource : public ClusterResource {
public:
    ClusterDiskResource(HRESOURCE resource, const std::wstring& name);
    ~ClusterDiskResource() override;

    bool GetSignature(DWORD& signature);
    // The device names of the disk's partitions, such as "S:".
    bool GetDrives(std::list<std::wstring>& drives) const;
    MSCSPartitionList GetPartitionInfo() const;

private:
    unsigned char* diskInfo_ = nullptr;
    DWORD diskInfoSize_ = 0;
};

class ORVCLUSTER_API ClusterIPResource : public ClusterResource {
public:
    ClusterIPResource(HRESOURCE resource, const std::wstring& name);
    bool GetIPAddress(std::wstring& address);
};

class ORVCLUSTER_API ClusterNetworkNameResource : public ClusterResource {
public:
    ClusterNetworkNameResource(HRESOURCE resource, const std::wstring& name);
    // The name the resource publishes (its "Name" property).
    bool GetNetworkName(std::wstring& name) override;
    bool GetDNSName(std::wstring& name);
};

class ORVCLUSTER_API ClusterServiceResource : public ClusterResource {
public:
    ClusterServiceResource(HRESOURCE resource, const std::wstring& name);
    bool GetServiceName(std::wstring& service);
};

class ORVCLUSTER_API ClusterVMResource : public ClusterResource {
public:
    ClusterVMResource(HRESOURCE resource, const std::wstring& name);
    // The virtual machine's id, or null when the properties cannot be read.
    const wchar_t* GetVmGUID();

private:
    std::wstring vmId_;
};

class ORVCLUSTER_API ClusterVMConfigurationResource : public ClusterResource {
public:
    ClusterVMConfigurationResource(HRESOURCE resource, const std::wstring& name);
    const wchar_t* GetVmGUID();
    const wchar_t* GetStoreRootPath();

private:
    std::wstring vmId_;
    std::wstring storeRootPath_;
};

// A cluster shared volume resource, with its partitions read once.
class ORVCLUSTER_API MSCSClusterSharedVolumeResource : public ClusterResource {
public:
    // One shared volume of the resource.
    class ORVCLUSTER_API SharedVolumeInfo {
    public:
        explicit SharedVolumeInfo(const CLUS_CSV_VOLUME_INFO& info);
        ULONGLONG GetVolumeOffset() const { return volumeOffset_; }
        DWORD GetPartitionNumber() const { return partitionNumber_; }
        DWORD GetFaultState() const { return faultState_; }
        DWORD GetBackupState() const { return backupState_; }
        const wchar_t* GetFriendlyName() const { return friendlyName_.c_str(); }
        const wchar_t* GetVolumeName() const { return volumeName_.c_str(); }

    private:
        ULONGLONG volumeOffset_;
        DWORD partitionNumber_;
        DWORD faultState_;
        DWORD backupState_;
        std::wstring friendlyName_;
        std::wstring volumeName_;
    };
    typedef boost::shared_ptr<const std::list<boost::shared_ptr<SharedVolumeInfo>>> SharedVolumeList;

    MSCSClusterSharedVolumeResource(HRESOURCE resource, const std::wstring& name);
    ~MSCSClusterSharedVolumeResource() override;

    SharedVolumeList GetSharedVolumesInfo() const;
    MSCSPartitionList GetPartitionInfo() const;

private:
    unsigned char* partitionInfo_ = nullptr;
    DWORD partitionInfoSize_ = 0;
};

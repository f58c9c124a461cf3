#pragma once

#include <cstddef>
#include <list>
#include <string>

#include <boost/shared_ptr.hpp>

#include "orvcluster/cluster.h"
#include "orvcluster/export.h"
#include "orvcluster/nrx_cluster_glue.h"

// The Cluster backend for an NRX cluster. Every NRX call goes through
// NRXClusterGlue with UTF-8 names: a system name must fit 16 bytes and a
// resource or group name 256 bytes, or the operation gives its failure
// answer. Attribute values read back are widened byte for byte. Every
// operation but ClusterOpen needs the cluster open and answers its failure
// value otherwise.
class ORVCLUSTER_API NRXCluster : public Cluster {
public:
    // The state of a resource on one system.
    enum resState : unsigned long {
        Offline = 0,
        Online = 1,
        Unknown = 2,
    };

    // A new, unopened object for `machine` (null: this computer); never
    // shared between callers.
    static boost::shared_ptr<NRXCluster> GetInstance(const wchar_t* machine);

    explicit NRXCluster(const wchar_t* machine);
    ~NRXCluster() override;

    // Connects to NRX. On this computer, with the NRX console installed, it
    // first checks the services RKT, ZEP, QMD and OPSHOST and waits up to
    // 6 x 10 s while any of them is starting (once per process while they
    // keep failing to come up). The object's name becomes the cluster's.
    bool ClusterOpen() override;

    // Make the configuration writable, and read-only again: 1 on success, 0
    // when NRX refused, 1603 when the cluster is not open.
    unsigned ClusterConfOpen() override;
    unsigned ClusterConfClose() override;

    // Inventory.
    bool GetNodes(std::list<std::wstring>& nodes) override;
    // The systems for which IsNode answers 1, in a new list the caller
    // owns; always 0.
    unsigned GetClusterNodes(std::list<wcstring>** nodes) override;
    bool GetResources(std::list<std::wstring>& names, const char* type);
    bool GetGroupResourceNames(std::list<std::wstring>& names, std::string group, const char* type);
    // Every service group of the cluster, in the order NRX lists them.
    bool GetServiceGroups(std::list<std::wstring>& groups);
    // The service group whose network name carries this object's name.
    bool GetServiceGroupName(std::string& group);
    // The service group of every network name resource, duplicates kept.
    bool GetServiceGroupNames(std::list<std::wstring>& groups);
    resState GetResourceState(const char* resource, const char* system);
    resState GetResourceState(std::wstring resource, std::wstring system);
    // The system on which the resource's service group is up.
    bool GetOwningNode(char* system, size_t size, const char* resource);
    // "X:" from the resource's "MountPath", into three bytes.
    bool GetMountPath(char* drive, char* resource);
    // Polls once a second, up to 150 times, until the resource is offline on
    // the system.
    bool PingTillOffline(char* resource, char* system);
    // The mount paths of the "Mount", then the "VolLink" resources, of the
    // cluster or of one service group.
    bool GetDriveNames(std::list<std::wstring>& drives) override;
    bool GetDriveNames(std::list<std::wstring>& drives, std::string group);
    using Cluster::GetDriveNames;

    // Identity and network.
    bool GetOrvVirtualName(std::wstring& name) override;
    // Refuses (false) unless there is exactly one "Orvane" resource.
    bool GetOrvActiveNodeName(std::wstring& node) override;
    bool GetActiveServerNode(std::wstring& node, char* resource);
    // Writes the active computer name of the machine `name`; silent.
    void SetActiveComputerName(std::wstring name);
    bool GetIPResourceProps(std::wstring resource, std::wstring& address, std::wstring& subnet);
    // Appends the virtual name of every "Lanman" resource.
    bool GetNetworkNames(std::list<std::wstring>& names);
    using Cluster::GetNetworkNames;
    // The system where the network name or address `name` was last online.
    // True also when no resource carries it: `node` is then left as it was
    // (this computer's name when `name` is empty).
    bool NetworkNameToNodeName(const std::wstring& name, std::wstring& node) override;
    bool GetVirtualNameFromIp(std::wstring& name, const wchar_t* ip) override;
    bool GetVirtualNameFromIp(std::wstring& name, const char* ip) override;
    // 1 when `system` is among the per-system values of the product's IP
    // address resource (the loaded definition's "IP Address" entry).
    unsigned IsNode(const wchar_t* system) override;
    // IsNode of this computer; the argument is not used.
    unsigned IsClusteredOrv(wcstring product) override;
    // 1 when the product is clustered and the definition's first resource
    // is online on `system` (null: this computer).
    unsigned IsActiveClusterNode(const wchar_t* system) override;

    // The MAC address (and description) of the adapter of `machine` (empty:
    // this computer) that carries an address in the subnet of
    // `address`/`mask`, from WMI: 0, or 1603 when there is none or WMI fails.
    static unsigned GetAdapterForSubnet(const std::wstring& machine, const std::wstring& address,
                                        const std::wstring& mask, std::wstring& macAddress,
                                        std::wstring& description);
    // 1 when address a under mask m and address b under mask n lie in the
    // same subnet, else 0 (also for anything but four dotted octets).
    static unsigned IsSameSubnet(const char* a, const char* b, const char* m, const char* n);

    NRXHandle GetClusterHandle() const { return handle_; }

private:
    // Both GetDriveNames: of the cluster (`group` null) or of one group.
    bool CollectDriveNames(std::list<std::wstring>& drives, const std::string* group);

    orvclass::shared_ptr<NRXClusterGlue> glue_;
    NRXHandle handle_ = nullptr;
};

#pragma once

#include <windows.h>

#include <list>
#include <string>

#include <boost/shared_ptr.hpp>

#include "orvcluster/resource_table.h"
#include "orvcluster/export.h"
#include "orvcluster/wcstring.h"

class CClusterParams;

// The one class through which the product talks to a cluster. A plain Cluster
// stands for a machine without cluster software and answers every operation
// with its neutral default; the failover and partner backends derive from it.
// Objects come from the factory GetInstance and are not synchronised: one
// thread uses one object at a time.
class ORVCLUSTER_API Cluster {
public:
    enum ClusterType : unsigned long {
        NotClustered = 0,
        MSCS = 1,
        NRX = 2,
    };

    // Answer of the application detectors IsServerRunningSQL/IsServerRunningExchange.
    enum appState : unsigned long {
        AppClustered = 0,
        AppOtherServer = 2,
        AppNotClustered = 3,
        AppNotApplicable = 4,
    };

    Cluster();
    Cluster(const Cluster&) = delete;
    Cluster& operator=(const Cluster&) = delete;

    // Virtual operations, in slot order. The base bodies are the neutral
    // answers of a machine without cluster: false, 0, AppNotApplicable, or 1
    // for the application on/off operations.
    virtual ~Cluster();
    virtual bool ClusterOpen();
    virtual void Close();
    virtual bool NetworkNameToNodeName(const std::wstring& networkName, std::wstring& nodeName);
    virtual unsigned PrepareWizardData();
    virtual bool GetNodes(std::list<std::wstring>& nodes);
    virtual unsigned GetDriveNames(std::list<wcstring>& drives);
    virtual bool GetDriveNames(std::list<std::wstring>& drives);
    virtual bool BackupDatabase(const wchar_t* path);
    virtual bool BackupDatabase(const std::wstring& path);
    virtual appState IsServerRunningSQL(const wchar_t* virtualServer, bool* isNode);
    virtual appState IsServerRunningExchange(const wchar_t* virtualServer, bool* isNode);
    virtual bool GetOrvActiveNodeName(std::wstring& node);
    virtual unsigned long OfflineExchangeServer(const wchar_t* server, unsigned long timeout);
    virtual unsigned long OfflineSqlServer(const wchar_t* server, unsigned long timeout);
    virtual unsigned long OnlineSqlServer(const wchar_t* server, unsigned long timeout);
    virtual bool GetOrvVirtualName(std::wstring& name);
    virtual bool GetVirtualNameFromIp(std::wstring& name, const wchar_t* ip);
    virtual bool GetVirtualNameFromIp(std::wstring& name, const char* ip);
    virtual unsigned CreateGroup(const wchar_t* group, const wchar_t* virtualName,
                                 const wchar_t* third, const wchar_t* fourth,
                                 const wchar_t* fifth, const wchar_t* sixth,
                                 CClusterParams* params);
    virtual unsigned MakeOnline(const wchar_t* group);
    virtual unsigned MakeOffline(const wchar_t* group);
    virtual unsigned FailoverReservedOperation();
    virtual unsigned GetNetworkNames(std::list<wcstring>& networks, const wchar_t* node);
    virtual unsigned IsClusteredOrv(wcstring name);
    virtual unsigned IsActiveClusterNode(const wchar_t* node);
    virtual unsigned DeleteGroup(const wchar_t* group);
    virtual unsigned AddNode(const wchar_t* group, const wchar_t* node);
    virtual unsigned DeleteNode(const wchar_t* group, const wchar_t* node);
    virtual unsigned BounceReg();
    virtual unsigned IsValidNetworkConfig(const wchar_t* first, const wchar_t* second,
                                          const wchar_t* third);
    virtual unsigned GetClusterNodes(std::list<wcstring>** nodes);
    virtual unsigned IsNode(const wchar_t* node);
    virtual unsigned ClusterConfOpen();
    virtual unsigned ClusterConfClose();
    virtual unsigned ReservedOperation36();
    virtual unsigned ReservedOperation37();
    virtual unsigned PartnerReservedOperation();
    virtual unsigned QueryForExisting(wchar_t* first, wchar_t* second, wchar_t* third,
                                      wchar_t* fourth, wchar_t* fifth);
    virtual unsigned DeleteServiceFromGroup(const wchar_t* group, const wchar_t* service, int flags);
    virtual int ResourceExists(const wchar_t* name);
    virtual unsigned SyncUpServices();
    virtual unsigned AddFileShareName(const wchar_t* group, const wchar_t* shareName,
                                      const wchar_t* path);
    virtual unsigned AddFileServerResource(const wchar_t* group, const wchar_t* name,
                                           const wchar_t* path);
    virtual unsigned DelFileServerResource(wchar_t* name);
    virtual unsigned OnlineFileServerResource(const wchar_t* name);
    virtual unsigned FileServerExists(const wchar_t* name);
    virtual unsigned OnlineResource(const wchar_t* name);
    virtual unsigned OfflineResource(const wchar_t* name);

    // The factory: a backend for the machine (null or empty: this one), never
    // an empty pointer. Local detection is cached for 65,536 ms.
    static boost::shared_ptr<Cluster> GetInstance(const wchar_t* machine);

    bool Open() const;
    ClusterType GetClusterType() const;
    const wchar_t* GetClusterName() const;

    // Whether `machine` (without leading backslashes, any case) is one of this
    // cluster's nodes. False, with *isNode untouched, when the nodes are unknown.
    bool GetMachineNodeStatus(const wchar_t* machine, bool* isNode);

    static bool MachineMightBeClustered(const wchar_t* machine);
    // State of the "ClusSvc" service: 4 running, 2 starting (or stopped with
    // automatic start), 1 otherwise present, 0 no service manager.
    static unsigned long QueryClusterServiceState(const wchar_t* machine);
    static bool IsCluster(const wchar_t* machine);
    static bool IsOrvClustered();
    static boost::shared_ptr<const std::wstring> GetOrvVirtualServerName();
    static bool GetOrvVirtualServerName(wchar_t* buffer, unsigned long* size);
    // Restores the failover cluster's database from a backup folder; false
    // with the reason in the thread's last error.
    static bool RestoreDatabase(const wchar_t* path, int force, const wchar_t* quorumDrive);

    // One trace line "[thread] date time message" to the debugger output channel.
    static void OutputDebugMsg(const wchar_t* format, ...);

    static bool IsIp(const std::wstring& text);
    static bool FromNetworkNameToIp(std::wstring& name);
    static const std::wstring& GetNetworkNodeName();
    unsigned SetServiceStartupType(const wchar_t* service, const wchar_t* machine,
                                   unsigned long startType);
    static bool IsOsVersion6OrLater();
    static bool IsServicePresent(const wchar_t* service, const wchar_t* machine);
    static bool IsServiceResource(const wchar_t* name, const CLUSTERRESOURCE* table);

    // The installation wizard's product definition. CWIZ_InitData finds and
    // loads "clusconfig.xml" (failover cluster) or "nrxconfig.xml" (partner
    // cluster) once per process, from `directory` (null or empty: the current
    // directory), the wizard's folder, the installed product or the setup
    // media, prepares the cluster's network list and fills each non-null
    // out buffer (260 characters) with the backend's view of an existing
    // product configuration. 1 on success; 0 without an open cluster, without
    // a definition file, or when the file cannot be read.
    static unsigned CWIZ_InitData(wchar_t* out1, wchar_t* out2, wchar_t* out3, wchar_t* out4,
                                  wchar_t* out5, const wchar_t* directory);
    // The loaded definition's values: texts owned by the definition, empty
    // (and numbers 0) while nothing is loaded or the file lacks them.
    static const wchar_t* CWIZ_GetCompany();
    static const wchar_t* CWIZ_GetProduct();
    static const wchar_t* CWIZ_GetFullProductName();
    static int CWIZ_GetSync();
    static int CWIZ_GetRequire();
    static const wchar_t* CWIZ_GetIPResourceName();
    static const wchar_t* CWIZ_GetNetworkResourceName();
    static const wchar_t* CWIZ_GetDefaultDir();
    static const wchar_t* CWIZ_GetDataRegKey();
    static const wchar_t* CWIZ_GetDefGroupName();
    static const wchar_t* CWIZ_GetDefServerName();
    static const wchar_t* CWIZ_GetULIB();
    static const wchar_t* CWIZ_GetMsiProductID();
    static const wchar_t* CWIZ_GetMsiClusterDirProperty();
    static const wchar_t* CWIZ_DiskSetResName();
    static const wchar_t* CWIZ_VolLinkResName();
    static const wchar_t* CWIZ_VolLinkResDep();
    static const wchar_t* CWIZ_KeyMirrorName();
    static const wchar_t* CWIZ_KeyMirrorResDep();
    static const wchar_t* CWIZ_CusAgentName();
    static const wchar_t* CWIZ_CusAgentType();
    static const wchar_t* CWIZ_CusAgentDep();
    // The service resource table (see resource_table.h); only its end mark
    // while nothing is loaded.
    static CLUSTERRESOURCE* CWIZ_GetResourceList();

    // The wizard's steps. Each works on this machine's cluster
    // (GetInstance(null)); without an open cluster it answers 0 and does
    // nothing. The forwarding calls answer what the backend operation of
    // the same purpose answers (see mscs_cluster.h for the failover cluster).
    // The wizard runs them in this order:
    //   1. CWIZ_InitData, then CWIZ_SetResourceForInstall for every service
    //      the administrator selected (and "" for the IP address and network
    //      name records, whose service name is empty);
    //   2. CWIZ_CreateClusterGroup, then CWIZ_AddClusterShareResource (before
    //      Windows version 6) or CWIZ_AddClusterServerResource (from 6 on);
    //   3. CWIZ_BringOnline; CWIZ_AddNodeDep for each node that gets the
    //      product later;
    //   4. on a change of selection, CWIZ_SyncUpServices; to remove the
    //      product, CWIZ_TakeOffline and CWIZ_DeleteGroup.
    static unsigned CWIZ_ClusterConfOpen();
    static unsigned CWIZ_ClusterConfClose();
    // The group, its virtual server name, the key of the resource moved into
    // the group (its disk: a drive such as "E:", or a resource name), the
    // address, subnet mask and network of its IP address resource, and the
    // wizard's other choices (may be null).
    static unsigned CWIZ_CreateClusterGroup(const wchar_t* group, const wchar_t* virtualName,
                                            const wchar_t* movedResourceKey, const wchar_t* address,
                                            const wchar_t* subnetMask, const wchar_t* network,
                                            CClusterParams* params = nullptr);
    static unsigned CWIZ_BringOnline(const wchar_t* group);
    static unsigned CWIZ_TakeOffline(const wchar_t* group);
    static unsigned CWIZ_CanUseIPAddress(const wchar_t* address, const wchar_t* subnetMask,
                                         const wchar_t* network);
    static unsigned CWIZ_IsActiveNode(const wchar_t* node);
    static unsigned CWIZ_AddNodeDep(const wchar_t* group, const wchar_t* node);
    static unsigned CWIZ_RemoveNodeDep(const wchar_t* group, const wchar_t* node);
    static unsigned CWIZ_DeleteGroup(const wchar_t* group);
    // A new list the caller hands back to CWIZ_DelClusterNodePtr.
    static unsigned CWIZ_GetClusterNodes(std::list<wcstring>** nodes);
    static unsigned CWIZ_IsNode(const wchar_t* node);
    static unsigned CWIZ_DeleteServiceFromGroup(const wchar_t* group, const wchar_t* service, int flags);
    static unsigned CWIZ_ResourceExists(const wchar_t* name);
    static unsigned CWIZ_SyncUpServices();
    static unsigned CWIZ_AddClusterShareResource(const wchar_t* group, const wchar_t* shareName,
                                                 const wchar_t* path);
    static unsigned CWIZ_AddClusterServerResource(const wchar_t* group, const wchar_t* shareName,
                                                  const wchar_t* path);
    static unsigned CWIZ_DelFileServerResource(wchar_t* server);
    static unsigned CWIZ_OnlineFileServerResource(const wchar_t* name);
    static unsigned CWIZ_FileServerExists(const wchar_t* name);
    static unsigned CWIZ_OnlineResource(const wchar_t* name);
    static unsigned CWIZ_OfflineResource(const wchar_t* name);
    // IsClusteredOrv of the backend (null: an empty name).
    static unsigned CWIZ_DoResourcesExist(const wchar_t* name);

    // 1 when this machine's cluster is open, else 0.
    static unsigned CWIZ_IsClusterEnvironment();
    static int CWIZ_IsCluster();
    // The node (network) name at `index` of the names CWIZ_InitData found,
    // copied without a bound into `out`: the buffer must hold the longest
    // name. 0, `out` untouched, for an index of 512 or more or past the last
    // name; negative indexes must not be passed.
    static unsigned CWIZ_GetNode(int index, wchar_t* out);
    static unsigned CWIZ_GetNetwork(int index, wchar_t* out);
    // Sets the start type of every service of the definition on `machine`
    // (null: this one); always 0.
    static int CWIZ_SetServicesStartupType(const wchar_t* machine, unsigned long startType);
    // Starts the definition's services present on `machine`, last first,
    // waiting up to 30 s for each; always 0.
    static unsigned CWIZ_StartServices(const wchar_t* machine);
    // Stops them, last first, waiting for each as long as it reports stop
    // pending; 0, or 1006 when any failed to stop.
    static unsigned CWIZ_StopServices(const wchar_t* machine);
    // 1 when nothing on the network answers to `name` (21 characters or
    // more); names shorter than 21 characters are refused with 0.
    static unsigned CWIZ_IsUnique(const wchar_t* name);
    // Destroys a list from CWIZ_GetClusterNodes (null ignored); always 0.
    static unsigned CWIZ_DelClusterNodePtr(std::list<wcstring>* nodes);
    // Renews the registry checkpoints of the product's service resources,
    // but only on the one product build that needs the repair; else 0.
    static unsigned CWIZ_BounceReg();
    // Rebuilds the product's existing group with the disk of `path`; always 0.
    static unsigned CWIZ_UpgradeLegacyCluster(const wchar_t* path);
    // 1 when `drive` ("S:") belongs to a cluster disk, else 0.
    static unsigned CWIZ_IsSharedDrive(const wchar_t* drive);
    // 0 when a detection key of the definition is missing on `node`; 1 when
    // all are there or they cannot be checked.
    static int CWIZ_DoesNodeContainProduct(const wchar_t* node);
    // Sets the install flag of every record whose service name is exactly
    // `name` (case counts); always 0.
    static unsigned CWIZ_SetResourceForInstall(const wchar_t* name, bool install);

protected:
    // Stores the target machine without leading backslashes, and empty when
    // it names this computer; for the backend constructors.
    void SetTargetMachine(const wchar_t* machine);

    void* reserved_ = nullptr;
    bool open_ = false;
    ClusterType type_ = NotClustered;
    std::wstring clusterName_;
};

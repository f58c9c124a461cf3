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

protected:
    // Stores the target machine without leading backslashes, and empty when
    // it names this computer; for the backend constructors.
    void SetTargetMachine(const wchar_t* machine);

    void* reserved_ = nullptr;
    bool open_ = false;
    ClusterType type_ = NotClustered;
    std::wstring clusterName_;
};

// The NRX cluster backend: connecting (with the wait for NRX's own services
// on this computer), and the inventory the other operations rest on.

#include "orvcluster/nrx_cluster.h"

#include <memory>
#include <new>

#include "host/clock.h"
#include "orvcluster/names.h"
#include "orvcluster/unique_handle.h"
#include "partner/nrx_records.h"

namespace {

constexpr wchar_t kConsoleKey[] = L"SOFTWARE\\PENTRY\\Vontar Console";
constexpr DWORD kInstallLocationBytes = 522;
constexpr DWORD kServiceConfigBytes = 4096;
constexpr int kServiceWaitRounds = 6;
constexpr DWORD kServiceWaitMilliseconds = 10000;
constexpr int kOfflinePolls = 150;
constexpr DWORD kOfflinePollMilliseconds = 1000;
constexpr int kClusterNameChars = 260;

// What the service check found: every NRX service running, one on its way
// up (or stopped but starting by itself), or neither.
enum ServiceCheck : unsigned {
    kNoServiceManager = 0,
    kServicesDown = 1,
    kServicesStarting = 2,
    kServicesRunning = 4,
};

struct NrxService {
    const wchar_t* name;
    const wchar_t* unreachable;
};

// In the order they are examined. The command server's message names it
// after its status tool, as administrators have always read it.
constexpr NrxService kServices[] = {
    {L"RKT", L"Unable to query RKT service status"},
    {L"ZEP", L"Unable to query ZEP service status"},
    {L"QMD", L"Unable to query QMD service status"},
    {L"OPSHOST", L"Unable to query OPSSTATUS service status"},
};

// Set when a wait for the NRX services came to nothing, so that later opens
// in this process do not wait again; cleared once all four are found running.
bool gaveUpWaitingForServices = false;

// The NRX console's key with its install location, in either registry view.
bool NrxConsoleInstalled(const std::wstring& machine) {
    orv::UniqueRegistryKey root;
    if (RegConnectRegistryW(machine.empty() ? nullptr : machine.c_str(), HKEY_LOCAL_MACHINE, root.Receive()) !=
        ERROR_SUCCESS) {
        Cluster::OutputDebugMsg(L"Unable to connect to the registry on %s", machine.c_str());
        return false;
    }
    orv::UniqueRegistryKey console;
    if (RegOpenKeyExW(root.Get(), kConsoleKey, 0, KEY_READ, console.Receive()) != ERROR_SUCCESS &&
        RegOpenKeyExW(root.Get(), kConsoleKey, 0, KEY_READ | KEY_WOW64_32KEY, console.Receive()) != ERROR_SUCCESS) {
        Cluster::OutputDebugMsg(L"NRX cluster keys do not appear to be present in the registry");
        return false;
    }
    BYTE location[kInstallLocationBytes];
    DWORD size = sizeof(location);
    return RegQueryValueExW(console.Get(), L"InstallLocation", nullptr, nullptr, location, &size) == ERROR_SUCCESS;
}

// Whether a stopped service starts by itself; the configuration buffer grows
// when a service's configuration does not fit.
bool StartsAutomatically(SC_HANDLE service, std::unique_ptr<BYTE[]>& buffer, DWORD& size) {
    DWORD needed = 0;
    BOOL read = QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get()), size, &needed);
    if (!read && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        buffer.reset(new (std::nothrow) BYTE[needed]());
        size = buffer ? needed : 0;
        if (!buffer) return false;
        read = QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get()), size, &needed);
    }
    return read && reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get())->dwStartType == SERVICE_AUTO_START;
}

ServiceCheck CheckNrxServices(const std::wstring& machine) {
    DWORD size = kServiceConfigBytes;
    std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[size]());
    if (!buffer) return kNoServiceManager;
    orv::UniqueServiceHandle manager(
        OpenSCManagerW(machine.empty() ? nullptr : machine.c_str(), nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        Cluster::OutputDebugMsg(L"Unable to connect to the Service Control Manager on %s", machine.c_str());
        return kNoServiceManager;
    }

    size_t running = 0;
    bool starting = false;
    for (const NrxService& nrx : kServices) {
        orv::UniqueServiceHandle service(
            OpenServiceW(manager.Get(), nrx.name, SERVICE_QUERY_CONFIG | SERVICE_INTERROGATE));
        if (!service) {
            Cluster::OutputDebugMsg(nrx.unreachable);
            continue;
        }
        SERVICE_STATUS status = {};
        const DWORD error =
            ControlService(service.Get(), SERVICE_CONTROL_INTERROGATE, &status) ? ERROR_SUCCESS : GetLastError();
        // A service on its way up cannot take the request, but the manager
        // still gives its state.
        if (error == ERROR_SUCCESS || error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL) {
            if (status.dwCurrentState == SERVICE_RUNNING) ++running;
            if (status.dwCurrentState == SERVICE_START_PENDING) starting = true;
        } else if (error == ERROR_SERVICE_NOT_ACTIVE && StartsAutomatically(service.Get(), buffer, size)) {
            starting = true;
        }
    }
    if (running == ARRAYSIZE(kServices)) return kServicesRunning;
    return starting ? kServicesStarting : kServicesDown;
}

}  // namespace

boost::shared_ptr<NRXCluster> NRXCluster::GetInstance(const wchar_t* machine) {
    try {
        return boost::shared_ptr<NRXCluster>(new NRXCluster(machine));
    } catch (const std::bad_alloc&) {
        return boost::shared_ptr<NRXCluster>();
    }
}

NRXCluster::NRXCluster(const wchar_t* machine) : glue_(NRXClusterGlue::GetInstance()) {
    if (machine) SetTargetMachine(machine);
    type_ = NRX;
}

// The connection stays in the binding's cache for the life of the process.
NRXCluster::~NRXCluster() = default;

bool NRXCluster::ClusterOpen() {
    handle_ = nullptr;
    orv::SystemName name;
    if (!name.Assign(clusterName_)) return false;

    if (!clusterName_.empty() || !NrxConsoleInstalled(clusterName_)) {
        handle_ = glue_->OpenCluster(name.c_str());
    } else {
        const ServiceCheck services = CheckNrxServices(clusterName_);
        if (services == kServicesRunning) {
            handle_ = glue_->OpenCluster(nullptr);
            gaveUpWaitingForServices = false;
        } else if (services == kServicesStarting && !gaveUpWaitingForServices) {
            bool running = false;
            for (int round = 0; round < kServiceWaitRounds && !running; ++round) {
                OutputDebugMsg(L"Waiting for the NRX cluster services to startup");
                orv::ClockSleep(kServiceWaitMilliseconds);
                running = CheckNrxServices(clusterName_) == kServicesRunning;
            }
            // Once they run there is one open, whatever it answers.
            if (running) handle_ = glue_->OpenCluster(nullptr);
            if (!handle_) gaveUpWaitingForServices = true;
        }
    }

    if (!handle_) {
        OutputDebugMsg(L"Failed to open NRX cluster (%s)", clusterName_.c_str());
        open_ = false;
        return false;
    }
    open_ = true;
    // Without the cluster object the open still counts; the name stays.
    orv::NrxObject cluster(*glue_);
    if (glue_->GetClusterObject(handle_, NRX_OBJ_CLUSTER, nullptr, cluster.Receive()) == NRX_SUCCESS && cluster &&
        cluster->name) {
        wchar_t wide[kClusterNameChars] = {};
        if (MultiByteToWideChar(CP_UTF8, 0, cluster->name, -1, wide, kClusterNameChars)) clusterName_ = wide;
    }
    return true;
}

unsigned NRXCluster::ClusterConfOpen() {
    if (!handle_) return ERROR_INSTALL_FAILURE;
    return glue_->ClusterConfOpen(handle_, 0) == NRX_SUCCESS ? 1 : 0;
}

unsigned NRXCluster::ClusterConfClose() {
    if (!handle_) return ERROR_INSTALL_FAILURE;
    return glue_->ClusterConfClose(handle_, 0) == NRX_SUCCESS ? 1 : 0;
}

bool NRXCluster::GetNodes(std::list<std::wstring>& nodes) {
    if (!GetResources(nodes, "Nodes")) return false;
    // Asked by address, the cluster's systems are given by address too.
    if (!IsIp(clusterName_)) return true;
    for (std::wstring& node : nodes)
        if (!FromNetworkNameToIp(node)) return false;
    return true;
}

unsigned NRXCluster::GetClusterNodes(std::list<wcstring>** nodes) {
    if (!nodes) return 0;
    *nodes = new std::list<wcstring>();
    std::list<std::wstring> systems;
    GetNodes(systems);
    for (const std::wstring& system : systems)
        if (IsNode(system.c_str())) (*nodes)->push_back(system);
    return 0;
}

bool NRXCluster::GetResources(std::list<std::wstring>& names, const char* type) {
    names.clear();
    return handle_ && type && glue_->ClusterEnum(handle_, type, names, std::string());
}

bool NRXCluster::GetGroupResourceNames(std::list<std::wstring>& names, std::string group, const char* type) {
    names.clear();
    return handle_ && type && glue_->ClusterEnum(handle_, type, names, group);
}

bool NRXCluster::GetServiceGroups(std::list<std::wstring>& groups) {
    groups.clear();
    orv::NrxNames names(*glue_);
    if (!handle_ || glue_->ObjectGetNames(handle_, NRX_OBJ_GROUP, nullptr, names.Receive(), nullptr) != NRX_SUCCESS ||
        !names)
        return false;
    for (int i = 0; names->names && i < names->count; ++i)
        if (names->names[i]) groups.push_back(orv::Widen(names->names[i]));
    return true;
}

bool NRXCluster::GetServiceGroupName(std::string& group) {
    std::list<std::wstring> lanmans;
    if (!GetResources(lanmans, "Lanman")) return false;
    for (const std::wstring& lanman : lanmans) {
        orv::ObjectName resource;
        std::string virtualName;
        if (!resource.Assign(lanman) ||
            !orv::ReadFirstValue(*glue_, handle_, resource.c_str(), "VirtualName", virtualName) ||
            !orv::EqualsIgnoreCase(orv::Widen(virtualName), clusterName_))
            continue;
        orv::NrxText name(*glue_);
        if (glue_->ResGetGrpName(handle_, resource.c_str(), name.Receive()) != NRX_SUCCESS || !name) return false;
        group = name.Get();
        return true;
    }
    return false;
}

bool NRXCluster::GetServiceGroupNames(std::list<std::wstring>& groups) {
    std::list<std::wstring> lanmans;
    if (!GetResources(lanmans, "Lanman")) return false;
    for (const std::wstring& lanman : lanmans) {
        orv::ObjectName resource;
        orv::NrxAttribute virtualName(*glue_);
        if (!resource.Assign(lanman) ||
            glue_->OpenClusterResource(handle_, resource.c_str(), "VirtualName", virtualName.Receive()) !=
                NRX_SUCCESS)
            continue;
        // Once per value the name holds; no name is compared, so every
        // network name's group is listed, duplicates kept.
        orv::AnyValue(virtualName.Get(), [&](const char*) {
            orv::NrxText group(*glue_);
            if (glue_->ResGetGrpName(handle_, resource.c_str(), group.Receive()) != NRX_SUCCESS || !group)
                return true;
            groups.push_back(orv::Widen(group.Get()));
            return false;
        });
    }
    return true;
}

NRXCluster::resState NRXCluster::GetResourceState(const char* resource, const char* system) {
    orv::ObjectName resourceName;
    orv::SystemName systemName;
    orv::NrxControl control(*glue_);
    int state = 0;
    if (!resourceName.Assign(resource) || !systemName.Assign(system) ||
        !orv::SystemControl(*glue_, systemName, control) ||
        !orv::ResourceStateOn(*glue_, handle_, resourceName.c_str(), control, state))
        return Unknown;
    if (state == NRX_RES_OFFLINE) return Offline;
    return state == NRX_RES_ONLINE ? Online : Unknown;
}

NRXCluster::resState NRXCluster::GetResourceState(std::wstring resource, std::wstring system) {
    orv::ObjectName resourceName;
    orv::SystemName systemName;
    if (!resourceName.Assign(resource) || !systemName.Assign(system)) return Unknown;
    return GetResourceState(resourceName.c_str(), systemName.c_str());
}

bool NRXCluster::GetOwningNode(char* system, size_t size, const char* resource) {
    orv::ObjectName resourceName;
    orv::NrxText group(*glue_);
    orv::NrxState states(*glue_);
    if (!system || !handle_ || !resourceName.Assign(resource) ||
        glue_->ResGetGrpName(handle_, resourceName.c_str(), group.Receive()) != NRX_SUCCESS || !group ||
        glue_->GetClusterResourceState(handle_, NRX_OBJ_GROUP, group.Get(), states.Receive(), nullptr) !=
            NRX_SUCCESS ||
        !states || !states->entries)
        return false;
    for (int i = 0; i < states->count; ++i) {
        const NRXSystemState& entry = states->entries[i];
        if (entry.state != NRX_GRP_ONLINE && entry.state != NRX_GRP_PARTIAL && entry.state != NRX_GRP_GOING_OFFLINE)
            continue;
        // A system name that does not fit is no answer rather than a cut one.
        const size_t length = entry.system ? std::strlen(entry.system) : size;
        if (length >= size) return false;
        std::memcpy(system, entry.system, length + 1);
        return true;
    }
    return false;
}

bool NRXCluster::GetMountPath(char* drive, char* resource) {
    orv::ObjectName resourceName;
    std::string path;
    if (!drive || !resourceName.Assign(resource) ||
        !orv::ReadFirstValue(*glue_, handle_, resourceName.c_str(), "MountPath", path) || path.empty())
        return false;
    const char letter = path[0];
    drive[0] = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    drive[1] = ':';
    drive[2] = '\0';
    return true;
}

bool NRXCluster::PingTillOffline(char* resource, char* system) {
    orv::ObjectName resourceName;
    orv::SystemName systemName;
    orv::NrxControl control(*glue_);
    if (!resourceName.Assign(resource) || !systemName.Assign(system) ||
        !orv::SystemControl(*glue_, systemName, control))
        return false;
    for (int poll = 0; poll < kOfflinePolls; ++poll) {
        int state = 0;
        if (!orv::ResourceStateOn(*glue_, handle_, resourceName.c_str(), control, state)) return false;
        if (state == NRX_RES_OFFLINE) return true;
        orv::ClockSleep(kOfflinePollMilliseconds);
    }
    return false;
}

bool NRXCluster::GetDriveNames(std::list<std::wstring>& drives) { return CollectDriveNames(drives, nullptr); }

bool NRXCluster::GetDriveNames(std::list<std::wstring>& drives, std::string group) {
    return CollectDriveNames(drives, &group);
}

bool NRXCluster::CollectDriveNames(std::list<std::wstring>& drives, const std::string* group) {
    drives.clear();
    for (const char* type : {"Mount", "VolLink"}) {
        // A type without resources adds nothing.
        std::list<std::wstring> resources;
        if (group)
            GetGroupResourceNames(resources, *group, type);
        else
            GetResources(resources, type);
        for (const std::wstring& resource : resources) {
            orv::ObjectName name;
            std::string path;
            if (!name.Assign(resource) || !orv::ReadFirstValue(*glue_, handle_, name.c_str(), "MountPath", path)) {
                drives.clear();
                return false;
            }
            // "F" is a drive without its colon; "\\data" a folder below the root.
            std::wstring drive = orv::Widen(path);
            if (drive.size() > 2)
                drive.erase(0, drive.find_first_not_of(L'\\'));
            else if (drive.size() < 2)
                drive += L':';
            drives.push_back(drive);
        }
    }
    return !drives.empty();
}

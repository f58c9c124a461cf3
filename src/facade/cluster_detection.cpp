// Signs of failover cluster software on a machine: the "Cluster" registry key
// and the state of the cluster service.

#include <memory>
#include <new>

#include "orvcluster/cluster.h"
#include "orvcluster/unique_handle.h"

namespace {

constexpr DWORD kServiceConfigBytes = 4096;

// The start type of a stopped service decides between "will start" and "off".
unsigned long StateFromStartType(SC_HANDLE service, std::unique_ptr<BYTE[]>& buffer) {
    DWORD needed = 0;
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get());
    BOOL read = QueryServiceConfigW(service, config, kServiceConfigBytes, &needed);
    if (!read && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        buffer.reset(new (std::nothrow) BYTE[needed]());
        if (!buffer) return 1;
        config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get());
        read = QueryServiceConfigW(service, config, needed, &needed);
    }
    if (read && config->dwStartType == SERVICE_AUTO_START) return 2;
    return 1;
}

}  // namespace

bool Cluster::MachineMightBeClustered(const wchar_t* machine) {
    orv::UniqueRegistryKey root;
    if (RegConnectRegistryW(machine, HKEY_LOCAL_MACHINE, root.Receive()) != ERROR_SUCCESS) {
        OutputDebugMsg(L"Unable to connect to the registry on %s", machine);
        return false;
    }
    orv::UniqueRegistryKey clusterKey;
    if (RegOpenKeyExW(root.Get(), L"Cluster", 0, KEY_READ, clusterKey.Receive()) != ERROR_SUCCESS) {
        OutputDebugMsg(L"\"Cluster\" key does not appear to be present in the registry");
        return false;
    }
    return true;
}

unsigned long Cluster::QueryClusterServiceState(const wchar_t* machine) {
    std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[kServiceConfigBytes]());
    if (!buffer) return 0;

    orv::UniqueServiceHandle manager(OpenSCManagerW(machine, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        OutputDebugMsg(L"Unable to connect to the Service Control Manager on %s", machine);
        return 0;
    }
    orv::UniqueServiceHandle service(
        OpenServiceW(manager.Get(), L"ClusSvc", SERVICE_QUERY_CONFIG | SERVICE_INTERROGATE));
    if (!service) {
        OutputDebugMsg(L"Failed to query ClusSvc service status");
        return 1;
    }

    SERVICE_STATUS status = {};
    if (ControlService(service.Get(), SERVICE_CONTROL_INTERROGATE, &status)) {
        if (status.dwCurrentState == SERVICE_RUNNING) return 4;
        if (status.dwCurrentState == SERVICE_START_PENDING) return 2;
        return 1;
    }
    if (GetLastError() == ERROR_SERVICE_NOT_ACTIVE) return StateFromStartType(service.Get(), buffer);
    return 1;
}

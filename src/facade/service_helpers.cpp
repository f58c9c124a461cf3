// Service start types and presence, the operating system version, and the
// lookup of a service in the product's resource table.

#include <memory>
#include <new>

#include "orvcluster/cluster.h"
#include "support/text.h"
#include "orvcluster/unique_handle.h"

unsigned Cluster::SetServiceStartupType(const wchar_t* service, const wchar_t* machine,
                                        unsigned long startType) {
    orv::UniqueServiceHandle manager(OpenSCManagerW(machine, nullptr, SC_MANAGER_ALL_ACCESS));
    if (!manager) return 0xFFFFFFFF;
    orv::UniqueServiceHandle serviceHandle(
        service ? OpenServiceW(manager.Get(), service, SERVICE_ALL_ACCESS) : nullptr);
    if (!serviceHandle) return 0xFFFFFFFE;

    DWORD needed = 0;
    QueryServiceConfigW(serviceHandle.Get(), nullptr, 0, &needed);
    std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[needed ? needed : 1]());
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.get());
    // A configuration that cannot be read is left alone and reported as success.
    if (!buffer || !needed || !QueryServiceConfigW(serviceHandle.Get(), config, needed, &needed))
        return 0;
    if (!ChangeServiceConfigW(serviceHandle.Get(), SERVICE_NO_CHANGE, startType, SERVICE_NO_CHANGE,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr))
        return GetLastError();
    return 0;
}

bool Cluster::IsOsVersion6OrLater() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    if (!GetVersionExW(&version)) return false;
#pragma GCC diagnostic pop
    return version.dwMajorVersion >= 6;
}

bool Cluster::IsServicePresent(const wchar_t* service, const wchar_t* machine) {
    if (!service) return false;
    orv::UniqueServiceHandle manager(OpenSCManagerW(machine, nullptr, SC_MANAGER_CONNECT));
    if (!manager) return false;
    orv::UniqueServiceHandle serviceHandle(OpenServiceW(manager.Get(), service, SERVICE_ALL_ACCESS));
    return static_cast<bool>(serviceHandle);
}

bool Cluster::IsServiceResource(const wchar_t* name, const CLUSTERRESOURCE* table) {
    if (!name || !table) return false;
    for (const CLUSTERRESOURCE* record = table; record->resourceName[0]; ++record) {
        if (record->serviceName[0] && orv::EqualsIgnoreCase(name, record->serviceName)) return true;
    }
    return false;
}

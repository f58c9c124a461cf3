// The product's services as the installation wizard handles them: their
// start type, starting them and stopping them, by the "Generic Service"
// records of the product definition's table.

#include <windows.h>

#include "host/clock.h"
#include "orvcluster/cluster.h"
#include "orvcluster/names.h"
#include "orvcluster/unique_handle.h"

namespace {

// Starting: the status is polled every half second for at most 30 s; a
// service that did not time out then gets 5 s to settle.
constexpr DWORD kStartPollMilliseconds = 500;
constexpr int kStartPolls = 60;
constexpr DWORD kStartSettleMilliseconds = 5000;

// Stopping: while the service reports stop pending, pause twice its wait
// hint within these bounds; then 2 s more before the last look.
constexpr ULONGLONG kStopPauseMinimum = 2000;
constexpr ULONGLONG kStopPauseMaximum = 10000;
constexpr DWORD kStopSettleMilliseconds = 2000;

// What starting or stopping one service gave.
constexpr DWORD kNoServiceManager = 1008;
constexpr DWORD kServiceNotOpened = 1009;
constexpr DWORD kStatusUnreadable = 1010;
constexpr DWORD kStopRefused = 1011;
constexpr DWORD kStartTimedOut = 0xFFFFFFFD;
constexpr DWORD kAlreadyStopped = 1;
constexpr DWORD kStoppedNow = 2;

// CWIZ_StopServices' answer when a service did not stop.
constexpr unsigned kServiceStillRunning = 1006;

bool IsServiceRecord(const CLUSTERRESOURCE& record) {
    return orv::EqualsIgnoreCase(record.resourceType, L"Generic Service");
}

// Calls `action` with each service of the table that `machine` has, from
// the table's last record to its first: the services that depend on others
// come later in the table, so they stop first.
template <typename Action>
void ForEachPresentServiceLastFirst(const wchar_t* machine, Action action) {
    CLUSTERRESOURCE* const first = Cluster::CWIZ_GetResourceList();
    CLUSTERRESOURCE* record = first;
    while (record->resourceName[0]) ++record;
    while (record != first) {
        --record;
        if (IsServiceRecord(*record) && Cluster::IsServicePresent(record->serviceName, machine))
            action(record->serviceName);
    }
}

DWORD WaitUntilRunning(SC_HANDLE service) {
    SERVICE_STATUS status = {};
    for (int poll = 0; poll < kStartPolls; ++poll) {
        orv::ClockSleep(kStartPollMilliseconds);
        // A status that cannot be read ends the wait early.
        if (!QueryServiceStatus(service, &status) || status.dwCurrentState == SERVICE_RUNNING) return 0;
    }
    return kStartTimedOut;
}

// Opens the service with full access through `machine`'s service manager:
// 0, or the code of the step that failed.
DWORD OpenProductService(const wchar_t* name, const wchar_t* machine, orv::UniqueServiceHandle& service) {
    orv::UniqueServiceHandle manager(OpenSCManagerW(machine, nullptr, SC_MANAGER_CONNECT));
    if (!manager) return kNoServiceManager;
    service.Reset(OpenServiceW(manager.Get(), name, SERVICE_ALL_ACCESS));
    return service ? 0 : kServiceNotOpened;
}

DWORD StartProductService(const wchar_t* name, const wchar_t* machine) {
    orv::UniqueServiceHandle service;
    if (const DWORD failed = OpenProductService(name, machine, service)) return failed;
    SERVICE_STATUS status = {};
    if (QueryServiceStatus(service.Get(), &status) && status.dwCurrentState == SERVICE_RUNNING) return 0;

    DWORD result = 0;
    if (StartServiceW(service.Get(), 0, nullptr)) result = WaitUntilRunning(service.Get());
    // A service that refused to start gets the pause too; one that timed
    // out has been waited for long enough.
    if (result != kStartTimedOut) orv::ClockSleep(kStartSettleMilliseconds);
    return result;
}

DWORD StopPause(DWORD waitHint) {
    const ULONGLONG pause = 2ULL * waitHint;
    if (pause < kStopPauseMinimum) return static_cast<DWORD>(kStopPauseMinimum);
    if (pause > kStopPauseMaximum) return static_cast<DWORD>(kStopPauseMaximum);
    return static_cast<DWORD>(pause);
}

DWORD StopProductService(const wchar_t* name, const wchar_t* machine) {
    orv::UniqueServiceHandle service;
    if (const DWORD failed = OpenProductService(name, machine, service)) return failed;
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service.Get(), &status)) return kStatusUnreadable;
    if (status.dwCurrentState == SERVICE_STOPPED) return kAlreadyStopped;
    if (!ControlService(service.Get(), SERVICE_CONTROL_STOP, &status)) return kStopRefused;

    // However long a service stays stop pending, it is waited for: the
    // product's files must be closed before the wizard goes on. Its check
    // point is not looked at, so a stalled one does not end the wait either.
    if (QueryServiceStatus(service.Get(), &status)) {
        while (status.dwCurrentState == SERVICE_STOP_PENDING) {
            orv::ClockSleep(StopPause(status.dwWaitHint));
            if (!QueryServiceStatus(service.Get(), &status)) break;
        }
    }
    orv::ClockSleep(kStopSettleMilliseconds);
    if (!QueryServiceStatus(service.Get(), &status)) return kStatusUnreadable;
    return status.dwCurrentState == SERVICE_STOPPED ? kStoppedNow : GetLastError();
}

}  // namespace

int Cluster::CWIZ_SetServicesStartupType(const wchar_t* machine, unsigned long startType) {
    // The start type needs no cluster: a plain object serves.
    Cluster noCluster;
    for (const CLUSTERRESOURCE* record = CWIZ_GetResourceList(); record->resourceName[0]; ++record) {
        if (IsServiceRecord(*record)) noCluster.SetServiceStartupType(record->serviceName, machine, startType);
    }
    return 0;
}

unsigned Cluster::CWIZ_StartServices(const wchar_t* machine) {
    // Last first, as stopping goes. A service that does not start does not
    // hold up the others; the wizard looks at the services afterwards.
    ForEachPresentServiceLastFirst(machine,
                                   [machine](const wchar_t* name) { StartProductService(name, machine); });
    return 0;
}

unsigned Cluster::CWIZ_StopServices(const wchar_t* machine) {
    unsigned answer = 0;
    ForEachPresentServiceLastFirst(machine, [machine, &answer](const wchar_t* name) {
        const DWORD result = StopProductService(name, machine);
        if (result != kAlreadyStopped && result != kStoppedNow) answer = kServiceStillRunning;
    });
    return answer;
}

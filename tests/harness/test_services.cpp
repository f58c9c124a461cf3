#include "harness/test_services.h"

#include <stdexcept>

#include "simclock.h"
#include "orvcluster/unique_handle.h"

namespace orvtest {

namespace {

using ServiceHandle = orv::UniqueServiceHandle;

SC_HANDLE OpenManager() { return OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS); }

void KillProcess(DWORD processId) {
    HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, processId);
    if (!process) return;
    TerminateProcess(process, 1);
    WaitForSingleObject(process, 5000);
    CloseHandle(process);
}

void StopAndDelete(SC_HANDLE service) {
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof(status),
                             &needed) &&
        status.dwCurrentState != SERVICE_STOPPED) {
        // A service told to never stop (or to stop in virtual time nobody
        // advances) is ended the hard way.
        SERVICE_STATUS ignored;
        ControlService(service, SERVICE_CONTROL_STOP, &ignored);
        for (int i = 0; i < 500; ++i) {
            if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO,
                                     reinterpret_cast<BYTE*>(&status), sizeof(status), &needed) &&
                status.dwCurrentState == SERVICE_STOPPED)
                break;
            if (i == 20 && status.dwProcessId) KillProcess(status.dwProcessId);
            Sleep(20);
        }
    }
    DeleteService(service);
}

}  // namespace

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.rfind(L'\\') + 1);
}

void RemoveService(const std::wstring& name) {
    ServiceHandle manager(OpenManager());
    ServiceHandle service(OpenServiceW(manager.Get(), name.c_str(), SERVICE_ALL_ACCESS));
    if (!service) return;
    StopAndDelete(service.Get());
    service.Reset();
    // The manager deletes the service once the last handle to it is closed;
    // the next test must not find it, even on a loaded machine.
    for (int i = 0; i < 250; ++i) {
        ServiceHandle still(OpenServiceW(manager.Get(), name.c_str(), SERVICE_QUERY_STATUS));
        if (!still) return;
        Sleep(20);
    }
}

TestService::TestService(const std::wstring& name, const std::wstring& options, DWORD startType)
    : name_(name) {
    RemoveService(name_);
    std::wstring command = L"\"" + ProgramFolder() + L"orvtestsvc.exe\" --clock " +
                           SimClock_Name() + L" " + options;
    ServiceHandle manager(OpenManager());
    ServiceHandle service(CreateServiceW(manager.Get(), name_.c_str(), name_.c_str(),
                                         SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, startType,
                                         SERVICE_ERROR_IGNORE, command.c_str(), nullptr, nullptr,
                                         nullptr, nullptr, nullptr));
    if (!service) throw std::runtime_error("cannot install the test service");
}

TestService::~TestService() { RemoveService(name_); }

bool TestService::Start(DWORD state) {
    ServiceHandle manager(OpenManager());
    ServiceHandle service(OpenServiceW(manager.Get(), name_.c_str(), SERVICE_ALL_ACCESS));
    if (!service || !StartServiceW(service.Get(), 0, nullptr)) return false;
    for (int waited = 0; waited <= 10000; waited += 10) {
        if (State() == state) return true;
        Sleep(10);
    }
    return false;
}

DWORD TestService::State() const {
    ServiceHandle manager(OpenManager());
    ServiceHandle service(OpenServiceW(manager.Get(), name_.c_str(), SERVICE_QUERY_STATUS));
    SERVICE_STATUS status = {};
    if (!service || !QueryServiceStatus(service.Get(), &status)) return 0;
    return status.dwCurrentState;
}

DWORD TestService::StartType() const {
    ServiceHandle manager(OpenManager());
    ServiceHandle service(OpenServiceW(manager.Get(), name_.c_str(), SERVICE_QUERY_CONFIG));
    BYTE buffer[8192];
    DWORD needed = 0;
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
    if (!service || !QueryServiceConfigW(service.Get(), config, sizeof(buffer), &needed))
        return 0xFFFFFFFF;
    return config->dwStartType;
}

}  // namespace orvtest

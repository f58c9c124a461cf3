// A Windows service for tests, installed under any name. Its behaviour comes
// from its command line:
//   --start-pending    report "start pending" and never finish starting
//   --stop-after MS    on a stop request, stay "stop pending" for MS
//                      milliseconds of the shared virtual clock, then stop
//   --never-stop       on a stop request, stay "stop pending" for ever
//   --wait-hint MS     the wait hint reported while pending (3000 unless said)
//   --clock NAME       join the virtual clock of that name (the test's)
// Without options it runs and stops at once when asked.

#include <windows.h>

#include <cwchar>

#include "simclock.h"

namespace {

enum class StopBehaviour { Immediate, Delayed, Never };

struct Options {
    bool startPending = false;
    StopBehaviour stop = StopBehaviour::Immediate;
    ULONGLONG stopDelay = 0;
    DWORD waitHint = 3000;
};

Options options;
SERVICE_STATUS_HANDLE statusHandle = nullptr;
SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, SERVICE_STOPPED, 0, NO_ERROR, 0, 0, 0};
HANDLE stopRequested = nullptr;

void Report(DWORD state, DWORD controlsAccepted) {
    status.dwCurrentState = state;
    status.dwControlsAccepted = controlsAccepted;
    ++status.dwCheckPoint;
    status.dwWaitHint = state == SERVICE_RUNNING || state == SERVICE_STOPPED ? 0 : options.waitHint;
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI Control(DWORD control, DWORD, void*, void*) {
    switch (control) {
    case SERVICE_CONTROL_STOP:
        SetEvent(stopRequested);
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
        return NO_ERROR;
    default:
        return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI ServiceMain(DWORD, wchar_t** arguments) {
    statusHandle = RegisterServiceCtrlHandlerExW(arguments ? arguments[0] : L"", Control, nullptr);
    if (!statusHandle) return;
    Report(options.startPending ? SERVICE_START_PENDING : SERVICE_RUNNING, SERVICE_ACCEPT_STOP);
    WaitForSingleObject(stopRequested, INFINITE);

    if (options.stop == StopBehaviour::Immediate) {
        Report(SERVICE_STOPPED, 0);
        return;
    }
    Report(SERVICE_STOP_PENDING, 0);
    // Follow the virtual clock of the test that asked for the stop.
    const ULONGLONG requestedAt = SimClock_GetTickCount64();
    while (options.stop == StopBehaviour::Never ||
           SimClock_GetTickCount64() - requestedAt < options.stopDelay)
        Sleep(1);
    Report(SERVICE_STOPPED, 0);
}

void ParseOptions(int count, wchar_t** arguments) {
    for (int i = 1; i < count; ++i) {
        if (!wcscmp(arguments[i], L"--start-pending")) {
            options.startPending = true;
        } else if (!wcscmp(arguments[i], L"--never-stop")) {
            options.stop = StopBehaviour::Never;
        } else if (!wcscmp(arguments[i], L"--clock") && i + 1 < count) {
            SetEnvironmentVariableW(L"ORVSIM_CLOCK", arguments[++i]);
        } else if (!wcscmp(arguments[i], L"--wait-hint") && i + 1 < count) {
            options.waitHint = wcstoul(arguments[++i], nullptr, 10);
        } else if (!wcscmp(arguments[i], L"--stop-after") && i + 1 < count) {
            options.stop = StopBehaviour::Delayed;
            options.stopDelay = wcstoull(arguments[++i], nullptr, 10);
        }
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    ParseOptions(count, arguments);
    stopRequested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    wchar_t anyName[] = L"";
    SERVICE_TABLE_ENTRYW table[] = {{anyName, ServiceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}

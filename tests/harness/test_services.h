#pragma once

#include <windows.h>

#include <string>

namespace orvtest {

// A test service program (orvtestsvc.exe) installed in Wine's service manager
// under a chosen name for the life of a test, then stopped and removed.
class TestService {
public:
    // `options` are orvtestsvc.exe's command-line options ("--start-pending",
    // "--stop-after 20000", ...); the service joins this process's virtual clock.
    TestService(const std::wstring& name, const std::wstring& options,
                DWORD startType = SERVICE_DEMAND_START);
    ~TestService();
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;

    // Starts the service and waits (up to 10 s of real time) until it
    // reports `state`.
    bool Start(DWORD state = SERVICE_RUNNING);
    DWORD State() const;
    DWORD StartType() const;

private:
    std::wstring name_;
};

// Removes a service of that name left behind by an earlier run.
void RemoveService(const std::wstring& name);

// The folder of the running test program, with a trailing backslash.
std::wstring ProgramFolder();

}  // namespace orvtest

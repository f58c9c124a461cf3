// The wizard's handling of the product's services in Wine's service manager:
// the test service program installed under the definition's service names.
// Every wait runs on the virtual clock.

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "harness/example_definition.h"
#include "harness/test_services.h"
#include "orvcluster.h"

namespace {

// The definition's services, in table order.
const wchar_t* const kServices[] = {L"OrvDiscovery", L"OrvJobEngine", L"OrvTapeEngine"};

// A service before the call: its options and the state it is brought to;
// without options it is not installed.
struct Before {
    const wchar_t* options;
    DWORD state;
};
constexpr Before kAbsent = {nullptr, SERVICE_STOPPED}, kStopped = {L"", SERVICE_STOPPED}, kRunning = {L"", SERVICE_RUNNING};

class WizardServices : public orvtest::DefinitionLoadedTest {
protected:
    void TearDown() override {
        services_.clear();
        DefinitionLoadedTest::TearDown();
    }

    void Install(const std::vector<Before>& before) {
        services_.clear();
        for (size_t i = 0; i < 3; ++i) {
            orvtest::RemoveService(kServices[i]);
            services_.emplace_back(before[i].options ? new orvtest::TestService(kServices[i], before[i].options)
                                                     : nullptr);
            if (before[i].state == SERVICE_STOPPED) continue;
            ASSERT_TRUE(services_[i]->Start());
            if (before[i].state != SERVICE_STOP_PENDING) continue;
            orv::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
            orv::UniqueServiceHandle service(OpenServiceW(manager.Get(), kServices[i], SERVICE_STOP));
            SERVICE_STATUS status;
            ASSERT_TRUE(ControlService(service.Get(), SERVICE_CONTROL_STOP, &status));
            for (int wait = 0; wait < 1000 && services_[i]->State() != SERVICE_STOP_PENDING; ++wait) Sleep(10);
            ASSERT_EQ(DWORD{SERVICE_STOP_PENDING}, services_[i]->State());
        }
    }
    std::vector<DWORD> States() const {  // 0: not installed
        std::vector<DWORD> states;
        for (const auto& service : services_) states.push_back(service ? service->State() : 0);
        return states;
    }
    // When the service's process began.
    static ULONGLONG Began(const wchar_t* name) {
        orv::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
        orv::UniqueServiceHandle service(OpenServiceW(manager.Get(), name, SERVICE_QUERY_STATUS));
        SERVICE_STATUS_PROCESS status = {};
        DWORD needed;
        QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof(status),
                             &needed);
        orv::UniqueKernelHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, status.dwProcessId));
        FILETIME times[4] = {};
        GetProcessTimes(process.Get(), &times[0], &times[1], &times[2], &times[3]);
        return (ULONGLONG{times[0].dwHighDateTime} << 32) | times[0].dwLowDateTime;
    }
    // The call takes `least` milliseconds of virtual time, plus any number
    // of `step`s (a stop-pending service is looked at again after each pause).
    template <typename Call>
    static void ExpectTook(ULONGLONG least, ULONGLONG step, Call call) {
        const ULONGLONG start = SimClock_GetTickCount64();
        call();
        const ULONGLONG elapsed = SimClock_GetTickCount64() - start;
        ASSERT_GE(elapsed, least);
        EXPECT_EQ(0u, step ? (elapsed - least) % step : elapsed - least) << elapsed;
    }

    std::vector<std::unique_ptr<orvtest::TestService>> services_;
};

TEST_F(WizardServices, StoppingWaitsWhileStopPendingAnd1006WhenOneDoesNotStop) {
    const Before slow = {L"--stop-after 13000", SERVICE_RUNNING}, stuck = {L"--never-stop", SERVICE_STOP_PENDING};
    // Twice a short hint is still 2 s; twice a long one at most 10 s.
    const Before shortHint = {L"--stop-after 13000 --wait-hint 900", SERVICE_RUNNING},
                 longHint = {L"--stop-after 13000 --wait-hint 8000", SERVICE_RUNNING};
    const struct {
        std::vector<Before> before;
        unsigned answer;
        ULONGLONG least, step;  // 2 s after each stop; twice the 3 s wait hint per look while stop pending
        std::vector<DWORD> after;
    } cases[] = {
        {{kStopped, kStopped, kStopped}, 0, 0, 0, {1, 1, 1}},
        {{kRunning, kAbsent, kRunning}, 0, 2 * 2000, 0, {1, 0, 1}},
        {{kStopped, slow, kStopped}, 0, 3 * 6000 + 2000, 6000, {1, 1, 1}},
        {{kStopped, shortHint, kStopped}, 0, 7 * 2000 + 2000, 2000, {1, 1, 1}},
        {{kStopped, longHint, kStopped}, 0, 2 * 10000 + 2000, 10000, {1, 1, 1}},
        {{kRunning, stuck, kRunning}, 1006, 2 * 2000, 0, {1, SERVICE_STOP_PENDING, 1}},  // stop refused
    };
    for (const auto& c : cases) {
        ASSERT_NO_FATAL_FAILURE(Install(c.before));
        ExpectTook(c.least, c.step, [&] { EXPECT_EQ(c.answer, Cluster::CWIZ_StopServices(nullptr)); });
        EXPECT_EQ(c.after, States());
    }
}

TEST_F(WizardServices, StartingLastFirstWaiting30SecondsAtMost) {
    const Before neverStarts = {L"--start-pending", SERVICE_STOPPED};
    const struct {
        std::vector<Before> before;
        ULONGLONG took;  // a 500 ms poll and 5 s for each service that starts
        std::vector<DWORD> after;
    } cases[] = {
        {{kStopped, kAbsent, kRunning}, 5500, {4, 0, 4}},
        {{kStopped, kStopped, neverStarts}, 60 * 500 + 2 * 5500, {4, 4, 2}},
    };
    for (const auto& c : cases) {
        ASSERT_NO_FATAL_FAILURE(Install(c.before));
        ExpectTook(c.took, 0, [] { EXPECT_EQ(0u, Cluster::CWIZ_StartServices(nullptr)); });
        EXPECT_EQ(c.after, States());
    }
    // The last case started all three.
    EXPECT_LT(Began(kServices[2]), Began(kServices[1]));
    EXPECT_LT(Began(kServices[1]), Began(kServices[0]));
}

TEST_F(WizardServices, StartTypeOfEachInstalledService) {
    ASSERT_NO_FATAL_FAILURE(Install({kStopped, kAbsent, kStopped}));
    for (DWORD startType : {DWORD{SERVICE_AUTO_START}, DWORD{SERVICE_DISABLED}}) {
        EXPECT_EQ(0, Cluster::CWIZ_SetServicesStartupType(nullptr, startType));
        EXPECT_EQ(startType, services_[0]->StartType());
        EXPECT_EQ(startType, services_[2]->StartType());
    }
}

}  // namespace

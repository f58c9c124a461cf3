// Opening the failover cluster of this computer when its cluster key says it
// is a node: the wait for a starting cluster service, and the process-wide
// memory of a wait that came to nothing. One program of its own, because
// that memory lasts as long as the process.

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/simulated_cluster.h"
#include "harness/test_services.h"
#include "harness/trace_capture.h"
#include "orvcluster.h"
#include "orvcluster/mscs_cluster.h"

namespace {

using orvtest::TestService;
using orvtest::TraceCapture;

const std::wstring kWaiting = L"Waiting for the cluster service to startup";
const std::wstring kFailed = L"Failed to open Microsoft cluster ()";

class ClusterServiceWait : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        orvtest::RemoveService(L"ClusSvc");
    }
    // Opens a new backend for this computer; answers the virtual time it took.
    ULONGLONG Open(bool* opened) {
        const ULONGLONG start = SimClock_GetTickCount64();
        MSCSCluster cluster(nullptr);
        *opened = cluster.ClusterOpen();
        return SimClock_GetTickCount64() - start;
    }
    orvtest::ScopedMachineKey clusterKey_{L"Cluster"};
};

TEST_F(ClusterServiceWait, StartingServiceIsAwaitedOnceThenGivenUpUntilItRuns) {
    bool opened = true;
    {
        // Stopped with automatic start: "starting", so six waits of ten seconds.
        TestService service(L"ClusSvc", L"", SERVICE_AUTO_START);
        TraceCapture capture;
        EXPECT_EQ(60000u, Open(&opened));
        EXPECT_FALSE(opened);
        std::vector<std::wstring> expected(6, kWaiting);
        expected.push_back(kFailed);
        EXPECT_EQ(expected, capture.Messages());

        // The process gave up: the next open fails at once.
        TraceCapture again;
        EXPECT_EQ(0u, Open(&opened));
        EXPECT_FALSE(opened);
        EXPECT_EQ(std::vector<std::wstring>{kFailed}, again.Messages());
        EXPECT_EQ(0u, SimCluster_CallCount(L"OpenCluster"));
    }
    {
        // A running service opens at once and lifts the memory of the wait.
        TestService service(L"ClusSvc", L"");
        ASSERT_TRUE(service.Start());
        EXPECT_EQ(0u, Open(&opened));
        EXPECT_TRUE(opened);
        EXPECT_EQ(1u, SimCluster_CallCount(L"OpenCluster"));
    }
    TestService service(L"ClusSvc", L"", SERVICE_AUTO_START);
    EXPECT_EQ(60000u, Open(&opened));
    EXPECT_FALSE(opened);
}

// Once the service runs, the wait ends with one open, whatever it answers.
TEST_F(ClusterServiceWait, WaitEndsWhenTheServiceRunsEvenIfTheOpenFails) {
    bool opened = false;
    {
        // An open with the service running lifts an earlier give-up.
        TestService running(L"ClusSvc", L"");
        ASSERT_TRUE(running.Start());
        Open(&opened);
        ASSERT_TRUE(opened);
    }
    SimCluster_ResetCounters();
    TestService service(L"ClusSvc", L"", SERVICE_AUTO_START);
    bool started = false;
    TraceCapture capture([&](const std::wstring& message) {
        if (message != kWaiting || started) return;
        started = service.Start();
        SimCluster_InjectFailure(L"OpenCluster", 1, 1, RPC_S_SERVER_UNAVAILABLE);
    });
    EXPECT_EQ(10000u, Open(&opened));
    EXPECT_TRUE(started);
    EXPECT_FALSE(opened);
    EXPECT_EQ((std::vector<std::wstring>{kWaiting, kFailed}), capture.Messages());
    EXPECT_EQ(1u, SimCluster_CallCount(L"OpenCluster"));
}

TEST_F(ClusterServiceWait, ServiceThatWillNotStartIsNotAwaited) {
    bool opened = true;
    TraceCapture capture;
    EXPECT_EQ(0u, Open(&opened));  // no ClusSvc at all
    EXPECT_FALSE(opened);
    EXPECT_EQ((std::vector<std::wstring>{L"Failed to query ClusSvc service status", kFailed}),
              capture.Messages());

    TestService manual(L"ClusSvc", L"", SERVICE_DEMAND_START);
    EXPECT_EQ(0u, Open(&opened));
    EXPECT_FALSE(opened);
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenCluster"));
}

}  // namespace

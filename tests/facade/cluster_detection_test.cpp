// Signs of cluster software, read from Wine's real registry and service
// manager: the "Cluster" key and the state of a "ClusSvc" test service.

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/test_services.h"
#include "harness/trace_capture.h"
#include "orvcluster.h"

namespace {

using orvtest::TraceCapture;
using orvtest::TestService;

const wchar_t kMissingHost[] = L"NO-SUCH-HOST-ORV";

class ClusterDetection : public ::testing::Test {
protected:
    void SetUp() override {
        orvtest::DeleteMachineKey(L"Cluster");
        orvtest::RemoveService(L"ClusSvc");
    }
};

TEST_F(ClusterDetection, ClusterKeyDecidesWhetherTheMachineMightBeClustered) {
    {
        TraceCapture capture;
        EXPECT_FALSE(Cluster::MachineMightBeClustered(nullptr));
        EXPECT_EQ(std::vector<std::wstring>{L"\"Cluster\" key does not appear to be present in the registry"},
                  capture.Messages());
    }
    orvtest::ScopedMachineKey clusterKey(L"Cluster");
    TraceCapture capture;
    EXPECT_TRUE(Cluster::MachineMightBeClustered(nullptr));
    EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(ClusterDetection, UnreachableRegistryIsTracedAndReadAsNotClustered) {
    // (Wine's service manager answers for any machine name, so the matching
    // service manager failure cannot be provoked here.)
    TraceCapture capture;
    EXPECT_FALSE(Cluster::MachineMightBeClustered(kMissingHost));
    EXPECT_EQ(std::vector<std::wstring>{L"Unable to connect to the registry on NO-SUCH-HOST-ORV"},
              capture.Messages());
}

TEST_F(ClusterDetection, MissingClusterServiceIsStateOne) {
    TraceCapture capture;
    EXPECT_EQ(1u, Cluster::QueryClusterServiceState(nullptr));
    EXPECT_EQ(std::vector<std::wstring>{L"Failed to query ClusSvc service status"}, capture.Messages());
}

TEST_F(ClusterDetection, RunningClusterServiceIsStateFour) {
    TestService service(L"ClusSvc", L"");
    ASSERT_TRUE(service.Start());
    TraceCapture capture;
    EXPECT_EQ(4u, Cluster::QueryClusterServiceState(nullptr));
    EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(ClusterDetection, StartingClusterServiceRefusesInterrogationAndIsStateOne) {
    // The service manager refuses to interrogate a service that is still
    // starting (ERROR_SERVICE_CANNOT_ACCEPT_CTRL), which reads as "present".
    TestService service(L"ClusSvc", L"--start-pending");
    ASSERT_TRUE(service.Start(SERVICE_START_PENDING));
    EXPECT_EQ(1u, Cluster::QueryClusterServiceState(nullptr));
}

TEST_F(ClusterDetection, StoppedClusterServiceCountsAsStartingOnlyWithAutomaticStart) {
    {
        TestService automatic(L"ClusSvc", L"", SERVICE_AUTO_START);
        EXPECT_EQ(2u, Cluster::QueryClusterServiceState(nullptr));
    }
    TestService manual(L"ClusSvc", L"", SERVICE_DEMAND_START);
    EXPECT_EQ(1u, Cluster::QueryClusterServiceState(nullptr));
}

}  // namespace

// Signs of cluster software, read from Wine's real registry and service
// manager: the "Cluster" key and the state of a "ClusSvc" test service.

#include <memory>

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/test_services.h"
#include "harness/trace_capture.h"
#include "orvcluster.h"

namespace {

using orvtest::TestService;
using orvtest::TraceCapture;
using Messages = std::vector<std::wstring>;

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
        EXPECT_EQ(Messages{L"\"Cluster\" key does not appear to be present in the registry"},
                  capture.Messages());
    }
    {
        // (Wine's service manager answers for any machine name, so the
        // matching service manager failure cannot be provoked here.)
        TraceCapture capture;
        EXPECT_FALSE(Cluster::MachineMightBeClustered(L"NO-SUCH-HOST-ORV"));
        EXPECT_EQ(Messages{L"Unable to connect to the registry on NO-SUCH-HOST-ORV"},
                  capture.Messages());
    }
    orvtest::ScopedMachineKey clusterKey(L"Cluster");
    TraceCapture capture;
    EXPECT_TRUE(Cluster::MachineMightBeClustered(nullptr));
    EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(ClusterDetection, ClusterServiceState) {
    const struct {
        const char* label;
        bool installed;
        const wchar_t* options;
        DWORD startType;
        DWORD startedTo;  // 0: left stopped
        unsigned long state;
        Messages trace;
    } rows[] = {
        {"missing", false, L"", 0, 0, 1, {L"Failed to query ClusSvc service status"}},
        {"running", true, L"", SERVICE_DEMAND_START, SERVICE_RUNNING, 4, {}},
        // The service manager refuses to interrogate a service that is still
        // starting (ERROR_SERVICE_CANNOT_ACCEPT_CTRL), which reads as "present".
        {"starting", true, L"--start-pending", SERVICE_DEMAND_START, SERVICE_START_PENDING, 1, {}},
        {"stopped, automatic start", true, L"", SERVICE_AUTO_START, 0, 2, {}},
        {"stopped, manual start", true, L"", SERVICE_DEMAND_START, 0, 1, {}},
    };
    for (const auto& row : rows) {
        std::unique_ptr<TestService> service;
        if (row.installed) {
            service = std::make_unique<TestService>(L"ClusSvc", row.options, row.startType);
            if (row.startedTo) {
                ASSERT_TRUE(service->Start(row.startedTo)) << row.label;
            }
        }
        TraceCapture capture;
        EXPECT_EQ(row.state, Cluster::QueryClusterServiceState(nullptr)) << row.label;
        EXPECT_EQ(row.trace, capture.Messages()) << row.label;
    }
}

}  // namespace

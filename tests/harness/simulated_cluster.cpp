#include "harness/simulated_cluster.h"

namespace orvtest {

std::wstring ExampleScenario() {
    const std::string path = ORVTEST_EXAMPLE_SCENARIO;
    return L"Z:" + std::wstring(path.begin(), path.end());
}

void SimulatedClusterTest::SetUp() {
    ASSERT_TRUE(SimCluster_LoadScenarioFile(ExampleScenario().c_str()));
    SimCluster_ClearFailures();
    SimCluster_ResetCounters();
}

void SimulatedClusterTest::TearDown() {
    EXPECT_EQ(0u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "cluster handles left open";
}

}  // namespace orvtest

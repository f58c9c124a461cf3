#include "harness/simulated_cluster.h"

namespace orvtest {

void SimulatedClusterTest::SetUp() {
    ASSERT_TRUE(SimCluster_LoadScenarioFile(ExampleScenario().c_str()));
    SimCluster_ClearFailures();
    SimCluster_ResetCounters();
}

void SimulatedClusterTest::TearDown() {
    EXPECT_EQ(0u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "cluster handles left open";
}

}  // namespace orvtest

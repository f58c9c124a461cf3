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

nlohmann::json SimulatedCluster() {
    DWORD size = 0;
    SimCluster_SaveScenarioText(nullptr, &size);
    std::string text(size, '\0');
    if (!SimCluster_SaveScenarioText(&text[0], &size)) return nlohmann::json();
    text.resize(size ? size - 1 : 0);
    return nlohmann::json::parse(text);
}

const nlohmann::json* Named(const nlohmann::json& cluster, const char* list, const std::string& name) {
    if (!cluster.contains(list)) return nullptr;
    for (const nlohmann::json& item : cluster[list])
        if (item.value("name", "") == name) return &item;
    return nullptr;
}

}  // namespace orvtest

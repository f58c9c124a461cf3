#pragma once

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simclock.h"
#include "harness/wine_paths.h"
#include "simcluster.h"

namespace orvtest {

// Runs each test on a fresh copy of the demo cluster in the simulator, with
// no failures scripted and the call counters at zero, and checks afterwards
// that the test (the library included) left no cluster handle open.
class SimulatedClusterTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

// The cluster the simulator holds now, as a scenario (see
// sim/failover/scenario.h): "groups", "resources" with their "group",
// "type", "state", "private" properties, "dependencies", "checkpoints" and
// "possibleOwners".
nlohmann::json SimulatedCluster();

// The object of that "name" in one of its lists, or null.
const nlohmann::json* Named(const nlohmann::json& cluster, const char* list, const std::string& name);

}  // namespace orvtest

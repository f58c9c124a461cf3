#pragma once

#include <string>

#include <gtest/gtest.h>

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

}  // namespace orvtest

#pragma once

#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace orvtest {

// A test on the bundled cluster with the bundled product definition
// (examples/clusconfig.xml) loaded as the wizard loads it. The library keeps
// the first definition a program loads, so it is loaded once.
class DefinitionLoadedTest : public SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        static const bool loaded =
            Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, ExamplePath().c_str()) == 1;
        ASSERT_TRUE(loaded);
    }
};

}  // namespace orvtest

#pragma once

#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace orvtest {

// The bundled product definition (examples/clusconfig.xml), loaded as the
// wizard loads it. The library keeps the first definition a program loads,
// so it is loaded once; the first time needs the simulated cluster open.
inline bool LoadExampleDefinition() {
    static const bool loaded =
        Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, ExamplePath().c_str()) == 1;
    return loaded;
}

// A test on the bundled cluster with the bundled definition loaded.
class DefinitionLoadedTest : public SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        ASSERT_TRUE(LoadExampleDefinition());
    }
};

}  // namespace orvtest

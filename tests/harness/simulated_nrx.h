#pragma once

#include <string>

#include <gtest/gtest.h>

#include "harness/wine_paths.h"
#include "simnrx.h"

namespace orvtest {

// The bundled two-node NRX cluster (examples/scenarios/two-node-nrx.json):
// cluster "ORVNRX01", systems this computer (ThisComputer()) and
// "ORVNODE2"; "Orvane Group" and "Exchange Group" online here, "SQL2005
// Group" on ORVNODE2.
inline std::wstring ExampleNrxScenario() { return ExamplePath("scenarios/two-node-nrx.json"); }

// Runs each test on a fresh copy of the bundled NRX cluster in the
// simulator, with no failures scripted and the call counters at zero, and
// checks afterwards that the test (the library included) gave back every
// record the simulator handed out during it, to its own free function.
class SimulatedNrxTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    unsigned long unfreedBefore_ = 0;
};

}  // namespace orvtest

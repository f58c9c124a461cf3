#pragma once

#include <gtest/gtest.h>

#include "harness/simulated_nrx.h"
#include "orvcluster.h"
#include "simclock.h"

namespace orvtest {

// The library learns this computer's name once per process, from the
// cluster it finds first. An NRX node whose name is no network name of the
// cluster leaves it empty, so it is learnt here, before the simulated NRX
// cluster is there: the computer name itself. The factory's detection made
// on the way is then let go stale, so that its next use detects NRX.
class ComputerNameFirst : public ::testing::Environment {
    void SetUp() override {
        SimNrx_Unload();
        ASSERT_EQ(ThisComputer(), OrvGetComputerName());
        SimClock_Advance(0x10000);
    }
};

}  // namespace orvtest

#include "harness/simulated_nrx.h"

#include "harness/utf8.h"

namespace orvtest {

void SimulatedNrxTest::SetUp() {
    ASSERT_TRUE(SimNrx_LoadScenarioFile(ExampleNrxScenario().c_str())) << Utf8(SimNrx_LastError());
    SimNrx_ClearFailures();
    SimNrx_ResetCounters();
    // Records an earlier test left behind are that test's failure, not this one's.
    unfreedBefore_ = SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL);
}

void SimulatedNrxTest::TearDown() {
    SimNrx_ClearFailures();
    EXPECT_EQ(unfreedBefore_, SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL)) << "NRX records handed out and not freed";
    EXPECT_EQ(0u, SimNrx_BadFrees()) << "NRX records given to the wrong free function: " << Utf8(SimNrx_LastError());
}

}  // namespace orvtest

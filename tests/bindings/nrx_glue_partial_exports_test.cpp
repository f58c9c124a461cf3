// The NRX binding beside a client that lacks some entry points
// (NRXClusterOpenLocal, NRXFreeCntlInfo, NRXFreeStateInfo, NRXFreeStr,
// NRXResOnline): what is there works, and each missing one is answered as
// its wrapper documents.

#include <windows.h>

#include <list>
#include <string>

#include <gtest/gtest.h>

#include "harness/simulated_nrx.h"
#include "orvcluster.h"
#include "simnrx.h"

namespace {

constexpr DWORD kUntouched = 0xDEADBEEF;
constexpr DWORD kProcNotFound = ERROR_PROC_NOT_FOUND;

class NrxGluePartialExports : public orvtest::SimulatedNrxTest {
protected:
    orvclass::shared_ptr<NRXClusterGlue> glue_ = NRXClusterGlue::GetInstance();
};

TEST_F(NrxGluePartialExports, MissingEntryPointsAnswerTheirFixedResults) {
    EXPECT_FALSE(glue_->OK());

    // This computer's engine is reached only through the missing entry point.
    SetLastError(kUntouched);
    EXPECT_EQ(nullptr, glue_->OpenCluster(nullptr));
    EXPECT_EQ(kProcNotFound, GetLastError());
    NRXHandle node2 = glue_->OpenCluster("ORVNODE2");
    ASSERT_NE(nullptr, node2);

    // The enumeration needs NRXFreeCntlInfo, even for the systems.
    std::list<std::wstring> names;
    EXPECT_FALSE(glue_->ClusterEnum(node2, "Nodes", names, ""));
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(0u, SimNrx_CallCount("NRXObjGetNames"));

    SetLastError(kUntouched);
    EXPECT_EQ(NRX_FAILURE, glue_->OnlineClusterResource(node2, "Orvane", "ORVNODE2"));
    EXPECT_EQ(kProcNotFound, GetLastError());
    EXPECT_EQ(NRX_SUCCESS, glue_->OfflineClusterResource(node2, "SQL2005_SQLServer", "ORVNODE2"));

    // FreeCntlInfo, FreeStr and the first state-record slot set 127; the
    // second slot does nothing at all.
    for (void (*release)(NRXClusterGlue&) : {
             +[](NRXClusterGlue& glue) { glue.FreeCntlInfo(nullptr); },
             +[](NRXClusterGlue& glue) { glue.FreeStr(nullptr); },
             +[](NRXClusterGlue& glue) { glue.FreeResourceStateInfo(nullptr); },
         }) {
        SetLastError(kUntouched);
        release(*glue_);
        EXPECT_EQ(kProcNotFound, GetLastError());
    }
    SetLastError(kUntouched);
    glue_->FreeStateInfo(nullptr);
    EXPECT_EQ(kUntouched, GetLastError());
}

}  // namespace

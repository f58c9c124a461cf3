// The NRX binding against the simulated NRX client: cached connections, the
// partner exception during an open, the enumeration with its control records
// and widening, and the wrappers whose answers differ from the rule.

#include <windows.h>

#include <cstring>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "harness/simulated_nrx.h"
#include "harness/windows_version.h"
#include "harness/wine_paths.h"
#include "orvcluster.h"
#include "simnrx.h"

namespace {

constexpr DWORD kUntouched = 0xDEADBEEF;

class NrxGlue : public orvtest::SimulatedNrxTest {
protected:
    orvclass::shared_ptr<NRXClusterGlue> glue_ = NRXClusterGlue::GetInstance();
};

TEST_F(NrxGlue, OneConnectionPerHostForTheLifeOfTheProcess) {
    EXPECT_TRUE(glue_->OK());
    NRXHandle local = glue_->OpenCluster(nullptr);
    ASSERT_NE(nullptr, local);
    NRXHandle node2 = glue_->OpenCluster("ORVNODE2");
    ASSERT_NE(nullptr, node2);
    EXPECT_NE(local, node2);

    SimNrx_ResetCounters();
    EXPECT_EQ(local, glue_->OpenCluster(""));  // "" and null both mean this computer
    EXPECT_EQ(node2, glue_->OpenCluster("ORVNODE2"));
    EXPECT_EQ(0u, SimNrx_CallCount("NRXClusterOpenLocal") + SimNrx_CallCount("NRXClusterOpen"));

    // A failed open is not kept: the next call asks again.
    EXPECT_EQ(nullptr, glue_->OpenCluster("NO-SUCH-SYSTEM"));
    EXPECT_EQ(nullptr, glue_->OpenCluster("NO-SUCH-SYSTEM"));
    EXPECT_EQ(2u, SimNrx_CallCount("NRXClusterOpen"));
}

// An exception inside the client becomes ERROR_INVALID_HANDLE; the process
// goes on, and the host can be opened afterwards.
TEST_F(NrxGlue, PartnerExceptionDuringTheOpen) {
    const DWORD connections = SimNrx_OpenConnections();
    ASSERT_TRUE(SimNrx_InjectException("NRXClusterOpen", 1));
    SetLastError(kUntouched);
    EXPECT_EQ(nullptr, glue_->OpenCluster("ORVNRX01"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_EQ(connections, SimNrx_OpenConnections());
    EXPECT_NE(nullptr, glue_->OpenCluster("ORVNRX01"));
}

TEST_F(NrxGlue, ClusterEnumListsSystemsOrResourcesOfATypeAndWidensEachByte) {
    NRXHandle cluster = glue_->OpenCluster(nullptr);
    ASSERT_NE(nullptr, cluster);
    struct Case {
        const char* text;
        const char* group;
        std::list<std::wstring> names;
    };
    const std::vector<Case> cases = {
        {"Nodes", "", {orvtest::ThisComputer(), L"ORVNODE2"}},
        {"Lanman", "", {L"Orvane Server Name", L"SQL2005_Lanman", L"Exchange_Lanman"}},
        {"Mount", "SQL2005 Group", {L"SQL2005_Mount"}},
        {"NoSuchType", "", {}},
        {"Lanman", "No Such Group", {}},
    };
    for (const Case& c : cases) {
        std::list<std::wstring> names;
        EXPECT_EQ(!c.names.empty(), glue_->ClusterEnum(cluster, c.text, names, c.group)) << c.text;
        EXPECT_EQ(c.names, names) << c.text;
        EXPECT_EQ(0u, SimNrx_UnfreedRecords(0)) << c.text;
    }
    EXPECT_EQ(4u, SimNrx_CallCount("NRXFillCntlInfo"));  // every list but the systems'
    EXPECT_EQ(4u, SimNrx_CallCount("NRXFreeCntlInfo"));

    // Names are appended, and the answer is whether the list holds any.
    std::list<std::wstring> kept = {L"kept"};
    EXPECT_TRUE(glue_->ClusterEnum(cluster, "NoSuchType", kept, ""));
    EXPECT_EQ(std::list<std::wstring>{L"kept"}, kept);

    // No code page: "é" in UTF-8 comes back as its two bytes.
    ASSERT_TRUE(SimNrx_LoadScenarioText(
        "{\"cluster\":\"C\",\"systems\":[\"%COMPUTERNAME%\"],\"groups\":[{\"name\":\"G\",\"systemList\":"
        "[\"%COMPUTERNAME%\"]}],\"resources\":[{\"name\":\"Caf\xC3\xA9\",\"type\":\"Lanman\",\"group\":\"G\"}]}"))
        << SimNrx_LastError();
    std::list<std::wstring> names;
    EXPECT_TRUE(glue_->ClusterEnum(cluster, "Lanman", names, ""));
    EXPECT_EQ(std::list<std::wstring>{L"Caf\u00C3\u00A9"}, names);
}

TEST_F(NrxGlue, ClusterEnumFailuresFreeWhatWasMade) {
    NRXHandle cluster = glue_->OpenCluster(nullptr);
    for (const char* failing : {"NRXFillCntlInfo", "NRXObjGetNames"}) {
        SimNrx_ResetCounters();
        ASSERT_TRUE(SimNrx_InjectFailure(failing, 1, 1, NRX_E_BAD_ARGUMENT));
        std::list<std::wstring> names;
        EXPECT_FALSE(glue_->ClusterEnum(cluster, "Lanman", names, "")) << failing;
        EXPECT_TRUE(names.empty()) << failing;
        EXPECT_EQ(0u, SimNrx_UnfreedRecords(0)) << failing;
        // Without a control record nothing is listed.
        EXPECT_EQ(std::strcmp(failing, "NRXFillCntlInfo") ? 1u : 0u, SimNrx_CallCount("NRXObjGetNames")) << failing;
    }
    std::list<std::wstring> names;
    EXPECT_FALSE(glue_->ClusterEnum(cluster, nullptr, names, ""));
}

TEST_F(NrxGlue, AttributeRecordsGoBackThroughCloseClusterResource) {
    NRXHandle cluster = glue_->OpenCluster(nullptr);
    NRXAttr* value = nullptr;
    ASSERT_EQ(NRX_SUCCESS, glue_->OpenClusterResource(cluster, "Orvane Server Name", "VirtualName", &value));
    ASSERT_NE(nullptr, value);
    ASSERT_EQ(1, value->count);
    ASSERT_EQ(1, value->entries[0].count);
    EXPECT_STREQ("ORVANENRX", value->entries[0].values[0]);
    glue_->CloseClusterResource(&value);
    EXPECT_EQ(nullptr, value);
    EXPECT_EQ(0u, SimNrx_BadFrees());

    value = reinterpret_cast<NRXAttr*>(8);  // what a failed call must not leave behind
    EXPECT_EQ(NRX_FAILURE, glue_->OpenClusterResource(cluster, "Orvane Server Name", "NoSuchAttribute", &value));
    EXPECT_EQ(nullptr, value);

    // The partner's detailed error, released through the binding.
    NRXApiError* error = glue_->GetLastError();
    ASSERT_NE(nullptr, error);
    EXPECT_EQ(NRX_E_NO_SUCH_ATTRIBUTE, error->code);
    glue_->FreeError(error);
}

// A null list is refused as if the entry point were missing, deliberately.
TEST_F(NrxGlue, FreeObjNamesOfNullAnswersLikeAMissingEntryPoint) {
    SetLastError(kUntouched);
    EXPECT_EQ(NRX_FAILURE, glue_->FreeObjNames(nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PROC_NOT_FOUND), GetLastError());

    NRXObjNames* names = nullptr;
    ASSERT_EQ(NRX_SUCCESS, glue_->ObjectGetNames(glue_->OpenCluster(nullptr), NRX_OBJ_GROUP, nullptr, &names, nullptr));
    EXPECT_EQ(3, names->count);
    EXPECT_EQ(NRX_SUCCESS, glue_->FreeObjNames(names));
}

// A client whose initialisation fails is loaded but opens nothing. The
// binding initialises once per process, so this runs in a second copy.
TEST(NrxGlueChild, InitialisationFailedOpensNothing) {
    if (!GetEnvironmentVariableW(L"ORVTEST_NRX_INIT_FAILS", nullptr, 0)) GTEST_SKIP() << "run by the test below";
    ASSERT_TRUE(SimNrx_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-nrx.json").c_str()));
    ASSERT_TRUE(SimNrx_InjectFailure("NRXApiInit", 1, 1, NRX_E_BAD_ARGUMENT));
    orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    EXPECT_TRUE(glue->OK());
    SetLastError(kUntouched);
    EXPECT_EQ(nullptr, glue->OpenCluster(nullptr));
    EXPECT_EQ(nullptr, glue->OpenCluster("ORVNODE2"));
    EXPECT_EQ(kUntouched, GetLastError());
    EXPECT_EQ(0u, SimNrx_CallCount("NRXClusterOpenLocal") + SimNrx_CallCount("NRXClusterOpen"));
}

TEST(NrxGlueInitialisation, FailedInitialisationOpensNothing) {
    SetEnvironmentVariableW(L"ORVTEST_NRX_INIT_FAILS", L"1");
    EXPECT_EQ(0, orvtest::RunThisProgram(L"NrxGlueChild.*"));
    SetEnvironmentVariableW(L"ORVTEST_NRX_INIT_FAILS", nullptr);
}

}  // namespace

// Runs in the folder of the NRX simulator variant that lacks some entry
// points, with ORVNRX_SCENARIO naming the bundled cluster, which the
// simulator loads by itself since the program loads none.

#include <windows.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvcluster/nrx_api.h"
#include "simnrx.h"

namespace {

std::vector<std::string> ListOf(const std::string& list) {
    std::vector<std::string> names;
    std::stringstream stream(list);
    for (std::string name; std::getline(stream, name, ',');) names.push_back(name);
    return names;
}

TEST(NrxPartialExports, TheEnvironmentNamesTheClusterWhenTheProgramLoadsNone) {
    ASSERT_EQ(NRX_SUCCESS, NRXApiInit(0, 0));
    NRXHandle cluster = NRXClusterOpen("ORVNODE2", NRX_ENGINE_PORT, nullptr, nullptr, NRX_WAIT_FOREVER, 0);
    ASSERT_NE(nullptr, cluster);
    NRXObjNames* names = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXObjGetNames(cluster, NRX_OBJ_CLUSTER, nullptr, &names, nullptr));
    EXPECT_STREQ("ORVNRX01", names->names[0]);
    NRXFreeObjNames(names);
    EXPECT_EQ(NRX_SUCCESS, NRXClusterClose(cluster));
    EXPECT_EQ(0u, SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL));
}

TEST(NrxPartialExports, TheVariantLacksExactlyTheChosenEntryPoints) {
    HMODULE module = GetModuleHandleW(L"nrxapi_mt.dll");
    ASSERT_NE(nullptr, module);
    std::vector<std::string> absent = ListOf(SIMTEST_NRX_MISSING);
    ASSERT_EQ(5u, absent.size());
    for (const std::string& name : ListOf(SIMTEST_NRX_EXPORTS)) {
        bool expected = std::find(absent.begin(), absent.end(), name) == absent.end();
        EXPECT_EQ(expected, GetProcAddress(module, name.c_str()) != nullptr) << name;
    }
}

}  // namespace

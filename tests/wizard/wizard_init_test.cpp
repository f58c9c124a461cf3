// The wizard's first call on a failover cluster node: the product definition
// is found, loaded once for the process, and its table handed out. One
// program of its own, because the definition lasts as long as the process.

#include <gtest/gtest.h>

#include "harness/scratch_files.h"
#include "harness/simulated_cluster.h"
#include "orvcluster.h"

namespace {

using WizardInit = orvtest::SimulatedClusterTest;

TEST_F(WizardInit, LoadsTheDefinitionOnceAndOnlyOnce) {
    ASSERT_TRUE(Cluster::GetInstance(nullptr)->Open());
    wchar_t answers[5][MAX_PATH];

    // Nothing to load yet: a folder without the file, then a broken file.
    orvtest::ScratchFolder broken(L"orv-wizard-init");
    EXPECT_EQ(0u, Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, broken.Path().c_str()));
    broken.Write(L"clusconfig.xml", "<ClusterDefinition><Section name=\"INFO\">");
    EXPECT_EQ(0u, Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, broken.Path().c_str()));
    EXPECT_STREQ(L"", Cluster::CWIZ_GetCompany());

    for (auto& answer : answers) wmemset(answer, L'#', MAX_PATH);
    ASSERT_EQ(1u, Cluster::CWIZ_InitData(answers[0], answers[1], answers[2], answers[3], answers[4],
                                         orvtest::ExamplePath().c_str()));
    for (const auto& answer : answers) EXPECT_NE(L'#', answer[0]);  // every answer written
    EXPECT_STREQ(L"Brassel", Cluster::CWIZ_GetCompany());
    EXPECT_STREQ(L"\\Brassel\\Orvane\\", Cluster::CWIZ_GetDefaultDir());
    EXPECT_STREQ(L"Orvane Group", Cluster::CWIZ_GetDefGroupName());

    // The table of the definition loaded (checked in full by the definition's tests).
    EXPECT_STREQ(L"OrvJobEngine", Cluster::CWIZ_GetResourceList()[3].serviceName);

    // Loaded once: another file later changes nothing.
    broken.Write(L"clusconfig.xml",
                 "<D><S name=\"INFO\"><K name=\"Company\">Other</K></S></D>");
    EXPECT_EQ(1u, Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, broken.Path().c_str()));
    EXPECT_STREQ(L"Brassel", Cluster::CWIZ_GetCompany());
}

}  // namespace

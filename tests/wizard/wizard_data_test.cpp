// The wizard's data through orvcluster.dll, as the wizard calls it, on a
// machine that is not a cluster node.

#include <cwchar>

#include <gtest/gtest.h>

#include "harness/scratch_files.h"
#include "orvcluster.h"

namespace {

TEST(WizardData, NothingLoadsWithoutAnOpenCluster) {
    ASSERT_FALSE(Cluster::GetInstance(nullptr)->Open());
    orvtest::ScratchFolder folder(L"orv-wizard-data");
    folder.Write(L"clusconfig.xml", "<R><S name=\"INFO\"><K name=\"Company\">Brassel</K></S></R>");

    wchar_t answers[5][MAX_PATH];
    for (auto& answer : answers) wmemset(answer, L'#', MAX_PATH);
    EXPECT_EQ(0u, Cluster::CWIZ_InitData(answers[0], answers[1], answers[2], answers[3], answers[4],
                                         folder.Path().c_str()));
    for (const auto& answer : answers) EXPECT_EQ(L'#', answer[0]);
    EXPECT_EQ(0u, Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));

    // Before a definition is loaded the values are empty, never null, and the
    // table is only its end mark.
    EXPECT_STREQ(L"", Cluster::CWIZ_GetCompany());
    EXPECT_STREQ(L"", Cluster::CWIZ_GetDefaultDir());
    EXPECT_EQ(0, Cluster::CWIZ_GetSync());
    ASSERT_NE(nullptr, Cluster::CWIZ_GetResourceList());
    EXPECT_STREQ(L"", Cluster::CWIZ_GetResourceList()->resourceName);
    EXPECT_EQ(nullptr, Cluster::CWIZ_GetResourceList()->next);
}

}  // namespace

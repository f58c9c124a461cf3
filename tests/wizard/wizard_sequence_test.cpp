// The installation wizard's whole run on a fresh two-node failover cluster,
// step by step as the wizard calls the library, with the cluster the
// simulator holds checked after each step. The product's three services are
// installed in Wine's service manager for the run.

#include <gtest/gtest.h>

#include "harness/simulated_cluster.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "orvcluster.h"

namespace {

using nlohmann::json;
using orvtest::Named;
using orvtest::SimulatedCluster;

const wchar_t kGroup[] = L"Orvane Group";

using WizardSequence = orvtest::SimulatedClusterTest;

json Resource(const json& cluster, const char* name) {
    const json* resource = Named(cluster, "resources", name);
    return resource ? *resource : json();
}

TEST_F(WizardSequence, InstallsRunsAndRemovesTheProductsGroup) {
    ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-fresh.json").c_str()));
    orvtest::TestService discovery(L"OrvDiscovery", L""), engine(L"OrvJobEngine", L""),
        tape(L"OrvTapeEngine", L"--stop-after 7000");
    const std::string here = orvtest::Utf8(orvtest::ThisComputer());

    // 1. The definition, and what the cluster holds of the product: nothing yet.
    wchar_t existing[5][MAX_PATH];
    ASSERT_EQ(1u, Cluster::CWIZ_InitData(existing[0], existing[1], existing[2], existing[3], existing[4],
                                         orvtest::ExamplePath().c_str()));
    for (const auto& answer : existing) EXPECT_STREQ(L"", answer);
    wchar_t name[MAX_PATH] = {};
    ASSERT_EQ(1u, Cluster::CWIZ_GetNode(1, name));
    EXPECT_STREQ(L"NODE2", name);
    ASSERT_EQ(1u, Cluster::CWIZ_GetNetwork(0, name));
    EXPECT_STREQ(L"Public", name);
    for (const wchar_t* service : {L"", L"OrvDiscovery", L"OrvJobEngine", L"OrvTapeEngine"})
        Cluster::CWIZ_SetResourceForInstall(service, true);

    // 2. The group, with disk E: moved into it.
    ASSERT_EQ(1u, Cluster::CWIZ_CreateClusterGroup(kGroup, L"ORVANESRV", L"E:\\Program Files\\Orvane",
                                                   L"10.20.40.40", L"255.255.255.0", L"Public"));
    json cluster = SimulatedCluster();
    const json expected = json::parse(R"json({
      "Cluster Disk 1": {"type": "Physical Disk", "dependencies": [], "checkpoints": []},
      "Orvane IP Address": {"type": "IP Address", "dependencies": [], "checkpoints": [],
        "private": {"Address": "10.20.40.40", "SubnetMask": "255.255.255.0", "Network": "Public",
                    "EnableNetBios": 1}},
      "Orvane Server Name": {"type": "Network Name", "dependencies": [], "checkpoints": [],
        "private": {"Name": "ORVANESRV"}},
      "Orvane Discovery Service": {"type": "Generic Service", "dependencies": ["Cluster Disk 1"], "checkpoints": [],
        "private": {"ServiceName": "OrvDiscovery", "UseNetworkName": 1}},
      "Orvane Job Engine": {"type": "Generic Service",
        "dependencies": ["Orvane Discovery Service", "Cluster Disk 1"],
        "checkpoints": ["SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine"],
        "private": {"ServiceName": "OrvJobEngine", "UseNetworkName": 1}},
      "Orvane Tape Engine": {"type": "Generic Service", "dependencies": ["Orvane Job Engine", "Cluster Disk 1"],
        "checkpoints": ["SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Tape Engine"],
        "private": {"ServiceName": "OrvTapeEngine", "UseNetworkName": 1}}})json");
    size_t members = 0;
    for (const json& resource : cluster["resources"]) members += resource["group"] == "Orvane Group";
    EXPECT_EQ(expected.size(), members);
    for (const auto& item : expected.items()) {
        const json resource = Resource(cluster, item.key().c_str());
        ASSERT_FALSE(resource.is_null()) << item.key();
        EXPECT_EQ("Orvane Group", resource["group"]) << item.key();
        for (const char* field : {"type", "dependencies", "checkpoints"})
            EXPECT_EQ(item.value()[field], resource[field]) << item.key() << " " << field;
        if (item.value().contains("private")) {
            EXPECT_EQ(item.value()["private"], resource["private"]) << item.key();
        }
        EXPECT_EQ((json{here, "NODE2"}), resource["possibleOwners"]) << item.key();
    }
    EXPECT_EQ(1u, Cluster::CWIZ_DoResourcesExist(nullptr)) << "the product is clustered now";

    // 3. Online on this node.
    ASSERT_EQ(1u, Cluster::CWIZ_BringOnline(kGroup));
    cluster = SimulatedCluster();
    for (const auto& item : expected.items())
        EXPECT_EQ("online", Resource(cluster, item.key().c_str())["state"]) << item.key();
    EXPECT_EQ(here, (*Named(cluster, "groups", "Orvane Group"))["owner"]);
    EXPECT_EQ(1u, Cluster::CWIZ_IsActiveNode(nullptr));

    // 4. The product's services stop (the tape engine slowly) and start again.
    EXPECT_EQ(0u, Cluster::CWIZ_StopServices(nullptr));
    for (const orvtest::TestService* service : {&discovery, &engine, &tape})
        EXPECT_EQ(DWORD{SERVICE_STOPPED}, service->State());
    EXPECT_EQ(0u, Cluster::CWIZ_StartServices(nullptr));
    for (const orvtest::TestService* service : {&discovery, &engine, &tape})
        EXPECT_EQ(DWORD{SERVICE_RUNNING}, service->State());

    // 5. Offline: everything but the disk.
    ASSERT_EQ(1u, Cluster::CWIZ_TakeOffline(kGroup));
    cluster = SimulatedCluster();
    for (const auto& item : expected.items())
        EXPECT_EQ(item.key() == "Cluster Disk 1" ? "online" : "offline", Resource(cluster, item.key().c_str())["state"])
            << item.key();

    // 6. The administrator deselects the discovery service. The sync looks
    // resources up by their service's name, and these are named otherwise:
    // the resource stays.
    Cluster::CWIZ_SetResourceForInstall(L"OrvDiscovery", false);
    EXPECT_EQ(0u, Cluster::CWIZ_SyncUpServices());
    EXPECT_FALSE(Resource(SimulatedCluster(), "Orvane Discovery Service").is_null());

    // 7. The existing configuration as a later run of the wizard finds it.
    ASSERT_EQ(1u, Cluster::CWIZ_InitData(existing[0], existing[1], existing[2], existing[3], existing[4],
                                         orvtest::ExamplePath().c_str()));
    const wchar_t* answers[] = {L"Public", L"Orvane Group", L"ORVANESRV", L"10.20.40.40", L"255.255.255.0"};
    for (int i = 0; i < 5; ++i) EXPECT_STREQ(answers[i], existing[i]) << i;

    // 8. Removal: the group and everything in it.
    EXPECT_EQ(0u, Cluster::CWIZ_DeleteGroup(kGroup));
    cluster = SimulatedCluster();
    EXPECT_EQ(nullptr, Named(cluster, "groups", "Orvane Group"));
    for (const auto& item : expected.items()) EXPECT_TRUE(Resource(cluster, item.key().c_str()).is_null()) << item.key();
    EXPECT_EQ(0u, Cluster::CWIZ_DoResourcesExist(nullptr));
    // Zero handles open: checked as the test ends.
}

TEST(WizardChoices, ServiceNamesFallBackToTheDefinitionsOwn) {
    CClusterParams params;
    params.SetServiceName(L"OrvJobEngine", L"OrvJobEngine2");
    params.SetServiceName(nullptr, L"Ignored");
    params.SetDiskSetResourceName(nullptr);
    CClusterParams copy = params;
    params.SetServiceName(L"ORVJOBENGINE", L"");  // back to the default, whatever the case
    EXPECT_STREQ(L"OrvJobEngine", params.GetServiceName(L"OrvJobEngine"));
    EXPECT_STREQ(L"OrvJobEngine2", copy.GetServiceName(L"orvjobengine"));
    EXPECT_STREQ(L"OrvTapeEngine", copy.GetServiceName(L"OrvTapeEngine"));
    EXPECT_STREQ(L"", copy.GetServiceName(nullptr));
    EXPECT_STREQ(L"", copy.GetDiskSetResourceName());
}

}  // namespace

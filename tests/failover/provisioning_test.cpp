// The product's group on a failover cluster beyond the wizard's whole run
// (wizard_sequence_test): refusals, failures, the poll, nodes, removals, the
// existing configuration, the checkpoint repair, the sync and the share. Two
// of the definition's three services are installed here as Windows services;
// the third (OrvTapeEngine) is not, so it gets no resource.

#include <list>
#include <memory>
#include <set>

#include <gtest/gtest.h>

#include "harness/example_definition.h"
#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/windows_version.h"
#include "orvcluster.h"
#include "simnet.h"

namespace {

using nlohmann::json;
using orvtest::Named;
using orvtest::SimulatedCluster;

const wchar_t kGroup[] = L"Orvane Group";
const wchar_t kClusterKey[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\Cluster";
// What CreateGroup puts in the group, in the order it makes them.
const std::vector<std::string> kMembers = {"Cluster Disk 1", "Orvane IP Address", "Orvane Server Name",
                                           "Orvane Discovery Service", "Orvane Job Engine"};

class Provisioning : public orvtest::DefinitionLoadedTest {
protected:
    static void SetUpTestSuite() {
        for (const wchar_t* name : {L"OrvDiscovery", L"OrvJobEngine"}) services_.emplace_back(name, L"");
    }
    static void TearDownTestSuite() { services_.clear(); }
    void SetUp() override {
        DefinitionLoadedTest::SetUp();
        for (const wchar_t* service : {L"", L"OrvDiscovery", L"OrvJobEngine", L"OrvTapeEngine"})
            Cluster::CWIZ_SetResourceForInstall(service, true);
        Reload();
    }
    void TearDown() override {
        cluster_.reset();
        DefinitionLoadedTest::TearDown();
    }

    // A fresh copy of the cluster without failures or counts, and a fresh connection to it.
    void Reload() {
        cluster_.reset();
        ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-fresh.json").c_str()));
        SimCluster_ClearFailures();
        SimCluster_ResetCounters();
        cluster_ = MSCSCluster::GetInstance(nullptr);
        ASSERT_TRUE(cluster_->ClusterOpen());
    }
    unsigned Create(const wchar_t* group = kGroup, const wchar_t* disk = L"E:\\Program Files\\Orvane",
                    const wchar_t* address = L"10.20.40.40") {
        return cluster_->CreateGroup(group, L"ORVANESRV", disk, address, L"255.255.255.0", L"Public", nullptr);
    }
    // The names of the resources the group holds now, in the order they were made.
    static std::vector<std::string> Members() {
        std::vector<std::string> names;
        const json cluster = SimulatedCluster();
        for (const json& resource : cluster["resources"])
            if (resource["group"] == "Orvane Group") names.push_back(resource["name"]);
        return names;
    }

    static std::list<orvtest::TestService> services_;
    boost::shared_ptr<MSCSCluster> cluster_;
};

std::list<orvtest::TestService> Provisioning::services_;

// The share's name as the product's services find it.
std::wstring KeptShareName() {
    wchar_t value[16] = {};
    DWORD bytes = sizeof(value);
    RegGetValueW(HKEY_LOCAL_MACHINE, kClusterKey, L"FileShare", RRF_RT_REG_SZ, nullptr, value, &bytes);
    return value;
}

TEST_F(Provisioning, CreateGroupSkipsServicesNotInstalledHereAndReusesWhatExists) {
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(kMembers, Members());
    const json first = SimulatedCluster();
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(first, SimulatedCluster());
}

TEST_F(Provisioning, CreateGroupAnswers) {
    const struct {
        const wchar_t *group, *disk, *address;
        unsigned answer;
        bool groupMade;
    } cases[] = {
        {nullptr, L"E:", L"10.20.40.40", 0, false},
        {L"", L"E:", L"10.20.40.40", 0, false},
        {kGroup, L"E:", nullptr, 0, false},
        {kGroup, L"Z:", L"10.20.40.40", 0, true},  // no disk holds the drive
        {kGroup, nullptr, L"10.20.40.40", 0, true},
        {kGroup, L"Cluster Disk 1", L"10.20.40.40", 1, true},  // the disk by its resource name
    };
    for (const auto& c : cases) {
        Reload();
        const int row = static_cast<int>(&c - cases);
        EXPECT_EQ(c.answer, Create(c.group, c.disk, c.address)) << row;
        EXPECT_EQ(c.groupMade, Named(SimulatedCluster(), "groups", "Orvane Group") != nullptr) << row;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << row << ": only the connection";
    }
    // Deliberately success without a cluster: there is nothing to provision.
    EXPECT_EQ(1u, MSCSCluster(nullptr).CreateGroup(kGroup, L"V", L"E:", L"a", L"m", L"n", nullptr));
}

TEST_F(Provisioning, AFailureInThePassesStopsThemAndLeavesWhatWasMade) {
    // A creation that fails stops there (the open that follows finds nothing either).
    for (DWORD k = 1; k <= 4; ++k) {
        Reload();
        SimCluster_InjectFailure(L"CreateClusterResource", k, 1, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(0u, Create()) << "creation " << k;
        EXPECT_EQ(std::vector<std::string>(kMembers.begin(), kMembers.begin() + k), Members()) << k;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "creation " << k;
    }
    // Every control from the k-th on refused: whichever property or
    // checkpoint it hits, the answer is 0 and no handle stays open.
    Reload();
    ASSERT_EQ(1u, Create());
    const DWORD controls = SimCluster_CallCount(L"ClusterResourceControl");
    for (DWORD k = 1; k <= controls; ++k) {
        Reload();
        SimCluster_InjectFailure(L"ClusterResourceControl", k, 0, ERROR_GEN_FAILURE);
        EXPECT_EQ(0u, Create()) << "control " << k;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "control " << k;
    }
}

TEST_F(Provisioning, OnlineAndOfflineWaitAndAnswer) {
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(0u, cluster_->MakeOnline(L""));
    EXPECT_EQ(0u, cluster_->MakeOnline(nullptr));
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenClusterGroup"));
    EXPECT_EQ(0u, cluster_->MakeOnline(L"No Such Group"));

    const ULONGLONG before = SimClock_GetTickCount64();
    ASSERT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_EQ(2000u, SimClock_GetTickCount64() - before) << "looked at again after 2 s while pending";
    // Online already: the group answers at once and the marker service is watched twice.
    SimCluster_ResetCounters();
    EXPECT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_EQ(2u, SimCluster_CallCount(L"OpenClusterResource"));

    ASSERT_EQ(1u, cluster_->MakeOffline(kGroup));
    EXPECT_EQ(1u, cluster_->MakeOffline(kGroup)) << "nothing left to take offline";

    // A service that fails on its way online fails the group.
    SimCluster_ScriptTransition(L"Orvane Job Engine", ClusterResourceOnline, 3000, ClusterResourceFailed);
    EXPECT_EQ(0u, cluster_->MakeOnline(kGroup));
    // A resource that refuses to go offline.
    SimCluster_SetResourceState(L"Orvane Server Name", ClusterResourceOnline);
    SimCluster_InjectFailure(L"OfflineClusterResource", 1, 0, ERROR_GEN_FAILURE);
    EXPECT_EQ(0u, cluster_->MakeOffline(kGroup));
}

TEST_F(Provisioning, NodesComeAndGoAsPossibleOwnersOfEveryResource) {
    ASSERT_EQ(1u, Create());
    auto owners = []() {
        std::set<std::string> owners;
        const json cluster = SimulatedCluster();
        for (const json& resource : cluster["resources"])
            if (resource["group"] == "Orvane Group")
                for (const json& owner : resource["possibleOwners"]) owners.insert(owner);
        return owners;
    };
    const std::string here = orvtest::Utf8(orvtest::ThisComputer());
    EXPECT_EQ(1u, cluster_->DeleteNode(kGroup, L"node2"));
    EXPECT_EQ((std::set<std::string>{here}), owners());
    EXPECT_EQ(1u, cluster_->DeleteNode(kGroup, L"NODE2")) << "no possible owner any more: removed already";
    EXPECT_EQ(1u, cluster_->AddNode(kGroup, L"\\\\NODE2"));
    EXPECT_EQ((std::set<std::string>{here, "NODE2"}), owners());
    EXPECT_EQ(1u, cluster_->AddNode(kGroup, L"NODE2")) << "an owner already";

    EXPECT_EQ(0u, cluster_->AddNode(kGroup, L"NODE9"));
    EXPECT_EQ(0u, cluster_->AddNode(L"No Such Group", L"NODE2"));
    EXPECT_EQ(0xFFFFFFFFu, cluster_->DeleteNode(kGroup, L"NODE9"));
    // The node that runs the group cannot stop being an owner.
    ASSERT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_EQ(0xFFFFFFFFu, cluster_->DeleteNode(kGroup, orvtest::ThisComputer().c_str()));
}

TEST_F(Provisioning, RemovingAServiceAndTheGroup) {
    ASSERT_EQ(1u, Create());
    // The job engine depends on the discovery service.
    EXPECT_EQ(0u, cluster_->DeleteServiceFromGroup(kGroup, L"OrvDiscovery", 0));
    EXPECT_EQ(1u, cluster_->DeleteServiceFromGroup(kGroup, L"orvdiscovery", 1));
    const json cluster = SimulatedCluster();
    EXPECT_EQ(nullptr, Named(cluster, "resources", "Orvane Discovery Service"));
    EXPECT_EQ((json{"Cluster Disk 1"}), (*Named(cluster, "resources", "Orvane Job Engine"))["dependencies"]);
    EXPECT_EQ(1u, cluster_->DeleteServiceFromGroup(kGroup, L"OrvDiscovery", 0)) << "none left to remove";
    EXPECT_EQ(0u, cluster_->DeleteServiceFromGroup(L"No Such Group", L"OrvJobEngine", 1));

    // Online resources are taken offline before they go.
    ASSERT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_EQ(0u, cluster_->DeleteGroup(kGroup));
    EXPECT_EQ(1603u, cluster_->DeleteGroup(kGroup));
    EXPECT_EQ(1603u, cluster_->DeleteGroup(nullptr));
}

TEST_F(Provisioning, TheExistingConfigurationAndTheCheckpointRepair) {
    // Every buffer is written, empty while the cluster has no product; a null one is passed over.
    wchar_t answers[5][MAX_PATH];
    for (auto& answer : answers) wcscpy(answer, L"#");
    EXPECT_EQ(0u, cluster_->QueryForExisting(answers[0], answers[1], answers[2], answers[3], answers[4]));
    for (const auto& answer : answers) EXPECT_STREQ(L"", answer);
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(0u, cluster_->QueryForExisting(answers[0], answers[1], nullptr, answers[3], answers[4]));
    EXPECT_STREQ(L"255.255.255.0", answers[4]);

    // The repair renews each checkpoint that it could remove, and only those:
    // one removed by hand beforehand is not added again.
    const std::wstring key = L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine";
    auto checkpoints = []() { return (*Named(SimulatedCluster(), "resources", "Orvane Job Engine"))["checkpoints"]; };
    EXPECT_EQ(0u, cluster_->BounceReg());
    EXPECT_EQ((json{orvtest::Utf8(key)}), checkpoints());
    std::unique_ptr<ClusterResource> engine(cluster_->OpenResource(L"Orvane Job Engine"));
    ASSERT_TRUE(engine);
    ASSERT_EQ(ERROR_SUCCESS, orv::RegistryCheckpointControl(engine->GetHandle(),
                                                           CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, key.c_str()));
    EXPECT_EQ(0u, cluster_->BounceReg());
    EXPECT_EQ(json::array(), checkpoints());
}

// The sync looks a resource up by its service's name (the definition's own
// resources are named otherwise and stay, as the wizard's run shows), and
// takes it offline before it goes.
TEST_F(Provisioning, SyncRemovesAResourceNamedAfterADeselectedService) {
    ASSERT_EQ(1u, Create());
    Cluster::CWIZ_SetResourceForInstall(L"OrvDiscovery", false);
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    orv::UniqueCluster connection(glue->OpenCluster(nullptr));
    orv::UniqueClusterGroup group(glue->OpenClusterGroup(connection.Get(), kGroup));
    const struct {
        const wchar_t* failingEntryPoint;
        unsigned answer;
        bool removed;
    } cases[] = {
        {nullptr, 0, true},
        {L"OfflineClusterResource", 0xFFFFFFFD, false},
        {L"DeleteClusterResource", 0xFFFFFFFF, false},
    };
    for (const auto& c : cases) {
        orv::UniqueClusterResource(glue->CreateClusterResource(group.Get(), L"OrvDiscovery", L"Generic Service", 0));
        SimCluster_SetResourceState(L"OrvDiscovery", ClusterResourceOnline);
        if (c.failingEntryPoint) SimCluster_InjectFailure(c.failingEntryPoint, 1, 1, ERROR_GEN_FAILURE);
        EXPECT_EQ(c.answer, cluster_->SyncUpServices());
        EXPECT_EQ(c.removed, Named(SimulatedCluster(), "resources", "OrvDiscovery") == nullptr);
        SimCluster_ClearFailures();
        cluster_->SyncUpServices();
    }
    Cluster::CWIZ_SetResourceForInstall(L"OrvDiscovery", true);
}

// From Windows version 6 on the share is one of this computer's (the
// network stand-ins keep it as Windows does).
TEST_F(Provisioning, TheShareOfThisComputer) {
    const wchar_t shares[] = L"SYSTEM\\CurrentControlSet\\Services\\LanmanServer\\Shares";
    orv::UniqueRegistryKey existing;
    const bool sharesKeyExisted = RegOpenKeyExW(HKEY_LOCAL_MACHINE, shares, 0, KEY_READ, existing.Receive()) == 0;
    orvtest::ScratchFolder folder(L"orv-share");
    const std::wstring path = folder.Path();
    orvtest::DeleteMachineKey(kClusterKey);
    EXPECT_EQ(0u, cluster_->FileServerExists(L"KPTClus"));
    EXPECT_EQ(1u, cluster_->AddFileServerResource(nullptr, L"KPTClus", path.c_str()));
    EXPECT_EQ(1u, cluster_->FileServerExists(L"kptclus"));
    EXPECT_EQ(2118u, cluster_->AddFileServerResource(kGroup, L"KPTClus", path.c_str())) << "shared already";
    EXPECT_EQ(2116u, cluster_->AddFileServerResource(kGroup, L"Other", L"C:\\no\\such\\folder"));
    EXPECT_EQ(L"Other", KeptShareName()) << "kept before the share is made";

    // The removal leaves the enumeration's buffer behind, deliberately.
    const LONG unreleased = SimNet_UnreleasedBuffers();
    wchar_t elsewhere[] = L"\\\\FILESRV9";
    EXPECT_EQ(0u, cluster_->DelFileServerResource(elsewhere));
    EXPECT_EQ(1u, cluster_->FileServerExists(L"KPTClus"));
    EXPECT_EQ(0u, cluster_->DelFileServerResource(nullptr));
    EXPECT_EQ(0u, cluster_->FileServerExists(L"KPTClus"));
    EXPECT_EQ(unreleased + 1, SimNet_UnreleasedBuffers());
    orvtest::DeleteMachineKey(kClusterKey);
    if (!sharesKeyExisted) orvtest::DeleteMachineKey(shares);
}

TEST_F(Provisioning, BeforeVersion6NewResourcesStayHereAndTheShareIsAResource) {
    if (orvtest::WindowsMajorVersion() >= 6) GTEST_SKIP() << "runs in the copy under Windows Server 2003";
    ASSERT_EQ(1u, Create());
    const std::string here = orvtest::Utf8(orvtest::ThisComputer());
    const json cluster = SimulatedCluster();
    for (const std::string& name : Members())  // the disk, moved in, keeps its owners
        EXPECT_EQ((name == kMembers[0] ? json{here, "NODE2"} : json{here}),
                  (*Named(cluster, "resources", name))["possibleOwners"]) << name;

    orvtest::DeleteMachineKey(kClusterKey);
    EXPECT_EQ(0u, cluster_->AddFileShareName(kGroup, L"OrvShare", L"\\\\server\\path"));
    EXPECT_EQ(1u, cluster_->AddFileShareName(kGroup, L"OrvShare", L"E:\\Orvane\\Share"));
    const json share = *Named(SimulatedCluster(), "resources", "OrvShare");
    EXPECT_EQ("File Share", share["type"]);
    EXPECT_EQ((json{"Cluster Disk 1"}), share["dependencies"]);
    EXPECT_EQ((json{{"ShareName", "OrvShare"}, {"Path", "E:\\Orvane\\Share"}, {"MaxUsers", 4294967295u}}),
              share["private"]);
    // (The library leaves the terminator out of the byte count; Wine's
    // registry adds it back, so the count is not seen here.)
    EXPECT_EQ(L"OrvShare", KeptShareName());
    orvtest::DeleteMachineKey(kClusterKey);
    // The local share is the later versions' way: nothing to do here.
    EXPECT_EQ(1u, cluster_->AddFileServerResource(kGroup, L"OrvShare", L"E:\\Orvane\\Share"));
}

// Before Windows version 6, run in a copy of this program for which Wine
// reports Windows Server 2003.
TEST(OlderWindows, RunUnderWindowsServer2003) {
    if (orvtest::WindowsMajorVersion() < 6) GTEST_SKIP() << "this is the copy";
    EXPECT_EQ(0, orvtest::RunUnderWindowsVersion(L"win2003", L"Provisioning.BeforeVersion6*"));
}

}  // namespace

// The product's group as the installation wizard builds it on a failover
// cluster: what CreateGroup makes and wires, how the group comes online and
// goes offline, nodes, removals, and what the product's existing group tells
// the wizard. Two of the definition's three services are installed here as
// Windows services; the third (OrvTapeEngine) is not, so it gets no resource.

#include <functional>
#include <memory>
#include <set>

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/simulated_cluster.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/windows_version.h"
#include "orvcluster.h"
#include "simnet.h"

namespace {

using orvtest::Named;
using orvtest::SimulatedCluster;
using nlohmann::json;

const wchar_t kGroup[] = L"Orvane Group";
const wchar_t kClusterKey[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\Cluster";

// The services installed for the whole program, and the definition loaded.
class ProductServices : public ::testing::Environment {
public:
    void SetUp() override {
        discovery_.reset(new orvtest::TestService(L"OrvDiscovery", L""));
        engine_.reset(new orvtest::TestService(L"OrvJobEngine", L""));
    }
    void TearDown() override {
        discovery_.reset();
        engine_.reset();
    }

private:
    std::unique_ptr<orvtest::TestService> discovery_, engine_;
};
::testing::Environment* const services = ::testing::AddGlobalTestEnvironment(new ProductServices);

class Provisioning : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        static const bool loaded =
            Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, orvtest::ExamplePath().c_str()) == 1;
        ASSERT_TRUE(loaded);
        for (const wchar_t* service : {L"", L"OrvDiscovery", L"OrvJobEngine", L"OrvTapeEngine"})
            Cluster::CWIZ_SetResourceForInstall(service, true);
        Reload();
        SimCluster_ResetCounters();
    }
    void TearDown() override {
        cluster_.reset();
        SimulatedClusterTest::TearDown();
    }

    // A fresh copy of the cluster, and a fresh connection to it.
    void Reload() {
        cluster_.reset();
        ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-fresh.json").c_str()));
        cluster_ = MSCSCluster::GetInstance(nullptr);
        ASSERT_TRUE(cluster_->ClusterOpen());
    }

    unsigned Create(const wchar_t* disk = L"E:\\Program Files\\Orvane") {
        return cluster_->CreateGroup(kGroup, L"ORVANESRV", disk, L"10.20.40.40", L"255.255.255.0", L"Public",
                                     nullptr);
    }

    // The names of the resources the group holds now.
    static std::vector<std::string> Members() {
        std::vector<std::string> names;
        const json cluster = SimulatedCluster();
        for (const json& resource : cluster["resources"])
            if (resource["group"] == "Orvane Group") names.push_back(resource["name"]);
        return names;
    }

    boost::shared_ptr<MSCSCluster> cluster_;
};

// What each resource holds is checked by the wizard's whole run; here, that
// a service not installed on this computer gets none, and that a second run
// finds everything in place and changes nothing.
TEST_F(Provisioning, CreateGroupSkipsServicesNotInstalledHereAndReusesWhatExists) {
    ASSERT_EQ(1u, Create());
    EXPECT_EQ((std::vector<std::string>{"Cluster Disk 1", "Orvane IP Address", "Orvane Server Name",
                                        "Orvane Discovery Service", "Orvane Job Engine"}),
              Members());
    const json first = SimulatedCluster();
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(first, SimulatedCluster());
}

TEST_F(Provisioning, CreateGroupAnswers) {
    struct Case {
        const char* what;
        std::function<unsigned(MSCSCluster&)> call;
        unsigned answer;
        bool groupMade;
    } cases[] = {
        {"null group", [](MSCSCluster& c) { return c.CreateGroup(nullptr, L"V", L"E:", L"a", L"m", L"n", nullptr); },
         0, false},
        {"empty group", [](MSCSCluster& c) { return c.CreateGroup(L"", L"V", L"E:", L"a", L"m", L"n", nullptr); }, 0,
         false},
        {"null address",
         [](MSCSCluster& c) { return c.CreateGroup(kGroup, L"V", L"E:", nullptr, L"m", L"n", nullptr); }, 0, false},
        {"no disk holds the drive",
         [](MSCSCluster& c) { return c.CreateGroup(kGroup, L"V", L"Z:", L"a", L"m", L"n", nullptr); }, 0, true},
        {"null disk key",
         [](MSCSCluster& c) { return c.CreateGroup(kGroup, L"V", nullptr, L"a", L"m", L"n", nullptr); }, 0, true},
        {"the disk by its resource name",
         [](MSCSCluster& c) {
             return c.CreateGroup(kGroup, L"V", L"Cluster Disk 1", L"10.20.40.40", L"255.255.255.0", L"Public",
                                  nullptr);
         },
         1, true},
        {"not open: nothing to do",
         [](MSCSCluster&) { return MSCSCluster(nullptr).CreateGroup(kGroup, L"V", L"E:", L"a", L"m", L"n", nullptr); },
         1, false},
    };
    for (const Case& c : cases) {
        Reload();
        EXPECT_EQ(c.answer, c.call(*cluster_)) << c.what;
        EXPECT_EQ(c.groupMade, Named(SimulatedCluster(), "groups", "Orvane Group") != nullptr) << c.what;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << c.what << ": only the connection";
    }
}

TEST_F(Provisioning, AFailureInThePassesStopsThemAndLeavesWhatWasMade) {
    // The resources are made in table order; a creation that fails stops
    // there (the open that follows finds nothing either).
    const std::vector<std::string> made = {"Cluster Disk 1", "Orvane IP Address", "Orvane Server Name",
                                           "Orvane Discovery Service", "Orvane Job Engine"};
    for (DWORD k = 1; k <= 4; ++k) {
        Reload();
        SimCluster_InjectFailure(L"CreateClusterResource", k, 1, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(0u, Create()) << "creation " << k;
        EXPECT_EQ(std::vector<std::string>(made.begin(), made.begin() + k), Members()) << "creation " << k;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "creation " << k;
    }
    // Every control from the k-th on refused: whichever property or
    // checkpoint it hits, the answer is 0 and no handle stays open.
    Reload();
    SimCluster_ResetCounters();
    ASSERT_EQ(1u, Create());
    const DWORD controls = SimCluster_CallCount(L"ClusterResourceControl");
    for (DWORD k = 1; k <= controls; ++k) {
        Reload();
        SimCluster_ClearFailures();
        SimCluster_InjectFailure(L"ClusterResourceControl", k, 0, ERROR_GEN_FAILURE);
        EXPECT_EQ(0u, Create()) << "control " << k;
        EXPECT_EQ(1u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "control " << k;
    }
    SimCluster_ClearFailures();
}

TEST_F(Provisioning, OnlineAndOfflineWaitAndAnswer) {
    ASSERT_EQ(1u, Create());
    EXPECT_EQ(0u, cluster_->MakeOnline(L""));
    EXPECT_EQ(0u, cluster_->MakeOnline(nullptr));
    EXPECT_EQ(0u, SimCluster_CallCount(L"OpenClusterGroup"));
    EXPECT_EQ(0u, cluster_->MakeOnline(L"No Such Group"));

    const ULONGLONG before = SimClock_GetTickCount64();
    ASSERT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_GE(SimClock_GetTickCount64() - before, 2000u) << "polled every 2 s while pending";
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
    SimCluster_ClearFailures();
}

TEST_F(Provisioning, NodesComeAndGoAsPossibleOwnersOfEveryResource) {
    ASSERT_EQ(1u, Create());
    auto ownersOfGroup = []() {
        std::set<std::string> owners;
        const json cluster = SimulatedCluster();
        for (const json& resource : cluster["resources"])
            if (resource["group"] == "Orvane Group")
                for (const json& owner : resource["possibleOwners"]) owners.insert(owner);
        return owners;
    };
    const std::string here = orvtest::Utf8(orvtest::ThisComputer());
    EXPECT_EQ(1u, cluster_->DeleteNode(kGroup, L"node2"));
    EXPECT_EQ((std::set<std::string>{here}), ownersOfGroup());
    EXPECT_EQ(1u, cluster_->DeleteNode(kGroup, L"NODE2")) << "no possible owner any more: removed already";
    EXPECT_EQ(1u, cluster_->AddNode(kGroup, L"\\\\NODE2"));
    EXPECT_EQ((std::set<std::string>{here, "NODE2"}), ownersOfGroup());
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

    ASSERT_EQ(1u, cluster_->MakeOnline(kGroup));
    EXPECT_EQ(0u, cluster_->DeleteGroup(kGroup));
    EXPECT_EQ(nullptr, Named(SimulatedCluster(), "groups", "Orvane Group"));
    EXPECT_TRUE(Members().empty());
    EXPECT_EQ(1603u, cluster_->DeleteGroup(kGroup));
    EXPECT_EQ(1603u, cluster_->DeleteGroup(nullptr));
}

TEST_F(Provisioning, TheExistingConfigurationAndTheCheckpointRepairs) {
    wchar_t answers[5][MAX_PATH];
    for (auto& answer : answers) wcscpy(answer, L"#");
    EXPECT_EQ(0u, cluster_->QueryForExisting(answers[0], answers[1], answers[2], answers[3], answers[4]));
    for (const auto& answer : answers) EXPECT_STREQ(L"", answer) << "no product yet";

    ASSERT_EQ(1u, Create());
    EXPECT_EQ(0u, cluster_->QueryForExisting(answers[0], answers[1], nullptr, answers[3], answers[4]));
    EXPECT_STREQ(L"Public", answers[0]);
    EXPECT_STREQ(L"Orvane Group", answers[1]);
    EXPECT_STREQ(L"10.20.40.40", answers[3]);
    EXPECT_STREQ(L"255.255.255.0", answers[4]);

    // The repair renews each checkpoint that it could remove, and only those:
    // one removed by hand beforehand is not added again.
    const std::string key = "SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine";
    auto checkpoints = []() { return (*Named(SimulatedCluster(), "resources", "Orvane Job Engine"))["checkpoints"]; };
    EXPECT_EQ(0u, cluster_->BounceReg());
    EXPECT_EQ((json{key}), checkpoints());
    {
        std::unique_ptr<ClusterResource> engine(cluster_->OpenResource(L"Orvane Job Engine"));
        ASSERT_TRUE(engine);
        ASSERT_EQ(ERROR_SUCCESS, orv::RegistryCheckpointControl(engine->GetHandle(),
                                                               CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT,
                                                               std::wstring(key.begin(), key.end()).c_str()));
    }
    EXPECT_EQ(0u, cluster_->BounceReg());
    EXPECT_EQ(json::array(), checkpoints());
}

TEST_F(Provisioning, SyncLooksServicesUpByTheirServiceName) {
    ASSERT_EQ(1u, Create());
    Cluster::CWIZ_SetResourceForInstall(L"OrvDiscovery", false);
    // The definition's resource is not named after its service: it stays.
    EXPECT_EQ(0u, cluster_->SyncUpServices());
    EXPECT_NE(nullptr, Named(SimulatedCluster(), "resources", "Orvane Discovery Service"));

    // A resource that carries the service's name goes, once it is offline.
    auto addNamedAfterService = []() {
        orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
        orv::UniqueCluster cluster(glue->OpenCluster(nullptr));
        orv::UniqueClusterGroup group(glue->OpenClusterGroup(cluster.Get(), kGroup));
        orv::UniqueClusterResource made(glue->CreateClusterResource(group.Get(), L"OrvDiscovery", L"Generic Service", 0));
        SimCluster_SetResourceState(L"OrvDiscovery", ClusterResourceOnline);
    };
    struct Case {
        const wchar_t* failingEntryPoint;
        unsigned answer;
        bool removed;
    } cases[] = {
        {nullptr, 0, true},
        {L"OfflineClusterResource", 0xFFFFFFFD, false},
        {L"DeleteClusterResource", 0xFFFFFFFF, false},
    };
    for (const Case& c : cases) {
        addNamedAfterService();
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
    HKEY existing = nullptr;
    const bool sharesKeyExisted = RegOpenKeyExW(HKEY_LOCAL_MACHINE, shares, 0, KEY_READ, &existing) == ERROR_SUCCESS;
    if (existing) RegCloseKey(existing);
    orvtest::ScratchFolder folder(L"orv-share");
    const std::wstring path = folder.Path();
    orvtest::DeleteMachineKey(kClusterKey);
    EXPECT_EQ(0u, cluster_->FileServerExists(L"KPTClus"));
    EXPECT_EQ(1u, cluster_->AddFileServerResource(nullptr, L"KPTClus", path.c_str()));
    EXPECT_EQ(1u, cluster_->FileServerExists(L"kptclus"));
    EXPECT_EQ(2118u, cluster_->AddFileServerResource(kGroup, L"KPTClus", path.c_str())) << "shared already";
    EXPECT_EQ(2116u, cluster_->AddFileServerResource(kGroup, L"Other", L"C:\\no\\such\\folder"));
    wchar_t value[16] = {};
    DWORD bytes = sizeof(value);
    EXPECT_EQ(ERROR_SUCCESS,
              RegGetValueW(HKEY_LOCAL_MACHINE, kClusterKey, L"FileShare", RRF_RT_REG_SZ, nullptr, value, &bytes));
    EXPECT_STREQ(L"Other", value) << "kept before the share is made";

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

// Before Windows version 6, run in a copy of this program for which Wine
// reports Windows Server 2003.
TEST(OlderWindows, RunUnderWindowsServer2003) {
    if (orvtest::WindowsMajorVersion() < 6) GTEST_SKIP() << "this is the copy";
    EXPECT_EQ(0, orvtest::RunUnderWindowsVersion(L"win2003", L"Provisioning.BeforeVersion6*"));
}

TEST_F(Provisioning, BeforeVersion6NewResourcesStayHereAndTheShareIsAResource) {
    if (orvtest::WindowsMajorVersion() >= 6) GTEST_SKIP() << "runs in the copy under Windows Server 2003";
    ASSERT_EQ(1u, Create());
    const std::string here = orvtest::Utf8(orvtest::ThisComputer());
    for (const char* name : {"Orvane IP Address", "Orvane Job Engine"})
        EXPECT_EQ((json{here}), (*Named(SimulatedCluster(), "resources", name))["possibleOwners"]) << name;

    orvtest::DeleteMachineKey(kClusterKey);
    EXPECT_EQ(0u, cluster_->AddFileShareName(kGroup, L"OrvShare", L"\\\\server\\path"));
    EXPECT_EQ(1u, cluster_->AddFileShareName(kGroup, L"OrvShare", L"E:\\Orvane\\Share"));
    const json share = *Named(SimulatedCluster(), "resources", "OrvShare");
    EXPECT_EQ("File Share", share["type"]);
    EXPECT_EQ((json{"Cluster Disk 1"}), share["dependencies"]);
    EXPECT_EQ((json{{"ShareName", "OrvShare"}, {"Path", "E:\\Orvane\\Share"}, {"MaxUsers", 4294967295u}}),
              share["private"]);
    // Kept for the product's services. (The library leaves the terminator out
    // of the byte count; Wine's registry adds it back, so the count is not
    // seen here.)
    wchar_t value[16] = {};
    DWORD bytes = sizeof(value);
    EXPECT_EQ(ERROR_SUCCESS,
              RegGetValueW(HKEY_LOCAL_MACHINE, kClusterKey, L"FileShare", RRF_RT_REG_SZ, nullptr, value, &bytes));
    EXPECT_STREQ(L"OrvShare", value);
    orvtest::DeleteMachineKey(kClusterKey);
    // The local share is the later versions' way: nothing to do here.
    EXPECT_EQ(1u, cluster_->AddFileServerResource(kGroup, L"OrvShare", L"E:\\Orvane\\Share"));
}

}  // namespace

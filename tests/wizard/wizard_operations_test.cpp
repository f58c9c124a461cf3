// The wizard's steps on the simulated failover cluster. The first test runs
// before anything in this program has loaded the definition
// (examples/clusconfig.xml); the others load it. Network names answer from
// the network stand-ins.

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "harness/example_definition.h"
#include "harness/registry_fixture.h"
#include "orvcluster.h"
#include "simnet.h"

namespace {

const wchar_t kOrvaneInstall[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Install";
const wchar_t kKelvaneInstall[] = L"Software\\PENTRY\\Kelvane\\ORVDS\\13.0\\Install";

struct Step {
    const char* call;
    std::function<unsigned()> run;
    unsigned expected;
};
#define STEP(expected, call) \
    Step { #call, [&] { return static_cast<unsigned>(Cluster::CWIZ_##call); }, expected }

void ExpectAnswers(const std::vector<Step>& steps) {
    for (const Step& step : steps) EXPECT_EQ(step.expected, step.run()) << step.call;
}

using WizardOperations = orvtest::SimulatedClusterTest;
using Loaded = orvtest::DefinitionLoadedTest;

TEST_F(WizardOperations, BeforeTheDefinitionIsLoaded) {
    ASSERT_STREQ(L"", Cluster::CWIZ_GetResourceList()->resourceName) << "runs before any test loads it";
    wchar_t name[8] = L"#";
    const ULONGLONG start = SimClock_GetTickCount64();
    ExpectAnswers({STEP(0, GetNode(0, name)), STEP(0, GetNetwork(0, name)), STEP(0, SetResourceForInstall(L"", true)),
                   STEP(1, DoesNodeContainProduct(nullptr)), STEP(0, SetServicesStartupType(nullptr, 2)),
                   STEP(0, StartServices(nullptr)), STEP(0, StopServices(nullptr)), STEP(1, IsSharedDrive(L"S:"))});
    EXPECT_STREQ(L"#", name);
    EXPECT_EQ(start, SimClock_GetTickCount64()) << "no service waited for";
}

TEST_F(Loaded, WithoutAnOpenClusterEveryStepAnswers0AndChangesNothing) {
    ASSERT_TRUE(SimCluster_InjectFailure(L"OpenCluster", 1, 0, RPC_S_SERVER_UNAVAILABLE));
    const nlohmann::json before = orvtest::SimulatedCluster();
    const wchar_t* group = L"Orvane Group";
    const wchar_t* engine = L"Orvane Job Engine";
    std::list<wcstring>* nodes = nullptr;
    wchar_t server[] = L"ORVANESRV";
    ExpectAnswers({
        STEP(0, ClusterConfOpen()), STEP(0, ClusterConfClose()),
        STEP(0, CreateClusterGroup(L"New", L"NEWSRV", L"Q:", L"10.20.30.77", L"255.255.255.0", L"Public")),
        STEP(0, BringOnline(group)), STEP(0, TakeOffline(group)),
        STEP(0, CanUseIPAddress(L"10.20.30.77", L"255.255.255.0", L"Public")), STEP(0, IsActiveNode(nullptr)),
        STEP(0, AddNodeDep(group, L"NODE2")), STEP(0, RemoveNodeDep(group, L"NODE2")), STEP(0, DeleteGroup(group)),
        STEP(0, GetClusterNodes(&nodes)), STEP(0, IsNode(L"NODE2")),
        STEP(0, DeleteServiceFromGroup(group, L"OrvJobEngine", 1)), STEP(0, ResourceExists(engine)),
        STEP(0, SyncUpServices()), STEP(0, AddClusterShareResource(group, L"KPTClus", L"S:\\")),
        STEP(0, AddClusterServerResource(group, L"KPTClus", L"S:\\")), STEP(0, DelFileServerResource(server)),
        STEP(0, OnlineFileServerResource(group)), STEP(0, FileServerExists(L"KPTClus")),
        STEP(0, OnlineResource(engine)), STEP(0, OfflineResource(engine)), STEP(0, DoResourcesExist(nullptr)),
        STEP(0, IsClusterEnvironment()), STEP(0, IsCluster()), STEP(0, IsSharedDrive(L"S:")),
    });
    EXPECT_EQ(nullptr, nodes);
    EXPECT_EQ(before, orvtest::SimulatedCluster());
    SimCluster_ClearFailures();
    SimClock_Advance(0x10000);  // the next test's factory detects the cluster again
}

TEST_F(Loaded, InstallFlagsByExactServiceName) {
    const struct {
        const wchar_t* name;
        bool install;
        const char* flags;  // IP address, network name, the three services
    } steps[] = {{L"OrvJobEngine", true, "00010"}, {L"orvjobengine", false, "00010"}, {L"", true, "11010"},
                 {L"OrvJobEngine", false, "11000"}, {nullptr, true, "11000"},     {L"", false, "00000"}};
    const CLUSTERRESOURCE* table = Cluster::CWIZ_GetResourceList();
    for (const auto& s : steps) {
        EXPECT_EQ(0u, Cluster::CWIZ_SetResourceForInstall(s.name, s.install));
        std::string flags;
        for (int i = 0; i < 5; ++i) flags += table[i].install ? '1' : '0';
        EXPECT_EQ(s.flags, flags);
    }
}

// The install key as a link out of the registry: opening it fails with
// ERROR_PATH_NOT_FOUND, where a missing key answers ERROR_FILE_NOT_FOUND.
struct InstallKeyLeadingNowhere {
    orvtest::ScopedMachineKey parent{L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0"};
    InstallKeyLeadingNowhere() {
        orv::UniqueRegistryKey link;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, kOrvaneInstall, 0, nullptr, REG_OPTION_CREATE_LINK | REG_OPTION_VOLATILE,
                        KEY_ALL_ACCESS | KEY_CREATE_LINK, nullptr, link.Receive(), nullptr);
        const wchar_t target[] = L"\\Nowhere\\Orvane";
        RegSetValueExW(link.Get(), L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(target),
                       sizeof(target) - sizeof(wchar_t));
    }
    ~InstallKeyLeadingNowhere() {  // the link itself, not where it leads
        orv::UniqueRegistryKey link;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOrvaneInstall, REG_OPTION_OPEN_LINK, DELETE, link.Receive());
        using DeleteKey = LONG(WINAPI*)(HANDLE);
        reinterpret_cast<DeleteKey>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")))(link.Get());
    }
};

TEST_F(Loaded, ProductMissingOnlyWhereADetectionKeyLeadsNowhere) {
    orvtest::ScopedMachineKey service(L"SYSTEM\\CurrentControlSet\\Services\\OrvJobEngine");
    EXPECT_EQ(1, Cluster::CWIZ_DoesNodeContainProduct(nullptr)) << "the install key is merely missing";
    {
        orvtest::ScopedMachineKey install(kOrvaneInstall);
        EXPECT_EQ(1, Cluster::CWIZ_DoesNodeContainProduct(nullptr));
    }
    InstallKeyLeadingNowhere nowhere;
    EXPECT_EQ(0, Cluster::CWIZ_DoesNodeContainProduct(nullptr));
    EXPECT_EQ(0, Cluster::CWIZ_DoesNodeContainProduct(orvtest::ThisComputer().c_str()));
    EXPECT_EQ(1, Cluster::CWIZ_DoesNodeContainProduct(L"NOSUCHNODE")) << "a registry out of reach is not checked";
}

TEST_F(Loaded, BounceRegOnlyOnBuild13_0_4201_0) {
    const wchar_t* const names[] = {L"Major Version", L"Minor Version", L"Build Major", L"Build Minor"};
    const DWORD exact[] = {13, 0, 4201, 0}, other = 4200;
    const ULONGLONG wide = 4201;
    const struct {
        const char* what;
        const wchar_t* key;  // the installed product's key, as the product check finds it
        int changed;         // the value written as `type`, `data`, `size` (none written when data is null)
        DWORD type;
        const void* data;
        DWORD size;
        DWORD asked;  // the backend was asked: one cluster opened
    } cases[] = {
        {"exact build", kOrvaneInstall, -1, 0, nullptr, 0, 1},
        {"other build", kOrvaneInstall, 2, REG_DWORD, &other, 4, 0},
        {"text", kOrvaneInstall, 0, REG_SZ, L"13", 6, 0},
        {"eight bytes", kOrvaneInstall, 2, REG_QWORD, &wide, 8, 0},
        {"two bytes", kOrvaneInstall, 0, REG_DWORD, &exact[0], 2, 0},
        {"binary", kOrvaneInstall, 0, REG_BINARY, &exact[0], 4, 0},
        {"missing", kOrvaneInstall, 3, REG_NONE, nullptr, 0, 0},
        {"the other product", kKelvaneInstall, -1, 0, nullptr, 0, 1},
    };
    for (const auto& c : cases) {
        orvtest::ScopedMachineKey key(c.key);
        for (int i = 0; i < 4; ++i)
            if (i != c.changed) key.SetDword(names[i], exact[i]);
        if (c.data) RegSetKeyValueW(HKEY_LOCAL_MACHINE, c.key, names[c.changed], c.type, c.data, c.size);
        SimCluster_ResetCounters();
        EXPECT_EQ(0u, Cluster::CWIZ_BounceReg()) << c.what;
        EXPECT_EQ(c.asked, SimCluster_CallCount(L"OpenCluster")) << c.what;
    }
}

// No node or network at slot 512 or past the last; the shared drives are
// those of the cluster disks.
TEST_F(Loaded, NamesByIndexAndSharedDrives) {
    wchar_t name[8] = L"#";
    ExpectAnswers({STEP(0, GetNode(512, name)), STEP(0, GetNode(2, name)), STEP(0, GetNetwork(512, name)),
                   STEP(0, GetNetwork(1, name)), STEP(1, IsSharedDrive(L"S:")), STEP(1, IsSharedDrive(L"t:")),
                   STEP(1, IsSharedDrive(L"Q:")), STEP(1, IsSharedDrive(L"U:")), STEP(0, IsSharedDrive(L"C:")),
                   STEP(0, IsSharedDrive(L"S:\\")), STEP(0, IsSharedDrive(L"")), STEP(0, IsSharedDrive(nullptr))});
    EXPECT_STREQ(L"#", name);
    ASSERT_TRUE(SimCluster_InjectFailure(L"ClusterOpenEnum", 1, 1, ERROR_NOT_READY));
    EXPECT_EQ(0u, Cluster::CWIZ_IsSharedDrive(L"S:")) << "the disks cannot be listed";
}

TEST_F(Loaded, NameFreeOnTheNetworkOnlyFrom21Characters) {
    ASSERT_TRUE(SimNet_AddNetworkName(L"ORVANE-TAKEN-NAME-0021"));
    const struct {
        const wchar_t* name;
        unsigned expected;
        LONG asked;  // times the network was asked: a name that answers needs a larger buffer
    } cases[] = {
        {nullptr, 0, 0},
        {L"ORVANE-FREE-NAME-020", 0, 0},
        {L"ORVANE-FREE-NAME-0021", 1, 1},
        {L"\\orvane-taken-name-0021", 0, 2},
    };
    for (const auto& c : cases) {
        const LONG before = SimNet_ResourceInformationCalls();
        EXPECT_EQ(c.expected, Cluster::CWIZ_IsUnique(c.name)) << c.asked;
        EXPECT_EQ(c.asked, SimNet_ResourceInformationCalls() - before) << c.expected;
    }
    SimNet_ResetNetworkNames();
}

TEST_F(Loaded, UpgradeRebuildsTheExistingGroupOnTheDiskOfThePath) {
    // The wizard runs in the folder of the definition.
    wchar_t previous[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, previous);
    ASSERT_TRUE(SetCurrentDirectoryW(orvtest::ExamplePath().c_str()));
    Cluster::CWIZ_SetResourceForInstall(L"", true);
    EXPECT_EQ(0u, Cluster::CWIZ_UpgradeLegacyCluster(L"Q:\\Orvane"));
    Cluster::CWIZ_SetResourceForInstall(L"", false);
    SetCurrentDirectoryW(previous);

    const nlohmann::json cluster = orvtest::SimulatedCluster();
    auto resource = [&cluster](const char* name) {
        const nlohmann::json* found = orvtest::Named(cluster, "resources", name);
        return found ? *found : nlohmann::json();
    };
    for (const char* name : {"Orvane IP Address", "Orvane Server Name", "Cluster Disk Q"})
        EXPECT_EQ("Orvane Group", resource(name)["group"]) << name;
    EXPECT_EQ((nlohmann::json{{"Address", "10.20.30.40"}, {"SubnetMask", "255.255.255.0"}, {"Network", "Public"},
                              {"EnableNetBios", 1}}),
              resource("Orvane IP Address")["private"]);
    EXPECT_EQ("ORVANESRV", resource("Orvane Server Name")["private"]["Name"]);
    EXPECT_TRUE(resource("Cluster Disk 1").is_null()) << "went with the old group";
}

}  // namespace

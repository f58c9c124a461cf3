// Opening NRX on this computer (the console's key in either registry view,
// the four services, the wait for them and the process-wide memory of a wait
// that came to nothing: hence a program of its own), the configuration
// switch, and the inventory the other NRX operations rest on.

#include <memory>

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/simulated_nrx.h"
#include "harness/test_services.h"
#include "harness/trace_capture.h"
#include "orvcluster.h"
#include "simclock.h"

namespace {

using Lines = std::vector<std::wstring>;
using Names = std::list<std::wstring>;

const std::wstring kConsoleKey = L"SOFTWARE\\PENTRY\\Vontar Console";
const std::wstring kWaiting = L"Waiting for the NRX cluster services to startup";
const std::wstring kFailed = L"Failed to open NRX cluster ()";
const Lines kUnreachable = {L"Unable to query RKT service status", L"Unable to query ZEP service status",
                            L"Unable to query QMD service status", L"Unable to query OPSSTATUS service status",
                            kFailed};
const wchar_t* const kServices[] = {L"RKT", L"ZEP", L"QMD", L"OPSHOST"};

class NrxOpen : public orvtest::SimulatedNrxTest {
protected:
    void SetUp() override {
        SimulatedNrxTest::SetUp();
        for (const wchar_t* name : kServices) orvtest::RemoveService(name);
    }
    // The four services running, but `odd` installed with `options` and
    // `startType`, and started only to stay start pending.
    void Install(int odd = -1, const wchar_t* options = L"", DWORD startType = SERVICE_DEMAND_START) {
        services_.clear();
        for (int i = 0; i < 4; ++i) {
            const bool plain = i != odd;
            services_.push_back(std::make_unique<orvtest::TestService>(kServices[i], plain ? L"" : options,
                                                                       plain ? SERVICE_DEMAND_START : startType));
            if (plain || *options) {
                ASSERT_TRUE(services_.back()->Start(plain ? SERVICE_RUNNING : SERVICE_START_PENDING));
            }
        }
    }
    // Opens a new backend for this computer: the virtual time it took.
    ULONGLONG Open(bool opens, const Lines& trace, orvtest::TraceCapture* capture = nullptr) {
        std::unique_ptr<orvtest::TraceCapture> own(capture ? nullptr : new orvtest::TraceCapture());
        const ULONGLONG start = SimClock_GetTickCount64();
        NRXCluster cluster(nullptr);
        EXPECT_EQ(opens, cluster.ClusterOpen());
        EXPECT_EQ(trace, (capture ? capture : own.get())->Messages());
        EXPECT_STREQ(opens ? L"ORVNRX01" : L"", cluster.GetClusterName());
        return SimClock_GetTickCount64() - start;
    }
    std::vector<std::unique_ptr<orvtest::TestService>> services_;
};

TEST_F(NrxOpen, WithoutTheConsoleNrxIsAskedAtOnce) {
    EXPECT_EQ(0u, Open(true, {L"NRX cluster keys do not appear to be present in the registry"}));
    {
        orvtest::ScopedMachineKey bare(kConsoleKey);  // no install location: no console, and no word
        EXPECT_EQ(0u, Open(true, {}));
    }
    orvtest::ScopedMachineKey console(L"SOFTWARE\\WOW6432Node\\PENTRY\\Vontar Console");
    console.SetString(L"InstallLocation", L"C:\\");
    EXPECT_EQ(0u, Open(false, kUnreachable));  // the 32-bit view's console has its services checked
}

TEST_F(NrxOpen, NamesAskedForAndTheConfigurationSwitch) {
    const std::wstring here = L"\\\\" + orvtest::ThisComputer();
    const wchar_t* const rows[][2] = {
        {nullptr, L""}, {here.c_str(), L""}, {L"ORVNODE2", L"ORVNODE2"}, {L"\\\\\\orvnode2", L"orvnode2"}};
    for (const auto& row : rows) EXPECT_STREQ(row[1], NRXCluster(row[0]).GetClusterName());

    NRXCluster remote(L"orvnode2");
    EXPECT_EQ(1603u, remote.ClusterConfOpen());
    EXPECT_EQ(1603u, remote.ClusterConfClose());
    ASSERT_TRUE(remote.ClusterOpen());
    EXPECT_STREQ(L"ORVNRX01", remote.GetClusterName());
    const unsigned switches[] = {remote.ClusterConfOpen(), remote.ClusterConfOpen(), remote.ClusterConfClose(),
                                 remote.ClusterConfClose()};
    EXPECT_EQ((std::vector<unsigned>{1, 0, 1, 0}), std::vector<unsigned>(std::begin(switches), std::end(switches)));

    // 16 bytes and more in UTF-8 are no system's name: refused before NRX is asked.
    orvtest::TraceCapture capture;
    const wchar_t* const names[] = {L"ORVNODE2-FARAWAY", L"\u00d6\u00d6\u00d6\u00d6\u00d6\u00d6\u00d6\u00d6",
                                    L"N\u00d6DE3"};
    for (const wchar_t* name : names)
        EXPECT_FALSE(NRXCluster(name).ClusterOpen());
    EXPECT_EQ(Lines{L"Failed to open NRX cluster (N\u00d6DE3)"}, capture.Messages());
    EXPECT_EQ(2u, SimNrx_CallCount("NRXClusterOpen"));
}

class NrxConsole : public NrxOpen {
protected:
    void SetUp() override {
        NrxOpen::SetUp();
        console_.SetString(L"InstallLocation", L"C:\\Program Files\\PENTRY\\Vontar\\");
    }
    orvtest::ScopedMachineKey console_{kConsoleKey};
};

TEST_F(NrxConsole, StartingServicesAreAwaitedOnceThenGivenUpUntilTheyRun) {
    EXPECT_EQ(0u, Open(false, kUnreachable));
    Install(2, L"", SERVICE_DEMAND_START);  // stopped, started by hand only: not awaited
    EXPECT_EQ(0u, Open(false, {kFailed}));
    Install();
    EXPECT_EQ(0u, Open(true, {}));
    Lines waited(6, kWaiting);
    waited.push_back(kFailed);
    for (const wchar_t* options : {L"", L"--start-pending"}) {
        Install(3, options, *options ? SERVICE_DEMAND_START : SERVICE_AUTO_START);
        EXPECT_EQ(60000u, Open(false, waited));
        EXPECT_EQ(0u, Open(false, {kFailed}));  // given up for this process
        Install();
        EXPECT_EQ(0u, Open(true, {}));  // until all four run
    }
}

TEST_F(NrxConsole, WaitEndsWithTheOpenOnceAllFourRun) {
    Install(1, L"", SERVICE_AUTO_START);
    bool started = false;
    orvtest::TraceCapture capture([&](const std::wstring& message) {
        if (message == kWaiting && !started) started = services_[1]->Start();
    });
    EXPECT_EQ(10000u, Open(true, {kWaiting}, &capture));
}

// The inventory, on this computer's cluster opened without its console.
class Inventory : public orvtest::SimulatedNrxTest {
protected:
    void SetUp() override {
        SimulatedNrxTest::SetUp();
        ASSERT_TRUE(cluster_.ClusterOpen());
    }
    NRXCluster cluster_{nullptr};
    const std::wstring here_ = orvtest::ThisComputer();
    const std::string hereNarrow_ = std::string(here_.begin(), here_.end());
};

TEST_F(Inventory, Listings) {
    Names names, groups;
    EXPECT_TRUE(cluster_.GetResources(names, "Lanman"));
    EXPECT_EQ((Names{L"Orvane Server Name", L"SQL2005_Lanman", L"Exchange_Lanman"}), names);
    EXPECT_FALSE(cluster_.GetResources(names, "NoSuchType"));
    EXPECT_TRUE(cluster_.GetGroupResourceNames(names, "SQL2005 Group", "Mount"));
    EXPECT_TRUE(cluster_.GetServiceGroups(groups));
    EXPECT_TRUE(cluster_.GetServiceGroupNames(names));  // appended
    EXPECT_EQ((Names{L"Orvane Group", L"SQL2005 Group", L"Exchange Group"}), groups);
    EXPECT_EQ((Names{L"SQL2005_Mount", L"Orvane Group", L"SQL2005 Group", L"Exchange Group"}), names);

    std::string group = "none";
    EXPECT_FALSE(cluster_.GetServiceGroupName(group));  // no network name is the cluster's own
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Exchange_Lanman", "VirtualName", "\"orvnrx01\""));
    EXPECT_TRUE(cluster_.GetServiceGroupName(group));
    EXPECT_EQ("Exchange Group", group);
}

TEST_F(Inventory, StatesAndOwners) {
    ASSERT_TRUE(SimNrx_SetResourceState("Exchange_Mount", hereNarrow_.c_str(), NRX_RES_FAULTED));
    const struct {
        const char *resource, *system;
        NRXCluster::resState state;
    } rows[] = {{"Orvane", hereNarrow_.c_str(), NRXCluster::Online}, {"Orvane", "orvnode2", NRXCluster::Offline},
                {"Exchange_Mount", hereNarrow_.c_str(), NRXCluster::Unknown},
                {"NoSuchResource", "ORVNODE2", NRXCluster::Unknown}, {"Orvane", "NOSUCHSYSTEM", NRXCluster::Unknown},
                {"Orvane", "ORVNODE2-FARAWAY", NRXCluster::Unknown}, {nullptr, "ORVNODE2", NRXCluster::Unknown}};
    for (const auto& row : rows)
        EXPECT_EQ(row.state, cluster_.GetResourceState(row.resource, row.system)) << row.system;

    char owner[16] = "";
    EXPECT_FALSE(cluster_.GetOwningNode(owner, 8, "SQL2005_Mount"));  // does not fit
    ASSERT_TRUE(SimNrx_SetResourceState("SQL2005_SQLServer", nullptr, NRX_RES_OFFLINE));
    EXPECT_TRUE(cluster_.GetOwningNode(owner, sizeof(owner), "SQL2005_Mount"));  // partly online
    for (const char* resource : {"SQL2005_Lanman", "SQL2005_IP", "SQL2005_Mount"})
        ASSERT_TRUE(SimNrx_SetResourceState(resource, nullptr, NRX_RES_OFFLINE));
    EXPECT_FALSE(cluster_.GetOwningNode(owner, sizeof(owner), "SQL2005_Mount"));
}

TEST_F(Inventory, OfflinePollsOnceASecondForUpTo150Seconds) {
    char resource[] = "Exchange_Exchange";
    std::string system = "ORVNODE2";
    const auto ping = [&](bool offline) {  // each poll is a round trip of 1 ms
        const ULONGLONG start = SimClock_GetTickCount64();
        EXPECT_EQ(offline, cluster_.PingTillOffline(resource, &system[0]));
        return SimClock_GetTickCount64() - start;
    };
    EXPECT_EQ(1u, ping(true));
    system = hereNarrow_;
    ASSERT_TRUE(SimNrx_ScriptTransition(resource, system.c_str(), NRX_RES_OFFLINE, 4500, NRX_RES_OFFLINE));
    ASSERT_EQ(NRX_SUCCESS, NRXClusterGlue::GetInstance()->OfflineClusterResource(cluster_.GetClusterHandle(),
                                                                                 resource, system.c_str()));
    EXPECT_EQ(5006u, ping(true));
    ASSERT_TRUE(SimNrx_SetResourceState(resource, nullptr, NRX_RES_ONLINE));
    EXPECT_EQ(150150u, ping(false));
}

TEST_F(Inventory, DrivesFromMountPaths) {
    Names drives = {L"stale"};
    EXPECT_FALSE(cluster_.GetDriveNames(drives, "No Such Group"));
    char drive[3] = {};
    char mount[] = "Orvane_Mount";
    const struct {
        const char *path, *drive;  // null: no drive
        const wchar_t* listed;
    } rows[] = {{"\"F\"", "F:", L"F:"}, {"\"\\\\\\\\data\"", "\\:", L"data"}, {"\"g:\"", "G:", L"g:"},
                {"\"e:\\\\mnt\"", "E:", L"e:\\mnt"}, {"[]", nullptr, nullptr}, {"[\"\"]", nullptr, L":"}};
    for (const auto& row : rows) {
        ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, mount, "MountPath", row.path));
        EXPECT_EQ(row.listed != nullptr, cluster_.GetDriveNames(drives, "Orvane Group")) << row.path;
        EXPECT_EQ(row.listed ? Names({row.listed, L"E:\\Orvane"}) : Names(), drives) << row.path;
        EXPECT_EQ(row.drive != nullptr, cluster_.GetMountPath(drive, mount)) << row.path;
        EXPECT_STREQ(row.drive ? row.drive : drive, drive) << row.path;
    }
}

}  // namespace

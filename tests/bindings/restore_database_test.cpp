// Restoring the cluster database: the cluster service is stopped first (in
// virtual time, against a real service of Wine's service manager) and the
// cluster hive unloaded, before the platform's restore is called.

#include <gtest/gtest.h>

#include "orvcluster/cluster_handles.h"
#include "harness/registry_fixture.h"
#include "harness/simulated_cluster.h"
#include "harness/test_services.h"
#include "orvcluster.h"

namespace {

using orvtest::TestService;

void EnablePrivilege(const wchar_t* name) {
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token));
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid);
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr));
    CloseHandle(token);
}

class RestoreDatabase : public orvtest::SimulatedClusterTest {
protected:
    void SetUp() override {
        SimulatedClusterTest::SetUp();
        orvtest::DeleteMachineKey(L"Cluster");
        orvtest::RemoveService(L"ClusSvc");
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        backup_ = std::wstring(folder) + L"orvcluster-restore-test";
        CreateDirectoryW(backup_.c_str(), nullptr);
        // A real backup to restore from, of a cluster old enough to make one.
        ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-failover-2003.json").c_str()));
        orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
        orv::UniqueCluster cluster(glue->OpenCluster(nullptr));
        ASSERT_EQ(0u, glue->BackupClusterDatabase(cluster.Get(), backup_.c_str()));
        SimCluster_ResetCounters();
    }
    void TearDown() override {
        for (const wchar_t* file : {L"\\Clusbackup.dat", L"\\quolog.log", L"\\chk0001.tmp"}) {
            SetFileAttributesW((backup_ + file).c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW((backup_ + file).c_str());
        }
        RemoveDirectoryW(backup_.c_str());
        SimulatedClusterTest::TearDown();
    }
    // Restores with force and answers the virtual time it took.
    ULONGLONG Restore(bool* restored) {
        const ULONGLONG start = SimClock_GetTickCount64();
        *restored = Cluster::RestoreDatabase(backup_.c_str(), TRUE, L"Q:");
        return SimClock_GetTickCount64() - start;
    }

    std::wstring backup_;
};

// First in this program: the restore privilege is not enabled yet.
TEST_F(RestoreDatabase, NeedsTheRestorePrivilegeToUnloadTheHive) {
    TestService service(L"ClusSvc", L"");
    bool restored = true;
    Restore(&restored);
    EXPECT_FALSE(restored);
    EXPECT_EQ(static_cast<DWORD>(ERROR_PRIVILEGE_NOT_HELD), GetLastError());
    EXPECT_EQ(0u, SimCluster_CallCount(L"RestoreClusterDatabase"));
    EnablePrivilege(SE_RESTORE_NAME);
    EnablePrivilege(SE_BACKUP_NAME);
}

TEST_F(RestoreDatabase, StoppedServiceGoesStraightToThePlatform) {
    TestService service(L"ClusSvc", L"");
    bool restored = false;
    EXPECT_EQ(0u, Restore(&restored));
    EXPECT_TRUE(restored) << GetLastError();
    EXPECT_EQ(1u, SimCluster_CallCount(L"RestoreClusterDatabase"));
}

TEST_F(RestoreDatabase, WaitsForTheServiceToStop) {
    TestService service(L"ClusSvc", L"--stop-after 20000");
    ASSERT_TRUE(service.Start());
    bool restored = false;
    const ULONGLONG waited = Restore(&restored);
    EXPECT_TRUE(restored) << GetLastError();
    EXPECT_GE(waited, 20000u);
    EXPECT_LT(waited, 600000u);
    EXPECT_EQ(0u, waited % 5000);  // polled every five seconds
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), service.State());
}

TEST_F(RestoreDatabase, GivesUpAfterTenMinutes) {
    TestService service(L"ClusSvc", L"--never-stop");
    ASSERT_TRUE(service.Start());
    bool restored = true;
    EXPECT_EQ(600000u, Restore(&restored));
    EXPECT_FALSE(restored);
    EXPECT_EQ(static_cast<DWORD>(ERROR_SERVICE_REQUEST_TIMEOUT), GetLastError());
    EXPECT_EQ(0u, SimCluster_CallCount(L"RestoreClusterDatabase"));
}

TEST_F(RestoreDatabase, MissingServiceAndPlatformRefusalsComeBackAsTheLastError) {
    bool restored = true;
    Restore(&restored);
    EXPECT_FALSE(restored);
    EXPECT_EQ(static_cast<DWORD>(ERROR_SERVICE_DOES_NOT_EXIST), GetLastError());

    TestService service(L"ClusSvc", L"");
    EXPECT_FALSE(Cluster::RestoreDatabase(L"C:\\no-such-backup", FALSE, nullptr));
    EXPECT_NE(0u, GetLastError());
    EXPECT_EQ(1u, SimCluster_CallCount(L"RestoreClusterDatabase"));

    // Clusters of version 6.0 on no longer restore: the platform's refusal
    // comes back once the service is stopped and the hive unloaded.
    ASSERT_TRUE(SimCluster_LoadScenarioFile(orvtest::ExampleScenario().c_str()));
    SetLastError(0xDEADBEEF);
    EXPECT_FALSE(Cluster::RestoreDatabase(backup_.c_str(), TRUE, L"Q:"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_CALL_NOT_IMPLEMENTED), GetLastError());
    EXPECT_EQ(2u, SimCluster_CallCount(L"RestoreClusterDatabase"));
}

}  // namespace

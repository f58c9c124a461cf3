// Start types and presence of services in Wine's service manager, and the
// lookup of a service in the product's resource table.

#include <gtest/gtest.h>

#include "harness/test_services.h"
#include "orvcluster.h"

namespace {

using orvtest::TestService;

const wchar_t kServiceName[] = L"OrvTestStartType";

TEST(ServiceStartType, ChangesOnlyTheStartType) {
    TestService service(kServiceName, L"", SERVICE_DEMAND_START);
    Cluster cluster;
    EXPECT_EQ(0u, cluster.SetServiceStartupType(kServiceName, nullptr, SERVICE_AUTO_START));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_AUTO_START), service.StartType());
    EXPECT_EQ(0u, cluster.SetServiceStartupType(kServiceName, nullptr, SERVICE_DISABLED));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), service.StartType());
    // The service manager's own refusal comes back as its error code.
    EXPECT_EQ(static_cast<unsigned>(ERROR_INVALID_PARAMETER),
              cluster.SetServiceStartupType(kServiceName, nullptr, 77));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), service.StartType());
}

TEST(ServiceStartType, MissingServiceIsFFFFFFFE) {
    orvtest::RemoveService(kServiceName);
    Cluster cluster;
    EXPECT_EQ(0xFFFFFFFEu, cluster.SetServiceStartupType(kServiceName, nullptr, SERVICE_AUTO_START));
    EXPECT_EQ(0xFFFFFFFEu, cluster.SetServiceStartupType(nullptr, nullptr, SERVICE_AUTO_START));
}

TEST(ServicePresence, NeedsAServiceThatOpens) {
    orvtest::RemoveService(kServiceName);
    EXPECT_FALSE(Cluster::IsServicePresent(kServiceName, nullptr));
    EXPECT_FALSE(Cluster::IsServicePresent(nullptr, nullptr));
    TestService service(kServiceName, L"");
    EXPECT_TRUE(Cluster::IsServicePresent(kServiceName, nullptr));
}

TEST(OperatingSystem, WineReportsVersionSixOrLater) {
    EXPECT_TRUE(Cluster::IsOsVersion6OrLater());
}

TEST(ResourceTable, FindsServicesByNameUntilTheEndMark) {
    CLUSTERRESOURCE table[5] = {};
    wcscpy(table[0].resourceType, L"IP Address");
    wcscpy(table[0].resourceName, L"Orvane IP");
    wcscpy(table[1].resourceType, L"Network Name");
    wcscpy(table[1].resourceName, L"Orvane Name");
    wcscpy(table[2].serviceName, L"OrvJobEngine");
    wcscpy(table[2].resourceType, L"Generic Service");
    wcscpy(table[2].resourceName, L"Orvane Job Engine");
    // Record 3 is the end mark; record 4 lies beyond it and is never read.
    wcscpy(table[4].serviceName, L"Hidden");
    wcscpy(table[4].resourceName, L"Hidden");

    EXPECT_TRUE(Cluster::IsServiceResource(L"orvjobengine", table));
    EXPECT_FALSE(Cluster::IsServiceResource(L"Orvane IP", table));  // resource names don't count
    EXPECT_FALSE(Cluster::IsServiceResource(L"", table));           // nor empty service fields
    EXPECT_FALSE(Cluster::IsServiceResource(L"Hidden", table));
    EXPECT_FALSE(Cluster::IsServiceResource(nullptr, table));
    EXPECT_FALSE(Cluster::IsServiceResource(L"OrvJobEngine", nullptr));
}

}  // namespace

// Start types and presence of services in Wine's service manager, and the
// lookup of a service in the product's resource table.

#include <gtest/gtest.h>

#include "harness/test_services.h"
#include "orvcluster.h"

namespace {

const wchar_t kServiceName[] = L"OrvTestStartType";

TEST(Services, PresenceAndStartType) {
    Cluster cluster;
    orvtest::RemoveService(kServiceName);
    EXPECT_FALSE(Cluster::IsServicePresent(kServiceName, nullptr));
    EXPECT_FALSE(Cluster::IsServicePresent(nullptr, nullptr));
    EXPECT_EQ(0xFFFFFFFEu, cluster.SetServiceStartupType(kServiceName, nullptr, SERVICE_AUTO_START));
    EXPECT_EQ(0xFFFFFFFEu, cluster.SetServiceStartupType(nullptr, nullptr, SERVICE_AUTO_START));

    orvtest::TestService service(kServiceName, L"", SERVICE_DEMAND_START);
    EXPECT_TRUE(Cluster::IsServicePresent(kServiceName, nullptr));
    for (DWORD startType : {SERVICE_AUTO_START, SERVICE_DISABLED}) {
        EXPECT_EQ(0u, cluster.SetServiceStartupType(kServiceName, nullptr, startType));
        EXPECT_EQ(startType, service.StartType());
    }
    // The service manager's own refusal comes back as its error code.
    EXPECT_EQ(static_cast<unsigned>(ERROR_INVALID_PARAMETER),
              cluster.SetServiceStartupType(kServiceName, nullptr, 77));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), service.StartType());

    EXPECT_TRUE(Cluster::IsOsVersion6OrLater());  // as Wine reports itself
}

TEST(ResourceTable, FindsServicesByNameUntilTheEndMark) {
    CLUSTERRESOURCE table[5] = {};
    wcscpy(table[0].resourceName, L"Orvane IP");
    wcscpy(table[1].resourceName, L"Orvane Name");
    wcscpy(table[2].serviceName, L"OrvJobEngine");
    wcscpy(table[2].resourceName, L"Orvane Job Engine");
    // Record 3 is the end mark; record 4 lies beyond it and is never read.
    wcscpy(table[4].serviceName, L"Hidden");
    wcscpy(table[4].resourceName, L"Hidden");

    const std::pair<const wchar_t*, bool> rows[] = {
        {L"orvjobengine", true},
        {L"Orvane IP", false},  // resource names don't count
        {L"", false},           // nor empty service fields
        {L"Hidden", false},
        {nullptr, false},
    };
    for (const auto& [name, found] : rows)
        EXPECT_EQ(found, Cluster::IsServiceResource(name, table)) << (name ? name : L"(null)");
    EXPECT_FALSE(Cluster::IsServiceResource(L"OrvJobEngine", nullptr));
}

}  // namespace

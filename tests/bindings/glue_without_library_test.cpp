// The bindings on a machine without the failover cluster libraries (this
// test runs with clusapi.dll and resutils.dll disabled): every wrapper
// answers its fixed result, and nothing throws.

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

constexpr DWORD kUntouched = 0xDEAD;
constexpr DWORD kProcNotFound = ERROR_PROC_NOT_FOUND;

// Runs `call` with a known last error and answers what the wrapper left there.
template <typename Call>
DWORD LastErrorAfter(Call call) {
    SetLastError(kUntouched);
    call();
    return GetLastError();
}

TEST(GlueWithoutLibrary, ClusterApiWrappersAnswerTheirFixedResults) {
    ASSERT_EQ(nullptr, GetModuleHandleW(L"clusapi.dll"));
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    EXPECT_FALSE(glue->OK());
    EXPECT_FALSE(glue->BackupAndRestoreSupported());
    EXPECT_EQ(nullptr, GetModuleHandleW(L"clusapi.dll"));

    DWORD result = 1;
    wchar_t name[16] = {};
    DWORD length = 16;
    DWORD type = 0;
    auto resource = reinterpret_cast<HRESOURCE>(8);
    auto group = reinterpret_cast<HGROUP>(8);

    // Null or zero (FALSE) with last error 127.
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->OpenCluster(nullptr)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(glue->CloseCluster(nullptr)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  EXPECT_EQ(0u, glue->GetClusterInformation(nullptr, name, &length, nullptr));
              }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->ClusterOpenEnum(nullptr, 1)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->OpenClusterResource(nullptr, L"r")); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(glue->CloseClusterResource(resource)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  EXPECT_FALSE(glue->GetClusterResourceNetworkName(resource, name, &length));
              }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->CreateClusterGroup(nullptr, L"g")); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->OpenClusterNode(nullptr, L"n")); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->OpenClusterNetwork(nullptr, L"n")); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(glue->CloseClusterGroup(group)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(glue->CloseClusterNode(nullptr)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(glue->CloseClusterNetwork(nullptr)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->ClusterResourceOpenEnum(resource, 1)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->OpenClusterGroup(nullptr, L"g")); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  EXPECT_EQ(nullptr, glue->CreateClusterResource(group, L"r", L"Generic Service", 0));
              }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_EQ(nullptr, glue->ClusterGroupOpenEnum(group, 1)); }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  EXPECT_EQ(0u, glue->ClusterGroupEnum(nullptr, 0, &type, name, &length));  // success code, deliberately
              }));

    // 127 as the result, last error untouched.
    EXPECT_EQ(kUntouched, LastErrorAfter([&] {
                  result = glue->ClusterEnum(nullptr, 0, &type, name, &length);
              }));
    EXPECT_EQ(kProcNotFound, result);
    EXPECT_EQ(kUntouched, LastErrorAfter([&] { result = glue->OnlineClusterResource(resource); }));
    EXPECT_EQ(kProcNotFound, result);
    EXPECT_EQ(kUntouched, LastErrorAfter([&] {
                  result = glue->ClusterResourceControl(resource, nullptr, 1, nullptr, 0, nullptr, 0, nullptr);
              }));
    EXPECT_EQ(kProcNotFound, result);
    EXPECT_EQ(kUntouched, LastErrorAfter([&] { result = glue->RestoreClusterDatabase(L"C:\\b", 0, nullptr); }));
    EXPECT_EQ(kProcNotFound, result);
    const std::vector<std::function<DWORD()>> plainMissing = {
        [&] { return glue->ClusterCloseEnum(nullptr); },
        [&] { return glue->ClusterControl(nullptr, nullptr, 1, nullptr, 0, nullptr, 0, nullptr); },
        [&] { return glue->ClusterGroupCloseEnum(nullptr); },
        [&] { return glue->ClusterResourceEnum(nullptr, 0, &type, name, &length); },
        [&] { return glue->ClusterResourceCloseEnum(nullptr); },
        [&] { return glue->OfflineClusterResource(resource); },
        [&] { return glue->GetClusterQuorumResource(nullptr, name, &length, name, &length, &type); },
        [&] { return glue->GetNodeClusterState(nullptr, &type); },
        [&] { return glue->BackupClusterDatabase(nullptr, L"C:\\b"); },
    };
    for (const auto& call : plainMissing) {
        EXPECT_EQ(kUntouched, LastErrorAfter([&] { result = call(); }));
        EXPECT_EQ(kProcNotFound, result);
    }

    // 110 with last error 127.
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { result = glue->DeleteClusterGroup(group); }));
    EXPECT_EQ(static_cast<DWORD>(ERROR_OPEN_FAILED), result);
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { result = glue->AddClusterResourceDependency(resource, resource); }));
    EXPECT_EQ(static_cast<DWORD>(ERROR_OPEN_FAILED), result);
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  result = glue->ClusterNetworkControl(nullptr, nullptr, 1, nullptr, 0, nullptr, 0, nullptr);
              }));
    EXPECT_EQ(static_cast<DWORD>(ERROR_OPEN_FAILED), result);
    const std::vector<std::function<DWORD()>> openFailed = {
        [&] { return glue->ChangeClusterResourceGroup(resource, group); },
        [&] { return glue->RemoveClusterResourceDependency(resource, resource); },
        [&] { return glue->AddClusterResourceNode(resource, nullptr); },
        [&] { return glue->RemoveClusterResourceNode(resource, nullptr); },
        [&] { return glue->OnlineClusterGroup(group, nullptr); },
        [&] { return glue->DeleteClusterResource(resource); },
    };
    for (const auto& call : openFailed) {
        EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { result = call(); }));
        EXPECT_EQ(static_cast<DWORD>(ERROR_OPEN_FAILED), result);
    }

    // The unknown state: the resource form leaves the last error, the group form sets it.
    EXPECT_EQ(kUntouched, LastErrorAfter([&] {
                  EXPECT_EQ(ClusterResourceStateUnknown,
                            glue->GetClusterResourceState(resource, nullptr, nullptr, nullptr, nullptr));
              }));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] {
                  EXPECT_EQ(ClusterGroupStateUnknown, glue->GetClusterGroupState(group, nullptr, nullptr));
              }));
}

TEST(GlueWithoutLibrary, ResourceUtilitiesAndWhatRestsOnThem) {
    orvclass::shared_ptr<ResourceGlue> glue = ResourceGlue::GetInstance();
    EXPECT_FALSE(glue->OK());
    DWORD value = 5;
    EXPECT_EQ(kUntouched, LastErrorAfter([&] {
                  EXPECT_EQ(kProcNotFound, glue->ResUtilFindDwordProperty(nullptr, 0, L"x", &value));
                  EXPECT_FALSE(glue->ClusterIsPathOnSharedVolume(L"C:\\ClusterStorage\\Volume1"));
                  EXPECT_EQ(kProcNotFound, glue->ClusterPrepareSharedVolumeForBackup(L"f", nullptr, nullptr,
                                                                                     nullptr, nullptr));
              }));

    ClusterPropertyList list;
    list.Append(L"PendingTimeout", 180000ul);
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(list.GetValue(L"PendingTimeout", value)); }));
    EXPECT_EQ(5u, value);

    // Resources without a cluster library answer false with the binding's code.
    ClusterResource resource(reinterpret_cast<HRESOURCE>(8), L"Orvane Job Engine");
    std::wstring text = L"old";
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(resource.GetTypeName(text)); }));
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(resource.GetGroupName(text));
    EXPECT_EQ(kProcNotFound, LastErrorAfter([&] { EXPECT_FALSE(resource.BringOnline(0)); }));

    EXPECT_FALSE(Cluster::RestoreDatabase(L"C:\\backup", 0, L"Q:"));
    EXPECT_EQ(kProcNotFound, GetLastError());
}

TEST(Singleton, EveryCallSharesOneBindingObject) {
    orvclass::shared_ptr<MSCSClusterGlue> first = MSCSClusterGlue::GetInstance();
    orvclass::shared_ptr<MSCSClusterGlue> second = MSCSClusterGlue::GetInstance();
    EXPECT_EQ(first.get(), second.get());
    EXPECT_GE(first.use_count(), 3);  // the holder keeps one reference of its own
}

}  // namespace

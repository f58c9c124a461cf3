// The bindings on a machine without the cluster libraries (this test runs
// with clusapi.dll, resutils.dll and nrxapi_mt.dll disabled, and without the
// NRX console's registry key): every wrapper answers its fixed result, and
// nothing throws.

#include <functional>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

// Set before every call: a wrapper that must leave the last error alone
// leaves this, which no platform call answers.
constexpr DWORD kUntouched = 0xDEADBEEF;
constexpr DWORD kProcNotFound = ERROR_PROC_NOT_FOUND;
constexpr intptr_t kNull = 0;
constexpr intptr_t kOpenFailed = ERROR_OPEN_FAILED;
constexpr intptr_t kUnknown = -1;

struct Missing {
    const char* wrapper;
    std::function<intptr_t()> call;
    intptr_t result;
    DWORD lastError;
};

TEST(GlueWithoutLibrary, EveryWrapperAnswersItsFixedResult) {
    ASSERT_EQ(nullptr, GetModuleHandleW(L"clusapi.dll"));
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    EXPECT_FALSE(glue->OK());
    EXPECT_FALSE(glue->BackupAndRestoreSupported());
    orvclass::shared_ptr<ResourceGlue> utilities = ResourceGlue::GetInstance();
    EXPECT_FALSE(utilities->OK());

    wchar_t name[16] = {};
    DWORD length = 16, type = 0;
    auto resource = reinterpret_cast<HRESOURCE>(8);
    auto group = reinterpret_cast<HGROUP>(8);
    auto as = [](auto value) { return (intptr_t)(value); };
    const std::vector<Missing> table = {
        // Null, 0 or FALSE after SetLastError(127).
        {"OpenCluster", [&] { return as(glue->OpenCluster(nullptr)); }, kNull, kProcNotFound},
        {"CloseCluster", [&] { return as(glue->CloseCluster(nullptr)); }, kNull, kProcNotFound},
        {"GetClusterInformation", [&] { return as(glue->GetClusterInformation(nullptr, name, &length, nullptr)); },
         kNull, kProcNotFound},
        {"ClusterOpenEnum", [&] { return as(glue->ClusterOpenEnum(nullptr, 1)); }, kNull, kProcNotFound},
        {"OpenClusterResource", [&] { return as(glue->OpenClusterResource(nullptr, L"r")); }, kNull, kProcNotFound},
        {"CloseClusterResource", [&] { return as(glue->CloseClusterResource(resource)); }, kNull, kProcNotFound},
        {"GetClusterResourceNetworkName",
         [&] { return as(glue->GetClusterResourceNetworkName(resource, name, &length)); }, kNull, kProcNotFound},
        {"CreateClusterGroup", [&] { return as(glue->CreateClusterGroup(nullptr, L"g")); }, kNull, kProcNotFound},
        {"OpenClusterGroup", [&] { return as(glue->OpenClusterGroup(nullptr, L"g")); }, kNull, kProcNotFound},
        {"CloseClusterGroup", [&] { return as(glue->CloseClusterGroup(group)); }, kNull, kProcNotFound},
        {"OpenClusterNode", [&] { return as(glue->OpenClusterNode(nullptr, L"n")); }, kNull, kProcNotFound},
        {"CloseClusterNode", [&] { return as(glue->CloseClusterNode(nullptr)); }, kNull, kProcNotFound},
        {"OpenClusterNetwork", [&] { return as(glue->OpenClusterNetwork(nullptr, L"n")); }, kNull, kProcNotFound},
        {"CloseClusterNetwork", [&] { return as(glue->CloseClusterNetwork(nullptr)); }, kNull, kProcNotFound},
        {"ClusterResourceOpenEnum", [&] { return as(glue->ClusterResourceOpenEnum(resource, 1)); }, kNull,
         kProcNotFound},
        {"CreateClusterResource", [&] { return as(glue->CreateClusterResource(group, L"r", L"Generic Service", 0)); },
         kNull, kProcNotFound},
        {"ClusterGroupOpenEnum", [&] { return as(glue->ClusterGroupOpenEnum(group, 1)); }, kNull, kProcNotFound},
        // ERROR_SUCCESS, deliberately, unlike the other enumerators.
        {"ClusterGroupEnum", [&] { return as(glue->ClusterGroupEnum(nullptr, 0, &type, name, &length)); }, kNull,
         kProcNotFound},
        // 127 as the result, last error untouched.
        {"ClusterEnum", [&] { return as(glue->ClusterEnum(nullptr, 0, &type, name, &length)); }, kProcNotFound,
         kUntouched},
        {"ClusterCloseEnum", [&] { return as(glue->ClusterCloseEnum(nullptr)); }, kProcNotFound, kUntouched},
        {"ClusterControl", [&] { return as(glue->ClusterControl(nullptr, nullptr, 1, nullptr, 0, nullptr, 0, nullptr)); },
         kProcNotFound, kUntouched},
        {"ClusterGroupCloseEnum", [&] { return as(glue->ClusterGroupCloseEnum(nullptr)); }, kProcNotFound, kUntouched},
        {"ClusterResourceEnum", [&] { return as(glue->ClusterResourceEnum(nullptr, 0, &type, name, &length)); },
         kProcNotFound, kUntouched},
        {"ClusterResourceCloseEnum", [&] { return as(glue->ClusterResourceCloseEnum(nullptr)); }, kProcNotFound,
         kUntouched},
        {"OnlineClusterResource", [&] { return as(glue->OnlineClusterResource(resource)); }, kProcNotFound, kUntouched},
        {"OfflineClusterResource", [&] { return as(glue->OfflineClusterResource(resource)); }, kProcNotFound,
         kUntouched},
        {"ClusterResourceControl",
         [&] { return as(glue->ClusterResourceControl(resource, nullptr, 1, nullptr, 0, nullptr, 0, nullptr)); },
         kProcNotFound, kUntouched},
        {"GetClusterQuorumResource",
         [&] { return as(glue->GetClusterQuorumResource(nullptr, name, &length, name, &length, &type)); },
         kProcNotFound, kUntouched},
        {"GetNodeClusterState", [&] { return as(glue->GetNodeClusterState(nullptr, &type)); }, kProcNotFound,
         kUntouched},
        {"BackupClusterDatabase", [&] { return as(glue->BackupClusterDatabase(nullptr, L"C:\\b")); }, kProcNotFound,
         kUntouched},
        // Without the entry point the restore stops nothing first.
        {"RestoreClusterDatabase", [&] { return as(glue->RestoreClusterDatabase(L"C:\\b", 0, nullptr)); },
         kProcNotFound, kUntouched},
        // 110 after SetLastError(127).
        {"DeleteClusterGroup", [&] { return as(glue->DeleteClusterGroup(group)); }, kOpenFailed, kProcNotFound},
        {"DeleteClusterResource", [&] { return as(glue->DeleteClusterResource(resource)); }, kOpenFailed, kProcNotFound},
        {"AddClusterResourceDependency", [&] { return as(glue->AddClusterResourceDependency(resource, resource)); },
         kOpenFailed, kProcNotFound},
        {"RemoveClusterResourceDependency",
         [&] { return as(glue->RemoveClusterResourceDependency(resource, resource)); }, kOpenFailed, kProcNotFound},
        {"ChangeClusterResourceGroup", [&] { return as(glue->ChangeClusterResourceGroup(resource, group)); },
         kOpenFailed, kProcNotFound},
        {"AddClusterResourceNode", [&] { return as(glue->AddClusterResourceNode(resource, nullptr)); }, kOpenFailed,
         kProcNotFound},
        {"RemoveClusterResourceNode", [&] { return as(glue->RemoveClusterResourceNode(resource, nullptr)); },
         kOpenFailed, kProcNotFound},
        {"OnlineClusterGroup", [&] { return as(glue->OnlineClusterGroup(group, nullptr)); }, kOpenFailed,
         kProcNotFound},
        {"ClusterNetworkControl",
         [&] { return as(glue->ClusterNetworkControl(nullptr, nullptr, 1, nullptr, 0, nullptr, 0, nullptr)); },
         kOpenFailed, kProcNotFound},
        // The unknown state: the resource form leaves the last error, the group form sets it.
        {"GetClusterResourceState",
         [&] { return as(glue->GetClusterResourceState(resource, nullptr, nullptr, nullptr, nullptr)); }, kUnknown,
         kUntouched},
        {"GetClusterGroupState", [&] { return as(glue->GetClusterGroupState(group, nullptr, nullptr)); }, kUnknown,
         kProcNotFound},
        // resutils.dll: 127 or FALSE, never a last error.
        {"ResUtilFindSzProperty", [&] { return as(utilities->ResUtilFindSzProperty(nullptr, 0, L"x", nullptr)); },
         kProcNotFound, kUntouched},
        {"ResUtilFindDwordProperty", [&] { return as(utilities->ResUtilFindDwordProperty(nullptr, 0, L"x", &type)); },
         kProcNotFound, kUntouched},
        {"ClusterIsPathOnSharedVolume", [&] { return as(utilities->ClusterIsPathOnSharedVolume(L"C:\\v")); }, kNull,
         kUntouched},
        {"ClusterGetVolumePathName", [&] { return as(utilities->ClusterGetVolumePathName(L"f", name, 16)); }, kNull,
         kUntouched},
        {"ClusterGetVolumeNameForVolumeMountPoint",
         [&] { return as(utilities->ClusterGetVolumeNameForVolumeMountPoint(L"f", name, 16)); }, kNull, kUntouched},
        {"ClusterPrepareSharedVolumeForBackup",
         [&] { return as(utilities->ClusterPrepareSharedVolumeForBackup(L"f", nullptr, nullptr, nullptr, nullptr)); },
         kProcNotFound, kUntouched},
        {"ClusterClearBackupStateForSharedVolume",
         [&] { return as(utilities->ClusterClearBackupStateForSharedVolume(L"C:\\v")); }, kProcNotFound, kUntouched},
    };
    EXPECT_EQ(49u, table.size());
    for (const Missing& row : table) {
        SetLastError(kUntouched);
        EXPECT_EQ(row.result, row.call()) << row.wrapper;
        EXPECT_EQ(row.lastError, GetLastError()) << row.wrapper;
    }
    EXPECT_EQ(nullptr, GetModuleHandleW(L"clusapi.dll"));
}

// Without the NRX client every wrapper fails quietly: the failure status,
// null or false, and the last error left as it was; the free wrappers do
// nothing.
TEST(GlueWithoutLibrary, NrxWrappersFailQuietly) {
    ASSERT_EQ(nullptr, GetModuleHandleW(L"nrxapi_mt.dll"));
    orvclass::shared_ptr<NRXClusterGlue> nrx = NRXClusterGlue::GetInstance();
    EXPECT_FALSE(nrx->OK());

    auto cluster = reinterpret_cast<NRXHandle>(8);
    NRXAttr* attr = nullptr;
    NRXObjNames* names = nullptr;
    NRXStateInfo* state = nullptr;
    NRXCntlInfo* cntl = nullptr;
    NRXObject* object = nullptr;
    char* text = nullptr;
    char* values[] = {const_cast<char*>("Lanman")};
    std::list<std::wstring> found;
    auto as = [](auto value) { return (intptr_t)(value); };
    const std::vector<std::pair<const char*, std::function<intptr_t()>>> calls = {
        {"OpenCluster", [&] { return as(nrx->OpenCluster(nullptr)); }},
        {"ClusterEnum", [&] { return as(nrx->ClusterEnum(cluster, "Nodes", found, "")); }},
        {"GetLastError", [&] { return as(nrx->GetLastError()); }},
        {"OpenClusterResource", [&] { return as(nrx->OpenClusterResource(cluster, "r", "a", &attr) - 1); }},
        {"GetClusterResourceState",
         [&] { return as(nrx->GetClusterResourceState(cluster, NRX_OBJ_RESOURCE, "r", &state, nullptr) - 1); }},
        {"ResGetGrpName", [&] { return as(nrx->ResGetGrpName(cluster, "r", &text) - 1); }},
        {"OnlineClusterResource", [&] { return as(nrx->OnlineClusterResource(cluster, "r", "s") - 1); }},
        {"OfflineClusterResource", [&] { return as(nrx->OfflineClusterResource(cluster, "r", "s") - 1); }},
        {"ResProbe", [&] { return as(nrx->ResProbe(cluster, "r", nullptr) - 1); }},
        {"ResGetChildList", [&] { return as(nrx->ResGetChildList(cluster, "r", &names) - 1); }},
        {"ResOffline", [&] { return as(nrx->ResOffline(cluster, "r", "s") - 1); }},
        {"ResLink", [&] { return as(nrx->ResLink(cluster, "p", "c") - 1); }},
        {"ResAttrMakeLocal", [&] { return as(nrx->ResAttrMakeLocal(cluster, "r", "a") - 1); }},
        {"GetClusterObject", [&] { return as(nrx->GetClusterObject(cluster, NRX_OBJ_CLUSTER, nullptr, &object) - 1); }},
        {"FreeClusterObject", [&] { return as(nrx->FreeClusterObject(object) - 1); }},
        {"ClusterConfOpen", [&] { return as(nrx->ClusterConfOpen(cluster, 0) - 1); }},
        {"ClusterConfClose", [&] { return as(nrx->ClusterConfClose(cluster, 0) - 1); }},
        {"ObjectGetNames", [&] { return as(nrx->ObjectGetNames(cluster, NRX_OBJ_GROUP, nullptr, &names, nullptr) - 1); }},
        {"FreeObjNames", [&] { return as(nrx->FreeObjNames(names) - 1); }},
        {"ObjGetAttribute",
         [&] { return as(nrx->ObjGetAttribute(cluster, NRX_OBJ_GROUP, "g", "State", &attr) - 1); }},
        {"ObjSetAttribute",
         [&] { return as(nrx->ObjSetAttribute(cluster, NRX_OBJ_GROUP, "g", attr, NRX_ATTR_ADD_KEY, nullptr) - 1); }},
        {"AttrFillStr", [&] { return as(nrx->AttrFillStr("a", "v", &attr) - 1); }},
        {"AttrFillInt", [&] { return as(nrx->AttrFillInt("a", 1, &attr) - 1); }},
        {"NRXAttrFillInt", [&] { return as(nrx->NRXAttrFillInt("a", 1, &attr) - 1); }},
        {"AttrFillStrVector", [&] { return as(nrx->AttrFillStrVector("a", nullptr, &attr) - 1); }},
        {"AttrFillKeylist", [&] { return as(nrx->AttrFillKeylist("a", nullptr, &attr) - 1); }},
        {"AttrFillStrAssoc", [&] { return as(nrx->AttrFillStrAssoc("a", nullptr, &attr) - 1); }},
        {"AttrGetStr", [&] { return as(nrx->AttrGetStr(attr, nullptr, 0, &text) - 1); }},
        {"GrpAdd", [&] { return as(nrx->GrpAdd(cluster, "g") - 1); }},
        {"GrpDel", [&] { return as(nrx->GrpDel(cluster, "g") - 1); }},
        {"GrpOnline", [&] { return as(nrx->GrpOnline(cluster, "g", "s") - 1); }},
        {"GrpEnableResources", [&] { return as(nrx->GrpEnableResources(cluster, "g") - 1); }},
        {"ResourceAdd", [&] { return as(nrx->ResourceAdd(cluster, "r", "t", "g") - 1); }},
        {"ResourceDelete", [&] { return as(nrx->ResourceDelete(cluster, "r") - 1); }},
        {"ResTypeAdd", [&] { return as(nrx->ResTypeAdd(cluster, "t") - 1); }},
        {"FillCntlInfo", [&] { return as(nrx->FillCntlInfo(NRX_CNTL_TYPE, values, 1, &cntl) - 1); }},
    };
    // Each answers 0 here: null, false, or the failure status less one.
    for (const auto& [wrapper, call] : calls) {
        SetLastError(kUntouched);
        EXPECT_EQ(0, call()) << wrapper;
        EXPECT_EQ(kUntouched, GetLastError()) << wrapper;
    }
    EXPECT_TRUE(found.empty());

    SetLastError(kUntouched);
    nrx->CloseClusterResource(&attr);
    nrx->FreeCntlInfo(cntl);
    nrx->FreeStr(text);
    nrx->FreeAttr(attr);
    nrx->FreeStateInfo(state);
    nrx->FreeResourceStateInfo(state);
    nrx->FreeError(nullptr);
    EXPECT_EQ(kUntouched, GetLastError());
    EXPECT_EQ(nullptr, GetModuleHandleW(L"nrxapi_mt.dll"));
}

// A handle type closes through the binding, whose answer here sets 127; the
// caller's last error survives the close.
TEST(GlueWithoutLibrary, ClosingAHandleKeepsTheLastError) {
    orv::UniqueClusterResource resource(reinterpret_cast<HRESOURCE>(8));
    SetLastError(kUntouched);
    resource.Reset();
    EXPECT_EQ(kUntouched, GetLastError());
    EXPECT_FALSE(resource);
}

// What rests on the bindings answers false with the binding's code, or, where
// the binding answers without one, leaves the last error as it was.
TEST(GlueWithoutLibrary, WhatRestsOnTheBindings) {
    DWORD value = 5;
    ClusterPropertyList list;
    list.Append(L"PendingTimeout", 180000ul);
    SetLastError(kUntouched);
    EXPECT_FALSE(list.GetValue(L"PendingTimeout", value));
    EXPECT_EQ(kProcNotFound, GetLastError());
    EXPECT_EQ(5u, value);

    ClusterResource resource(reinterpret_cast<HRESOURCE>(8), L"Orvane Job Engine");
    std::wstring text;
    CLUS_RESOURCE_CLASS_INFO classInfo = {};
    const std::vector<std::pair<const char*, std::function<bool()>>> failing = {
        {"GetTypeName", [&] { return resource.GetTypeName(text) || !text.empty(); }},
        {"GetClassInfoW", [&] { return resource.GetClassInfoW(&classInfo); }},
        {"GetNetworkName", [&] { return resource.GetNetworkName(text) || !text.empty(); }},
        {"GetPendingTimeout", [&] { return resource.GetPendingTimeout(value); }},
        {"BringOnline", [&] { return resource.BringOnline(0); }},
        {"TakeOffline", [&] { return resource.TakeOffline(0); }},
    };
    // Each fails with 127, and a string output is cleared.
    for (const auto& [operation, call] : failing) {
        text = L"old";
        SetLastError(kUntouched);
        EXPECT_FALSE(call()) << operation;
        EXPECT_EQ(kProcNotFound, GetLastError()) << operation;
    }
    // The state query answers "unknown" without a last error of its own.
    for (auto query : {&ClusterResource::GetGroupName, &ClusterResource::GetNodeName}) {
        text = L"old";
        SetLastError(kUntouched);
        EXPECT_FALSE((resource.*query)(text));
        EXPECT_EQ(kUntouched, GetLastError());
        EXPECT_TRUE(text.empty());
    }

    SetLastError(kUntouched);
    EXPECT_FALSE(Cluster::RestoreDatabase(L"C:\\backup", 0, L"Q:"));
    EXPECT_EQ(kProcNotFound, GetLastError());
}

}  // namespace

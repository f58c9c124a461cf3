// Enumerations: what they list, and the documented length conventions.

#include <algorithm>
#include <cwchar>
#include <functional>

#include "sim_test.h"

namespace simtest {
namespace {

using EnumFunction = std::function<DWORD(DWORD index, DWORD* type, wchar_t* name, DWORD* length)>;

// Pins the conventions of an enumerator on its first entry, known to be
// `first`: lengths in characters, the terminator counted on the way in but
// not on the way out, ERROR_MORE_DATA with the needed length and the buffer
// untouched, ERROR_NO_MORE_ITEMS past the end. A null buffer gets the
// length with `nullAnswer`: ClusterResourceEnum documents ERROR_SUCCESS,
// the others treat it as a buffer too small.
void CheckLengthConventions(const EnumFunction& enumerate, const std::wstring& first, DWORD expectedType, DWORD count,
                            DWORD nullAnswer) {
    SCOPED_TRACE(Utf8(first));
    wchar_t name[64];
    DWORD type = 0;
    DWORD fits = static_cast<DWORD>(first.size() + 1);
    DWORD length = fits;
    ASSERT_EQ(DWORD(ERROR_SUCCESS), enumerate(0, &type, name, &length));
    EXPECT_EQ(first.size(), length);
    EXPECT_EQ(first, name);
    EXPECT_EQ(expectedType, type);

    wmemset(name, L'#', 64);
    length = fits - 1;
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), enumerate(0, &type, name, &length));
    EXPECT_EQ(first.size(), length);
    EXPECT_EQ(L'#', name[0]);

    length = 0;
    EXPECT_EQ(nullAnswer, enumerate(0, &type, nullptr, &length));
    EXPECT_EQ(first.size(), length);

    length = 64;
    EXPECT_EQ(DWORD(ERROR_SUCCESS), enumerate(count - 1, &type, name, &length));
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), enumerate(count, &type, name, &length));
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), enumerate(count + 100, &type, name, &length));
}

using Enumeration = SimulatorTest;

TEST_F(Enumeration, EveryEnumeratorFollowsItsDocumentedLengthConventions) {
#define SIMTEST_ENUM(call) [&](DWORD i, DWORD* t, wchar_t* n, DWORD* l) { return call; }
    Owned<HCLUSENUM> nodes(Sim().ClusterOpenEnum(cluster_.get(), CLUSTER_ENUM_NODE));
    CheckLengthConventions(SIMTEST_ENUM(Sim().ClusterEnum(nodes.get(), i, t, n, l)), ThisComputer(), CLUSTER_ENUM_NODE,
                           2, ERROR_MORE_DATA);
    Owned<HGROUP> group = Group(L"SQL Server (MSSQLSERVER)");
    Owned<HGROUPENUM> members(Sim().ClusterGroupOpenEnum(group.get(), CLUSTER_GROUP_ENUM_CONTAINS));
    CheckLengthConventions(SIMTEST_ENUM(Sim().ClusterGroupEnum(members.get(), i, t, n, l)), L"SQL IP Address",
                           CLUSTER_GROUP_ENUM_CONTAINS, 5, ERROR_MORE_DATA);
    Owned<HRESOURCE> name = Resource(L"Orvane Server Name");
    Owned<HRESENUM> dependents(Sim().ClusterResourceOpenEnum(name.get(), CLUSTER_RESOURCE_ENUM_PROVIDES));
    CheckLengthConventions(SIMTEST_ENUM(Sim().ClusterResourceEnum(dependents.get(), i, t, n, l)), L"Orvane Job Engine",
                           CLUSTER_RESOURCE_ENUM_PROVIDES, 4, ERROR_SUCCESS);
#undef SIMTEST_ENUM
}

TEST_F(Enumeration, TypesChooseWhatIsListedInTypeOrder) {
    EXPECT_EQ((std::vector<std::wstring>{ThisComputer(), L"NODE2", L"Cluster Group", L"Orvane Group",
                                         L"SQL Server (MSSQLSERVER)", L"Cluster Shared Volume", L"Exchange Group"}),
              ClusterNames(CLUSTER_ENUM_GROUP | CLUSTER_ENUM_NODE));
    EXPECT_EQ((std::vector<std::wstring>{L"Public", L"Heartbeat"}), ClusterNames(CLUSTER_ENUM_NETWORK));
    EXPECT_EQ((std::vector<std::wstring>{L"Public", L"Heartbeat"}), ClusterNames(CLUSTER_ENUM_INTERNAL_NETWORK));
    EXPECT_EQ(std::vector<std::wstring>{L"Cluster Disk 3"}, ClusterNames(CLUSTER_ENUM_SHARED_VOLUME_RESOURCE));
    EXPECT_EQ(20u, ClusterNames(CLUSTER_ENUM_RESOURCE).size());
    std::vector<std::wstring> types = ClusterNames(CLUSTER_ENUM_RESTYPE);
    EXPECT_NE(types.end(), std::find(types.begin(), types.end(), L"SQL Server Agent"));
    EXPECT_NE(types.end(), std::find(types.begin(), types.end(), L"Generic Service"));

    // The shared-volume and internal-network types are used alone.
    for (DWORD bad : {DWORD(0), DWORD(CLUSTER_ENUM_SHARED_VOLUME_RESOURCE | CLUSTER_ENUM_NODE), DWORD(0x100)}) {
        SetLastError(0);
        EXPECT_EQ(nullptr, Sim().ClusterOpenEnum(cluster_.get(), bad)) << bad;
        EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
    }
}

TEST_F(Enumeration, ResourceAndGroupEnumerationsListRelationsWithTheirTypeAndKeepTheListOfTheirOpening) {
    Owned<HRESOURCE> name = Resource(L"Orvane Server Name");
    Owned<HRESENUM> all(Sim().ClusterResourceOpenEnum(
        name.get(), CLUSTER_RESOURCE_ENUM_DEPENDS | CLUSTER_RESOURCE_ENUM_PROVIDES | CLUSTER_RESOURCE_ENUM_NODES));
    std::vector<std::pair<DWORD, std::wstring>> entries;
    wchar_t text[64];
    DWORD type = 0, length = 64;
    for (DWORD i = 0; Sim().ClusterResourceEnum(all.get(), i, &type, text, &length) == ERROR_SUCCESS; ++i, length = 64)
        entries.emplace_back(type, text);
    EXPECT_EQ(
        (std::vector<std::pair<DWORD, std::wstring>>{{CLUSTER_RESOURCE_ENUM_DEPENDS, L"Orvane IP Address"},
                                                     {CLUSTER_RESOURCE_ENUM_PROVIDES, L"Orvane Job Engine"},
                                                     {CLUSTER_RESOURCE_ENUM_PROVIDES, L"Orvane Tape Engine"},
                                                     {CLUSTER_RESOURCE_ENUM_PROVIDES, L"Orvane Discovery Service"},
                                                     {CLUSTER_RESOURCE_ENUM_PROVIDES, L"Orvane RPC Service"},
                                                     {CLUSTER_RESOURCE_ENUM_NODES, ThisComputer()},
                                                     {CLUSTER_RESOURCE_ENUM_NODES, L"NODE2"}}),
        entries);

    Owned<HGROUP> group = Group(L"SQL Server (MSSQLSERVER)");
    Owned<HGROUPENUM> owners(Sim().ClusterGroupOpenEnum(group.get(), CLUSTER_GROUP_ENUM_NODES));
    length = 64;
    ASSERT_EQ(DWORD(ERROR_SUCCESS), Sim().ClusterGroupEnum(owners.get(), 0, &type, text, &length));
    EXPECT_STREQ(L"NODE2", text);  // preferred owners keep their order
    EXPECT_EQ(nullptr, Sim().ClusterGroupOpenEnum(group.get(), 4));
    EXPECT_EQ(nullptr, Sim().ClusterResourceOpenEnum(name.get(), 0));

    Owned<HCLUSENUM> before(Sim().ClusterOpenEnum(cluster_.get(), CLUSTER_ENUM_GROUP));
    Owned<HGROUP> added(Sim().CreateClusterGroup(cluster_.get(), L"Added Group"));
    ASSERT_TRUE(added);
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), Sim().ClusterEnum(before.get(), 5, &type, text, &length));
    EXPECT_EQ(L"Added Group", ClusterNames(CLUSTER_ENUM_GROUP).back());
}

}  // namespace
}  // namespace simtest

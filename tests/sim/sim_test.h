#pragma once

// Tests of the cluster simulator through its own exports: the entry points
// are bound by name from its clusapi.dll and resutils.dll, as the library
// binds them; the control API comes from simcluster.h.

#include <gtest/gtest.h>
#include <windows.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "entry_points.h"
#include "orvcluster/cluster_api.h"
#include "simclock.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"
#include "simcluster.h"

// A row of a table of calls: the call, and its text to name the row.
#define SIMTEST_CALL(call) #call, [&] { return call; }

namespace simtest {

// Every entry point, looked up by name in the simulator's DLLs.
struct Api {
#define SIMTEST_FIELD(name) name##Function name;
    SIMCLUSTER_ENTRY_POINTS(SIMTEST_FIELD)
#undef SIMTEST_FIELD
};
const Api& Sim();

// Closes a cluster API handle when it goes out of scope.
struct HandleCloser {
    void operator()(HCLUSTER handle) const { Sim().CloseCluster(handle); }
    void operator()(HNODE handle) const { Sim().CloseClusterNode(handle); }
    void operator()(HGROUP handle) const { Sim().CloseClusterGroup(handle); }
    void operator()(HRESOURCE handle) const { Sim().CloseClusterResource(handle); }
    void operator()(HNETWORK handle) const { Sim().CloseClusterNetwork(handle); }
    void operator()(HCLUSENUM handle) const { Sim().ClusterCloseEnum(handle); }
    void operator()(HGROUPENUM handle) const { Sim().ClusterGroupCloseEnum(handle); }
    void operator()(HRESENUM handle) const { Sim().ClusterResourceCloseEnum(handle); }
};
template <class H>
using Owned = std::unique_ptr<std::remove_pointer_t<H>, HandleCloser>;

using orvtest::Utf8;

// The names of a comma-separated list.
std::vector<std::string> ListOf(const std::string& list);

using orvtest::ExampleScenario;
using orvtest::ThisComputer;
// The bundled cluster of version 5.2.
inline std::wstring ExampleScenario52() { return orvtest::ExamplePath("scenarios/two-node-failover-2003.json"); }

// The current cluster as SimCluster_SaveScenarioText gives it, asked for
// first with no buffer.
std::string SavedScenario();

// A property list written out by hand, entry by entry.
class ListBuilder {
public:
    ListBuilder& Add(const std::wstring& name, DWORD syntax, const void* data, size_t size);
    ListBuilder& Text(const std::wstring& name, const std::wstring& text,
                      DWORD syntax = CLUSPROP_SYNTAX_LIST_VALUE_SZ) {
        return Add(name, syntax, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    ListBuilder& Number(const std::wstring& name, DWORD value) {
        return Add(name, CLUSPROP_SYNTAX_LIST_VALUE_DWORD, &value, sizeof value);
    }
    std::vector<BYTE> Bytes() const;

private:
    void Entry(DWORD syntax, const void* data, size_t size);
    DWORD count_ = 0;
    std::vector<BYTE> body_;
};

// The entries of a value list (syntax, data); the end mark must close it.
using ValueEntry = std::pair<DWORD, std::vector<BYTE>>;
std::vector<ValueEntry> ValueEntries(const BYTE* list, size_t size);
inline std::vector<ValueEntry> ValueEntries(const std::vector<BYTE>& list) {
    return ValueEntries(list.data(), list.size());
}

// What ResUtilFindSzProperty answers; the copy it makes must come from LocalAlloc.
DWORD FindText(const void* list, size_t size, const wchar_t* name, std::wstring* text = nullptr);
// A property's text or number in a list, "" or 0xDEADBEEF when the lookup fails.
std::wstring TextIn(const std::vector<BYTE>& list, const wchar_t* name);
DWORD NumberIn(const std::vector<BYTE>& list, const wchar_t* name);

// Loads the demo cluster before each test, with failures and counters
// cleared, and checks afterwards that the test closed every handle.
class SimulatorTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Loads another cluster and connects to it in place of the demo's.
    void Load(const std::wstring& scenario);
    void LoadText(const char* json);

    Owned<HCLUSTER> OpenLocal();
    Owned<HRESOURCE> Resource(const wchar_t* name);
    Owned<HGROUP> Group(const wchar_t* name);
    Owned<HNODE> Node(const wchar_t* name);

    // A control's whole answer, asked for with a growing buffer.
    std::vector<BYTE> ResourceControl(const wchar_t* resource, DWORD code, const void* input = nullptr,
                                      DWORD inputSize = 0, DWORD* result = nullptr);
    std::vector<BYTE> ResourceControl(const wchar_t* resource, DWORD code, const std::vector<BYTE>& input,
                                      DWORD* result) {
        return ResourceControl(resource, code, input.data(), static_cast<DWORD>(input.size()), result);
    }
    // The status a control answers.
    DWORD ControlStatus(const wchar_t* resource, DWORD code, const std::vector<BYTE>& input = {}) {
        DWORD result = ERROR_GEN_FAILURE;
        ResourceControl(resource, code, input, &result);
        return result;
    }
    // The names an enumeration gives, through ClusterEnum.
    std::vector<std::wstring> ClusterNames(DWORD types);
    CLUSTER_RESOURCE_STATE StateOf(const wchar_t* resource);
    CLUSTER_GROUP_STATE GroupStateOf(const wchar_t* group) {
        return Sim().GetClusterGroupState(Group(group).get(), nullptr, nullptr);
    }
    void SetOffline(std::initializer_list<const wchar_t*> names) {
        for (const wchar_t* name : names) ASSERT_TRUE(SimCluster_SetResourceState(name, ClusterResourceOffline));
    }
    DWORD Online(const wchar_t* name) { return Sim().OnlineClusterResource(Resource(name).get()); }
    DWORD Offline(const wchar_t* name) { return Sim().OfflineClusterResource(Resource(name).get()); }

    Owned<HCLUSTER> cluster_;
};

}  // namespace simtest

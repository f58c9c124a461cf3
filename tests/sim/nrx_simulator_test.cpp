// The NRX simulator through its own exports: nrxapi_mt.dll's entry points
// (nrx_api.h) and its control API (simnrx.h).

#include <excpt.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "harness/simulated_nrx.h"
#include "harness/utf8.h"
#include "orvcluster/nrx_api.h"
#include "simclock.h"

namespace {

using orvtest::ThisComputer;
using orvtest::Utf8;
using Names = std::vector<std::string>;
using States = std::vector<std::pair<std::string, int>>;

const char kOrvane[] = "Orvane Group";
const char kNode2[] = "ORVNODE2";
const int kGoingOffline = NRX_RES_ONLINE | NRX_RES_WAIT_OFFLINE;

struct Freer {
    void operator()(NRXObjNames* names) const { NRXFreeObjNames(names); }
    void operator()(NRXStateInfo* state) const { NRXFreeStateInfo(state); }
    void operator()(NRXCntlInfo* cntl) const { NRXFreeCntlInfo(cntl); }
    void operator()(NRXApiError* error) const { NRXFreeError(error); }
    void operator()(char* text) const { NRXFreeStr(text); }
};
struct AttrFreer {
    bool read;  // from NRXObjGetAttribute
    void operator()(NRXAttr* value) const { read ? NRXFreeObjAttr(value) : NRXFreeAttr(value); }
};
template <class T>
using Owned = std::unique_ptr<T, Freer>;
using OwnedAttr = std::unique_ptr<NRXAttr, AttrFreer>;

std::string Me() { return Utf8(ThisComputer()); }

Owned<NRXCntlInfo> Cntl(NRXCntlFlag flag, Names values) {
    std::vector<char*> pointers;
    for (std::string& value : values) pointers.push_back(&value[0]);
    NRXCntlInfo* cntl = nullptr;
    EXPECT_EQ(NRX_SUCCESS, NRXFillCntlInfo(flag, pointers.data(), static_cast<int>(pointers.size()), &cntl));
    return Owned<NRXCntlInfo>(cntl);
}

OwnedAttr Text(const char* name, const char* text) {
    NRXAttr* value = nullptr;
    EXPECT_EQ(NRX_SUCCESS, NRXAttrFillStr(name, text, &value));
    return OwnedAttr(value, AttrFreer{false});
}

OwnedAttr Keys(const char* name, const std::vector<const char*>& keys) {
    NRXStrVector vector{static_cast<int>(keys.size()), keys.data()};
    NRXAttr* value = nullptr;
    EXPECT_EQ(NRX_SUCCESS, NRXAttrFillKeylist(name, &vector, &value));
    return OwnedAttr(value, AttrFreer{false});
}

// The values of each entry, "system:" first for a local one.
std::vector<Names> Entries(const NRXAttr* value) {
    std::vector<Names> entries;
    for (int i = 0; value && i < value->count; ++i) {
        Names items;
        if (value->entries[i].system) items.push_back(std::string(value->entries[i].system) + ":");
        for (int j = 0; j < value->entries[i].count; ++j) items.push_back(value->entries[i].values[j]);
        entries.push_back(items);
    }
    return entries;
}

// Runs `call` in one guarded region and tells the structured exception
// that left it, or 0.
DWORD raisedCode = 0;
extern "C" long CatchRaised(EXCEPTION_POINTERS* pointers, void*) {
    raisedCode = pointers->ExceptionRecord->ExceptionCode;
    return EXCEPTION_EXECUTE_HANDLER;
}
__attribute__((noipa)) DWORD Raised(void (*call)()) {
    raisedCode = 0;
    __try1(CatchRaised) call();
    __except1 return raisedCode;
}

class NrxSimulator : public orvtest::SimulatedNrxTest {
protected:
    void SetUp() override {
        SimulatedNrxTest::SetUp();
        ASSERT_EQ(NRX_SUCCESS, NRXApiInit(0, 0));
        cluster_ = NRXClusterOpenLocal(NRX_WAIT_FOREVER, 0);
        ASSERT_NE(nullptr, cluster_);
    }
    void TearDown() override {
        EXPECT_EQ(NRX_SUCCESS, NRXClusterClose(cluster_));
        EXPECT_EQ(0u, SimNrx_OpenConnections());
        SimulatedNrxTest::TearDown();
    }

    void Load(const char* json) { ASSERT_TRUE(SimNrx_LoadScenarioText(json)) << Utf8(SimNrx_LastError()); }

    Names List(NRXObjType type, const char* pattern = nullptr, const NRXCntlInfo* cntl = nullptr) {
        NRXObjNames* raw = nullptr;
        EXPECT_EQ(NRX_SUCCESS, NRXObjGetNames(cluster_, type, pattern, &raw, cntl)) << NRXApiGetLastErrCode();
        Owned<NRXObjNames> names(raw);
        return raw ? Names(raw->names, raw->names + raw->count) : Names{"(failed)"};
    }
    States StatesOf(NRXObjType type, const char* name, const NRXCntlInfo* cntl = nullptr) {
        NRXStateInfo* raw = nullptr;
        EXPECT_EQ(NRX_SUCCESS, NRXObjGetState(cluster_, type, name, &raw, cntl)) << NRXApiGetLastErrCode();
        Owned<NRXStateInfo> state(raw);
        States states;
        for (int i = 0; raw && i < raw->count; ++i) states.emplace_back(raw->entries[i].system, raw->entries[i].state);
        return states;
    }
    OwnedAttr Read(NRXObjType type, const char* object, const char* attribute) {
        NRXAttr* value = nullptr;
        NRXObjGetAttribute(cluster_, type, object, attribute, &value);
        return OwnedAttr(value, AttrFreer{true});
    }
    std::vector<Names> Attribute(NRXObjType type, const char* object, const char* attribute) {
        return Entries(Read(type, object, attribute).get());
    }
    int State(const char* resource, const std::string& system) {
        return SimNrx_GetResourceState(resource, system.c_str());
    }
    // The calling thread's error code after `call`, a sentinel error set
    // before it; the status must agree.
    template <class Call>
    int CodeOf(Call call) {
        const int sentinel = 4242;
        SimNrx_InjectFailure("NRXApiInit", 1, 1, sentinel);
        NRXApiInit(0, 0);
        EXPECT_EQ(sentinel, NRXApiGetLastErrCode());
        int status = call();
        int code = NRXApiGetLastErrCode();
        EXPECT_EQ(code == NRX_E_NONE ? NRX_SUCCESS : NRX_FAILURE, status);
        return code;
    }

    NRXHandle cluster_ = nullptr;
};

TEST_F(NrxSimulator, ScenariosThatNameWhatDoesNotExistAreRefusedWithTheReason) {
    const struct {
        const char* json;
        const char* reason;
    } cases[] = {
        {R"({"cluster": "C", "systems": [])", "not valid JSON"},
        {R"({"cluster": "C", "systems": []})", "no systems"},
        {R"({"cluster": "C", "systems": ["A"], "sytems": []})", "unknown field 'sytems'"},
        {R"({"cluster": "C", "systems": ["A", "a"]})", "two systems are named 'a'"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G", "systemList": ["B"]}]})", "unknown system 'B'"},
        {R"({"cluster": "C", "systems": ["A"], "resources": [{"name": "R", "type": "T", "group": "G"}]})",
         "unknown group 'G'"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G"}, {"name": "G"}]})", "two groups are named 'G'"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G", "children": ["H"]}]})",
         "unknown child group 'H'"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G"}, {"name": "H"}], "resources": [
            {"name": "R", "type": "T", "group": "G", "children": ["S"]},
            {"name": "S", "type": "T", "group": "H"}]})",
         "in another group"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G"}], "resources": [
            {"name": "R", "type": "T", "group": "G", "children": ["S"]},
            {"name": "S", "type": "T", "group": "G", "children": ["R"]}]})",
         "closes a circle"},
        {R"({"cluster": "C", "systems": ["A", "B"], "groups": [{"name": "G", "systemList": ["A"]}], "resources": [
            {"name": "R", "type": "T", "group": "G", "states": {"B": "ONLINE"}}]})",
         "not in its group's SystemList"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G"}], "resources": [
            {"name": "R", "type": "T", "group": "G", "attributes": {"State": "x"}}]})",
         "kept by the engine"},
        {R"({"cluster": "C", "systems": ["A"], "groups": [{"name": "G"}], "resources": [
            {"name": "R", "type": "T", "group": "G", "states": {"A": "RUNNING"}}]})",
         "not one of ONLINE"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.json);
        EXPECT_FALSE(SimNrx_LoadScenarioText(row.json));
        EXPECT_NE(std::string::npos, Utf8(SimNrx_LastError()).find(row.reason)) << Utf8(SimNrx_LastError());
    }
    // The cluster stays as it was.
    EXPECT_EQ((Names{"ORVNRX01"}), List(NRX_OBJ_CLUSTER));
}

TEST_F(NrxSimulator, ConnectionsReachTheEngineOfASystemOrTheClusterNameOnItsPort) {
    const struct {
        const char* host;
        unsigned short port;
        int code;
    } cases[] = {
        {kNode2, NRX_ENGINE_PORT, NRX_E_NONE},        {"orvnode2", NRX_ENGINE_PORT, NRX_E_NONE},
        {"ORVNRX01", NRX_ENGINE_PORT, NRX_E_NONE},    {"ORVNODE3", NRX_ENGINE_PORT, NRX_E_CONNECT},
        {kNode2, NRX_ENGINE_PORT + 1, NRX_E_CONNECT}, {nullptr, NRX_ENGINE_PORT, NRX_E_BAD_ARGUMENT},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.host ? row.host : "(null)");
        NRXHandle handle = NRXClusterOpen(row.host, row.port, nullptr, nullptr, NRX_WAIT_FOREVER, 0);
        EXPECT_EQ(row.code, NRXApiGetLastErrCode());
        EXPECT_EQ(row.code == NRX_E_NONE, handle != nullptr);
        if (handle) {
            EXPECT_EQ(NRX_SUCCESS, NRXClusterClose(handle));
        }
    }
    // A connection outlives scenario loads, not its close.
    NRXHandle other = NRXClusterOpen(kNode2, NRX_ENGINE_PORT, nullptr, nullptr, 0, 0);
    EXPECT_EQ(2u, SimNrx_OpenConnections());
    SimNrx_Unload();
    EXPECT_EQ(NRX_E_CONNECT, CodeOf([&] { return NRXClusterConfOpen(other, 0); }));
    EXPECT_EQ(nullptr, NRXClusterOpenLocal(0, 0));
    EXPECT_EQ(NRX_E_CONNECT, NRXApiGetLastErrCode());
    ASSERT_TRUE(SimNrx_LoadScenarioFile(orvtest::ExampleNrxScenario().c_str()));
    EXPECT_EQ(NRX_E_NONE, CodeOf([&] { return NRXClusterConfOpen(other, 0); }));
    EXPECT_EQ(NRX_SUCCESS, NRXClusterClose(other));
    EXPECT_EQ(NRX_E_BAD_HANDLE, CodeOf([&] { return NRXClusterConfOpen(other, 0); }));
    EXPECT_EQ(NRX_E_BAD_HANDLE, CodeOf([&] { return NRXClusterClose(other); }));
    // Only a cluster that counts this computer among its systems answers here.
    Load(R"({"cluster": "ELSEWHERE", "systems": ["ORVNODE7"]})");
    EXPECT_EQ(nullptr, NRXClusterOpenLocal(0, 0));
    EXPECT_EQ(NRX_E_CONNECT, NRXApiGetLastErrCode());
    // Nothing but NRXApiInit before NRXApiInit.
    ASSERT_EQ(NRX_SUCCESS, NRXApiExit());
    EXPECT_EQ(NRX_FAILURE, NRXClusterConfOpen(cluster_, 0));
    EXPECT_EQ(NRX_E_NOT_INITIALISED, NRXApiGetLastErrCode());
    EXPECT_EQ(NRX_FAILURE, NRXApiInit(1, 0));
    EXPECT_EQ(NRX_E_BAD_ARGUMENT, NRXApiGetLastErrCode());
    EXPECT_EQ(NRX_SUCCESS, NRXApiInit(0, 0));
}

TEST_F(NrxSimulator, ListingsKeepTheOrderObjectsWereMadeInAndNarrowByPatternAndControlRecord) {
    auto type = Cntl(NRX_CNTL_TYPE, {"Lanman"});
    auto typeInGroup = Cntl(NRX_CNTL_TYPE_IN_GROUP, {"IP", "SQL2005 Group"});
    auto scope = Cntl(NRX_CNTL_SCOPE, {"Exchange Group", "SQL2005 Group"});
    auto noType = Cntl(NRX_CNTL_TYPE, {"lanman"});
    auto noGroup = Cntl(NRX_CNTL_TYPE_IN_GROUP, {"IP", "No Group"});
    const struct {
        NRXObjType type;
        const char* pattern;
        const NRXCntlInfo* cntl;
        Names names;
    } cases[] = {
        {NRX_OBJ_CLUSTER, nullptr, nullptr, {"ORVNRX01"}},
        {NRX_OBJ_SYSTEM, nullptr, nullptr, {Me(), kNode2}},
        {NRX_OBJ_SYSTEM, "orvnode?", nullptr, {kNode2}},
        {NRX_OBJ_GROUP, nullptr, nullptr, {kOrvane, "SQL2005 Group", "Exchange Group"}},
        {NRX_OBJ_RESTYPE, "*L*", nullptr, {"Lanman", "VolLink", "SQLServer2005"}},
        {NRX_OBJ_RESOURCE, nullptr, type.get(), {"Orvane Server Name", "SQL2005_Lanman", "Exchange_Lanman"}},
        {NRX_OBJ_RESOURCE, nullptr, typeInGroup.get(), {"SQL2005_IP"}},
        {NRX_OBJ_RESOURCE, "*_IP", scope.get(), {"SQL2005_IP", "Exchange_IP"}},
        {NRX_OBJ_RESOURCE, "Orvane_*t", nullptr, {"Orvane_DiskSet", "Orvane_Mount"}},
        {NRX_OBJ_RESOURCE, "SQL2005_??", nullptr, {"SQL2005_IP"}},
        {NRX_OBJ_RESOURCE, nullptr, noType.get(), {}},
        {NRX_OBJ_RESOURCE, nullptr, noGroup.get(), {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.type);
        SCOPED_TRACE(row.pattern ? row.pattern : "");
        EXPECT_EQ(row.names, List(row.type, row.pattern, row.cntl));
    }
    auto system = Cntl(NRX_CNTL_SYSTEM, {kNode2});
    NRXObjNames* names = nullptr;
    EXPECT_EQ(NRX_E_BAD_ARGUMENT,
              CodeOf([&] { return NRXObjGetNames(cluster_, NRX_OBJ_RESOURCE, 0, &names, system.get()); }));
    EXPECT_EQ(NRX_E_BAD_ARGUMENT,
              CodeOf([&] { return NRXObjGetNames(cluster_, NRX_OBJ_GROUP, 0, &names, type.get()); }));
    EXPECT_EQ(nullptr, names);
    char* two[] = {const_cast<char*>("IP"), nullptr};
    NRXCntlInfo* cntl = nullptr;
    EXPECT_EQ(NRX_E_BAD_ARGUMENT, CodeOf([&] { return NRXFillCntlInfo(NRX_CNTL_TYPE_IN_GROUP, two, 1, &cntl); }));
    EXPECT_EQ(NRX_E_BAD_ARGUMENT, CodeOf([&] { return NRXFillCntlInfo(NRX_CNTL_SCOPE, two, 2, &cntl); }));
    EXPECT_EQ(nullptr, cntl);
}

TEST_F(NrxSimulator, StatesFollowTheSystemListOrTheSystemsOfTheControlRecord) {
    EXPECT_EQ((States{{Me(), NRX_GRP_ONLINE}, {kNode2, NRX_GRP_OFFLINE}}), StatesOf(NRX_OBJ_GROUP, kOrvane));
    EXPECT_EQ((States{{Me(), NRX_RES_OFFLINE}, {kNode2, NRX_RES_ONLINE}}),
              StatesOf(NRX_OBJ_RESOURCE, "SQL2005_SQLServer"));
    auto both = Cntl(NRX_CNTL_SCOPE, {"orvnode2", Me()});
    EXPECT_EQ((States{{kNode2, NRX_GRP_ONLINE}, {Me(), NRX_GRP_OFFLINE}}),
              StatesOf(NRX_OBJ_GROUP, "SQL2005 Group", both.get()));
    // A system outside the group's list is unknown there; a name that is no system is refused.
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_GROUP, "SQL2005 Group", "SystemList", R"({"keylist": ["ORVNODE2"]})"))
        << Utf8(SimNrx_LastError());
    EXPECT_EQ((States{{kNode2, NRX_GRP_ONLINE}}), StatesOf(NRX_OBJ_GROUP, "SQL2005 Group"));
    auto here = Cntl(NRX_CNTL_SYSTEM, {Me()});
    EXPECT_EQ((States{{Me(), NRX_RES_UNKNOWN}}), StatesOf(NRX_OBJ_RESOURCE, "SQL2005_IP", here.get()));
    auto nobody = Cntl(NRX_CNTL_SYSTEM, {"NOBODY"});
    NRXStateInfo* state = nullptr;
    EXPECT_EQ(NRX_E_NO_SUCH_OBJECT,
              CodeOf([&] { return NRXObjGetState(cluster_, NRX_OBJ_RESOURCE, "SQL2005_IP", &state, nobody.get()); }));
    EXPECT_EQ(NRX_E_NO_SUCH_OBJECT,
              CodeOf([&] { return NRXObjGetState(cluster_, NRX_OBJ_RESOURCE, "sql2005_ip", &state, nullptr); }));
    EXPECT_EQ(nullptr, state);
    // Each query is a round trip of 1 ms of virtual time.
    const ULONGLONG before = SimClock_GetTickCount64();
    StatesOf(NRX_OBJ_GROUP, kOrvane);
    EXPECT_EQ(before + 1, SimClock_GetTickCount64());
}

TEST_F(NrxSimulator, AGroupGoesOfflineParentsFirstAndComesUpElsewhereChildrenFirstInVirtualTime) {
    ASSERT_EQ(NRX_SUCCESS, NRXGrpOffline(cluster_, kOrvane, Me().c_str()));
    const ULONGLONG start = SimClock_GetTickCount64();
    // When each resource is down (from the product's resource to the disks)
    // and up again (the other way), in steps of the pending time.
    const struct {
        const char* resource;
        int down, up;
    } chain[] = {{"Orvane", 1, 5},
                 {"Orvane Job Engine", 2, 4},
                 {"Orvane Server Name", 2, 2},
                 {"Orvane IP Address", 3, 1},
                 {"Orvane_KeyMirror", 3, 3},
                 {"Orvane_VolLink", 4, 2},
                 {"Orvane_Mount", 5, 1},
                 {"Orvane_DiskSet", 5, 1}};
    for (int step = 0; step <= 5; ++step) {
        SimClock_Set(start + step * 1000);
        for (const auto& row : chain)
            EXPECT_EQ(step >= row.down ? NRX_RES_OFFLINE : kGoingOffline, State(row.resource, Me()))
                << row.resource << " after " << step * 1000 << " ms";
        EXPECT_EQ(step == 5 ? NRX_GRP_OFFLINE : NRX_GRP_GOING_OFFLINE, StatesOf(NRX_OBJ_GROUP, kOrvane)[0].second);
    }
    ASSERT_EQ(NRX_SUCCESS, NRXGrpOnline(cluster_, kOrvane, kNode2));
    const ULONGLONG up = SimClock_GetTickCount64();
    for (int step = 0; step <= 5; ++step) {
        SimClock_Set(up + step * 1000);
        for (const auto& row : chain)
            EXPECT_EQ(step >= row.up ? NRX_RES_ONLINE : NRX_RES_WAIT_ONLINE, State(row.resource, kNode2))
                << row.resource << " after " << step * 1000 << " ms";
    }
    EXPECT_EQ((States{{Me(), NRX_GRP_OFFLINE}, {kNode2, NRX_GRP_ONLINE}}), StatesOf(NRX_OBJ_GROUP, kOrvane));
    EXPECT_EQ((std::vector<Names>{{kNode2}}), Attribute(NRX_OBJ_RESOURCE, "Orvane Server Name", "LastOnline"));
    // Switching back takes it down there first, then up here.
    ASSERT_EQ(NRX_SUCCESS, NRXGrpSwitch(cluster_, kOrvane, Me().c_str()));
    SimClock_Advance(5000);
    EXPECT_EQ(NRX_RES_OFFLINE, State("Orvane_Mount", kNode2));
    EXPECT_EQ(NRX_RES_WAIT_ONLINE, State("Orvane_Mount", Me()));
    SimClock_Advance(5000);
    EXPECT_EQ((States{{Me(), NRX_GRP_ONLINE}, {kNode2, NRX_GRP_OFFLINE}}), StatesOf(NRX_OBJ_GROUP, kOrvane));
}

TEST_F(NrxSimulator, OnlineAndOfflineAreRefusedWhereDependenciesStateOrSystemListForbidThem) {
    const std::string me = Me();
    const struct {
        const char* call;
        int (*run)(NRXHandle, const std::string&);
        int code;
    } cases[] = {
        {"child of an online parent offline",
         [](NRXHandle h, const std::string& m) { return NRXResOffline(h, "Orvane IP Address", m.c_str()); },
         NRX_E_STATE},
        {"parent of an offline child online",
         [](NRXHandle h, const std::string&) { return NRXResOnline(h, "Orvane", kNode2); }, NRX_E_STATE},
        {"group running elsewhere online",
         [](NRXHandle h, const std::string&) { return NRXGrpOnline(h, kOrvane, kNode2); }, NRX_E_STATE},
        {"switch to where it runs",
         [](NRXHandle h, const std::string& m) { return NRXGrpSwitch(h, kOrvane, m.c_str()); }, NRX_E_STATE},
        {"online on no system",
         [](NRXHandle h, const std::string&) { return NRXResOnline(h, "Orvane_Mount", "NOBODY"); },
         NRX_E_NO_SUCH_OBJECT},
        {"online without a system",
         [](NRXHandle h, const std::string&) { return NRXResOnline(h, "Orvane_Mount", nullptr); }, NRX_E_BAD_ARGUMENT},
        {"online of no resource",
         [](NRXHandle h, const std::string&) { return NRXResOnline(h, "orvane_mount", kNode2); }, NRX_E_NO_SUCH_OBJECT},
        {"parent offline first",
         [](NRXHandle h, const std::string& m) { return NRXResOffline(h, "Orvane", m.c_str()); }, NRX_E_NONE},
    };
    for (const auto& row : cases) EXPECT_EQ(row.code, CodeOf([&] { return row.run(cluster_, me); })) << row.call;

    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_GROUP, "Exchange Group", "SystemList", R"(["%COMPUTERNAME%"])"));
    EXPECT_EQ(NRX_E_NOT_IN_SYSTEM_LIST, CodeOf([&] { return NRXGrpOnline(cluster_, "Exchange Group", kNode2); }));
    EXPECT_EQ(NRX_E_NOT_IN_SYSTEM_LIST, CodeOf([&] { return NRXResOnline(cluster_, "Exchange_IP", kNode2); }));
    // A faulted resource keeps its group from coming up there until cleared.
    ASSERT_TRUE(SimNrx_SetResourceState("SQL2005_Mount", me.c_str(), NRX_RES_FAULTED));
    EXPECT_EQ(NRX_GRP_FAULTED, StatesOf(NRX_OBJ_GROUP, "SQL2005 Group")[0].second);
    ASSERT_EQ(NRX_SUCCESS, NRXGrpOffline(cluster_, "SQL2005 Group", kNode2));
    SimClock_Advance(5000);
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXGrpOnline(cluster_, "SQL2005 Group", me.c_str()); }));
    ASSERT_EQ(NRX_SUCCESS, NRXResClear(cluster_, "SQL2005_Mount", nullptr));
    EXPECT_EQ(NRX_E_NONE, CodeOf([&] { return NRXGrpOnline(cluster_, "SQL2005 Group", me.c_str()); }));
}

TEST_F(NrxSimulator, AScriptedFaultLeavesTheParentsOfTheResourceOfflineAndTheGroupPartial) {
    ASSERT_TRUE(SimNrx_ScriptTransition("SQL2005_IP", Me().c_str(), NRX_RES_ONLINE, 300, NRX_RES_FAULTED));
    ASSERT_TRUE(SimNrx_SetPendingTime(0));
    ASSERT_EQ(NRX_SUCCESS, NRXGrpSwitch(cluster_, "SQL2005 Group", Me().c_str()));
    EXPECT_EQ(NRX_RES_ONLINE, State("SQL2005_Mount", Me()));
    EXPECT_EQ(NRX_RES_WAIT_ONLINE, State("SQL2005_SQLServer", Me()));
    SimClock_Advance(300);
    EXPECT_EQ(NRX_RES_FAULTED, State("SQL2005_IP", Me()));
    EXPECT_EQ(NRX_RES_OFFLINE, State("SQL2005_Lanman", Me()));
    EXPECT_EQ(NRX_RES_OFFLINE, State("SQL2005_SQLServer", Me()));
    EXPECT_EQ((States{{Me(), NRX_GRP_PARTIAL}, {kNode2, NRX_GRP_OFFLINE}}), StatesOf(NRX_OBJ_GROUP, "SQL2005 Group"));
    // A poll without pause sees a pending resource arrive.
    ASSERT_TRUE(SimNrx_SetPendingTime(40));
    ASSERT_EQ(NRX_SUCCESS, NRXResOffline(cluster_, "SQL2005_Mount", Me().c_str()));
    int polls = 0;
    while (StatesOf(NRX_OBJ_RESOURCE, "SQL2005_Mount")[0].second != NRX_RES_OFFLINE && polls < 100) ++polls;
    EXPECT_EQ(40, polls);
}

TEST_F(NrxSimulator, AttributesReadWithTheirDimensionLocalValuesAndTheOnesTheEngineKeeps) {
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Exchange_IP", "Options", R"({"assoc": {"k": "v", "x": "y"}})"));
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Exchange_IP", "Count", "5"));
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Exchange_IP", "Empty", "[]"));
    const std::string me = Me(), here = me + ":", there = std::string(kNode2) + ":";
    const struct {
        NRXObjType type;
        const char* object;
        const char* attribute;
        NRXAttrType kind;
        NRXAttrDimension dimension;
        int local;
        std::vector<Names> entries;
    } cases[] = {
        {NRX_OBJ_RESOURCE, "Orvane Server Name", "VirtualName", NRX_TYPE_STR, NRX_DIM_SCALAR, 0, {{"ORVANENRX"}}},
        {NRX_OBJ_RESOURCE, "SQL2005_SQLServer", "Instance", NRX_TYPE_STR, NRX_DIM_SCALAR, 0, {{""}}},
        {NRX_OBJ_RESOURCE, "Exchange_IP", "Count", NRX_TYPE_INT, NRX_DIM_SCALAR, 0, {{"5"}}},
        {NRX_OBJ_RESOURCE, "Exchange_IP", "Empty", NRX_TYPE_STR, NRX_DIM_VECTOR, 0, {{}}},
        {NRX_OBJ_RESOURCE, "Exchange_IP", "Options", NRX_TYPE_STR, NRX_DIM_ASSOC, 0, {{"k", "v", "x", "y"}}},
        {NRX_OBJ_RESOURCE,
         "Orvane_KeyMirror",
         "Keys",
         NRX_TYPE_STR,
         NRX_DIM_VECTOR,
         0,
         {{"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\Cluster",
           "SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine"}}},
        {NRX_OBJ_RESOURCE,
         "Orvane IP Address",
         "MACAddress",
         NRX_TYPE_STR,
         NRX_DIM_SCALAR,
         1,
         {{here, "00-15-5D-01-02-03"}, {there, "00-15-5D-01-02-04"}}},
        {NRX_OBJ_RESOURCE, "SQL2005_IP", "State", NRX_TYPE_STR, NRX_DIM_ASSOC, 0, {{me, "OFFLINE", kNode2, "ONLINE"}}},
        {NRX_OBJ_RESOURCE, "SQL2005_SQLServer", "LastOnline", NRX_TYPE_STR, NRX_DIM_SCALAR, 0, {{kNode2}}},
        {NRX_OBJ_RESOURCE,
         "Exchange_Lanman",
         "ArgListValues",
         NRX_TYPE_STR,
         NRX_DIM_ASSOC,
         0,
         {{me, "VirtualName=EXVS05 IPResName=Exchange_IP", kNode2, "VirtualName=EXVS05 IPResName=Exchange_IP"}}},
        {NRX_OBJ_GROUP, "Exchange Group", "State", NRX_TYPE_STR, NRX_DIM_ASSOC, 0, {{me, "ONLINE", kNode2, "OFFLINE"}}},
        {NRX_OBJ_GROUP, "SQL2005 Group", "AutoStartList", NRX_TYPE_STR, NRX_DIM_KEYLIST, 0, {{kNode2, me}}},
        {NRX_OBJ_GROUP, "SQL2005 Group", "Enabled", NRX_TYPE_INT, NRX_DIM_SCALAR, 1, {{here, "1"}, {there, "1"}}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.attribute);
        OwnedAttr value = Read(row.type, row.object, row.attribute);
        ASSERT_NE(nullptr, value) << NRXApiGetLastErrCode();
        EXPECT_STREQ(row.attribute, value->name);
        EXPECT_EQ(row.kind, value->type);
        EXPECT_EQ(row.dimension, value->dimension);
        EXPECT_EQ(row.local, value->local);
        EXPECT_EQ(row.entries, Entries(value.get()));
    }
    NRXAttr* value = nullptr;
    EXPECT_EQ(NRX_E_NO_SUCH_ATTRIBUTE,
              CodeOf([&] { return NRXObjGetAttribute(cluster_, NRX_OBJ_RESOURCE, "Orvane", "VirtualName", &value); }));
    EXPECT_EQ(NRX_E_NO_SUCH_ATTRIBUTE,
              CodeOf([&] { return NRXObjGetAttribute(cluster_, NRX_OBJ_SYSTEM, kNode2, "State", &value); }));
    EXPECT_EQ(nullptr, value);
}

TEST_F(NrxSimulator, AttrGetStrTakesTheSystemsEntryOrElseTheGlobalOne) {
    OwnedAttr local = Read(NRX_OBJ_RESOURCE, "Orvane IP Address", "MACAddress");
    OwnedAttr global = Read(NRX_OBJ_RESOURCE, "Orvane IP Address", "Address");
    const struct {
        const NRXAttr* value;
        const char* system;
        int index;
        const char* text;
        int code;
    } cases[] = {
        {local.get(), "orvnode2", 0, "00-15-5D-01-02-04", NRX_E_NONE},
        {local.get(), nullptr, 0, "00-15-5D-01-02-03", NRX_E_NONE},
        {local.get(), "ORVNODE7", 0, nullptr, NRX_E_KEY_NOT_FOUND},
        {global.get(), kNode2, 0, "10.20.30.60", NRX_E_NONE},
        {global.get(), nullptr, 1, nullptr, NRX_E_KEY_NOT_FOUND},
        {global.get(), nullptr, -1, nullptr, NRX_E_KEY_NOT_FOUND},
        {nullptr, nullptr, 0, nullptr, NRX_E_BAD_ARGUMENT},
    };
    for (const auto& row : cases) {
        char* raw = nullptr;
        EXPECT_EQ(row.code, CodeOf([&] { return NRXAttrGetStr(row.value, row.system, row.index, &raw); }));
        Owned<char> text(raw);
        EXPECT_EQ(std::string(row.text ? row.text : "(none)"), std::string(raw ? raw : "(none)"));
    }
}

TEST_F(NrxSimulator, SettingAttributesNeedsTheConfigurationOpenAndAppliesEachOperation) {
    OwnedAttr node2 = Keys("SystemList", {kNode2});
    EXPECT_EQ(NRX_E_CONF_READ_ONLY, CodeOf([&] {
                  return NRXObjSetAttribute(cluster_, NRX_OBJ_GROUP, kOrvane, node2.get(), NRX_ATTR_DELETE_KEY,
                                            nullptr);
              }));
    EXPECT_EQ(NRX_E_CONF_READ_ONLY, CodeOf([&] { return NRXGrpAdd(cluster_, "New Group"); }));
    EXPECT_EQ(NRX_E_CONF_READ_ONLY, CodeOf([&] { return NRXClusterConfClose(cluster_, 0); }));
    ASSERT_EQ(NRX_SUCCESS, NRXClusterConfOpen(cluster_, 0));
    EXPECT_EQ(NRX_E_CONF_OPEN, CodeOf([&] { return NRXClusterConfOpen(cluster_, 0); }));

    OwnedAttr stranger = Keys("SystemList", {"ORVNODE7"});
    OwnedAttr keyB = Keys("Keys", {"b"});
    OwnedAttr name = Text("VirtualName", "ORVANE2");
    OwnedAttr state = Text("State", "ONLINE");
    OwnedAttr mac = Text("MACAddress", "00-00-00-00-00-07");
    const std::string me = Me(), here = me + ":", there = std::string(kNode2) + ":";
    const std::string key1 = "SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\Cluster";
    const std::string key2 = "SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine";
    const NRXObjType group = NRX_OBJ_GROUP, resource = NRX_OBJ_RESOURCE;
    const struct {
        const char* step;
        NRXObjType type;
        const char* object;
        const NRXAttr* value;
        NRXAttrOp op;
        const char* system;
        int code;
        std::vector<Names> after;
    } cases[] = {
        {"a system that runs the group leaves",
         group,
         "SQL2005 Group",
         node2.get(),
         NRX_ATTR_DELETE_KEY,
         nullptr,
         NRX_E_STATE,
         {{me, kNode2}}},
        {"38 of a key already there",
         group,
         "Exchange Group",
         node2.get(),
         NRX_ATTR_ADD_KEY,
         nullptr,
         NRX_E_KEY_EXISTS,
         {{me, kNode2}}},
        {"41 removes keys", group, "Exchange Group", node2.get(), NRX_ATTR_DELETE_KEY, nullptr, NRX_E_NONE, {{me}}},
        {"41 of an absent key",
         group,
         "Exchange Group",
         node2.get(),
         NRX_ATTR_DELETE_KEY,
         nullptr,
         NRX_E_KEY_NOT_FOUND,
         {{me}}},
        {"38 adds keys", group, "Exchange Group", node2.get(), NRX_ATTR_ADD_KEY, nullptr, NRX_E_NONE, {{me, kNode2}}},
        {"38 of no system",
         group,
         "Exchange Group",
         stranger.get(),
         NRX_ATTR_ADD_KEY,
         nullptr,
         NRX_E_NO_SUCH_OBJECT,
         {{me, kNode2}}},
        {"add to a vector",
         resource,
         "Orvane_KeyMirror",
         keyB.get(),
         NRX_ATTR_ADD,
         nullptr,
         NRX_E_NONE,
         {{key1, key2, "b"}}},
        {"delete from a vector",
         resource,
         "Orvane_KeyMirror",
         keyB.get(),
         NRX_ATTR_DELETE,
         nullptr,
         NRX_E_NONE,
         {{key1, key2}}},
        {"delete what is not there",
         resource,
         "Orvane_KeyMirror",
         keyB.get(),
         NRX_ATTR_DELETE,
         nullptr,
         NRX_E_KEY_NOT_FOUND,
         {{key1, key2}}},
        {"add-key to a scalar",
         resource,
         "Orvane Server Name",
         name.get(),
         NRX_ATTR_ADD_KEY,
         nullptr,
         NRX_E_WRONG_DIMENSION,
         {{"ORVANENRX"}}},
        {"replace a scalar",
         resource,
         "Orvane Server Name",
         name.get(),
         NRX_ATTR_REPLACE,
         nullptr,
         NRX_E_NONE,
         {{"ORVANE2"}}},
        {"a global value on one system",
         resource,
         "Orvane Server Name",
         name.get(),
         NRX_ATTR_REPLACE,
         kNode2,
         NRX_E_WRONG_DIMENSION,
         {{"ORVANE2"}}},
        {"one system's local value",
         resource,
         "Orvane IP Address",
         mac.get(),
         NRX_ATTR_REPLACE,
         kNode2,
         NRX_E_NONE,
         {{here, "00-15-5D-01-02-03"}, {there, "00-00-00-00-00-07"}}},
        {"what the engine keeps",
         resource,
         "Orvane",
         state.get(),
         NRX_ATTR_REPLACE,
         nullptr,
         NRX_E_WRONG_DIMENSION,
         {{me, "ONLINE", kNode2, "OFFLINE"}}},
        {"an attribute it lacks",
         resource,
         "Orvane",
         keyB.get(),
         NRX_ATTR_DELETE,
         nullptr,
         NRX_E_NO_SUCH_ATTRIBUTE,
         {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.step);
        EXPECT_EQ(row.code, CodeOf([&] {
                      return NRXObjSetAttribute(cluster_, row.type, row.object, row.value, row.op, row.system);
                  }));
        if (!row.after.empty()) {
            EXPECT_EQ(row.after, Attribute(row.type, row.object, row.value->name));
        }
    }
    // Local and global again: every system starts from the global value; the
    // first system's value becomes everyone's.
    ASSERT_EQ(NRX_SUCCESS, NRXResAttrMakeLocal(cluster_, "Orvane IP Address", "SubNetMask"));
    EXPECT_EQ((std::vector<Names>{{here, "255.255.255.0"}, {there, "255.255.255.0"}}),
              Attribute(resource, "Orvane IP Address", "SubNetMask"));
    ASSERT_EQ(NRX_SUCCESS, NRXResAttrMakeGlobal(cluster_, "Orvane IP Address", "MACAddress"));
    EXPECT_EQ((std::vector<Names>{{"00-15-5D-01-02-03"}}), Attribute(resource, "Orvane IP Address", "MACAddress"));
    EXPECT_EQ(NRX_E_NO_SUCH_ATTRIBUTE, CodeOf([&] { return NRXResAttrMakeLocal(cluster_, "Orvane", "MACAddress"); }));
    ASSERT_EQ(NRX_SUCCESS, NRXClusterConfClose(cluster_, 0));
    EXPECT_EQ(NRX_E_CONF_READ_ONLY, CodeOf([&] {
                  return NRXObjSetAttribute(cluster_, NRX_OBJ_RESOURCE, "Orvane Server Name", name.get(),
                                            NRX_ATTR_REPLACE, 0);
              }));
}

TEST_F(NrxSimulator, ProvisioningAGroupFromNothingAndTakingItAwayAgain) {
    ASSERT_EQ(NRX_SUCCESS, NRXClusterConfOpen(cluster_, 0));
    const std::string me = Me();
    EXPECT_EQ(NRX_E_OBJECT_EXISTS, CodeOf([&] { return NRXGrpAdd(cluster_, kOrvane); }));
    EXPECT_EQ(NRX_E_OBJECT_EXISTS, CodeOf([&] { return NRXResTypeAdd(cluster_, "GenericService"); }));
    ASSERT_EQ(NRX_SUCCESS, NRXGrpAdd(cluster_, "New Group"));
    EXPECT_EQ(NRX_E_NO_SUCH_OBJECT, CodeOf([&] { return NRXResAdd(cluster_, "New Agent", "NewType", "New Group"); }));
    ASSERT_EQ(NRX_SUCCESS, NRXResTypeAdd(cluster_, "NewType"));
    ASSERT_EQ(NRX_SUCCESS, NRXResAdd(cluster_, "New Agent", "NewType", "New Group"));
    ASSERT_EQ(NRX_SUCCESS, NRXResAdd(cluster_, "New Disk", "Mount", "New Group"));
    EXPECT_EQ(NRX_E_OBJECT_EXISTS, CodeOf([&] { return NRXResAdd(cluster_, "New Disk", "Mount", "New Group"); }));
    OwnedAttr here = Keys("SystemList", {me.c_str()});
    ASSERT_EQ(NRX_SUCCESS, NRXObjSetAttribute(cluster_, NRX_OBJ_GROUP, "New Group", here.get(), NRX_ATTR_ADD_KEY, 0));
    ASSERT_EQ(NRX_SUCCESS, NRXResLink(cluster_, "New Agent", "New Disk"));
    EXPECT_EQ(NRX_E_OBJECT_EXISTS, CodeOf([&] { return NRXResLink(cluster_, "New Agent", "New Disk"); }));
    EXPECT_EQ(NRX_E_BAD_ARGUMENT, CodeOf([&] { return NRXResLink(cluster_, "New Disk", "New Agent"); }));
    EXPECT_EQ(NRX_E_BAD_ARGUMENT, CodeOf([&] { return NRXResLink(cluster_, "New Agent", "Orvane_Mount"); }));
    // Added resources are disabled and not probed until the group's are enabled.
    EXPECT_EQ((States{{me, NRX_RES_UNKNOWN}}), StatesOf(NRX_OBJ_RESOURCE, "New Agent"));
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXResOnline(cluster_, "New Disk", me.c_str()); }));
    ASSERT_EQ(NRX_SUCCESS, NRXGrpEnableResources(cluster_, "New Group"));
    EXPECT_EQ((States{{me, NRX_RES_OFFLINE}}), StatesOf(NRX_OBJ_RESOURCE, "New Agent"));
    // A system that joins is unknown there until probed.
    OwnedAttr there = Keys("SystemList", {kNode2});
    ASSERT_EQ(NRX_SUCCESS, NRXObjSetAttribute(cluster_, NRX_OBJ_GROUP, "New Group", there.get(), NRX_ATTR_ADD_KEY, 0));
    auto node2 = Cntl(NRX_CNTL_SCOPE, {kNode2});
    EXPECT_EQ(NRX_RES_UNKNOWN, State("New Disk", kNode2));
    ASSERT_EQ(NRX_SUCCESS, NRXResProbe(cluster_, "New Disk", node2.get()));
    EXPECT_EQ(NRX_RES_OFFLINE, State("New Disk", kNode2));
    EXPECT_EQ(NRX_E_NONE, CodeOf([&] { return NRXGrpOnline(cluster_, "New Group", me.c_str()); }));
    // What is online or linked, and a group that holds resources, cannot go.
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXResDelete(cluster_, "New Disk"); }));
    SimClock_Advance(2000);
    ASSERT_EQ(NRX_SUCCESS, NRXGrpOffline(cluster_, "New Group", nullptr));
    SimClock_Advance(2000);
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXResDelete(cluster_, "New Disk"); }));
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXGrpDelete(cluster_, "New Group"); }));
    EXPECT_EQ(NRX_E_STATE, CodeOf([&] { return NRXResTypeDelete(cluster_, "NewType"); }));
    ASSERT_EQ(NRX_SUCCESS, NRXResUnlink(cluster_, "New Agent", "New Disk"));
    EXPECT_EQ(NRX_E_NO_SUCH_OBJECT, CodeOf([&] { return NRXResUnlink(cluster_, "New Agent", "New Disk"); }));
    for (const char* resource : {"New Agent", "New Disk"}) ASSERT_EQ(NRX_SUCCESS, NRXResDelete(cluster_, resource));
    EXPECT_EQ(NRX_E_NONE, CodeOf([&] { return NRXGrpDelete(cluster_, "New Group"); }));
    EXPECT_EQ((Names{kOrvane, "SQL2005 Group", "Exchange Group"}), List(NRX_OBJ_GROUP));
    EXPECT_EQ(NRX_SUCCESS, NRXClusterConfClose(cluster_, 0));
}

TEST_F(NrxSimulator, ObjectsLinksAndDefinitionsShowNamesAttributesAndDependencies) {
    NRXObject* object = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXObjGet(cluster_, NRX_OBJ_CLUSTER, nullptr, &object));
    EXPECT_STREQ("ORVNRX01", *reinterpret_cast<char**>(object));
    NRXFreeObject(object);
    ASSERT_EQ(NRX_SUCCESS, NRXObjGet(cluster_, NRX_OBJ_RESOURCE, "Orvane_Mount", &object));
    EXPECT_EQ((Names{"Enabled", "MountPath", "State", "ArgListValues", "LastOnline"}),
              Names(object->attributeNames, object->attributeNames + object->attributeCount));
    NRXFreeObject(object);
    NRXObjNames* raw = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXResGetDependentList(cluster_, "Orvane_VolLink", &raw));
    Owned<NRXObjNames> dependents(raw);
    EXPECT_EQ(
        (Names{"Orvane_KeyMirror", "Orvane Discovery Service", "Orvane Job Engine", "Orvane Tape Engine", "Orvane"}),
        Names(raw->names, raw->names + raw->count));
    char* text = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXObjGetDefinition(cluster_, NRX_OBJ_RESOURCE, "Orvane Server Name", &text));
    Owned<char> definition(text);
    EXPECT_EQ(
        "resource \"Orvane Server Name\" type \"Lanman\" group \"Orvane Group\"\n"
        "    Enabled = 1\n"
        "    VirtualName = \"ORVANENRX\"\n"
        "    IPResName = \"Orvane IP Address\"\n"
        "    requires \"Orvane IP Address\"\n"
        "end\n",
        std::string(text));
}

TEST_F(NrxSimulator, TheLastErrorBelongsToTheThreadAndASuccessClearsIt) {
    ASSERT_EQ(NRX_FAILURE, NRXResOnline(cluster_, "Nothing", kNode2));
    Owned<NRXApiError> error(NRXApiGetLastError());
    ASSERT_NE(nullptr, error);
    EXPECT_EQ(NRX_E_NO_SUCH_OBJECT, error->code);
    EXPECT_STREQ("NRXResOnline", error->function);
    EXPECT_STREQ("no resource is named 'Nothing'", error->message);
    int elsewhere = -1;
    std::thread([&] { elsewhere = NRXApiGetLastErrCode(); }).join();
    EXPECT_EQ(NRX_E_NONE, elsewhere);
    ASSERT_EQ(NRX_SUCCESS, NRXResProbe(cluster_, "Orvane", nullptr));
    EXPECT_EQ(NRX_E_NONE, NRXApiGetLastErrCode());
    EXPECT_EQ(nullptr, NRXApiGetLastError());
}

TEST_F(NrxSimulator, AnInjectedFailureHitsTheKthCallOnlyAndLeavesNoOutput) {
    ASSERT_TRUE(SimNrx_InjectFailure("NRXObjGetNames", 2, 1, NRX_E_CONNECT));
    EXPECT_EQ(3u, List(NRX_OBJ_GROUP).size());
    NRXObjNames* names = reinterpret_cast<NRXObjNames*>(&names);
    EXPECT_EQ(NRX_FAILURE, NRXObjGetNames(cluster_, NRX_OBJ_GROUP, nullptr, &names, nullptr));
    EXPECT_EQ(nullptr, names);
    Owned<NRXApiError> error(NRXApiGetLastError());
    EXPECT_EQ(NRX_E_CONNECT, error->code);
    EXPECT_STREQ("NRXObjGetNames", error->function);
    EXPECT_EQ(3u, List(NRX_OBJ_GROUP).size());
    EXPECT_EQ(3u, SimNrx_CallCount("NRXObjGetNames"));
    // count 0 fails every call from the nth on; a failed change changes nothing.
    ASSERT_TRUE(SimNrx_InjectFailure("NRXGrpOffline", 1, 0, NRX_E_STATE));
    for (int call = 0; call < 3; ++call) EXPECT_EQ(NRX_FAILURE, NRXGrpOffline(cluster_, kOrvane, nullptr));
    EXPECT_EQ(NRX_GRP_ONLINE, StatesOf(NRX_OBJ_GROUP, kOrvane)[0].second);
    // Even the library's start and the free functions (which then free nothing).
    ASSERT_TRUE(SimNrx_InjectFailure("NRXApiInit", 1, 1, NRX_E_CONNECT));
    EXPECT_EQ(NRX_FAILURE, NRXApiInit(0, 0));
    NRXObjNames* kept = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXObjGetNames(cluster_, NRX_OBJ_GROUP, nullptr, &kept, nullptr));
    ASSERT_TRUE(SimNrx_InjectFailure("NRXFreeObjNames", 1, 1, NRX_E_STATE));
    NRXFreeObjNames(kept);
    EXPECT_EQ(1u, SimNrx_UnfreedRecords(SIMNRX_RECORD_OBJ_NAMES));
    NRXFreeObjNames(kept);
    EXPECT_FALSE(SimNrx_InjectFailure("NRXNoSuchCall", 1, 1, NRX_E_STATE));
    EXPECT_FALSE(SimNrx_InjectFailure("NRXResOnline", 0, 1, NRX_E_STATE));
}

TEST_F(NrxSimulator, AnInjectedExceptionIsRaisedInsideTheEntryPointAndDoesNothing) {
    static NRXHandle cluster;
    cluster = cluster_;
    ASSERT_TRUE(SimNrx_InjectException("NRXGrpOffline", 2));
    EXPECT_EQ(0u, Raised([] { NRXGrpOffline(cluster, "Exchange Group", "ORVNODE2"); }));
    EXPECT_EQ(SIMNRX_EXCEPTION_CODE, Raised([] { NRXGrpOffline(cluster, kOrvane, nullptr); }));
    EXPECT_EQ(NRX_GRP_ONLINE, StatesOf(NRX_OBJ_GROUP, kOrvane)[0].second);
    // The lock was not held when it left.
    EXPECT_EQ(NRX_SUCCESS, NRXGrpOffline(cluster_, kOrvane, nullptr));
    EXPECT_EQ(2u + 1u, SimNrx_CallCount("NRXGrpOffline"));
}

TEST_F(NrxSimulator, ALeakAndAFreeThroughTheWrongFunctionAreCountedNeverCrash) {
    char* type = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXResGetType(cluster_, "Orvane", &type));
    NRXAttr* value = nullptr;
    ASSERT_EQ(NRX_SUCCESS, NRXObjGetAttribute(cluster_, NRX_OBJ_RESOURCE, "Orvane_Mount", "MountPath", &value));
    EXPECT_EQ(1u, SimNrx_UnfreedRecords(SIMNRX_RECORD_TEXT));
    EXPECT_EQ(1u, SimNrx_UnfreedRecords(SIMNRX_RECORD_OBJ_ATTR));
    EXPECT_EQ(2u, SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL));
    NRXFreeAttr(value);  // read from an object: NRXFreeObjAttr's
    EXPECT_EQ(1u, SimNrx_BadFrees());
    EXPECT_EQ(
        "NRXFreeAttr was given an NRXAttr read by NRXObjGetAttribute, which NRXFreeObjAttr frees; it was left "
        "alone",
        Utf8(SimNrx_LastError()));
    EXPECT_STREQ("E:", value->entries[0].values[0]);
    NRXFreeObjAttr(value);
    NRXFreeObjAttr(value);
    NRXFreeStr(type + 1);
    NRXFreeStr(nullptr);
    EXPECT_EQ(3u, SimNrx_BadFrees());
    EXPECT_EQ(1u, SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL));
    NRXFreeStr(type);
    SimNrx_ResetCounters();
}

TEST_F(NrxSimulator, TheSavedClusterLoadsBackAsItWas) {
    ASSERT_EQ(NRX_SUCCESS, NRXGrpOffline(cluster_, "Exchange Group", nullptr));
    SimClock_Advance(10000);
    DWORD size = 10;
    char small[10];
    SetLastError(ERROR_SUCCESS);
    ASSERT_FALSE(SimNrx_SaveScenarioText(small, &size));
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), GetLastError());
    std::string text(size, '\0');
    ASSERT_TRUE(SimNrx_SaveScenarioText(&text[0], &size));
    Load(text.c_str());
    EXPECT_EQ((States{{Me(), NRX_GRP_OFFLINE}, {kNode2, NRX_GRP_OFFLINE}}), StatesOf(NRX_OBJ_GROUP, "Exchange Group"));
    EXPECT_EQ((std::vector<Names>{{Me() + ":", "00-15-5D-01-02-03"}, {std::string(kNode2) + ":", "00-15-5D-01-02-04"}}),
              Attribute(NRX_OBJ_RESOURCE, "Orvane IP Address", "MACAddress"));
    EXPECT_EQ(18u, List(NRX_OBJ_RESOURCE).size());
}

}  // namespace

// What a caller sees of the facade on a machine without cluster software.

#include <cwctype>

#include <gtest/gtest.h>

#include "harness/name_copy.h"
#include "orvcluster.h"

namespace {

TEST(PlainCluster, EveryOperationAnswersItsNeutralDefaultAndWritesNothing) {
    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
    ASSERT_TRUE(cluster);
    Cluster& c = *cluster;
    std::wstring text = L"unchanged";
    std::list<std::wstring> names;
    std::list<wcstring> wideNames;
    std::list<wcstring>* nodeList = nullptr;
    bool isNode = true;
    wchar_t buffer[8] = L"x";

    c.Close();
#define ANSWER(call, expected) {#call, static_cast<unsigned long>(c.call), expected}
    const struct {
        const char* call;
        unsigned long answer, expected;
    } answers[] = {
        ANSWER(ClusterOpen(), 0), ANSWER(NetworkNameToNodeName(L"name", text), 0),
        ANSWER(PrepareWizardData(), 0), ANSWER(GetNodes(names), 0), ANSWER(GetDriveNames(names), 0),
        ANSWER(GetDriveNames(wideNames), 0), ANSWER(BackupDatabase(L"C:\\b"), 0),
        ANSWER(BackupDatabase(std::wstring(L"C:\\b")), 0), ANSWER(GetOrvActiveNodeName(text), 0),
        ANSWER(IsServerRunningSQL(L"SQLVS", &isNode), Cluster::AppNotApplicable),
        ANSWER(IsServerRunningExchange(nullptr, nullptr), Cluster::AppNotApplicable),
        ANSWER(OfflineExchangeServer(L"EX", 10), 1), ANSWER(OfflineSqlServer(L"SQL", 10), 1),
        ANSWER(OnlineSqlServer(nullptr, 0), 1), ANSWER(GetOrvVirtualName(text), 0),
        ANSWER(GetVirtualNameFromIp(text, L"10.0.0.1"), 0),
        ANSWER(GetVirtualNameFromIp(text, "10.0.0.1"), 0), ANSWER(MakeOnline(L"g"), 0),
        ANSWER(CreateGroup(L"g", L"v", nullptr, nullptr, nullptr, nullptr, nullptr), 0),
        ANSWER(MakeOffline(L"g"), 0), ANSWER(FailoverReservedOperation(), 0),
        ANSWER(GetNetworkNames(wideNames, nullptr), 0), ANSWER(IsClusteredOrv(wcstring(L"O")), 0),
        ANSWER(IsActiveClusterNode(L"n"), 0), ANSWER(DeleteGroup(L"g"), 0), ANSWER(BounceReg(), 0),
        ANSWER(AddNode(L"g", L"n"), 0), ANSWER(DeleteNode(L"g", L"n"), 0), ANSWER(IsNode(L"n"), 0),
        ANSWER(IsValidNetworkConfig(L"a", L"b", L"c"), 0), ANSWER(GetClusterNodes(&nodeList), 0),
        ANSWER(ClusterConfOpen(), 0), ANSWER(ClusterConfClose(), 0), ANSWER(SyncUpServices(), 0),
        ANSWER(ReservedOperation36(), 0), ANSWER(ReservedOperation37(), 0),
        ANSWER(PartnerReservedOperation(), 0),
        ANSWER(QueryForExisting(buffer, nullptr, nullptr, nullptr, nullptr), 0),
        ANSWER(DeleteServiceFromGroup(L"g", L"s", 0), 0), ANSWER(ResourceExists(L"r"), 0),
        ANSWER(AddFileShareName(L"g", L"s", L"p"), 0), ANSWER(DelFileServerResource(buffer), 0),
        ANSWER(AddFileServerResource(L"g", L"s", L"p"), 0),
        ANSWER(OnlineFileServerResource(L"r"), 0), ANSWER(FileServerExists(L"r"), 0),
        ANSWER(OnlineResource(L"r"), 0), ANSWER(OfflineResource(L"r"), 0),
    };
#undef ANSWER
    for (const auto& row : answers) EXPECT_EQ(row.expected, row.answer) << row.call;

    EXPECT_EQ(L"unchanged", text);
    EXPECT_TRUE(names.empty() && wideNames.empty());
    EXPECT_EQ(nullptr, nodeList);
    EXPECT_TRUE(isNode);
    EXPECT_STREQ(L"x", buffer);
}

TEST(Factory, ThisMachineInAnyFormIsNotClustered) {
    const std::wstring local = OrvGetComputerName();
    std::wstring lower = local;
    for (wchar_t& c : lower) c = static_cast<wchar_t>(towlower(c));
    for (const std::wstring& machine : {std::wstring(), local, lower, L"\\\\" + local}) {
        boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(machine.c_str());
        ASSERT_TRUE(cluster);
        EXPECT_EQ(Cluster::NotClustered, cluster->GetClusterType()) << machine;
        EXPECT_FALSE(cluster->Open()) << machine;
    }
    EXPECT_FALSE(Cluster::IsCluster(nullptr));
    EXPECT_FALSE(Cluster::IsCluster(L"NO-SUCH-HOST-ORV"));
}

// A backend whose nodes are known, for the node status check.
class TwoNodes : public Cluster {
public:
    bool GetNodes(std::list<std::wstring>& nodes) override {
        nodes = {L"NODE1", L"NODE2"};
        return true;
    }
};

TEST(NodeStatus, MatchesWholeNodeNamesWithoutCaseOrLeadingBackslashes) {
    const struct {
        const wchar_t* machine;
        bool isNode;
    } rows[] = {{L"\\\\node2", true}, {L"NODE3", false}, {L"NODE", false}, {nullptr, false}};
    TwoNodes cluster;
    for (const auto& row : rows) {
        bool isNode = !row.isNode;
        EXPECT_TRUE(cluster.GetMachineNodeStatus(row.machine, &isNode));
        EXPECT_EQ(row.isNode, isNode) << (row.machine ? row.machine : L"(null)");
    }
    // Without a node list the answer is false and the flag is left alone.
    Cluster plain;
    bool isNode = true;
    EXPECT_FALSE(plain.GetMachineNodeStatus(L"NODE1", &isNode));
    EXPECT_TRUE(isNode);
}

TEST(VirtualServerName, IsTheCachedComputerNameWithoutCluster) {
    wchar_t computer[300];
    DWORD computerSize = 300;
    ASSERT_TRUE(GetComputerNameW(computer, &computerSize));
    boost::shared_ptr<const std::wstring> name = Cluster::GetOrvVirtualServerName();
    EXPECT_EQ(std::wstring(computer), *name);
    EXPECT_EQ(name.get(), Cluster::GetOrvVirtualServerName().get());
    EXPECT_FALSE(Cluster::IsOrvClustered());
    orvtest::ExpectWideNameCopy(*name, [](wchar_t* buffer, unsigned long* size) {
        return static_cast<int>(Cluster::GetOrvVirtualServerName(buffer, size));
    });
}

}  // namespace

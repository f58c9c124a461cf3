// What a caller sees of the facade on a machine without cluster software.

#include <cwctype>

#include <gtest/gtest.h>

#include "orvcluster.h"

namespace {

std::wstring Lower(std::wstring text) {
    for (wchar_t& c : text) c = static_cast<wchar_t>(towlower(c));
    return text;
}

TEST(PlainCluster, EveryOperationAnswersItsNeutralDefault) {
    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
    ASSERT_TRUE(cluster);
    Cluster& c = *cluster;
    std::wstring text = L"unchanged";
    std::list<std::wstring> names;
    std::list<wcstring> wideNames;
    std::list<wcstring>* nodeList = nullptr;
    bool isNode = true;
    wchar_t buffer[8] = L"x";

    EXPECT_FALSE(c.ClusterOpen());
    c.Close();
    EXPECT_FALSE(c.NetworkNameToNodeName(L"name", text));
    EXPECT_EQ(0u, c.PrepareWizardData());
    EXPECT_FALSE(c.GetNodes(names));
    EXPECT_EQ(0u, c.GetDriveNames(wideNames));
    EXPECT_FALSE(c.GetDriveNames(names));
    EXPECT_FALSE(c.BackupDatabase(L"C:\\backup"));
    EXPECT_FALSE(c.BackupDatabase(std::wstring(L"C:\\backup")));
    EXPECT_EQ(Cluster::AppNotApplicable, c.IsServerRunningSQL(L"SQLVS", &isNode));
    EXPECT_EQ(Cluster::AppNotApplicable, c.IsServerRunningExchange(nullptr, nullptr));
    EXPECT_FALSE(c.GetOrvActiveNodeName(text));
    EXPECT_EQ(1u, c.OfflineExchangeServer(L"EX", 10));
    EXPECT_EQ(1u, c.OfflineSqlServer(L"SQL", 10));
    EXPECT_EQ(1u, c.OnlineSqlServer(nullptr, 0));
    EXPECT_FALSE(c.GetOrvVirtualName(text));
    EXPECT_FALSE(c.GetVirtualNameFromIp(text, L"10.0.0.1"));
    EXPECT_FALSE(c.GetVirtualNameFromIp(text, "10.0.0.1"));
    EXPECT_EQ(0u, c.CreateGroup(L"g", L"v", nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0u, c.MakeOnline(L"g"));
    EXPECT_EQ(0u, c.MakeOffline(L"g"));
    EXPECT_EQ(0u, c.FailoverReservedOperation());
    EXPECT_EQ(0u, c.GetNetworkNames(wideNames, nullptr));
    EXPECT_EQ(0u, c.IsClusteredOrv(wcstring(L"Orvane")));
    EXPECT_EQ(0u, c.IsActiveClusterNode(L"n"));
    EXPECT_EQ(0u, c.DeleteGroup(L"g"));
    EXPECT_EQ(0u, c.AddNode(L"g", L"n"));
    EXPECT_EQ(0u, c.DeleteNode(L"g", L"n"));
    EXPECT_EQ(0u, c.BounceReg());
    EXPECT_EQ(0u, c.IsValidNetworkConfig(L"a", L"b", L"c"));
    EXPECT_EQ(0u, c.GetClusterNodes(&nodeList));
    EXPECT_EQ(0u, c.IsNode(L"n"));
    EXPECT_EQ(0u, c.ClusterConfOpen());
    EXPECT_EQ(0u, c.ClusterConfClose());
    EXPECT_EQ(0u, c.ReservedOperation36());
    EXPECT_EQ(0u, c.ReservedOperation37());
    EXPECT_EQ(0u, c.PartnerReservedOperation());
    EXPECT_EQ(0u, c.QueryForExisting(buffer, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0u, c.DeleteServiceFromGroup(L"g", L"s", 0));
    EXPECT_EQ(0, c.ResourceExists(L"r"));
    EXPECT_EQ(0u, c.SyncUpServices());
    EXPECT_EQ(0u, c.AddFileShareName(L"g", L"s", L"p"));
    EXPECT_EQ(0u, c.AddFileServerResource(L"g", L"s", L"p"));
    EXPECT_EQ(0u, c.DelFileServerResource(buffer));
    EXPECT_EQ(0u, c.OnlineFileServerResource(L"r"));
    EXPECT_EQ(0u, c.FileServerExists(L"r"));
    EXPECT_EQ(0u, c.OnlineResource(L"r"));
    EXPECT_EQ(0u, c.OfflineResource(L"r"));

    // Nothing was written to the caller's variables.
    EXPECT_EQ(L"unchanged", text);
    EXPECT_TRUE(names.empty() && wideNames.empty());
    EXPECT_EQ(nullptr, nodeList);
    EXPECT_TRUE(isNode);
    EXPECT_STREQ(L"x", buffer);
}

TEST(Factory, ThisMachineInAnyFormIsNotClustered) {
    const std::wstring local = OrvGetComputerName();
    for (const std::wstring& machine : {std::wstring(), local, Lower(local), L"\\\\" + local}) {
        boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(machine.c_str());
        ASSERT_TRUE(cluster);
        EXPECT_EQ(Cluster::NotClustered, cluster->GetClusterType());
        EXPECT_FALSE(cluster->Open());
        EXPECT_STREQ(L"", cluster->GetClusterName());
    }
    EXPECT_FALSE(Cluster::IsCluster(nullptr));
    EXPECT_FALSE(Cluster::IsCluster(L"NO-SUCH-HOST-ORV"));
    EXPECT_EQ(Cluster::NotClustered, Cluster::GetInstance(L"NO-SUCH-HOST-ORV")->GetClusterType());
}

// A backend whose nodes are known, for the node status check.
class TwoNodes : public Cluster {
public:
    bool GetNodes(std::list<std::wstring>& nodes) override {
        nodes = {L"NODE1", L"NODE2"};
        return true;
    }
};

TEST(NodeStatus, MatchesNodesWithoutCaseOrLeadingBackslashes) {
    TwoNodes cluster;
    bool isNode = false;
    EXPECT_TRUE(cluster.GetMachineNodeStatus(L"\\\\node2", &isNode));
    EXPECT_TRUE(isNode);
    EXPECT_TRUE(cluster.GetMachineNodeStatus(L"NODE3", &isNode));
    EXPECT_FALSE(isNode);
    isNode = true;
    EXPECT_TRUE(cluster.GetMachineNodeStatus(L"NODE", &isNode));  // no prefix matches
    EXPECT_FALSE(isNode);
}

TEST(NodeStatus, UnknownNodesLeaveTheFlagAlone) {
    Cluster plain;
    bool isNode = true;
    EXPECT_FALSE(plain.GetMachineNodeStatus(L"NODE1", &isNode));
    EXPECT_TRUE(isNode);
}

TEST(VirtualServerName, IsTheComputerNameWithoutCluster) {
    wchar_t computer[300];
    DWORD computerSize = 300;
    ASSERT_TRUE(GetComputerNameW(computer, &computerSize));
    boost::shared_ptr<const std::wstring> name = Cluster::GetOrvVirtualServerName();
    EXPECT_EQ(std::wstring(computer), *name);
    EXPECT_EQ(name.get(), Cluster::GetOrvVirtualServerName().get());  // served from the cache
    EXPECT_FALSE(Cluster::IsOrvClustered());
}

TEST(VirtualServerName, CopyNeedsRoomForTheTerminator) {
    const std::wstring name = *Cluster::GetOrvVirtualServerName();
    wchar_t buffer[300];
    wmemset(buffer, L'#', 300);
    unsigned long size = static_cast<unsigned long>(name.size());
    EXPECT_FALSE(Cluster::GetOrvVirtualServerName(buffer, &size));
    EXPECT_EQ(name.size(), size);  // not told what it needs
    EXPECT_EQ(L'#', buffer[0]);

    size = static_cast<unsigned long>(name.size() + 1);
    EXPECT_TRUE(Cluster::GetOrvVirtualServerName(buffer, &size));
    EXPECT_EQ(name.size(), size);
    EXPECT_EQ(name, buffer);

    size = 0;
    EXPECT_FALSE(Cluster::GetOrvVirtualServerName(buffer, &size));
    EXPECT_FALSE(Cluster::GetOrvVirtualServerName(nullptr, &size));
    EXPECT_FALSE(Cluster::GetOrvVirtualServerName(buffer, nullptr));
}

}  // namespace

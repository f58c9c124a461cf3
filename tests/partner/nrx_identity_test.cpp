// Who the product is on an NRX cluster, with the bundled definition
// (examples/nrxconfig.xml) loaded as the wizard loads it on an NRX node:
// virtual name, active node, nodes, network names and addresses; bad names
// and values; every answer while an NRX call fails; the adapter of a subnet.

#include <winsock2.h>
#include <iphlpapi.h>

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "harness/simulated_nrx.h"
#include "harness/utf8.h"
#include "orvcluster.h"

namespace {

using Names = std::list<std::wstring>;

std::wstring Wide(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }


// "1" with what the call filled in, read once it returned; "0" on failure.
std::wstring Answer(bool ok, const Names& names) {
    std::wstring text = ok ? L"1" : L"0";
    for (const std::wstring& name : names) text += ok ? L" " + name : L"";
    return text;
}
std::wstring Answer(bool ok, const std::wstring& text) { return Answer(ok, Names{text}); }
std::wstring Answer(bool ok, const char* text) { return Answer(ok, Wide(text)); }

class Identity : public orvtest::SimulatedNrxTest {
protected:
    void SetUp() override {
        SimulatedNrxTest::SetUp();
        static const bool loaded =
            Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, orvtest::ExamplePath().c_str()) == 1;
        ASSERT_TRUE(loaded);
        ASSERT_TRUE(cluster_.ClusterOpen());
    }
    NRXCluster cluster_{nullptr};
    const std::wstring here_ = orvtest::ThisComputer();
};

TEST_F(Identity, TheFactoryHandsOutTheNrxBackendWithTheNrxDefinition) {
    EXPECT_EQ(Cluster::NRX, Cluster::GetInstance(nullptr)->GetClusterType());
    EXPECT_STREQ(L"ORVNRX01", Cluster::GetInstance(L"\\\\orvnode2")->GetClusterName());
    EXPECT_EQ(Cluster::NotClustered, Cluster::GetInstance(L"NOSUCHHOST")->GetClusterType());
    EXPECT_STREQ(L"Orvane_DiskSet", Cluster::CWIZ_DiskSetResName());
}

TEST_F(Identity, TheProductsNodes) {
    EXPECT_EQ(1u, cluster_.IsClusteredOrv(L"ignored"));
    EXPECT_EQ(0u, cluster_.IsActiveClusterNode(L"orvnode2"));
    std::list<wcstring>* nodes = nullptr;
    EXPECT_EQ(0u, cluster_.GetClusterNodes(&nodes));
    EXPECT_EQ((std::list<wcstring>{here_, L"ORVNODE2"}), *std::unique_ptr<std::list<wcstring>>(nodes));
    // They are the systems of its address resource's arguments.
    const std::string only = "{\"keylist\": [\"" + orvtest::Utf8(here_) + "\"]}";
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_GROUP, "Orvane Group", "SystemList", only.c_str()));
    for (const wchar_t* system : {here_.c_str(), L"ORVNODE2", L"", static_cast<const wchar_t*>(nullptr)})
        EXPECT_EQ(system == here_.c_str() ? 1u : 0u, cluster_.IsNode(system));

    // A second product resource: no active node is chosen; the first one's group keeps the name.
    std::wstring name;
    ASSERT_EQ(1u, cluster_.ClusterConfOpen());
    ASSERT_EQ(NRX_SUCCESS, NRXClusterGlue::GetInstance()->ResourceAdd(cluster_.GetClusterHandle(), "Orvane 2",
                                                                      "Orvane", "Exchange Group"));
    EXPECT_FALSE(cluster_.GetOrvActiveNodeName(name));
    EXPECT_TRUE(cluster_.GetOrvVirtualName(name));
}

TEST_F(Identity, NamesAndAddresses) {
    Names names = {L"kept"};
    EXPECT_TRUE(cluster_.GetNetworkNames(names));
    EXPECT_EQ((Names{L"kept", L"ORVANENRX", L"SQLVS05", L"EXVS05"}), names);
    std::wstring address, subnet;
    EXPECT_TRUE(cluster_.GetIPResourceProps(L"Orvane IP Address", address, subnet));
    EXPECT_EQ(L"10.20.30.60 255.255.255.0", address + L" " + subnet);
    const std::pair<const wchar_t*, std::wstring> owners[] = {
        {L"10.20.30.62", here_}, {L"NOSUCHNAME", L"-"}, {L"10.9.9.9", L"-"}, {L"", here_}};
    for (const auto& row : owners) {
        std::wstring node = L"-";  // left as it was without a match, yet true
        EXPECT_TRUE(cluster_.NetworkNameToNodeName(row.first, node) && row.second == node) << orvtest::Utf8(row.first);
    }
    EXPECT_TRUE(cluster_.GetVirtualNameFromIp(address, L"10.20.30.61"));
    EXPECT_EQ(L"SQLVS05", address);
    EXPECT_FALSE(cluster_.GetVirtualNameFromIp(address, "10.20.30.99"));
    EXPECT_FALSE(cluster_.GetVirtualNameFromIp(address, static_cast<const char*>(nullptr)));
    char sqlAddress[] = "SQL2005_IP";
    EXPECT_TRUE(cluster_.GetActiveServerNode(address, sqlAddress));
    EXPECT_EQ(L"ORVNODE2", address);
    ASSERT_TRUE(SimNrx_SetResourceState(sqlAddress, nullptr, NRX_RES_ONLINE | NRX_RES_WAIT_OFFLINE));
    EXPECT_FALSE(cluster_.GetActiveServerNode(address, sqlAddress));
}

// Written only for a name of at most 15 characters of a machine that
// answers; seen by the value's size, as the name written is this computer's.
TEST_F(Identity, ActiveComputerNameIsWrittenToTheMachineNamed) {
    const wchar_t* const key = L"System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName";
    const auto bytes = [&] {
        DWORD size = 0;
        RegGetValueW(HKEY_LOCAL_MACHINE, key, L"ComputerName", RRF_RT_REG_SZ, nullptr, nullptr, &size);
        return size / sizeof(wchar_t);
    };
    const std::wstring padded = here_ + std::wstring(3, L'\0');
    ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"ComputerName", REG_SZ, padded.c_str(),
                                             static_cast<DWORD>(padded.size() * sizeof(wchar_t))));
    for (const wchar_t* name : {L"", L"NOSUCHHOST", L"A-NAME-OF-16-CHS"}) cluster_.SetActiveComputerName(name);
    EXPECT_EQ(padded.size(), bytes());
    cluster_.SetActiveComputerName(here_);
    EXPECT_EQ(here_.size() + 1, bytes());
}

TEST_F(Identity, BadNamesAndValues) {
    std::wstring address = L"before", subnet;
    const std::wstring longName(256, L'x');  // no room for the terminator in 256 bytes
    EXPECT_FALSE(cluster_.GetIPResourceProps(longName, address, subnet));
    EXPECT_FALSE(cluster_.GetVirtualNameFromIp(address, longName.c_str()));
    EXPECT_EQ(NRXCluster::Unknown, cluster_.GetResourceState(longName, here_));

    // Values outside ASCII come back byte for byte.
    Names names;
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "SQL2005_Lanman", "VirtualName", "\"SQLVS\xc3\xa9\""));
    EXPECT_TRUE(cluster_.GetNetworkNames(names));
    EXPECT_EQ(L"SQLVS\u00c3\u00a9", *std::next(names.begin()));

    // Attributes without a value are failed reads.
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Orvane Server Name", "VirtualName", "[]"));
    ASSERT_TRUE(SimNrx_SetAttribute(NRX_OBJ_RESOURCE, "Exchange_IP", "SubNetMask", "[]"));
    EXPECT_FALSE(cluster_.GetOrvVirtualName(address));
    EXPECT_FALSE(cluster_.GetNetworkNames(names));
    EXPECT_FALSE(cluster_.NetworkNameToNodeName(L"EXVS05", address));
    EXPECT_FALSE(cluster_.GetIPResourceProps(L"Exchange_IP", address, subnet));
    EXPECT_EQ(L"10.20.30.62", address);
}

// A whole inventory and identity sequence, then the same with NRX calls
// failing from any point on: each answer is its usual one or its failure
// answer, and every record is given back.
TEST_F(Identity, EveryAnswerHoldsWhenNrxCallsFail) {
    char owned[] = "SQL2005_SQLServer";
    const struct {
        std::function<std::wstring()> ask;
        std::wstring usual;
        std::wstring partial = L"0";  // short of what failed to be read
    } sequence[] = {
        {[&] { Names n; return Answer(cluster_.GetNodes(n), n); }, L"1 " + here_ + L" ORVNODE2"},
        {[&] { Names n; return Answer(cluster_.GetDriveNames(n), n); }, L"1 E: F: G: E:\\Orvane", L"1 E: F: G:"},
        {[&] { return std::to_wstring(cluster_.GetResourceState(L"Orvane", here_)); }, L"1", L"2"},
        {[&] { char s[16] = {}; return Answer(cluster_.GetOwningNode(s, 16, owned), s); }, L"1 ORVNODE2"},
        {[&] { std::wstring s; return Answer(cluster_.GetOrvVirtualName(s), s); }, L"1 ORVANENRX"},
        {[&] { std::wstring s; return Answer(cluster_.GetOrvActiveNodeName(s), s); }, L"1 " + here_},
        {[&] { std::wstring s; return Answer(cluster_.NetworkNameToNodeName(L"sqlvs05", s), s); }, L"1 ORVNODE2"},
        {[&] { std::wstring s; return Answer(cluster_.GetVirtualNameFromIp(s, "10.20.30.62"), s); }, L"1 EXVS05"},
        {[&] { return std::to_wstring(cluster_.IsNode(L"ORVNODE2")); }, L"1"},
        {[&] { return std::to_wstring(cluster_.IsActiveClusterNode(nullptr)); }, L"1"},
    };
    std::vector<std::wstring> usual;
    for (const auto& step : sequence) {
        usual.push_back(step.usual);
        EXPECT_EQ(step.usual, step.ask());
    }

    for (const char* entry :
         {"NRXObjGetNames", "NRXFillCntlInfo", "NRXObjGetAttribute", "NRXObjGetState", "NRXResGetGrpName"}) {
        SimNrx_ResetCounters();
        for (const auto& step : sequence) step.ask();
        for (DWORD k = 1, calls = SimNrx_CallCount(entry); k <= calls; ++k) {
            ASSERT_TRUE(SimNrx_InjectFailure(entry, k, 0, NRX_E_CONNECT));
            std::vector<std::wstring> answers;
            for (const auto& step : sequence) answers.push_back(step.ask());
            SimNrx_ClearFailures();
            for (size_t i = 0; i < answers.size(); ++i)
                EXPECT_TRUE(answers[i] == usual[i] || answers[i] == L"0" || answers[i] == sequence[i].partial)
                    << entry << " from call " << k << ": " << orvtest::Utf8(answers[i]);
            EXPECT_NE(usual, answers) << entry << " from call " << k;
            EXPECT_EQ(0u, SimNrx_UnfreedRecords(SIMNRX_RECORD_ALL)) << entry << " from call " << k;
        }
    }
}

TEST(Subnets, OctetsUnderTheirMasks) {
    const char* const rows[][5] = {
        {"10.1.2.3", "10.1.9.9", "255.255.0.0", "255.255.0.0", "1"},
        {"10.1.2.3", "10.2.2.3", "255.255.0.0", "255.255.0.0", "0"},
        {"192.0.2.7", "192.0.2.200", "255.255.255.0", "255.255.255.128", "0"},
        {"192.0.2.7", "192.0.2.100", "255.255.255.0", "255.255.255.128", "1"},
        {"10.1.2.3", "fd00::2", "255.0.0.0", "64", "0"}, {"10.1.2", "10.1.2.3", "255.0.0.0", "255.0.0.0", "0"},
        {"10.1.2.3.4", "10.1.2.3", "255.0.0.0", "255.0.0.0", "0"}, {"10.1.2.x", "10.1.2.3", "0.0.0.0", "0.0.0.0", "0"},
        {"10.1.2.3", nullptr, "255.0.0.0", "255.0.0.0", "0"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row[4][0] == '1' ? 1u : 0u, NRXCluster::IsSameSubnet(row[0], row[1], row[2], row[3])) << row[0];
}

// The machine's own adapters decide the answer: with an IPv4 address, its
// adapter's MAC address; with IPv6 addresses only, 1603 alone.
TEST(Subnets, AdapterOfASubnetFromWmi) {
    ULONG size = 0;
    GetAdaptersInfo(nullptr, &size);
    std::vector<BYTE> buffer(size ? size : 1);
    auto* adapter = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
    if (GetAdaptersInfo(adapter, &size) != ERROR_SUCCESS) adapter = nullptr;
    while (adapter && std::string(adapter->IpAddressList.IpAddress.String) == "0.0.0.0") adapter = adapter->Next;
    std::wstring mac = L"none", description;
    if (adapter) {
        EXPECT_EQ(0u, NRXCluster::GetAdapterForSubnet(L"", Wide(adapter->IpAddressList.IpAddress.String),
                                                      Wide(adapter->IpAddressList.IpMask.String), mac, description));
        wchar_t octet[3];
        swprintf(octet, 3, L"%02X", adapter->Address[adapter->AddressLength - 1]);
        EXPECT_EQ(3 * adapter->AddressLength - 1, mac.size());
        EXPECT_EQ(0, _wcsicmp(octet, mac.substr(mac.size() - 2).c_str())) << orvtest::Utf8(mac);
        EXPECT_FALSE(description.empty());
        mac = L"none";
    }
    EXPECT_EQ(1603u, NRXCluster::GetAdapterForSubnet(L"", L"203.0.113.77", L"255.255.255.255", mac, description));
    EXPECT_EQ(1603u, NRXCluster::GetAdapterForSubnet(L"NOSUCHHOST", L"0.0.0.0", L"0.0.0.0", mac, description));
    EXPECT_EQ(L"none", mac);
}

}  // namespace

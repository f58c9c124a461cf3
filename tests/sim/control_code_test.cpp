// Control codes: answers laid out byte for byte, ERROR_MORE_DATA with the
// size needed, and the changes the setting controls make.

#include <algorithm>
#include <cstring>

#include "sim_test.h"

namespace simtest {
namespace {

// The record an entry holds, checked for its syntax and size.
template <class Record>
Record RecordOf(const ValueEntry& entry, DWORD syntax) {
    Record record = {};
    EXPECT_EQ(syntax, entry.first);
    EXPECT_EQ(sizeof record, entry.second.size());
    std::memcpy(&record, entry.second.data(), std::min(sizeof record, entry.second.size()));
    return record;
}

std::wstring TextOf(const std::vector<BYTE>& data) {
    return std::wstring(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
}

using ControlCode = SimulatorTest;

TEST_F(ControlCode, PropertiesAreAPropertyListLaidOutByteForByte) {
    LoadText(R"({"cluster": {"name": "C"}, "nodes": [{"name": "N", "local": true}], "groups": [{"name": "G"}],
        "resources": [{"name": "R", "type": "Generic Service", "group": "G", "private": {"Ab": "xy", "N": 258}},
                      {"name": "E", "type": "Generic Service", "group": "G",
                       "private": {"Path": {"expandSz": "%SystemRoot%\\x"}}}]})");
    const std::vector<BYTE> expected = {
        0x02, 0x00, 0x00, 0x00,                                                  // two properties
        0x03, 0x00, 0x04, 0x00, 0x06, 0x00, 0x00, 0x00,                          // name, 6 bytes
        0x41, 0x00, 0x62, 0x00, 0x00, 0x00, 0x00, 0x00,                          // "Ab", padding
        0x03, 0x00, 0x01, 0x00, 0x06, 0x00, 0x00, 0x00,                          // string value, 6 bytes
        0x78, 0x00, 0x79, 0x00, 0x00, 0x00, 0x00, 0x00,                          // "xy", padding
        0x00, 0x00, 0x00, 0x00,                                                  // end mark
        0x03, 0x00, 0x04, 0x00, 0x04, 0x00, 0x00, 0x00, 0x4E, 0x00, 0x00, 0x00,  // name "N"
        0x02, 0x00, 0x01, 0x00, 0x04, 0x00, 0x00, 0x00, 0x02, 0x01, 0x00, 0x00,  // 32-bit value 258
        0x00, 0x00, 0x00, 0x00,                                                  // end mark
    };
    EXPECT_EQ(expected, ResourceControl(L"R", CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES));

    // An expandable string comes as two values: as stored, then expanded.
    std::vector<BYTE> list = ResourceControl(L"E", CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES);
    ASSERT_GT(list.size(), 4u);
    auto entries = ValueEntries(list.data() + 4, list.size() - 4);
    ASSERT_EQ(3u, entries.size());
    EXPECT_EQ(DWORD(CLUSPROP_SYNTAX_LIST_VALUE_EXPAND_SZ), entries[1].first);
    EXPECT_EQ(std::wstring(L"%SystemRoot%\\x") + L'\0', TextOf(entries[1].second));
    wchar_t expanded[MAX_PATH];
    ExpandEnvironmentStringsW(L"%SystemRoot%\\x", expanded, MAX_PATH);
    EXPECT_EQ(0x00010008u, entries[2].first);  // CLUSPROP_SYNTAX_LIST_VALUE_EXPANDED_SZ
    EXPECT_EQ(std::wstring(expanded) + L'\0', TextOf(entries[2].second));
    EXPECT_NE(std::wstring(expanded), L"%SystemRoot%\\x");
    EXPECT_EQ(L"%SystemRoot%\\x", TextIn(list, L"Path"));
    // Callers may not send an expanded string.
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), ControlStatus(L"E", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES,
                                                            ListBuilder().Text(L"Path", L"C:\\x", 0x00010008).Bytes()));
}

TEST_F(ControlCode, NoBufferAsksForTheSizeAndAShortOneGetsMoreDataWithIt) {
    Owned<HRESOURCE> resource = Resource(L"Orvane IP Address");
    const DWORD code = CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES;
    DWORD needed = 0, returned = 0;
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0, nullptr, 0, &needed));
    std::vector<BYTE> answer(needed);
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0,
                                                                   answer.data(), needed - 1, &returned));
    EXPECT_EQ(needed, returned);
    EXPECT_EQ(answer.size(), ResourceControl(L"Orvane IP Address", code).size());
}

TEST_F(ControlCode, SettingPropertiesMergesAListAndAnOnlineResourceKeepsThemForItsNextStart) {
    std::vector<BYTE> change = ListBuilder().Text(L"address", L"10.20.30.41").Number(L"Extra", 7).Bytes();
    const DWORD set = CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, get = CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES;
    EXPECT_EQ(DWORD(ERROR_RESOURCE_PROPERTIES_STORED), ControlStatus(L"Orvane IP Address", set, change));
    std::vector<BYTE> now = ResourceControl(L"Orvane IP Address", get);
    EXPECT_EQ(L"10.20.30.41", TextIn(now, L"Address"));
    EXPECT_EQ(L"255.255.255.0", TextIn(now, L"SubnetMask"));
    EXPECT_EQ(7u, NumberIn(now, L"Extra"));

    // Offline, the change is applied at once; a truncated list changes nothing.
    ASSERT_TRUE(SimCluster_SetResourceState(L"Orvane IP Address", ClusterResourceOffline));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), ControlStatus(L"Orvane IP Address", set, change));
    std::vector<BYTE> truncated = ListBuilder().Text(L"Address", L"1.2.3.4").Bytes();
    truncated.resize(truncated.size() - 6);
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), ControlStatus(L"Orvane IP Address", set, truncated));
    EXPECT_EQ(L"10.20.30.41", TextIn(ResourceControl(L"Orvane IP Address", get), L"Address"));

    // Common properties keep their format; "Name" renames the resource.
    const DWORD setCommon = CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES;
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), ControlStatus(L"Orvane Job Engine", setCommon,
                                                            ListBuilder().Text(L"PendingTimeout", L"soon").Bytes()));
    Owned<HRESOURCE> before = Resource(L"Orvane Job Engine");
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              ControlStatus(L"orvane job engine", setCommon, ListBuilder().Text(L"Name", L"Job (old)").Bytes()));
    EXPECT_EQ(nullptr, Sim().OpenClusterResource(cluster_.get(), L"Orvane Job Engine"));
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_FOUND), GetLastError());
    EXPECT_TRUE(Resource(L"JOB (OLD)"));
    EXPECT_EQ(ClusterResourceOnline, Sim().GetClusterResourceState(before.get(), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(DWORD(ERROR_OBJECT_ALREADY_EXISTS),
              ControlStatus(L"Job (old)", setCommon, ListBuilder().Text(L"Name", L"orvane tape engine").Bytes()));
}

TEST_F(ControlCode, RegistryCheckpointsAreAddedOnceListedAndDeleted) {
    auto send = [&](DWORD code, const std::wstring& key) {
        const BYTE* bytes = reinterpret_cast<const BYTE*>(key.c_str());
        return ControlStatus(L"Orvane Tape Engine", code, std::vector<BYTE>(bytes, bytes + (key.size() + 1) * 2));
    };
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"SOFTWARE\\Orv\\Extra"));
    EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"software\\orv\\EXTRA"));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"\\SOFTWARE\\Orv"));
    const std::wstring configured = L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Tape Engine";
    EXPECT_EQ(configured + L'\0' + L"SOFTWARE\\Orv\\Extra" + L'\0' + L'\0',
              TextOf(ResourceControl(L"Orvane Tape Engine", CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS)));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, L"SOFTWARE\\Nothing"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, L"SOFTWARE\\ORV\\Extra"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, configured));
    EXPECT_TRUE(ResourceControl(L"Orvane Tape Engine", CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS).empty());
}

TEST_F(ControlCode, StorageControlsNamePartitionsWithoutABackslash) {
    auto entries = ValueEntries(ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX));
    ASSERT_EQ(5u, entries.size());
    EXPECT_EQ(CLUSPROP_SYNTAX_DISK_SIGNATURE, entries[0].first);
    EXPECT_EQ(1374389534u, *reinterpret_cast<const DWORD*>(entries[0].second.data()));
    auto partition = RecordOf<CLUS_PARTITION_INFO_EX>(entries[4], CLUSPROP_SYNTAX_PARTITION_INFO_EX);
    EXPECT_STREQ(L"S:", partition.szDeviceName);
    EXPECT_STREQ(L"Orvane Data", partition.szVolumeLabel);
    EXPECT_EQ(1u, partition.PartitionNumber);
    EXPECT_EQ(0x5a1f0b2cu, partition.VolumeGuid.Data1);
    EXPECT_EQ(0x02, partition.VolumeGuid.Data4[7]);
    entries = ValueEntries(ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO));
    EXPECT_STREQ(L"S:", RecordOf<CLUS_PARTITION_INFO>(entries.back(), CLUSPROP_SYNTAX_PARTITION_INFO).szDeviceName);
    EXPECT_EQ(std::wstring(L"Physical Disk") + L'\0',
              TextOf(ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_GET_RESOURCE_TYPE)));
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION),
              ControlStatus(L"Orvane IP Address", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX));

    // A shared volume's partitions are named by its mount point.
    auto volumes = ValueEntries(ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO));
    ASSERT_EQ(1u, volumes.size());
    auto volume = RecordOf<CLUS_CSV_VOLUME_INFO>(volumes[0], CLUSPROP_SYNTAX_LIST_VALUE_BINARY);
    EXPECT_STREQ(L"Volume1", volume.szVolumeFriendlyName);
    EXPECT_STREQ(L"\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\", volume.szVolumeName);
    EXPECT_EQ(2u, volume.PartitionNumber);
    EXPECT_EQ(135266304u, volume.VolumeOffset.QuadPart);
    auto partitions =
        ValueEntries(ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO));
    ASSERT_EQ(1u, partitions.size());
    EXPECT_STREQ(L"C:\\ClusterStorage\\Volume1",
                 RecordOf<CLUS_PARTITION_INFO_EX>(partitions[0], CLUSPROP_SYNTAX_PARTITION_INFO_EX).szDeviceName);
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION),
              ControlStatus(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO));
    SetOffline({L"Cluster Disk 3"});
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_ONLINE),
              ControlStatus(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO));
}

TEST_F(ControlCode, ClassInfoIsTheClassOfTheResourceTypeOnTheClustersVersion) {
    struct Case {
        bool version52;
        const wchar_t* resource;
        DWORD resourceClass, subClass;
    } cases[] = {
        {false, L"Cluster Disk 1", CLUS_RESCLASS_STORAGE, CLUS_RESSUBCLASS_SHARED},
        {false, L"Orvane IP Address", CLUS_RESCLASS_NETWORK, 0x80000000},
        {false, L"Orvane Server Name", CLUS_RESCLASS_UNKNOWN, 0},
        {false, L"Orvane Job Engine", CLUS_RESCLASS_UNKNOWN, 0},
        {false, L"SQL Server (MSSQLSERVER)", CLUS_RESCLASS_UNKNOWN, 0},
        {true, L"Disk S:", CLUS_RESCLASS_STORAGE, CLUS_RESSUBCLASS_SHARED},
        {true, L"Orvane IP Address", CLUS_RESCLASS_UNKNOWN, 0},
        {true, L"Orvane Server Name", CLUS_RESCLASS_UNKNOWN, 0},
    };
    for (const Case& type : cases) {
        if (type.version52) Load(ExampleScenario52());
        std::vector<BYTE> info = ResourceControl(type.resource, CLUSCTL_RESOURCE_GET_CLASS_INFO);
        ASSERT_EQ(sizeof(CLUS_RESOURCE_CLASS_INFO), info.size()) << Utf8(type.resource);
        auto record = reinterpret_cast<const CLUS_RESOURCE_CLASS_INFO*>(info.data());
        EXPECT_EQ(type.resourceClass, DWORD(record->rc)) << Utf8(type.resource) << " on 5.2: " << type.version52;
        EXPECT_EQ(type.subClass, record->SubClass) << Utf8(type.resource) << " on 5.2: " << type.version52;
    }
}

TEST_F(ControlCode, ClusterAndNetworkControlsGiveTheirCommonProperties) {
    auto clusterControl = [&](DWORD code, DWORD* result) {
        std::vector<BYTE> answer(512);
        DWORD returned = 0;
        *result = Sim().ClusterControl(cluster_.get(), nullptr, code, nullptr, 0, answer.data(), 512, &returned);
        answer.resize(returned);
        return answer;
    };
    DWORD result = 0;
    EXPECT_EQ(L"C:\\ClusterStorage",
              TextIn(clusterControl(CLUSCTL_CLUSTER_GET_RO_COMMON_PROPERTIES, &result), L"SharedVolumesRoot"));
    std::vector<BYTE> common = clusterControl(CLUSCTL_CLUSTER_GET_COMMON_PROPERTIES, &result);
    EXPECT_EQ(DWORD(ERROR_SUCCESS), result);
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), FindText(common.data(), common.size(), L"SharedVolumesRoot"));
    clusterControl(CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES, &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION), result);

    Owned<HNETWORK> heartbeat(Sim().OpenClusterNetwork(cluster_.get(), L"Heartbeat"));
    std::vector<BYTE> properties(512);
    DWORD returned = 0;
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              Sim().ClusterNetworkControl(heartbeat.get(), nullptr, CLUSCTL_NETWORK_GET_COMMON_PROPERTIES, nullptr, 0,
                                          properties.data(), 512, &returned));
    properties.resize(returned);
    EXPECT_EQ(DWORD(ClusterNetworkRoleInternalUse), NumberIn(properties, L"Role"));
    EXPECT_EQ(L"Heartbeat", TextIn(properties, L"Name"));

    // A control sent through another node than the resource's owner is refused.
    Owned<HNODE> node2 = Node(L"NODE2");
    Owned<HRESOURCE> disk = Resource(L"Cluster Disk 1");
    EXPECT_EQ(DWORD(ERROR_HOST_NODE_NOT_RESOURCE_OWNER),
              Sim().ClusterResourceControl(disk.get(), node2.get(), CLUSCTL_RESOURCE_GET_CLASS_INFO, nullptr, 0,
                                           properties.data(), 8, &returned));
}

}  // namespace
}  // namespace simtest

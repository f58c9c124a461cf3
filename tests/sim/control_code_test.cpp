// Control codes: answers laid out byte for byte, ERROR_MORE_DATA with the
// size needed, and the changes the setting controls make.

#include <algorithm>
#include <cstring>

#include "sim_test.h"

namespace simtest {
namespace {

// An input property list written out by hand.
class ListBuilder {
public:
    ListBuilder& Text(const std::wstring& name, const std::wstring& text) {
        Entry(CLUSPROP_SYNTAX_NAME, name.c_str(), (name.size() + 1) * 2);
        Entry(CLUSPROP_SYNTAX_LIST_VALUE_SZ, text.c_str(), (text.size() + 1) * 2);
        return End();
    }
    ListBuilder& Number(const std::wstring& name, DWORD value) {
        Entry(CLUSPROP_SYNTAX_NAME, name.c_str(), (name.size() + 1) * 2);
        Entry(CLUSPROP_SYNTAX_LIST_VALUE_DWORD, &value, 4);
        return End();
    }
    std::vector<BYTE> Bytes() const {
        std::vector<BYTE> list(body_.size() + 4);
        std::memcpy(list.data(), &count_, 4);
        std::copy(body_.begin(), body_.end(), list.begin() + 4);
        return list;
    }

private:
    void Word(DWORD word) {
        body_.insert(body_.end(), reinterpret_cast<BYTE*>(&word), reinterpret_cast<BYTE*>(&word) + 4);
    }
    void Entry(DWORD syntax, const void* data, size_t size) {
        Word(syntax);
        Word(static_cast<DWORD>(size));
        body_.insert(body_.end(), static_cast<const BYTE*>(data), static_cast<const BYTE*>(data) + size);
        body_.resize(body_.size() + (4 - size % 4) % 4);
    }
    ListBuilder& End() {
        Word(0);
        ++count_;
        return *this;
    }

    DWORD count_ = 0;
    std::vector<BYTE> body_;
};

// The entries of a value list; the end mark must close the answer exactly.
std::vector<std::pair<DWORD, std::vector<BYTE>>> ValueEntries(const std::vector<BYTE>& list) {
    std::vector<std::pair<DWORD, std::vector<BYTE>>> entries;
    size_t at = 0;
    DWORD syntax = 0, length = 0;
    while (at + 4 <= list.size() && (std::memcpy(&syntax, &list[at], 4), syntax != 0)) {
        std::memcpy(&length, &list[at + 4], 4);
        entries.emplace_back(syntax, std::vector<BYTE>(list.begin() + at + 8, list.begin() + at + 8 + length));
        at += 8 + (length + 3) / 4 * 4;
    }
    EXPECT_EQ(list.size(), at + 4) << "the end mark closes the list";
    return entries;
}

// The record an entry holds, checked for its syntax and size.
template <class Record>
Record RecordOf(const std::pair<DWORD, std::vector<BYTE>>& entry, DWORD syntax) {
    Record record = {};
    EXPECT_EQ(syntax, entry.first);
    EXPECT_EQ(sizeof record, entry.second.size());
    std::memcpy(&record, entry.second.data(), std::min(sizeof record, entry.second.size()));
    return record;
}

std::wstring FindText(const std::vector<BYTE>& list, const wchar_t* name, DWORD* result = nullptr) {
    wchar_t* value = nullptr;
    DWORD status = Sim().ResUtilFindSzProperty(list.data(), static_cast<DWORD>(list.size()), name, &value);
    if (result) *result = status;
    std::wstring text = value ? value : L"";
    LocalFree(value);
    return text;
}

DWORD FindNumber(const std::vector<BYTE>& list, const wchar_t* name) {
    DWORD value = 0xDEADBEEF;
    Sim().ResUtilFindDwordProperty(list.data(), static_cast<DWORD>(list.size()), name, &value);
    return value;
}

using ControlCode = SimulatorTest;

TEST_F(ControlCode, PrivatePropertiesAreAPropertyListLaidOutByteForByte) {
    ASSERT_TRUE(SimCluster_LoadScenarioText(R"({"cluster": {"name": "C"}, "nodes": [{"name": "N", "local": true}],
        "groups": [{"name": "G"}],
        "resources": [{"name": "R", "type": "Generic Service", "group": "G", "private": {"Ab": "xy", "N": 258}}]})"));
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
}

TEST_F(ControlCode, ShortBufferGetsMoreDataWithTheSizeAndNoBufferAsksForIt) {
    Owned<HRESOURCE> resource = Resource(L"Orvane IP Address");
    const DWORD code = CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES;
    DWORD needed = 0;
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0, nullptr, 0, &needed));
    EXPECT_GT(needed, 100u);
    std::vector<BYTE> answer(needed);
    DWORD returned = 0;
    EXPECT_EQ(DWORD(ERROR_MORE_DATA),
              Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0, answer.data(), 4, &returned));
    EXPECT_EQ(needed, returned);
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0,
                                                                   answer.data(), needed - 1, &returned));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().ClusterResourceControl(resource.get(), nullptr, code, nullptr, 0,
                                                                 answer.data(), needed, &returned));
    EXPECT_EQ(needed, returned);
    EXPECT_EQ(L"10.20.30.40", FindText(answer, L"Address"));
    EXPECT_EQ(1u, FindNumber(answer, L"EnableNetBios"));
}

TEST_F(ControlCode, SettingPropertiesMergesAListAndAnOnlineResourceKeepsThemForItsNextStart) {
    std::vector<BYTE> change = ListBuilder().Text(L"address", L"10.20.30.41").Number(L"Extra", 7).Bytes();
    DWORD result = 0;
    ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, change.data(),
                    static_cast<DWORD>(change.size()), &result);
    EXPECT_EQ(DWORD(ERROR_RESOURCE_PROPERTIES_STORED), result);
    std::vector<BYTE> now = ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES);
    EXPECT_EQ(L"10.20.30.41", FindText(now, L"Address"));
    EXPECT_EQ(L"255.255.255.0", FindText(now, L"SubnetMask"));
    EXPECT_EQ(7u, FindNumber(now, L"Extra"));

    // Offline, the change is applied at once; a truncated list changes nothing.
    ASSERT_TRUE(SimCluster_SetResourceState(L"Orvane IP Address", ClusterResourceOffline));
    ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, change.data(),
                    static_cast<DWORD>(change.size()), &result);
    EXPECT_EQ(DWORD(ERROR_SUCCESS), result);
    std::vector<BYTE> truncated = ListBuilder().Text(L"Address", L"1.2.3.4").Bytes();
    ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES, truncated.data(),
                    static_cast<DWORD>(truncated.size() - 6), &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), result);
    now = ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES);
    EXPECT_EQ(L"10.20.30.41", FindText(now, L"Address"));

    // Common properties keep their format.
    std::vector<BYTE> timeout = ListBuilder().Number(L"PendingTimeout", 60000).Bytes();
    ResourceControl(L"Orvane Job Engine", CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES, timeout.data(),
                    static_cast<DWORD>(timeout.size()), &result);
    EXPECT_EQ(DWORD(ERROR_SUCCESS), result);
    EXPECT_EQ(60000u, FindNumber(ResourceControl(L"Orvane Job Engine", CLUSCTL_RESOURCE_GET_COMMON_PROPERTIES),
                                 L"PendingTimeout"));
    std::vector<BYTE> wrongType = ListBuilder().Text(L"PendingTimeout", L"soon").Bytes();
    ResourceControl(L"Orvane Job Engine", CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES, wrongType.data(),
                    static_cast<DWORD>(wrongType.size()), &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), result);
}

TEST_F(ControlCode, ARenamedResourceAnswersToItsNewNameOnly) {
    Owned<HRESOURCE> before = Resource(L"Orvane Job Engine");
    std::vector<BYTE> rename = ListBuilder().Text(L"Name", L"Orvane Job Engine (old)").Bytes();
    DWORD result = 0;
    ResourceControl(L"orvane job engine", CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES, rename.data(),
                    static_cast<DWORD>(rename.size()), &result);
    ASSERT_EQ(DWORD(ERROR_SUCCESS), result);

    EXPECT_EQ(nullptr, Sim().OpenClusterResource(cluster_.get(), L"Orvane Job Engine"));
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_FOUND), GetLastError());
    EXPECT_TRUE(Resource(L"ORVANE JOB ENGINE (OLD)"));
    // A handle opened under the old name follows the resource.
    EXPECT_EQ(ClusterResourceOnline, Sim().GetClusterResourceState(before.get(), nullptr, nullptr, nullptr, nullptr));
    // Taking another resource's name is refused.
    std::vector<BYTE> taken = ListBuilder().Text(L"Name", L"orvane tape engine").Bytes();
    ResourceControl(L"Orvane Job Engine (old)", CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES, taken.data(),
                    static_cast<DWORD>(taken.size()), &result);
    EXPECT_EQ(DWORD(ERROR_OBJECT_ALREADY_EXISTS), result);
}

TEST_F(ControlCode, RegistryCheckpointsAreAddedOnceListedAndDeleted) {
    auto send = [&](DWORD code, const std::wstring& key) {
        DWORD result = 0;
        ResourceControl(L"Orvane Tape Engine", code, key.c_str(), static_cast<DWORD>((key.size() + 1) * 2), &result);
        return result;
    };
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"SOFTWARE\\Orv\\Extra"));
    EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"software\\orv\\EXTRA"));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), send(CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT, L"\\SOFTWARE\\Orv"));
    std::vector<BYTE> list = ResourceControl(L"Orvane Tape Engine", CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS);
    std::wstring all(reinterpret_cast<const wchar_t*>(list.data()), list.size() / 2);
    const std::wstring configured = L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Tape Engine";
    EXPECT_EQ(configured + L'\0' + L"SOFTWARE\\Orv\\Extra" + L'\0' + L'\0', all);
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, L"SOFTWARE\\Nothing"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, L"SOFTWARE\\ORV\\Extra"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), send(CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT, configured));
    EXPECT_TRUE(ResourceControl(L"Orvane Tape Engine", CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS).empty());
}

TEST_F(ControlCode, StorageControlsDescribeTheDiskAndItsPartitions) {
    auto entries = ValueEntries(ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX));
    ASSERT_EQ(5u, entries.size());
    EXPECT_EQ(CLUSPROP_SYNTAX_DISK_SIGNATURE, entries[0].first);
    EXPECT_EQ(1374389534u, *reinterpret_cast<const DWORD*>(entries[0].second.data()));
    auto partition = RecordOf<CLUS_PARTITION_INFO_EX>(entries[4], CLUSPROP_SYNTAX_PARTITION_INFO_EX);
    EXPECT_STREQ(L"S:\\", partition.szDeviceName);
    EXPECT_STREQ(L"Orvane Data", partition.szVolumeLabel);
    EXPECT_EQ(1u, partition.PartitionNumber);
    EXPECT_EQ(0x5a1f0b2cu, partition.VolumeGuid.Data1);
    EXPECT_EQ(0x02, partition.VolumeGuid.Data4[7]);

    entries = ValueEntries(ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO));
    EXPECT_STREQ(L"S:\\", RecordOf<CLUS_PARTITION_INFO>(entries.back(), CLUSPROP_SYNTAX_PARTITION_INFO).szDeviceName);

    std::vector<BYTE> classInfo = ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_GET_CLASS_INFO);
    ASSERT_EQ(sizeof(CLUS_RESOURCE_CLASS_INFO), classInfo.size());
    EXPECT_EQ(CLUS_RESCLASS_STORAGE, reinterpret_cast<const CLUS_RESOURCE_CLASS_INFO*>(classInfo.data())->rc);
    EXPECT_EQ(CLUS_RESSUBCLASS_SHARED, reinterpret_cast<const CLUS_RESOURCE_CLASS_INFO*>(classInfo.data())->SubClass);
    std::vector<BYTE> type = ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_GET_RESOURCE_TYPE);
    EXPECT_EQ(std::wstring(L"Physical Disk"), reinterpret_cast<const wchar_t*>(type.data()));
    EXPECT_EQ(28u, type.size());

    DWORD result = 0;
    ResourceControl(L"Orvane IP Address", CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX, nullptr, 0, &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION), result);
}

TEST_F(ControlCode, SharedVolumeControlsAnswerOnlyForSharedVolumes) {
    auto volumes = ValueEntries(ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO));
    ASSERT_EQ(1u, volumes.size());
    auto volume = RecordOf<CLUS_CSV_VOLUME_INFO>(volumes[0], CLUSPROP_SYNTAX_LIST_VALUE_BINARY);
    EXPECT_STREQ(L"Volume1", volume.szVolumeFriendlyName);
    EXPECT_STREQ(L"\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\", volume.szVolumeName);
    EXPECT_EQ(2u, volume.PartitionNumber);
    EXPECT_EQ(135266304u, volume.VolumeOffset.QuadPart);
    EXPECT_EQ(VolumeBackupNone, volume.BackupState);

    auto partitions =
        ValueEntries(ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO));
    ASSERT_EQ(1u, partitions.size());
    EXPECT_STREQ(L"C:\\ClusterStorage\\Volume1\\",
                 RecordOf<CLUS_PARTITION_INFO_EX>(partitions[0], CLUSPROP_SYNTAX_PARTITION_INFO_EX).szDeviceName);

    DWORD result = 0;
    ResourceControl(L"Cluster Disk 1", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO, nullptr, 0, &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION), result);
    ASSERT_TRUE(SimCluster_SetResourceState(L"Cluster Disk 3", ClusterResourceOffline));
    ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO, nullptr, 0, &result);
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NOT_ONLINE), result);
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
    std::vector<BYTE> readOnly = clusterControl(CLUSCTL_CLUSTER_GET_RO_COMMON_PROPERTIES, &result);
    EXPECT_EQ(L"C:\\ClusterStorage", FindText(readOnly, L"SharedVolumesRoot"));
    FindText(clusterControl(CLUSCTL_CLUSTER_GET_COMMON_PROPERTIES, &result), L"SharedVolumesRoot", &result);
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), result);
    clusterControl(CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES, &result);
    EXPECT_EQ(DWORD(ERROR_INVALID_FUNCTION), result);

    Owned<HNETWORK> heartbeat(Sim().OpenClusterNetwork(cluster_.get(), L"Heartbeat"));
    std::vector<BYTE> properties(4);
    DWORD returned = 0;
    ASSERT_EQ(DWORD(ERROR_MORE_DATA),
              Sim().ClusterNetworkControl(heartbeat.get(), nullptr, CLUSCTL_NETWORK_GET_COMMON_PROPERTIES, nullptr, 0,
                                          properties.data(), 4, &returned));
    properties.resize(returned);
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              Sim().ClusterNetworkControl(heartbeat.get(), nullptr, CLUSCTL_NETWORK_GET_COMMON_PROPERTIES, nullptr, 0,
                                          properties.data(), returned, &returned));
    EXPECT_EQ(DWORD(ClusterNetworkRoleInternalUse), FindNumber(properties, L"Role"));
    EXPECT_EQ(L"Heartbeat", FindText(properties, L"Name"));

    // A control sent through another node than the resource's owner is refused.
    Owned<HNODE> node2 = Node(L"NODE2");
    Owned<HRESOURCE> disk = Resource(L"Cluster Disk 1");
    EXPECT_EQ(DWORD(ERROR_HOST_NODE_NOT_RESOURCE_OWNER),
              Sim().ClusterResourceControl(disk.get(), node2.get(), CLUSCTL_RESOURCE_GET_CLASS_INFO, nullptr, 0,
                                           properties.data(), 8, &returned));
}

}  // namespace
}  // namespace simtest

#include "scenario.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <set>

#include <nlohmann/json.hpp>

#include "addresses.h"
#include "state.h"
#include "text.h"

namespace simcluster {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Fail(const std::string& message) { throw ScenarioError("scenario: " + message); }

std::string Quote(const std::wstring& name) { return "'" + Narrow(name) + "'"; }

// Names of states and roles as scenarios write them, with the platform's values.
template <class T>
struct NamedValue {
    const char* name;
    T value;
};

const NamedValue<CLUSTER_RESOURCE_STATE> kResourceStates[] = {
    {"online", ClusterResourceOnline},
    {"offline", ClusterResourceOffline},
    {"failed", ClusterResourceFailed},
    {"onlinePending", ClusterResourceOnlinePending},
    {"offlinePending", ClusterResourceOfflinePending},
    {"pending", ClusterResourcePending},
    {"initializing", ClusterResourceInitializing},
};
const NamedValue<CLUSTER_GROUP_STATE> kGroupStates[] = {
    {"online", ClusterGroupOnline},   {"offline", ClusterGroupOffline},
    {"failed", ClusterGroupFailed},   {"partialOnline", ClusterGroupPartialOnline},
    {"pending", ClusterGroupPending},
};
const NamedValue<CLUSTER_NODE_STATE> kNodeStates[] = {
    {"up", ClusterNodeUp}, {"down", ClusterNodeDown}, {"paused", ClusterNodePaused}, {"joining", ClusterNodeJoining}};
const NamedValue<DWORD> kRoles[] = {{"none", ClusterNetworkRoleNone},
                                    {"internal", ClusterNetworkRoleInternalUse},
                                    {"client", ClusterNetworkRoleClientAccess},
                                    {"internalAndClient", ClusterNetworkRoleInternalAndClient}};
const NamedValue<DWORD> kClasses[] = {
    {"unknown", CLUS_RESCLASS_UNKNOWN}, {"storage", CLUS_RESCLASS_STORAGE}, {"network", CLUS_RESCLASS_NETWORK}};

// A named value, or a number given as such.
template <class T, size_t N>
T ReadNamed(const Json& json, const NamedValue<T> (&table)[N], const std::string& where) {
    if (json.is_number_integer()) return static_cast<T>(json.get<long long>());
    if (json.is_string())
        for (const NamedValue<T>& entry : table)
            if (json.get<std::string>() == entry.name) return entry.value;
    Fail(where + " is " + json.dump() + ", which is not one of its known values");
}

template <class T, size_t N>
Json WriteNamed(T value, const NamedValue<T> (&table)[N]) {
    for (const NamedValue<T>& entry : table)
        if (entry.value == value) return entry.name;
    return static_cast<long long>(value);
}

// Reads the fields of one JSON object and refuses the ones nobody asked for.
class Fields {
public:
    Fields(const Json& json, std::string where) : json_(json), where_(std::move(where)) {
        if (!json.is_object()) Fail(where_ + " is not an object");
    }

    const std::string& Where() const { return where_; }
    void Rename(std::string where) { where_ = std::move(where); }

    const Json* Get(const char* key) {
        used_.insert(key);
        auto it = json_.find(key);
        return it == json_.end() || it->is_null() ? nullptr : &*it;
    }

    const Json& Require(const char* key) {
        const Json* value = Get(key);
        if (!value) Fail(where_ + " has no '" + key + "'");
        return *value;
    }

    std::wstring String(const char* key, const std::wstring& fallback = std::wstring()) {
        const Json* value = Get(key);
        return value ? TextOf(*value, key) : fallback;
    }

    std::wstring RequiredString(const char* key) {
        std::wstring text = TextOf(Require(key), key);
        if (text.empty()) Fail(where_ + " has an empty '" + key + "'");
        return text;
    }

    bool Bool(const char* key, bool fallback) {
        const Json* value = Get(key);
        if (!value) return fallback;
        if (!value->is_boolean()) Fail(where_ + " has a '" + key + "' that is not true or false");
        return value->get<bool>();
    }

    unsigned long long Number(const char* key, unsigned long long fallback) {
        const Json* value = Get(key);
        if (!value) return fallback;
        if (!value->is_number_unsigned()) Fail(where_ + " has a '" + key + "' that is not a number of 0 or more");
        return value->get<unsigned long long>();
    }

    DWORD Dword(const char* key, DWORD fallback) {
        unsigned long long number = Number(key, fallback);
        if (number > 0xFFFFFFFFull) Fail(where_ + " has a '" + key + "' above 32 bits");
        return static_cast<DWORD>(number);
    }

    std::vector<std::wstring> Strings(const char* key) {
        std::vector<std::wstring> strings;
        const Json* value = Get(key);
        if (!value) return strings;
        if (!value->is_array()) Fail(where_ + " has a '" + key + "' that is not a list");
        for (const Json& item : *value) strings.push_back(TextOf(item, key));
        return strings;
    }

    const Json* Array(const char* key) {
        const Json* value = Get(key);
        if (value && !value->is_array()) Fail(where_ + " has a '" + key + "' that is not a list");
        return value;
    }

    void Done() const {
        for (auto it = json_.begin(); it != json_.end(); ++it)
            if (it.key() != "comment" && !used_.count(it.key())) Fail(where_ + " has unknown field '" + it.key() + "'");
    }

private:
    std::wstring TextOf(const Json& value, const char* key) const {
        if (!value.is_string()) Fail(where_ + " has a '" + key + "' that is not text");
        return Widen(value.get<std::string>());
    }

    const Json& json_;
    std::string where_;
    std::set<std::string> used_;
};

std::string Hex(const std::vector<BYTE>& data) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (BYTE byte : data) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool FromHex(const std::string& text, std::vector<BYTE>& data) {
    if (text.size() % 2) return false;
    data.clear();
    for (size_t i = 0; i < text.size(); i += 2) {
        char pair[3] = {text[i], text[i + 1], 0};
        char* end = nullptr;
        unsigned long value = std::strtoul(pair, &end, 16);
        if (end != pair + 2) return false;
        data.push_back(static_cast<BYTE>(value));
    }
    return true;
}

bool ParseGuid(const std::wstring& text, GUID& guid) {
    std::wstring digits;
    for (wchar_t c : text)
        if (c != L'{' && c != L'}' && c != L'-') digits += c;
    if (digits.size() != 32 || text.size() < 36) return false;
    std::vector<BYTE> bytes;
    if (!FromHex(Narrow(digits), bytes)) return false;
    guid.Data1 = (DWORD(bytes[0]) << 24) | (DWORD(bytes[1]) << 16) | (DWORD(bytes[2]) << 8) | bytes[3];
    guid.Data2 = static_cast<WORD>((bytes[4] << 8) | bytes[5]);
    guid.Data3 = static_cast<WORD>((bytes[6] << 8) | bytes[7]);
    std::copy(bytes.begin() + 8, bytes.end(), guid.Data4);
    return true;
}

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40];
    swprintf(text, 40, L"{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", static_cast<unsigned long>(guid.Data1),
             guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
             guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

PropertyValue MultiSzValue(const Json& list, const std::string& where) {
    std::wstring text;
    for (const Json& item : list) {
        if (!item.is_string()) Fail(where + " has a multi-string value with an item that is not text");
        text += Widen(item.get<std::string>());
        text += L'\0';
    }
    text += L'\0';
    return BinaryValue(text.data(), text.size() * sizeof(wchar_t), CLUSPROP_SYNTAX_LIST_VALUE_MULTI_SZ);
}

PropertyValue ReadValue(const Json& json, const std::string& where) {
    if (json.is_string()) return StringValue(Widen(json.get<std::string>()));
    if (json.is_boolean()) return DwordValue(json.get<bool>() ? 1 : 0);
    if (json.is_number_unsigned()) {
        unsigned long long number = json.get<unsigned long long>();
        if (number <= 0xFFFFFFFFull) return DwordValue(static_cast<DWORD>(number));
        return BinaryValue(&number, sizeof number, CLUSPROP_SYNTAX_LIST_VALUE_ULARGE_INTEGER);
    }
    if (json.is_number_integer()) {
        long long number = json.get<long long>();
        if (number < -2147483648LL) Fail(where + " is below the range of a signed 32-bit value");
        LONG value = static_cast<LONG>(number);
        return BinaryValue(&value, sizeof value, CLUSPROP_SYNTAX_LIST_VALUE_LONG);
    }
    if (!json.is_object()) Fail(where + " has a value that is neither text, a number nor a format object");
    Fields fields(json, where);
    PropertyValue value;
    if (const Json* text = fields.Get("sz")) {
        value = StringValue(Widen(text->get<std::string>()));
    } else if (const Json* text = fields.Get("expandSz")) {
        value = StringValue(Widen(text->get<std::string>()), CLUSPROP_SYNTAX_LIST_VALUE_EXPAND_SZ);
    } else if (const Json* number = fields.Get("dword")) {
        value = DwordValue(number->get<DWORD>());
    } else if (const Json* number = fields.Get("long")) {
        LONG signedValue = number->get<LONG>();
        value = BinaryValue(&signedValue, sizeof signedValue, CLUSPROP_SYNTAX_LIST_VALUE_LONG);
    } else if (const Json* number = fields.Get("ulargeInteger")) {
        unsigned long long large = number->get<unsigned long long>();
        value = BinaryValue(&large, sizeof large, CLUSPROP_SYNTAX_LIST_VALUE_ULARGE_INTEGER);
    } else if (const Json* list = fields.Get("multiSz")) {
        if (!list->is_array()) Fail(where + " has a 'multiSz' that is not a list");
        value = MultiSzValue(*list, where);
    } else if (const Json* hex = fields.Get("binary")) {
        std::vector<BYTE> data;
        if (!hex->is_string() || !FromHex(hex->get<std::string>(), data))
            Fail(where + " has a 'binary' that is not an even run of hexadecimal digits");
        value = BinaryValue(data.data(), data.size());
    } else {
        Fail(where + " names no value format (sz, expandSz, dword, long, ulargeInteger, multiSz, binary)");
    }
    value.syntax = fields.Dword("syntax", value.syntax);
    fields.Done();
    return value;
}

Json WriteValue(const PropertyValue& value) {
    Json json;
    switch (value.syntax) {
        case CLUSPROP_SYNTAX_LIST_VALUE_SZ:
            return Narrow(value.Text());
        case CLUSPROP_SYNTAX_LIST_VALUE_DWORD:
            return value.Dword();
        case CLUSPROP_SYNTAX_LIST_VALUE_EXPAND_SZ:
            json["expandSz"] = Narrow(value.Text());
            return json;
        case CLUSPROP_SYNTAX_LIST_VALUE_LONG:
            json["long"] = static_cast<LONG>(value.Dword());
            return json;
        case CLUSPROP_SYNTAX_LIST_VALUE_ULARGE_INTEGER: {
            unsigned long long large = 0;
            std::memcpy(&large, value.data.data(), std::min(value.data.size(), sizeof large));
            json["ulargeInteger"] = large;
            return json;
        }
        case CLUSPROP_SYNTAX_LIST_VALUE_MULTI_SZ: {
            json["multiSz"] = Json::array();
            std::wstring all(value.data.size() / sizeof(wchar_t), L'\0');
            if (!all.empty()) std::memcpy(&all[0], value.data.data(), all.size() * sizeof(wchar_t));
            for (size_t start = 0; start < all.size() && all[start];) {
                size_t end = all.find(L'\0', start);
                json["multiSz"].push_back(Narrow(all.substr(start, end - start)));
                start = end + 1;
            }
            return json;
        }
        default:
            json["binary"] = Hex(value.data);
            if (value.syntax != CLUSPROP_SYNTAX_LIST_VALUE_BINARY) json["syntax"] = value.syntax;
            return json;
    }
}

PropertyMap ReadProperties(const Json* json, const std::string& where, PropertyMap properties = PropertyMap()) {
    if (!json) return properties;
    if (!json->is_object()) Fail(where + " is not an object");
    for (auto it = json->begin(); it != json->end(); ++it)
        properties.Set(Widen(it.key()), ReadValue(it.value(), "property '" + it.key() + "' of " + where));
    return properties;
}

Json WriteProperties(const PropertyMap& properties) {
    Json json = Json::object();
    for (const PropertyMap::Entry& entry : properties.Entries()) json[Narrow(entry.first)] = WriteValue(entry.second);
    return json;
}

// A node's name as the scenario writes it, with the token that stands for
// this computer replaced by the computer's name.
const wchar_t kThisComputer[] = L"%COMPUTERNAME%";

std::wstring NodeName(std::wstring name) {
    const size_t tokenLength = wcslen(kThisComputer);
    for (size_t at = 0; at + tokenLength <= name.size(); ++at) {
        if (!SameName(name.data() + at, tokenLength, kThisComputer)) continue;
        wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1];
        DWORD length = ARRAYSIZE(computer);
        if (!GetComputerNameW(computer, &length)) return name;
        name.replace(at, tokenLength, computer, length);
        at += length ? length - 1 : 0;
    }
    return name;
}

std::wstring SameText(std::wstring name) { return name; }

// The fields of a new object of the given kind ("node", "group"...), named
// after it from here on; a second object of the same name is refused.
template <class T, class Exists>
Fields NamedFields(const Json& json, const std::string& kind, Exists exists, T& object,
                   std::wstring (*spell)(std::wstring) = SameText) {
    Fields fields(json, "a " + kind);
    object.name = spell(fields.RequiredString("name"));
    fields.Rename(kind + " " + Quote(object.name));
    if (exists(object.name)) Fail("two " + kind + "s are named " + Quote(object.name));
    return fields;
}

class Reader {
public:
    explicit Reader(const Json& root) {
        Fields top(root, "the scenario");
        cluster_.present = true;
        ReadCluster(top.Require("cluster"));
        ReadNodes(top.Array("nodes"));
        ReadTypes(top.Array("resourceTypes"));
        ReadNetworks(top.Array("networks"));
        if (const Json* groups = top.Array("groups"))
            for (const Json& group : *groups) ReadGroup(group);
        if (const Json* resources = top.Array("resources")) {
            for (const Json& resource : *resources) ReadResource(resource);
            for (size_t i = 0; i < resources->size(); ++i) ReadDependencies((*resources)[i], cluster_.resources[i]);
        }
        top.Done();
        CheckQuorum();
    }

    Cluster Take() { return std::move(cluster_); }

private:
    void ReadCluster(const Json& json) {
        Fields fields(json, "cluster");
        cluster_.name = fields.RequiredString("name");
        fields.Rename("cluster " + Quote(cluster_.name));
        cluster_.installed = fields.Bool("installed", true);
        cluster_.aliases = fields.Strings("aliases");
        ReadVersion(fields.Get("version"));
        cluster_.pendingMs = fields.Dword("pendingMs", kDefaultPendingMs);
        for (const std::wstring& text : fields.Strings("addressesInUse")) {
            DWORD address = 0;
            if (!ParseAddress(text, address))
                Fail(fields.Where() + " has an 'addressesInUse' item " + Quote(text) + " that is not an IPv4 address");
            cluster_.addressesInUse.push_back(AddressText(address));
        }
        if (const Json* quorum = fields.Get("quorum")) {
            Fields quorumFields(*quorum, "the quorum of " + fields.Where());
            cluster_.quorum.resource = quorumFields.RequiredString("resource");
            cluster_.quorum.path = quorumFields.String("path");
            cluster_.quorum.maximumLogSize = quorumFields.Dword("maxLogSize", cluster_.quorum.maximumLogSize);
            quorumFields.Done();
        }
        cluster_.commonProperties = ReadProperties(fields.Get("commonProperties"), "the common properties of cluster");
        cluster_.readOnlyCommonProperties =
            ReadProperties(fields.Get("readOnlyCommonProperties"), "the read-only common properties of cluster");
        fields.Done();
    }

    void ReadVersion(const Json* json) {
        CLUSTERVERSIONINFO& version = cluster_.version;
        version.dwVersionInfoSize = sizeof version;
        const Json none = Json::object();
        Fields fields(json ? *json : none, "the version of the cluster");
        version.MajorVersion = static_cast<WORD>(fields.Dword("major", 6));
        version.MinorVersion = static_cast<WORD>(fields.Dword("minor", 1));
        version.BuildNumber = static_cast<WORD>(fields.Dword("build", 7601));
        wcsncpy(version.szVendorId, fields.String("vendor").c_str(), 63);
        wcsncpy(version.szCSDVersion, fields.String("csdVersion").c_str(), 63);
        DWORD own = (DWORD(version.MajorVersion) << 16) | version.BuildNumber;
        version.dwClusterHighestVersion = fields.Dword("highest", own);
        version.dwClusterLowestVersion = fields.Dword("lowest", own);
        version.dwFlags = fields.Dword("flags", 0);
        fields.Done();
    }

    void ReadNodes(const Json* nodes) {
        if (!nodes || nodes->empty()) Fail("the cluster has no nodes");
        for (const Json& json : *nodes) {
            Node node;
            Fields fields = NamedFields(
                json, "node", [this](const std::wstring& name) { return cluster_.FindNode(name) != nullptr; },
                node, NodeName);
            if (const Json* state = fields.Get("state"))
                node.state = ReadNamed(*state, kNodeStates, "the state of " + fields.Where());
            if (fields.Bool("local", false)) {
                if (Node* other = cluster_.FindNode(cluster_.localNode))
                    Fail("nodes " + Quote(other->name) + " and " + Quote(node.name) + " are both marked local");
                cluster_.localNode = node.id;
            }
            fields.Done();
            cluster_.nodes.push_back(node);
        }
    }

    void ReadTypes(const Json* types) {
        cluster_.types = StandardResourceTypes(cluster_.version);
        if (!types) return;
        for (const Json& json : *types) {
            Fields fields(json, "a resource type");
            ResourceType type;
            type.name = fields.RequiredString("name");
            fields.Rename("resource type " + Quote(type.name));
            ReadClass(fields, type.resourceClass, type.subClass);
            fields.Done();
            auto known = std::find_if(cluster_.types.begin(), cluster_.types.end(),
                                      [&](const ResourceType& other) { return SameName(other.name, type.name); });
            if (known != cluster_.types.end())
                *known = type;
            else
                cluster_.types.push_back(type);
        }
    }

    void ReadClass(Fields& fields, DWORD& resourceClass, DWORD& subClass) {
        if (const Json* value = fields.Get("class"))
            resourceClass = ReadNamed(*value, kClasses, "the class of " + fields.Where());
        subClass = fields.Dword("subClass", subClass);
    }

    void ReadNetworks(const Json* networks) {
        if (!networks) return;
        for (const Json& json : *networks) {
            Network network;
            Fields fields = NamedFields(
                json, "network", [this](const std::wstring& name) { return cluster_.FindNetwork(name) != nullptr; },
                network);
            if (const Json* role = fields.Get("role"))
                network.role = ReadNamed(*role, kRoles, "the role of " + fields.Where());
            network.address = fields.String("address");
            network.addressMask = fields.String("mask");
            network.description = fields.String("description");
            fields.Done();
            cluster_.networks.push_back(network);
        }
    }

    ObjectId NodeNamed(const std::wstring& written, const std::string& where) {
        const std::wstring name = NodeName(written);
        Node* node = cluster_.FindNode(name);
        if (!node) Fail(where + " names unknown node " + Quote(name));
        return node->id;
    }

    std::vector<ObjectId> NodesNamed(const std::vector<std::wstring>& names, const std::string& where) {
        std::vector<ObjectId> ids;
        for (const std::wstring& name : names) ids.push_back(NodeNamed(name, where));
        return ids;
    }

    void ReadGroup(const Json& json) {
        Group group;
        Fields fields = NamedFields(
                json, "group", [this](const std::wstring& name) { return cluster_.FindGroup(name) != nullptr; },
                group);
        std::wstring owner = fields.String("owner");
        group.owner = owner.empty() ? DefaultOwner() : NodeNamed(owner, fields.Where());
        group.preferredOwners = NodesNamed(fields.Strings("preferredOwners"), fields.Where());
        if (const Json* state = fields.Get("state"))
            group.forcedState = ReadNamed(*state, kGroupStates, "the state of " + fields.Where());
        fields.Done();
        cluster_.groups.push_back(group);
    }

    ObjectId DefaultOwner() const { return cluster_.localNode ? cluster_.localNode : cluster_.nodes.front().id; }

    void ReadResource(const Json& json) {
        Resource resource;
        Fields fields = NamedFields(
                json, "resource", [this](const std::wstring& name) { return cluster_.FindResource(name) != nullptr; },
                resource);
        const std::string& where = fields.Where();

        const std::wstring typeName = fields.RequiredString("type");
        const ResourceType* type = cluster_.FindType(typeName);
        if (!type) Fail(where + " names unknown resource type " + Quote(typeName));
        resource.type = type->name;
        resource.resourceClass = type->resourceClass;
        resource.subClass = type->subClass;
        ReadClass(fields, resource.resourceClass, resource.subClass);

        std::wstring groupName = fields.RequiredString("group");
        Group* group = cluster_.FindGroup(groupName);
        if (!group) Fail(where + " names unknown group " + Quote(groupName));
        resource.group = group->id;
        std::wstring owner = fields.String("owner");
        if (!owner.empty() && NodeNamed(owner, where) != group->owner)
            Fail(where + " is owned by " + Quote(owner) + " but its group " + Quote(group->name) + " by " +
                 Quote(cluster_.FindNode(group->owner)->name));

        if (const Json* state = fields.Get("state"))
            resource.state = ReadNamed(*state, kResourceStates, "the state of " + where);
        if (fields.Get("possibleOwners"))
            resource.possibleOwners = NodesNamed(fields.Strings("possibleOwners"), where);
        else
            for (const Node& node : cluster_.nodes) resource.possibleOwners.push_back(node.id);
        fields.Get("dependencies");  // read once every resource exists
        resource.common = ReadProperties(fields.Get("common"), "the common properties of " + where,
                                         DefaultResourceCommonProperties());
        if (resource.common.Find(L"Name")) Fail(where + " names itself again among its common properties");
        resource.privateProperties = ReadProperties(fields.Get("private"), "the private properties of " + where);
        if (fields.Get("networkName")) resource.networkName = fields.String("networkName");
        resource.checkpoints = fields.Strings("checkpoints");
        resource.core = fields.Bool("core", false);
        if (const Json* disk = fields.Get("disk")) resource.disk = ReadDisk(*disk, "the disk of " + where);
        if (const Json* volumes = fields.Array("sharedVolumes"))
            for (const Json& volume : *volumes) resource.sharedVolumes.push_back(ReadSharedVolume(volume, where));
        resource.online.delayMs = resource.offline.delayMs = cluster_.pendingMs;
        if (const Json* transitions = fields.Get("transitions")) ReadTransitions(*transitions, resource, where);
        fields.Done();
        if (!resource.sharedVolumes.empty()) GiveSharedVolumePartitions(resource);
        cluster_.resources.push_back(resource);
    }

    Disk ReadDisk(const Json& json, const std::string& where) {
        Fields fields(json, where);
        Disk disk;
        disk.signature = fields.Dword("signature", 0);
        disk.scsiAddress = fields.Dword("scsiAddress", 0);
        disk.diskNumber = fields.Dword("diskNumber", 0);
        disk.size = fields.Number("size", 0);
        if (const Json* partitions = fields.Array("partitions"))
            for (const Json& partition : *partitions) disk.partitions.push_back(ReadPartition(partition, disk, where));
        fields.Done();
        return disk;
    }

    Partition ReadPartition(const Json& json, const Disk& disk, const std::string& where) {
        Fields fields(json, "a partition of " + where);
        Partition partition;
        partition.device = fields.RequiredString("device");
        fields.Rename("partition " + Quote(partition.device) + " of " + where);
        // The platform names a partition's device without a backslash, "S:".
        if (partition.device.back() == L'\\')
            Fail(fields.Where() + " ends its 'device' with a backslash; the platform gives device names such as \"S:\"");
        partition.label = fields.String("label");
        partition.fileSystem = fields.String("fileSystem", partition.fileSystem);
        std::wstring guid = fields.String("guid");
        if (!guid.empty() && !ParseGuid(guid, partition.volumeGuid))
            Fail(fields.Where() + " has a 'guid' that is not a GUID");
        partition.number = fields.Dword("number", partition.number);
        partition.flags = fields.Dword("flags", partition.flags);
        partition.serialNumber = fields.Dword("serialNumber", partition.serialNumber);
        partition.maximumComponentLength = fields.Dword("maxComponentLength", partition.maximumComponentLength);
        partition.fileSystemFlags = fields.Dword("fileSystemFlags", partition.fileSystemFlags);
        partition.deviceNumber = fields.Dword("deviceNumber", disk.diskNumber);
        partition.totalSize = fields.Number("totalSize", disk.size);
        partition.freeSize = fields.Number("freeSize", partition.totalSize / 2);
        fields.Done();
        return partition;
    }

    SharedVolume ReadSharedVolume(const Json& json, const std::string& where) {
        Fields fields(json, "a shared volume of " + where);
        SharedVolume volume;
        volume.path = fields.RequiredString("path");
        while (volume.path.size() > 3 && volume.path.back() == L'\\') volume.path.pop_back();
        fields.Rename("shared volume " + Quote(volume.path) + " of " + where);
        volume.volumeName = fields.RequiredString("volumeName");
        GUID guid;
        if (!StartsWithName(volume.volumeName, L"\\\\?\\Volume{") || volume.volumeName.back() != L'\\' ||
            !ParseGuid(volume.volumeName.substr(10, 38), guid))
            Fail(fields.Where() + " has a 'volumeName' that is not of the form \\\\?\\Volume{GUID}\\");
        volume.friendlyName = fields.String("friendlyName", volume.path);
        volume.partitionNumber = fields.Dword("partitionNumber", volume.partitionNumber);
        volume.offset = fields.Number("offset", volume.offset);
        volume.faultState = fields.Dword("faultState", volume.faultState);
        volume.redirected = fields.Bool("redirected", false);
        volume.backupInProgress = fields.Bool("backupInProgress", false);
        fields.Done();
        return volume;
    }

    // A shared volume's disk shows its volumes as partitions, named by the
    // volumes' mount points without a trailing backslash.
    static void GiveSharedVolumePartitions(Resource& resource) {
        if (!resource.disk) resource.disk = Disk();
        if (!resource.disk->partitions.empty()) return;
        for (const SharedVolume& volume : resource.sharedVolumes) {
            Partition partition;
            partition.device = volume.path;
            partition.label = volume.friendlyName;
            partition.number = volume.partitionNumber;
            partition.deviceNumber = resource.disk->diskNumber;
            partition.totalSize = resource.disk->size;
            partition.freeSize = resource.disk->size / 2;
            ParseGuid(volume.volumeName.substr(10, 38), partition.volumeGuid);
            resource.disk->partitions.push_back(partition);
        }
    }

    void ReadTransitions(const Json& json, Resource& resource, const std::string& where) {
        Fields fields(json, "the transitions of " + where);
        struct Kind {
            const char* key;
            Transition& transition;
            CLUSTER_RESOURCE_STATE target;
        } kinds[] = {{"online", resource.online, ClusterResourceOnline},
                     {"offline", resource.offline, ClusterResourceOffline}};
        for (Kind& kind : kinds) {
            const Json* value = fields.Get(kind.key);
            if (!value) continue;
            Fields transition(*value, std::string("the ") + kind.key + " transition of " + where);
            kind.transition.delayMs = transition.Dword("delayMs", kind.transition.delayMs);
            if (const Json* result = transition.Get("result")) {
                kind.transition.finalState = ReadNamed(*result, kResourceStates, "the result of " + transition.Where());
                kind.transition.scripted = true;
            }
            if (kind.transition.finalState != kind.target && kind.transition.finalState != ClusterResourceFailed)
                Fail("the result of " + transition.Where() + " is neither its target nor failed");
            transition.Done();
        }
        fields.Done();
    }

    void ReadDependencies(const Json& json, Resource& resource) {
        const std::string where = "resource " + Quote(resource.name);
        auto dependencies = json.find("dependencies");
        if (dependencies == json.end() || dependencies->is_null()) return;
        if (!dependencies->is_array()) Fail(where + " has a 'dependencies' that is not a list");
        for (const Json& item : *dependencies) {
            if (!item.is_string()) Fail(where + " has a 'dependencies' item that is not text");
            std::wstring name = Widen(item.get<std::string>());
            Resource* dependency = cluster_.FindResource(name);
            if (!dependency) Fail(where + " depends on unknown resource " + Quote(name));
            if (dependency->group != resource.group) Fail(where + " depends on " + Quote(name) + " of another group");
            if (dependency == &resource || cluster_.DependsOn(*dependency, resource))
                Fail(where + " and " + Quote(name) + " depend on each other");
            resource.dependencies.push_back(dependency->id);
        }
    }

    void CheckQuorum() {
        if (cluster_.quorum.resource.empty()) return;
        Resource* quorum = cluster_.FindResource(cluster_.quorum.resource);
        if (!quorum) Fail("the quorum names unknown resource " + Quote(cluster_.quorum.resource));
        quorum->core = true;
    }

    Cluster cluster_;
};

Json WriteNames(Cluster& cluster, const std::vector<ObjectId>& nodes) {
    Json names = Json::array();
    for (ObjectId id : nodes)
        if (Node* node = cluster.FindNode(id)) names.push_back(Narrow(node->name));
    return names;
}

Json WriteDisk(const Disk& disk) {
    Json json;
    json["signature"] = disk.signature;
    json["scsiAddress"] = disk.scsiAddress;
    json["diskNumber"] = disk.diskNumber;
    json["size"] = disk.size;
    json["partitions"] = Json::array();
    for (const Partition& partition : disk.partitions) {
        Json item;
        item["device"] = Narrow(partition.device);
        item["label"] = Narrow(partition.label);
        item["fileSystem"] = Narrow(partition.fileSystem);
        item["guid"] = Narrow(GuidText(partition.volumeGuid));
        item["number"] = partition.number;
        item["flags"] = partition.flags;
        item["serialNumber"] = partition.serialNumber;
        item["maxComponentLength"] = partition.maximumComponentLength;
        item["fileSystemFlags"] = partition.fileSystemFlags;
        item["deviceNumber"] = partition.deviceNumber;
        item["totalSize"] = partition.totalSize;
        item["freeSize"] = partition.freeSize;
        json["partitions"].push_back(item);
    }
    return json;
}

Json WriteResource(Cluster& cluster, Resource& resource) {
    Json json;
    json["name"] = Narrow(resource.name);
    json["type"] = Narrow(resource.type.Text());
    json["class"] = WriteNamed(resource.resourceClass, kClasses);
    json["subClass"] = resource.subClass;
    json["group"] = Narrow(cluster.FindGroup(resource.group)->name);
    json["state"] = WriteNamed(CurrentState(resource), kResourceStates);
    json["possibleOwners"] = WriteNames(cluster, resource.possibleOwners);
    json["dependencies"] = Json::array();
    for (ObjectId id : resource.dependencies) json["dependencies"].push_back(Narrow(cluster.FindResource(id)->name));
    json["common"] = WriteProperties(resource.common);
    json["private"] = WriteProperties(resource.privateProperties);
    if (resource.networkName) json["networkName"] = Narrow(*resource.networkName);
    json["checkpoints"] = Json::array();
    for (const std::wstring& key : resource.checkpoints) json["checkpoints"].push_back(Narrow(key));
    json["core"] = resource.core;
    if (resource.disk) json["disk"] = WriteDisk(*resource.disk);
    if (!resource.sharedVolumes.empty()) {
        json["sharedVolumes"] = Json::array();
        for (const SharedVolume& volume : resource.sharedVolumes) {
            Json item;
            item["path"] = Narrow(volume.path);
            item["volumeName"] = Narrow(volume.volumeName);
            item["friendlyName"] = Narrow(volume.friendlyName);
            item["partitionNumber"] = volume.partitionNumber;
            item["offset"] = volume.offset;
            item["faultState"] = volume.faultState;
            item["redirected"] = volume.redirected;
            item["backupInProgress"] = volume.backupInProgress;
            json["sharedVolumes"].push_back(item);
        }
    }
    for (const Transition* transition : {&resource.online, &resource.offline}) {
        Json item;
        item["delayMs"] = transition->delayMs;
        if (transition->scripted) item["result"] = WriteNamed(transition->finalState, kResourceStates);
        json["transitions"][transition == &resource.online ? "online" : "offline"] = item;
    }
    return json;
}

}  // namespace

Cluster ReadScenario(const std::string& json) {
    Json root;
    try {
        root = Json::parse(json);
    } catch (const nlohmann::json::exception& error) {
        Fail(std::string("not valid JSON: ") + error.what());
    }
    try {
        return Reader(root).Take();
    } catch (const nlohmann::json::exception& error) {
        Fail(std::string("a value has the wrong type: ") + error.what());
    }
}

std::string WriteScenario(Cluster& cluster) {
    Json root;
    Json& info = root["cluster"];
    info["name"] = Narrow(cluster.name);
    info["installed"] = cluster.installed;
    info["aliases"] = Json::array();
    for (const std::wstring& alias : cluster.aliases) info["aliases"].push_back(Narrow(alias));
    const CLUSTERVERSIONINFO& version = cluster.version;
    info["version"] = {{"major", version.MajorVersion},
                       {"minor", version.MinorVersion},
                       {"build", version.BuildNumber},
                       {"vendor", Narrow(version.szVendorId)},
                       {"csdVersion", Narrow(version.szCSDVersion)},
                       {"highest", version.dwClusterHighestVersion},
                       {"lowest", version.dwClusterLowestVersion},
                       {"flags", version.dwFlags}};
    info["pendingMs"] = cluster.pendingMs;
    info["addressesInUse"] = Json::array();
    for (const std::wstring& address : cluster.addressesInUse) info["addressesInUse"].push_back(Narrow(address));
    if (!cluster.quorum.resource.empty())
        info["quorum"] = {{"resource", Narrow(cluster.quorum.resource)},
                          {"path", Narrow(cluster.quorum.path)},
                          {"maxLogSize", cluster.quorum.maximumLogSize}};
    info["commonProperties"] = WriteProperties(cluster.commonProperties);
    info["readOnlyCommonProperties"] = WriteProperties(cluster.readOnlyCommonProperties);

    root["nodes"] = Json::array();
    for (const Node& node : cluster.nodes)
        root["nodes"].push_back({{"name", Narrow(node.name)},
                                 {"state", WriteNamed(node.state, kNodeStates)},
                                 {"local", node.id == cluster.localNode}});
    root["resourceTypes"] = Json::array();
    for (const ResourceType& type : cluster.types)
        root["resourceTypes"].push_back({{"name", Narrow(type.name)},
                                         {"class", WriteNamed(type.resourceClass, kClasses)},
                                         {"subClass", type.subClass}});
    root["networks"] = Json::array();
    for (const Network& network : cluster.networks)
        root["networks"].push_back({{"name", Narrow(network.name)},
                                    {"role", network.role},
                                    {"address", Narrow(network.address)},
                                    {"mask", Narrow(network.addressMask)},
                                    {"description", Narrow(network.description)}});
    root["groups"] = Json::array();
    for (const Group& group : cluster.groups) {
        Json json = {{"name", Narrow(group.name)},
                     {"owner", Narrow(cluster.FindNode(group.owner)->name)},
                     {"preferredOwners", WriteNames(cluster, group.preferredOwners)}};
        if (group.forcedState) json["state"] = WriteNamed(*group.forcedState, kGroupStates);
        root["groups"].push_back(json);
    }
    root["resources"] = Json::array();
    for (Resource& resource : cluster.resources) root["resources"].push_back(WriteResource(cluster, resource));
    return root.dump(2);
}

PropertyValue ReadPropertyValue(const std::string& json, const std::string& where) {
    try {
        return ReadValue(Json::parse(json), where);
    } catch (const nlohmann::json::exception& error) {
        Fail(where + " is not a valid value: " + error.what());
    }
}

}  // namespace simcluster

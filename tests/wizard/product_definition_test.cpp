// Reading product definition files through the system's XML services, and
// the service resource table built from them.

#include <objbase.h>

#include <cstring>
#include <memory>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/scratch_files.h"
#include "harness/wine_paths.h"
#include "wizard/product_definition.h"

namespace {

using orv::ProductDefinition;

std::wstring Example(const char* name) { return orvtest::ExamplePath(name); }

std::wstring Wide(const nlohmann::json& text) {
    const std::string narrow = text.get<std::string>();
    return std::wstring(narrow.begin(), narrow.end());
}

std::vector<std::wstring> Items(const CLUSTERRESOURCEKEY* key) {
    std::vector<std::wstring> items;
    for (; key; key = key->next) items.push_back(key->key);
    return items;
}

std::vector<const CLUSTERRESOURCEDEPENDENCY*> Dependencies(const CLUSTERRESOURCE& record) {
    std::vector<const CLUSTERRESOURCEDEPENDENCY*> items;
    for (auto* item = record.dependencies; item; item = item->next) items.push_back(item);
    return items;
}

size_t RecordCount(CLUSTERRESOURCE* table) {
    size_t count = 0;
    while (table[count].resourceType[0]) ++count;
    return count;
}

bool IsEndMark(const CLUSTERRESOURCE& record) {
    static const CLUSTERRESOURCE zero = {};
    return std::memcmp(&record, &zero, sizeof(zero)) == 0;
}

class Definition : public ::testing::Test {
protected:
    // Loads a file holding `body` inside a root element.
    ProductDefinition& Load(const std::string& body, bool expectLoaded = true) {
        definition_ = std::make_unique<ProductDefinition>();
        const std::wstring path = folder_.Write(
            L"def.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Root>" + body + "</Root>");
        EXPECT_EQ(expectLoaded, definition_->Load(path));
        return *definition_;
    }

    static std::string Section(const std::string& name, const std::string& keys) {
        return "<Section name=\"" + name + "\">" + keys + "</Section>";
    }
    static std::string Key(const std::string& name, const std::string& value) {
        return "<Key name=\"" + name + "\">" + value + "</Key>";
    }
    static std::string Service(int number, const std::string& name, const std::string& more = "") {
        return Section("ServiceResource" + std::to_string(number), Key("Name", name) + more);
    }

    orvtest::ScratchFolder folder_{L"orv-definition"};
    std::unique_ptr<ProductDefinition> definition_;
};

TEST_F(Definition, ShippedFailoverDefinitionMatchesTheDemoCluster) {
    ProductDefinition definition;
    ASSERT_TRUE(definition.Load(Example("clusconfig.xml")));
    CLUSTERRESOURCE* table = definition.Resources();
    ASSERT_EQ(5u, RecordCount(table));
    EXPECT_TRUE(IsEndMark(table[5]));
    auto tapeDependencies = Dependencies(table[4]);
    ASSERT_EQ(1u, tapeDependencies.size());
    EXPECT_EQ(&table[3], tapeDependencies[0]->resource);
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(i < 4 ? &table[i + 1] : nullptr, table[i].next);

    // Every resource the wizard would create is the demo cluster's, in the
    // product's group, with the same type and service.
    FILE* file = _wfopen(Example("scenarios/two-node-failover.json").c_str(), L"rb");
    ASSERT_TRUE(file);
    const nlohmann::json scenario = nlohmann::json::parse(file);
    fclose(file);
    for (size_t i = 0; i < 5; ++i) {
        const nlohmann::json* found = nullptr;
        for (const auto& resource : scenario["resources"])
            if (Wide(resource["name"]) == table[i].resourceName) found = &resource;
        ASSERT_TRUE(found) << table[i].resourceName;
        EXPECT_EQ(Wide((*found)["type"]), table[i].resourceType);
        EXPECT_EQ(Wide((*found)["group"]), definition.DefGroupName());
        const nlohmann::json& properties = (*found)["private"];
        if (i == 1) {
            EXPECT_EQ(Wide(properties["Name"]), definition.DefServerName());
        } else if (i >= 2) {
            EXPECT_EQ(Wide(properties["ServiceName"]), table[i].serviceName);
        }
    }
}

TEST_F(Definition, ShippedPartnerDefinitionAddsTheNrxResources) {
    ProductDefinition failover, partner;
    ASSERT_TRUE(failover.Load(Example("clusconfig.xml")));
    ASSERT_TRUE(partner.Load(Example("nrxconfig.xml")));
    // Each partner resource depends on the one made before it.
    EXPECT_NE(L"", partner.DiskSetResName());
    EXPECT_EQ(partner.DiskSetResName(), partner.VolLinkResDep());
    EXPECT_EQ(partner.VolLinkResName(), partner.KeyMirrorResDep());
    EXPECT_EQ(partner.KeyMirrorResName(), partner.CusAgentDep());
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_STREQ(failover.Resources()[i].resourceName, partner.Resources()[i].resourceName);
        EXPECT_STREQ(failover.Resources()[i].serviceName, partner.Resources()[i].serviceName);
    }
}

TEST_F(Definition, ValuesAreFoundByTheirNameAttributeWithinTheirSection) {
    ProductDefinition& definition = Load(
        "<Other name=\"NRX\"><X name=\"Company\">Wrong</X></Other>"
        "<Product><Info name=\"INFO\"><Group><Deep><Value "
        "name=\"Company\">Br\xC3\xA4ssel</Value></Deep></Group>"
        "<Value name=\"SYNC\">7</Value><Value name=\"Required\">no</Value></Info></Product>");
    EXPECT_EQ(L"Br\u00e4ssel", definition.Company());
    EXPECT_EQ(7, definition.Sync());
    EXPECT_EQ(0, definition.Required());
    EXPECT_EQ(L"", definition.Product());
    EXPECT_EQ(L"", definition.DiskSetResName());  // the NRX section lacks it
}

TEST_F(Definition, DefaultDirHasOneBackslashOnEachSide) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"\\\\Data\\\\", L"\\Data\\"}, {"Data", L"\\Data\\"},
        {"Orvane\\Data\\", L"\\Orvane\\Data\\"}, {"", L"\\"}, {"\\\\\\", L"\\"}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(expected, Load(Section("INFO", Key("DefaultDir", value))).DefaultDir()) << value;
}

TEST_F(Definition, ServiceCountIsBoundedByTheSectionsPresent) {
    const std::string services = Service(1, "One") + Service(2, "Two");
    // Records: IP address, network name, the services, then the end mark.
    const std::pair<const char*, size_t> rows[] = {{"0", 2}, {"-3", 2}, {"5", 4}, {"2147483647", 4}};
    for (const auto& [count, records] : rows) {
        CLUSTERRESOURCE* table =
            Load(Section("INFO", Key("ServiceResources", count)) + services).Resources();
        EXPECT_EQ(records, RecordCount(table)) << count;
        EXPECT_TRUE(IsEndMark(table[records])) << count;
    }
    // A missing section before the last one present is an empty record.
    CLUSTERRESOURCE* gap = Load(Section("INFO", Key("ServiceResources", "3")) + Service(1, "One") +
                                Service(3, "Three"))
                               .Resources();
    EXPECT_STREQ(L"", gap[3].resourceName);
    EXPECT_STREQ(L"Generic Service", gap[3].resourceType);
    EXPECT_STREQ(L"Three", gap[4].resourceName);

    std::string many;
    for (int i = 1; i <= 300; ++i) many += Service(i, "S" + std::to_string(i));
    CLUSTERRESOURCE* capped =
        Load(Section("INFO", Key("ServiceResources", "300")) + many).Resources();
    EXPECT_EQ(2u + ProductDefinition::kMaxServiceResources, RecordCount(capped));
}

TEST_F(Definition, DependenciesPointIntoTheTable) {
    ProductDefinition& definition =
        Load(Section("INFO", Key("ServiceResources", "3")) +
             Service(1, "One", Key("Dependencies", " ServiceResource2 ,  ServiceResource1 ")) +
             Section("ServiceResource2", Key("Service", "Nameless")) +
             Service(3, "Three",
                     Key("Dependencies",
                         "ServiceResource9, Bogus , ,ServiceResource0,ServiceResource-1")));
    CLUSTERRESOURCE* table = definition.Resources();

    auto first = Dependencies(table[2]);
    ASSERT_EQ(2u, first.size());
    EXPECT_EQ(&table[3], first[0]->resource);
    EXPECT_STREQ(L"DEPENDENCY HAS NO NAME", first[0]->name);
    EXPECT_EQ(&table[2], first[1]->resource);
    EXPECT_STREQ(L"One", first[1]->name);

    // References to no service resource land on the end mark, never outside.
    auto third = Dependencies(table[4]);
    ASSERT_EQ(4u, third.size());
    for (auto* dependency : third) {
        EXPECT_EQ(&table[5], dependency->resource);
        EXPECT_STREQ(L"DEPENDENCY HAS NO NAME", dependency->name);
    }
    EXPECT_TRUE(IsEndMark(table[5]));
}

TEST_F(Definition, KeysAndFlagsOfServiceRecords) {
    const std::string longKey(MAX_PATH, 'K');
    const std::string longName(400, 'N');
    ProductDefinition& definition =
        Load(Section("INFO", Key("ServiceResources", "4")) +
             Service(1, "One",
                     Key("Key", " SOFTWARE\\A ,, SOFTWARE\\B ,  ," + longKey) +
                         Key("UseNetworkName", "0") + Key("UseCustom", "1") + Key("Required", "1") +
                         Key("SyncOverride", "2")) +
             Service(2, "Two", Key("UseNetworkName", "")) + Service(3, "Three") +
             Service(4, longName, Key("UseNetworkName", "yes")));
    CLUSTERRESOURCE* table = definition.Resources();
    EXPECT_EQ((std::vector<std::wstring>{L"SOFTWARE\\A", L"SOFTWARE\\B"}), Items(table[2].keys));
    EXPECT_EQ(0u, table[2].useNetworkName);
    EXPECT_EQ(1, table[2].useCustomKeys);
    EXPECT_EQ(1, table[2].required);
    EXPECT_EQ(2, table[2].syncOverride);
    EXPECT_EQ(nullptr, table[3].keys);
    // Only "0" turns the network name off, a missing value included.
    for (int i : {3, 4, 5}) EXPECT_EQ(1u, table[i].useNetworkName) << i;
    EXPECT_EQ(std::wstring(MAX_PATH - 1, L'N'), table[5].resourceName);
    EXPECT_EQ(0u, table[5].install);
}

TEST_F(Definition, DetectionKeysInFileOrder) {
    using Keys = std::vector<std::wstring>;
    auto keys = [&](const std::string& count, const std::string& more) {
        const ProductDefinition& definition = Load(Section("DETECTIONKEYS", Key("Keys", count) + more));
        return Keys(definition.DetectionKeys().begin(), definition.DetectionKeys().end());
    };
    const std::string two = Key("Key2", "SOFTWARE\\Two") + Key("Key1", "SOFTWARE\\One");
    EXPECT_EQ((Keys{L"SOFTWARE\\One", L"SOFTWARE\\Two"}), keys("2", two));
    EXPECT_EQ(keys("2", two), keys("2147483647", two));  // nothing added after the last key
    EXPECT_EQ((Keys{L"", L"SOFTWARE\\Two"}), keys("2", Key("Key2", "SOFTWARE\\Two")));
    EXPECT_EQ(Keys(), keys("0", two));
    EXPECT_EQ(Keys(), keys("-1", two));
}

TEST_F(Definition, UnreadableFilesLoadNothing) {
    for (const std::string& body :
         {std::string("<Section name=\"INFO\">"), std::string("</Root><Root>")}) {
        ProductDefinition& definition =
            Load(body + Section("INFO", Key("Company", "Brassel")), false);
        EXPECT_EQ(L"", definition.Company());
        EXPECT_TRUE(IsEndMark(definition.Resources()[0]));
    }
    ProductDefinition missing;
    EXPECT_FALSE(missing.Load(folder_.Path() + L"\\missing.xml"));
    EXPECT_FALSE(missing.Load(folder_.Write(L"empty.xml", "")));
}

TEST_F(Definition, LoadsWhateverCOMTheThreadHasAndLeavesItSo) {
    const std::wstring path =
        folder_.Write(L"company.xml", "<R>" + Section("INFO", Key("Company", "Brassel")) + "</R>");
    // No COM, the single-threaded apartment, the multithreaded one.
    for (int mode : {-1, int(COINIT_APARTMENTTHREADED), int(COINIT_MULTITHREADED)}) {
        std::thread([&] {
            if (mode >= 0) {
                ASSERT_EQ(S_OK, CoInitializeEx(nullptr, mode));
            }
            ProductDefinition definition;
            EXPECT_TRUE(definition.Load(path)) << mode;
            EXPECT_EQ(L"Brassel", definition.Company()) << mode;
            if (mode >= 0) CoUninitialize();
            // Nothing of COM is left on the thread.
            EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED)) << mode;
            CoUninitialize();
        }).join();
    }
}

}  // namespace

// Reading the product's cluster definition file through the system's XML
// document object, and building the service resource table from it.

#include "wizard/product_definition.h"

#include <windows.h>
#include <msxml2.h>

#include <algorithm>
#include <cwchar>
#include <new>
#include <initializer_list>
#include <optional>
#include <utility>

#include "support/msxml_guids.h"
#include "orvcluster/unique_handle.h"
#include "support/com_apartment.h"

namespace orv {

namespace {

constexpr wchar_t kNoDependencyName[] = L"DEPENDENCY HAS NO NAME";
constexpr wchar_t kServiceSectionPrefix[] = L"ServiceResource";

// The document object classes, newest first: every machine has at least one.
constexpr const CLSID* kDocumentClasses[] = {&msxml::kDomDocument60, &msxml::kDomDocument40,
                                             &msxml::kDomDocument30, &msxml::kDomDocument26,
                                             &msxml::kDomDocument};

UniqueBstr MakeBstr(const std::wstring& text) {
    UniqueBstr result(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!result) throw std::bad_alloc();
    return result;
}

VARIANT BstrVariant(const UniqueBstr& text) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = text.Get();
    return value;
}

VARIANT BoolVariant(bool flag) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BOOL;
    value.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
    return value;
}

// A copy cut to the fixed field of a record, always terminated.
void CopyField(wchar_t (&field)[MAX_PATH], const std::wstring& text) {
    const size_t length = std::min<size_t>(text.size(), MAX_PATH - 1);
    wmemcpy(field, text.data(), length);
    field[length] = L'\0';
}

std::wstring Trimmed(const std::wstring& text) {
    const size_t first = text.find_first_not_of(L" \t");
    if (first == std::wstring::npos) return std::wstring();
    return text.substr(first, text.find_last_not_of(L" \t") - first + 1);
}

// The items of a comma-separated list, trimmed of blanks, empty ones dropped.
std::vector<std::wstring> ListItems(const std::wstring& list) {
    std::vector<std::wstring> items;
    size_t start = 0;
    while (start <= list.size()) {
        size_t comma = list.find(L',', start);
        if (comma == std::wstring::npos) comma = list.size();
        std::wstring item = Trimmed(list.substr(start, comma - start));
        if (!item.empty()) items.push_back(std::move(item));
        start = comma + 1;
    }
    return items;
}

// Exactly one backslash in front and one behind; nothing but a backslash
// for an empty value.
std::wstring NormalisedDirectory(const std::wstring& value) {
    const size_t first = value.find_first_not_of(L'\\');
    if (first == std::wstring::npos) return L"\\";
    return L"\\" + value.substr(first, value.find_last_not_of(L'\\') - first + 1) + L"\\";
}

}  // namespace

// The loaded file. A section is any element whose "name" attribute has the
// section's name, a key any element below it named the same way; element
// names and nesting do not matter.
class ProductDefinition::Document {
public:
    bool Load(const std::wstring& path) {
        for (const CLSID* documentClass : kDocumentClasses) {
            if (SUCCEEDED(CoCreateInstance(*documentClass, nullptr, CLSCTX_INPROC_SERVER,
                                           msxml::kIXMLDOMDocument2,
                                           reinterpret_cast<void**>(document_.Receive()))))
                break;
        }
        if (!document_) return false;
        document_.Get()->put_async(VARIANT_FALSE);
        document_.Get()->put_validateOnParse(VARIANT_FALSE);
        document_.Get()->put_resolveExternals(VARIANT_FALSE);
        // Older versions know neither property (XPath is their second
        // language, the newest refuses document type definitions anyway): a
        // refusal is no failure.
        SetProperty(L"ProhibitDTD", BoolVariant(true));
        const UniqueBstr xpath = MakeBstr(L"XPath");
        SetProperty(L"SelectionLanguage", BstrVariant(xpath));

        const UniqueBstr source = MakeBstr(path);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        return SUCCEEDED(document_.Get()->load(BstrVariant(source), &loaded)) &&
               loaded == VARIANT_TRUE;
    }

    // Null when the file has no such section.
    UniqueCom<IXMLDOMNode> Section(const std::wstring& name) const {
        return Select(document_.Get(), name);
    }

    // The key's text; nothing when the section or the key is missing.
    std::optional<std::wstring> Value(IXMLDOMNode* section, const std::wstring& key) const {
        if (!section) return std::nullopt;
        const UniqueCom<IXMLDOMNode> node = Select(section, key);
        UniqueBstr text;
        if (!node || FAILED(node.Get()->get_text(text.Receive()))) return std::nullopt;
        return std::wstring(text.Get() ? text.Get() : L"",
                            text.Get() ? SysStringLen(text.Get()) : 0);
    }

    std::wstring Text(IXMLDOMNode* section, const std::wstring& key) const {
        return Value(section, key).value_or(std::wstring());
    }

    int Number(IXMLDOMNode* section, const std::wstring& key) const {
        return _wtoi(Text(section, key).c_str());
    }

    // The texts of several keys of one section, each into its place.
    void ReadTexts(const wchar_t* section,
                   std::initializer_list<std::pair<const wchar_t*, std::wstring*>> keys) const {
        const UniqueCom<IXMLDOMNode> node = Section(section);
        for (const auto& [key, value] : keys) *value = Text(node.Get(), key);
    }

private:
    // The first element below `from` with this name attribute. The names are
    // the reader's own, never from the file, so they need no quoting.
    static UniqueCom<IXMLDOMNode> Select(IXMLDOMNode* from, const std::wstring& name) {
        const UniqueBstr query = MakeBstr(L".//*[@name='" + name + L"']");
        UniqueCom<IXMLDOMNode> node;
        if (FAILED(from->selectSingleNode(query.Get(), node.Receive()))) node.Reset();
        return node;
    }

    void SetProperty(const wchar_t* name, VARIANT value) {
        const UniqueBstr property = MakeBstr(name);
        document_.Get()->setProperty(property.Get(), value);
    }

    UniqueCom<IXMLDOMDocument2> document_;
};

struct ProductDefinition::ServiceSection {
    bool present = false;
    std::wstring name, service, keys, useNetworkName, dependencies;
    int useCustom = 0, required = 0, syncOverride = 0;
};

ProductDefinition::ProductDefinition() : records_(1) {}

bool ProductDefinition::Load(const std::wstring& path) {
    ComApartment apartment;  // outlives the document below
    Document document;
    if (!document.Load(path)) return false;

    const int declared = ReadInfo(document);
    ReadDetectionKeys(document);
    const std::vector<ServiceSection> sections = ReadServiceSections(document, declared);
    document.ReadTexts(
        L"MSI", {{L"ProductID", &msiProductId_}, {L"ClusterDirProperty", &msiClusterDirProperty_}});
    document.ReadTexts(L"NRX", {{L"DiskSetResName", &diskSetResName_},
                                {L"VolLinkResName", &volLinkResName_},
                                {L"VolLinkResDep", &volLinkResDep_},
                                {L"KeyMirrorResName", &keyMirrorResName_},
                                {L"KeyMirrorResDep", &keyMirrorResDep_},
                                {L"CusAgentName", &cusAgentName_},
                                {L"CusAgentType", &cusAgentType_},
                                {L"CusAgentDep", &cusAgentDep_}});
    BuildTable(sections);
    return true;
}

int ProductDefinition::ReadInfo(const Document& document) {
    document.ReadTexts(L"INFO", {{L"Company", &company_},
                                 {L"Product", &product_},
                                 {L"CompleteName", &completeName_},
                                 {L"IPResourceName", &ipResourceName_},
                                 {L"NetworkResourceName", &networkResourceName_},
                                 {L"DefaultDir", &defaultDir_},
                                 {L"DataRegKey", &dataRegKey_},
                                 {L"DefGroupName", &defGroupName_},
                                 {L"DefServerName", &defServerName_},
                                 {L"ULIB", &ulib_}});
    defaultDir_ = NormalisedDirectory(defaultDir_);
    const UniqueCom<IXMLDOMNode> info = document.Section(L"INFO");
    sync_ = document.Number(info.Get(), L"SYNC");
    required_ = document.Number(info.Get(), L"Required");
    return document.Number(info.Get(), L"ServiceResources");
}

void ProductDefinition::ReadDetectionKeys(const Document& document) {
    const UniqueCom<IXMLDOMNode> section = document.Section(L"DETECTIONKEYS");
    const int declared = std::min(document.Number(section.Get(), L"Keys"), kMaxDetectionKeys);
    // Keys missing from the file read as empty ones, except after the last
    // key present: a count far beyond the keys written adds nothing.
    std::vector<std::optional<std::wstring>> keys;
    for (int i = 1; i <= declared; ++i)
        keys.push_back(document.Value(section.Get(), L"Key" + std::to_wstring(i)));
    while (!keys.empty() && !keys.back()) keys.pop_back();
    auto tail = detectionKeys_.before_begin();
    for (const auto& key : keys)
        tail = detectionKeys_.insert_after(tail, key.value_or(std::wstring()));
}

std::vector<ProductDefinition::ServiceSection> ProductDefinition::ReadServiceSections(
    const Document& document, int declared) const {
    // The count is the file's word, but never more than kMaxServiceResources:
    // a damaged count such as 2147483647 must not become a table of that many
    // records. Sections missing after the last one present are left out too;
    // missing ones before it become records without values, as the file says.
    std::vector<ServiceSection> sections;
    for (int i = 1; i <= std::min(declared, kMaxServiceResources); ++i) {
        const UniqueCom<IXMLDOMNode> node =
            document.Section(kServiceSectionPrefix + std::to_wstring(i));
        ServiceSection section;
        section.present = static_cast<bool>(node);
        section.name = document.Text(node.Get(), L"Name");
        section.service = document.Text(node.Get(), L"Service");
        section.useCustom = document.Number(node.Get(), L"UseCustom");
        section.keys = document.Text(node.Get(), L"Key");
        section.useNetworkName = document.Text(node.Get(), L"UseNetworkName");
        section.required = document.Number(node.Get(), L"Required");
        section.syncOverride = document.Number(node.Get(), L"SyncOverride");
        section.dependencies = document.Text(node.Get(), L"Dependencies");
        sections.push_back(std::move(section));
    }
    while (!sections.empty() && !sections.back().present) sections.pop_back();
    return sections;
}

void ProductDefinition::BuildTable(const std::vector<ServiceSection>& sections) {
    // IP address, network name, the service resources, the all-zero end mark.
    records_.assign(sections.size() + 3, CLUSTERRESOURCE{});
    CopyField(records_[0].resourceType, L"IP Address");
    CopyField(records_[0].resourceName, ipResourceName_);
    CopyField(records_[1].resourceType, L"Network Name");
    CopyField(records_[1].resourceName, networkResourceName_);
    for (size_t i = 0; i < sections.size(); ++i) {
        const ServiceSection& section = sections[i];
        CLUSTERRESOURCE& record = records_[i + 2];
        CopyField(record.serviceName, section.service);
        CopyField(record.resourceType, L"Generic Service");
        CopyField(record.resourceName, section.name);
        record.useCustomKeys = section.useCustom;
        // Any value but "0", a missing one included, uses the network name.
        record.useNetworkName = section.useNetworkName != L"0" ? 1 : 0;
        record.required = section.required;
        record.syncOverride = section.syncOverride;
        AddKeys(record, section.keys);
    }
    // Dependencies once every record has its name.
    for (size_t i = 0; i < sections.size(); ++i)
        AddDependencies(records_[i + 2], sections[i].dependencies);
    for (size_t i = 0; i + 2 < records_.size(); ++i) records_[i].next = &records_[i + 1];
}

void ProductDefinition::AddKeys(CLUSTERRESOURCE& record, const std::wstring& list) {
    CLUSTERRESOURCEKEY** tail = &record.keys;
    for (const std::wstring& key : ListItems(list)) {
        // A key cut to the record's field would name another key: left out.
        if (key.size() >= MAX_PATH) continue;
        CLUSTERRESOURCEKEY& node = keyNodes_.emplace_back();
        CopyField(node.key, key);
        node.next = nullptr;
        *tail = &node;
        tail = &node.next;
    }
}

void ProductDefinition::AddDependencies(CLUSTERRESOURCE& record, const std::wstring& list) {
    const size_t services = records_.size() - 3;
    const size_t prefixLength = wcslen(kServiceSectionPrefix);
    CLUSTERRESOURCEDEPENDENCY** tail = &record.dependencies;
    for (const std::wstring& item : ListItems(list)) {
        // "ServiceResource<j>" is record j + 1. Anything else, or a number
        // without a service resource, refers to the end mark: the reference
        // stays inside the table and shows as having no name.
        size_t target = records_.size() - 1;
        if (_wcsnicmp(item.c_str(), kServiceSectionPrefix, prefixLength) == 0) {
            const int number = _wtoi(item.c_str() + prefixLength);
            if (number >= 1 && static_cast<size_t>(number) <= services) target = number + 1;
        }
        CLUSTERRESOURCEDEPENDENCY& node = dependencyNodes_.emplace_back();
        node.resource = &records_[target];
        const wchar_t* name = node.resource->resourceName;
        CopyField(node.name, name[0] ? name : kNoDependencyName);
        node.next = nullptr;
        *tail = &node;
        tail = &node.next;
    }
}

}  // namespace orv

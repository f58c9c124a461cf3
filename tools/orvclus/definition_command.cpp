// "definition": the product definition that the installation wizard reads
// for this computer's cluster, and the resource table built from it.

#include <windows.h>
#include <msxml2.h>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

const wchar_t kDirectoryOption[] = L"--dir";

// The XML reader of version 6.0, then that of 3.0, and the interfaces used
// here, as published (the cross compiler's libraries lack them).
constexpr CLSID kSaxReader60 = {0x88d96a0c, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
constexpr CLSID kSaxReader30 = {0x3124c396, 0xfb13, 0x4836, {0xa6, 0xad, 0x13, 0x17, 0xf1, 0x71, 0x36, 0x88}};
constexpr IID kISAXXMLReader = {0xa4f96ed0, 0xf829, 0x476e, {0x81, 0xc0, 0xcd, 0xc7, 0xbd, 0x2a, 0x08, 0x02}};
constexpr IID kISAXErrorHandler = {0xa60511c4, 0xccf5, 0x479e, {0x98, 0xa3, 0xdc, 0x8d, 0xc5, 0x45, 0xb7, 0xd0}};

// Keeps the reader's first complaint, with where in the file it was.
class FirstComplaint : public ISAXErrorHandler {
public:
    HRESULT WINAPI QueryInterface(REFIID id, void** object) override {
        *object = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, kISAXErrorHandler) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    // Lives on the stack for the length of one parse.
    ULONG WINAPI AddRef() override { return 2; }
    ULONG WINAPI Release() override { return 1; }
    HRESULT WINAPI error(ISAXLocator* locator, const wchar_t* message, HRESULT) override {
        Keep(locator, message);
        return E_FAIL;
    }
    HRESULT WINAPI fatalError(ISAXLocator* locator, const wchar_t* message, HRESULT) override {
        Keep(locator, message);
        return E_FAIL;
    }
    HRESULT WINAPI ignorableWarning(ISAXLocator*, const wchar_t*, HRESULT) override { return S_OK; }

    const std::wstring& Text() const { return text_; }

private:
    void Keep(ISAXLocator* locator, const wchar_t* message) {
        if (!text_.empty()) return;
        text_ = message && *message ? message : L"not well-formed XML";
        text_.erase(text_.find_last_not_of(L" .\r\n") + 1);
        int line = 0, column = 0;
        if (locator && SUCCEEDED(locator->getLineNumber(&line)) && SUCCEEDED(locator->getColumnNumber(&column)) &&
            line > 0)
            text_ = L"line " + std::to_wstring(line) + L", column " + std::to_wstring(column) + L": " + text_;
    }
    std::wstring text_;
};

Value TextOrNone(const wchar_t* text) { return text && *text ? Value::Text(text) : Value::None(); }

// Why the system's XML reader refuses the file: "line 3, column 7: REASON";
// empty when it reads the file.
std::wstring XmlProblemInApartment(const std::wstring& path) {
    orv::UniqueCom<ISAXXMLReader> reader;
    static const CLSID* const kReaders[] = {&kSaxReader60, &kSaxReader30};
    for (const CLSID* readerClass : kReaders)
        if (SUCCEEDED(CoCreateInstance(*readerClass, nullptr, CLSCTX_INPROC_SERVER, kISAXXMLReader,
                                       reinterpret_cast<void**>(reader.Receive()))))
            break;
    if (!reader) return L"the system's XML reader is not available";
    FirstComplaint complaint;
    reader.Get()->putErrorHandler(&complaint);
    const HRESULT parsed = reader.Get()->parseURL(path.c_str());
    reader.Get()->putErrorHandler(nullptr);
    if (SUCCEEDED(parsed)) return std::wstring();
    return complaint.Text().empty() ? L"the system's XML reader cannot read it" : complaint.Text();
}

std::wstring XmlProblem(const std::wstring& path) {
    const HRESULT initialised = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const std::wstring problem = XmlProblemInApartment(path);
    if (SUCCEEDED(initialised)) CoUninitialize();
    return problem;
}

// Whether the loaded definition holds anything the wizard reads.
bool HasAnyKey() {
    for (const wchar_t* text : {Cluster::CWIZ_GetCompany(), Cluster::CWIZ_GetProduct(),
                                Cluster::CWIZ_GetFullProductName(), Cluster::CWIZ_GetDefGroupName(),
                                Cluster::CWIZ_GetDefServerName(), Cluster::CWIZ_GetDataRegKey(),
                                Cluster::CWIZ_GetIPResourceName(), Cluster::CWIZ_GetNetworkResourceName()})
        if (text && *text) return true;
    const CLUSTERRESOURCE* records = Cluster::CWIZ_GetResourceList();
    return records && records->resourceName[0];
}

int RunDefinition(const ParsedArguments& arguments, Format format) {
    // The wizard's definition always belongs to this computer's cluster.
    ClusterTarget target;
    if (!OpenTarget(arguments, L"definition", target)) return kExitFailure;
    const std::wstring fileName = target.cluster->GetClusterType() == Cluster::NRX ? L"nrxconfig.xml" : L"clusconfig.xml";
    const std::wstring* directory = arguments.Value(kDirectoryOption);
    const std::wstring path = OrvFindDefinitionFile(fileName.c_str(), directory ? directory->c_str() : nullptr);
    if (!Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr,
                                directory ? directory->c_str() : nullptr)) {
        if (path.empty()) {
            wchar_t current[MAX_PATH] = {};
            GetCurrentDirectoryW(MAX_PATH, current);
            return Failure(L"cannot find the product definition: no readable " + fileName + L" in " +
                           (directory ? Quoted(*directory) : L"the current folder " + Quoted(current)) +
                           L", the wizard's folder, the installed product's folder or the setup folder");
        }
        const std::wstring problem = XmlProblem(path);
        return Failure(L"cannot read the product definition " + Quoted(path) +
                       (problem.empty() ? L" (run with --trace to see why)" : L": " + problem));
    }
    const std::wstring shownPath = path.empty() ? L"(found by the library)" : path;
    if (!HasAnyKey())
        return Failure(L"the product definition " + Quoted(shownPath) +
                       L" has none of the keys the wizard reads (such as \"Company\" and \"Product\" in the "
                       L"section named \"INFO\")");

    Table table(
        {{L"name", L"Resource"}, {L"type", L"Type"}, {L"service", L"Service"}, {L"dependencies", L"Dependencies"}});
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record && record->resourceName[0];
         ++record) {
        std::vector<std::wstring> dependencies;
        for (const CLUSTERRESOURCEDEPENDENCY* dependency = record->dependencies; dependency;
             dependency = dependency->next)
            dependencies.push_back(dependency->name);
        table.AddRow({Value::Text(record->resourceName), Value::Text(record->resourceType),
                      TextOrNone(record->serviceName), Value::TextList(dependencies)});
    }

    Report report;
    report.SetHeadline(L"The cluster definition of " + std::wstring(Cluster::CWIZ_GetFullProductName()) +
                       L" creates " + Count(table.Rows(), L"resource") + L".");
    report.Add(L"file", L"File", path.empty() ? Value::None() : Value::Text(path), shownPath);
    report.Add(L"product", L"Product", Value::Text(Cluster::CWIZ_GetProduct()));
    report.Add(L"company", L"Company", Value::Text(Cluster::CWIZ_GetCompany()));
    report.Add(L"full_name", L"Full name", Value::Text(Cluster::CWIZ_GetFullProductName()));
    report.Add(L"default_group", L"Default group", Value::Text(Cluster::CWIZ_GetDefGroupName()));
    report.Add(L"default_server_name", L"Default server name", Value::Text(Cluster::CWIZ_GetDefServerName()));
    report.Add(L"default_directory", L"Default directory", Value::Text(Cluster::CWIZ_GetDefaultDir()));
    report.Add(L"data_registry_key", L"Data registry key", Value::Text(Cluster::CWIZ_GetDataRegKey()));
    report.Add(L"ip_address_resource", L"IP address resource", Value::Text(Cluster::CWIZ_GetIPResourceName()));
    report.Add(L"network_name_resource", L"Network name resource",
               Value::Text(Cluster::CWIZ_GetNetworkResourceName()));
    report.AddTable(L"resources", table);
    return PrintReport(report, format);
}

}  // namespace

Command DefinitionCommand() {
    Command command;
    command.name = L"definition";
    command.summary =
        L"Show the product definition that the installation wizard reads for this computer's cluster.";
    command.options = {{kDirectoryOption, L"DIR", L"look for the definition file in DIR before the usual places"}};
    command.run = RunDefinition;
    return command;
}

}  // namespace orvclus

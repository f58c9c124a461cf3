// "definition": the product definition that the installation wizard reads
// for this computer's cluster, and the resource table built from it.

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

const wchar_t kDirectoryOption[] = L"--dir";

Value TextOrNone(const wchar_t* text) { return text && *text ? Value::Text(text) : Value::None(); }

int RunDefinition(const ParsedArguments& arguments, Format format) {
    // The wizard's definition always belongs to this computer's cluster.
    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
    if (cluster->GetClusterType() == Cluster::NotClustered) return Failure(NotClustered(nullptr));
    const std::wstring fileName = cluster->GetClusterType() == Cluster::NRX ? L"nrxconfig.xml" : L"clusconfig.xml";
    const std::wstring* directory = arguments.Value(kDirectoryOption);
    if (!Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr,
                                directory ? directory->c_str() : nullptr))
        return Failure(L"cannot read the product definition: no readable " + fileName + L" in " +
                       (directory ? *directory : std::wstring(L"the current folder")) +
                       L", the wizard's folder, the product's folder or the setup folder");

    Table table(
        {{L"name", L"Resource"}, {L"type", L"Type"}, {L"service", L"Service"}, {L"dependencies", L"Depends on"}});
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
    report.AddJsonOnly(L"file_name", Value::Text(fileName));
    report.Add(L"product", L"Product", Value::Text(Cluster::CWIZ_GetProduct()));
    report.Add(L"company", L"Company", Value::Text(Cluster::CWIZ_GetCompany()));
    report.Add(L"full_name", L"Full name", Value::Text(Cluster::CWIZ_GetFullProductName()));
    report.Add(L"default_group", L"Default group", Value::Text(Cluster::CWIZ_GetDefGroupName()));
    report.Add(L"default_server", L"Default server name", Value::Text(Cluster::CWIZ_GetDefServerName()));
    report.Add(L"default_dir", L"Default directory", Value::Text(Cluster::CWIZ_GetDefaultDir()));
    report.Add(L"data_key", L"Data registry key", Value::Text(Cluster::CWIZ_GetDataRegKey()));
    report.Add(L"ip_resource", L"IP address resource", Value::Text(Cluster::CWIZ_GetIPResourceName()));
    report.Add(L"network_resource", L"Network name resource", Value::Text(Cluster::CWIZ_GetNetworkResourceName()));
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

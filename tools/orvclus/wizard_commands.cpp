// "wizard": the installation wizard's steps, one step per run, so that a
// person can set the product up in this computer's cluster by hand and see
// what each step did.

#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

const wchar_t kDirectoryOption[] = L"--dir";
const wchar_t kGroupOption[] = L"--group";
const wchar_t kServerOption[] = L"--server-name";
const wchar_t kDiskOption[] = L"--disk";
const wchar_t kAddressOption[] = L"--address";
const wchar_t kMaskOption[] = L"--mask";
const wchar_t kNetworkOption[] = L"--network";
const wchar_t kWithoutOption[] = L"--without";

const wchar_t kServiceType[] = L"Generic Service";

// The wizard's node and network tables hold at most this many names, and
// hand them out without a bound: these buffers hold any name a cluster gives.
constexpr int kTableEntries = 512;
constexpr size_t kNameBuffer = 4096;
// Each of the five answers about an existing configuration.
constexpr size_t kAnswerChars = 260;
// The library asks the network only about names at least this long.
constexpr size_t kShortestAskedName = 21;

struct Step;

struct Context {
    Context(const ParsedArguments& given, Format shown, const Step& chosen, std::vector<std::wstring> rest)
        : arguments(given), format(shown), step(chosen), operands(std::move(rest)) {}

    const ParsedArguments& arguments;
    Format format;
    const Step& step;
    std::vector<std::wstring> operands;  // after the step's name
    ClusterTarget target;
    std::wstring definitionPath;
    // The backend's five answers about an existing product configuration.
    wchar_t existing[5][kAnswerChars] = {};
};

struct Step {
    std::wstring name;
    std::wstring operands;  // as the usage shows them: "GROUP NODE"
    size_t operandCount;
    std::vector<std::wstring> options;   // besides --dir
    std::vector<std::wstring> required;  // among them
    std::wstring help;                   // what "help wizard" says of it
    int (*run)(Context&);
};

// ---- Shown facts ----

Value TextOrNone(const std::wstring& text) { return text.empty() ? Value::None() : Value::Text(text); }

// An answer code as a person reads it: the large ones are bit patterns.
std::wstring Code(unsigned result) {
    if (result < 0x80000000u) return std::to_wstring(result);
    wchar_t hex[16];
    swprintf(hex, 16, L"0x%08X", result);
    return hex;
}

void AddResult(Report& report, unsigned result, const std::wstring& meaning) {
    report.Add(L"result", L"Result", Value::Number(result), Code(result) + L" (" + meaning + L")");
}

nlohmann::ordered_json Facts(const Context& context, unsigned result) {
    return {{"step", ToUtf8(context.step.name)}, {"result", result}};
}

std::wstring Joined(const std::vector<std::wstring>& names) { return Value::TextList(names).Plain(); }

Report StepReport(const Context& context, const std::wstring& headline) {
    Report report = ClusterReport(context.target, headline);
    report.AddJsonOnly(L"step", Value::Text(context.step.name));
    return report;
}

// Four decimal numbers from 0 to 255 with dots between them, the only form
// the cluster takes for an address or a mask.
bool IsDottedQuad(const std::wstring& text) {
    IN_ADDR address;
    return InetPtonW(AF_INET, text.c_str(), &address) == 1;
}

// ---- The loaded definition ----

std::wstring FullProductName() {
    const wchar_t* name = Cluster::CWIZ_GetFullProductName();
    return name && *name ? name : L"The product";
}

// The definition's product services, in table order.
std::vector<std::wstring> Services() {
    std::vector<std::wstring> services;
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record && record->resourceName[0]; ++record)
        if (orv::EqualsIgnoreCase(record->resourceType, kServiceType)) services.push_back(record->serviceName);
    return services;
}

// The names of the wizard's node or network table.
std::vector<std::wstring> TableNames(unsigned (*get)(int, wchar_t*)) {
    std::vector<std::wstring> names;
    std::vector<wchar_t> buffer(kNameBuffer);
    for (int index = 0; index < kTableEntries; ++index) {
        buffer[0] = L'\0';
        if (!get(index, buffer.data())) break;
        names.emplace_back(buffer.data());
    }
    return names;
}

bool Contains(const std::vector<std::wstring>& names, const std::wstring& name) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::wstring& each) { return orv::EqualsIgnoreCase(each, name); });
}

int LoadDefinition(Context& context) {
    const std::wstring* directory = context.arguments.Value(kDirectoryOption);
    const wchar_t* folder = directory ? directory->c_str() : nullptr;
    const std::wstring fileName = L"clusconfig.xml";
    context.definitionPath = OrvFindDefinitionFile(fileName.c_str(), folder);
    auto& answers = context.existing;
    if (!Cluster::CWIZ_InitData(answers[0], answers[1], answers[2], answers[3], answers[4], folder)) {
        if (context.definitionPath.empty()) {
            wchar_t current[MAX_PATH] = {};
            GetCurrentDirectoryW(MAX_PATH, current);
            return Failure(L"cannot find the product definition: no readable " + fileName + L" in " +
                           (directory ? Quoted(*directory) : L"the current folder " + Quoted(current)) +
                           L", the wizard's folder, the installed product's folder or the setup folder (name its "
                           L"folder with --dir)");
        }
        return Failure(L"cannot read the product definition " + Quoted(context.definitionPath) +
                       L" (run 'orvclus definition' to see why)");
    }
    const wchar_t* product = Cluster::CWIZ_GetProduct();
    if ((!product || !*product) && Services().empty())
        return Failure(L"the product definition " + Quoted(context.definitionPath) +
                       L" has none of the keys the wizard reads (run 'orvclus definition' to see it)");
    return kExitOk;
}

// Marks the records to install as the wizard does: every record of the
// table (the address and network name records have no service name, so ""
// marks both) except the services that --without leaves out. `leftOut`
// receives those in the definition's spelling, which the marking matches
// letter for letter.
int Select(const Context& context, std::vector<std::wstring>& leftOut) {
    const std::vector<std::wstring> services = Services();
    for (const std::wstring& asked : context.arguments.Values(kWithoutOption)) {
        const auto found = std::find_if(services.begin(), services.end(),
                                        [&](const std::wstring& each) { return orv::EqualsIgnoreCase(each, asked); });
        if (found == services.end())
            return UsageError(L"'" + asked + L"' is no service of the product definition (its services: " +
                              Joined(services) + L")");
        if (std::find(leftOut.begin(), leftOut.end(), *found) == leftOut.end()) leftOut.push_back(*found);
    }
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record && record->resourceName[0]; ++record) {
        const bool chosen = std::find(leftOut.begin(), leftOut.end(), record->serviceName) == leftOut.end();
        Cluster::CWIZ_SetResourceForInstall(record->serviceName, chosen);
    }
    return kExitOk;
}

// ---- Waiting ----

// While the library waits: "orvclus: WHAT..." on standard error. On a
// console a short line under it counts the seconds, from a thread of
// orvclus's own, since the library reports no progress while it waits; a
// short line, so that its carriage return never meets a wrapped line.
class WaitLine {
public:
    explicit WaitLine(const std::wstring& what) {
        Progress(what + L"...");
        DWORD mode = 0;
        if (!GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode)) return;
        stop_.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (stop_) thread_.Reset(CreateThread(nullptr, 0, Count, stop_.Get(), 0, nullptr));
    }
    ~WaitLine() {
        if (!thread_) return;
        SetEvent(stop_.Get());
        WaitForSingleObject(thread_.Get(), INFINITE);
    }
    WaitLine(const WaitLine&) = delete;
    WaitLine& operator=(const WaitLine&) = delete;

private:
    static DWORD WINAPI Count(void* stop) {
        unsigned seconds = 0;
        while (WaitForSingleObject(stop, 1000) == WAIT_TIMEOUT)
            WriteErr(L"\rorvclus: waited " + std::to_wstring(++seconds) + L" s");
        if (seconds > 0) WriteErr(L"\n");
        return 0;
    }

    orv::UniqueKernelHandle stop_;
    orv::UniqueKernelHandle thread_;
};

// ---- The cluster's groups ----

// Whether the failover cluster shows no group of that name; false also where
// it cannot tell.
bool GroupMissing(const ClusterTarget& target, const std::wstring& group) {
    if (!target.failover) return false;
    orv::UniqueClusterGroup handle(
        MSCSClusterGlue::GetInstance()->OpenClusterGroup(target.failover->GetClusterHandle(), group.c_str()));
    return !handle && GetLastError() == ERROR_GROUP_NOT_FOUND;
}

Value Related(const ClusterResource* resource, DWORD kind) {
    std::list<std::wstring> names;
    if (!resource) return Value::None();
    orv::ResourceRelations relations(resource->GetHandle(), kind, /*growNames=*/true);
    if (!relations || !relations.AppendNames(names)) return Value::None();
    return Value::TextList(names);
}

// The resources of the group with their type, state, dependencies and
// possible owners (shown in plain text when `owners` says so). Empty when
// the group cannot be listed or is no failover cluster group.
Table GroupResources(const ClusterTarget& target, const std::wstring& group, bool owners) {
    Table table({{L"name", L"Resource"},
                 {L"type", L"Type"},
                 {L"state", L"State"},
                 {L"state_code", L""},
                 {L"depends_on", L"Depends on"},
                 {L"possible_owners", owners ? L"Possible owners" : L""}});
    if (!target.failover) return table;
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    orv::UniqueClusterGroup handle(glue->OpenClusterGroup(target.failover->GetClusterHandle(), group.c_str()));
    if (!handle) return table;
    std::list<std::wstring> names;
    orv::GroupObjects contents(handle.Get(), CLUSTER_GROUP_ENUM_CONTAINS, /*growNames=*/true);
    if (!contents || !contents.AppendNames(names)) return table;
    for (const std::wstring& name : names) {
        std::unique_ptr<ClusterResource> resource(target.failover->OpenResource(name.c_str()));
        std::wstring type;
        const bool typeKnown = resource && resource->GetTypeName(type);
        const CLUSTER_RESOURCE_STATE state =
            resource ? glue->GetClusterResourceState(resource->GetHandle(), nullptr, nullptr, nullptr, nullptr)
                     : ClusterResourceStateUnknown;
        table.AddRow({Value::Text(name), typeKnown ? Value::Text(type) : Value::None(),
                      Value::Text(ResourceStateName(state)), Value::Number(state),
                      Related(resource.get(), CLUSTER_RESOURCE_ENUM_DEPENDS),
                      Related(resource.get(), CLUSTER_RESOURCE_ENUM_NODES)});
    }
    return table;
}

// ---- Steps ----

int RunInit(Context& context) {
    const std::wstring cluster = L"cluster " + context.target.Name();
    const std::wstring group = context.existing[1];
    Report report = StepReport(
        context, group.empty()
                     ? FullProductName() + L" is not configured in " + cluster + L" yet."
                     : FullProductName() + L" is configured in " + cluster + L": group " + Quoted(group) + L".");
    report.Add(L"definition_file", L"Definition file", TextOrNone(context.definitionPath),
               context.definitionPath.empty() ? L"(found by the library)" : L"");
    report.Add(L"product", L"Product", Value::Text(Cluster::CWIZ_GetProduct()));
    report.Add(L"default_group", L"Default group", TextOrNone(Cluster::CWIZ_GetDefGroupName()));
    report.Add(L"default_server_name", L"Default server name", TextOrNone(Cluster::CWIZ_GetDefServerName()));
    report.Add(L"services", L"Services", Value::TextList(Services()));
    report.AddJsonOnly(L"configured", Value::YesNo(!group.empty()));
    // The order in which the backend answers.
    static const wchar_t* const kKeys[] = {L"existing_network", L"existing_group", L"existing_virtual_server_name",
                                           L"existing_address", L"existing_subnet_mask"};
    static const wchar_t* const kLabels[] = {L"Existing network", L"Existing group", L"Existing virtual server name",
                                             L"Existing address", L"Existing subnet mask"};
    if (group.empty())
        report.Add(L"", L"Existing configuration", Value::Text(L"none: the product is not configured here yet"));
    for (size_t i = 0; i < 5; ++i) {
        if (group.empty()) {
            report.AddJsonOnly(kKeys[i], TextOrNone(context.existing[i]));
        } else {
            report.Add(kKeys[i], kLabels[i], TextOrNone(context.existing[i]));
        }
    }
    report.Add(L"nodes", L"Nodes", Value::TextList(TableNames(Cluster::CWIZ_GetNode)));
    report.Add(L"client_networks", L"Client networks", Value::TextList(TableNames(Cluster::CWIZ_GetNetwork)));
    return PrintReport(report, context.format);
}

// The value of an option, or else the default, with in `shown` what plain
// text says of a default.
std::wstring OptionOr(const Context& context, const wchar_t* option, const std::wstring& fallback,
                      const std::wstring& what, std::wstring& shown) {
    const std::wstring* given = context.arguments.Value(option);
    if (given) return *given;
    if (!fallback.empty()) shown = fallback + L" (" + what + L")";
    return fallback;
}

int RunCreateGroup(Context& context) {
    std::vector<std::wstring> leftOut;
    const int refused = Select(context, leftOut);
    if (refused != kExitOk) return refused;
    std::wstring groupShown, serverShown, networkShown;
    const std::wstring group =
        OptionOr(context, kGroupOption, Cluster::CWIZ_GetDefGroupName(), L"the definition's default", groupShown);
    const std::wstring server =
        OptionOr(context, kServerOption, Cluster::CWIZ_GetDefServerName(), L"the definition's default", serverShown);
    const std::vector<std::wstring> networks = TableNames(Cluster::CWIZ_GetNetwork);
    const std::wstring network = OptionOr(context, kNetworkOption, networks.empty() ? L"" : networks.front(),
                                          L"the cluster's first network for clients", networkShown);
    if (group.empty()) return UsageError(L"the product definition names no default group: name one with --group");
    if (server.empty())
        return UsageError(L"the product definition names no default server name: name one with --server-name");
    if (network.empty())
        return Failure(L"cluster " + context.target.Name() +
                       L" has no network open to clients for the group's address: name one with --network");
    const std::wstring& disk = *context.arguments.Value(kDiskOption);
    const std::wstring& address = *context.arguments.Value(kAddressOption);
    const std::wstring& mask = *context.arguments.Value(kMaskOption);

    // The library makes no resource for a service this computer lacks.
    std::vector<std::wstring> chosen, notInstalled;
    for (const std::wstring& service : Services()) {
        if (std::find(leftOut.begin(), leftOut.end(), service) != leftOut.end()) continue;
        chosen.push_back(service);
        if (!Cluster::IsServicePresent(service.c_str(), nullptr)) notInstalled.push_back(service);
    }
    // What the partner cluster builds the group's storage from; the failover
    // cluster reads none of it.
    std::wstring keys;
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record && record->resourceName[0]; ++record)
        for (const CLUSTERRESOURCEKEY* key = record->keys; key; key = key->next)
            keys += (keys.empty() ? L"" : L",") + std::wstring(key->key);
    CClusterParams params;
    params.SetDiskSetResourceName(Cluster::CWIZ_DiskSetResName());
    params.SetVolLinkResourceName(Cluster::CWIZ_VolLinkResName());
    params.SetKeyMirrorResourceName(Cluster::CWIZ_KeyMirrorName());
    params.SetKeyMirrorKeys(keys.c_str());

    unsigned result = 0;
    {
        WaitLine wait(L"creating group " + Quoted(group) + L" with the product's resources and disk " + disk);
        result = Cluster::CWIZ_CreateClusterGroup(group.c_str(), server.c_str(), disk.c_str(), address.c_str(),
                                                  mask.c_str(), network.c_str(), &params);
    }
    if (result != 1) {
        nlohmann::ordered_json facts = Facts(context, result);
        facts["group"] = ToUtf8(group);
        const bool drive = disk.size() >= 2 && disk[1] == L':';
        const std::wstring why =
            drive && !Cluster::CWIZ_IsSharedDrive(disk.substr(0, 2).c_str())
                ? L"; " + disk.substr(0, 2) + L" is no drive of a cluster disk (see 'orvclus drives')"
                : L"";
        return Failure(L"cannot create group " + Quoted(group) + L" in cluster " + context.target.Name() +
                           L" (result " + Code(result) + L": failed)" + why +
                           L"; what was made before the failure stays (see 'orvclus resources')",
                       facts);
    }

    const Table resources = GroupResources(context.target, group, false);
    Report report = StepReport(context, L"Group " + Quoted(group) + L" of cluster " + context.target.Name() +
                                            L" holds " + Count(resources.Rows(), L"resource") + L".");
    report.Add(L"group", L"Group", Value::Text(group), groupShown);
    report.Add(L"virtual_server_name", L"Virtual server name", Value::Text(server), serverShown);
    report.Add(L"disk", L"Disk", Value::Text(disk));
    report.Add(L"address", L"Address", Value::Text(address));
    report.Add(L"subnet_mask", L"Subnet mask", Value::Text(mask));
    report.Add(L"network", L"Network", Value::Text(network), networkShown);
    report.Add(L"services", L"Services", Value::TextList(chosen));
    report.Add(L"left_out", L"Left out", Value::TextList(leftOut));
    report.Add(
        L"not_installed_here", L"Not installed here", Value::TextList(notInstalled),
        notInstalled.empty() ? L"" : Joined(notInstalled) + L" (no resource: the service is not on this computer)");
    AddResult(report, result, L"done");
    report.AddTable(L"resources", resources);
    return PrintReport(report, context.format);
}

// online, offline and delete-group: one call on one group, which names the
// group where "%s" stands.
struct GroupCall {
    const wchar_t* doing;   // "bringing group %s online"
    const wchar_t* action;  // "bring group %s online"
    const wchar_t* done;    // the headline afterwards
    unsigned (*call)(const wchar_t*);
    unsigned success;
    const wchar_t* doneMeaning;
    const wchar_t* failedMeaning;
    // After a failure, the resources not in this state are named.
    CLUSTER_RESOURCE_STATE wanted;
    const wchar_t* notWanted;  // "not online"
};

std::wstring WithGroup(const wchar_t* text, const std::wstring& group) {
    std::wstring sentence = text;
    sentence.replace(sentence.find(L"%s"), 2, Quoted(group));
    return sentence;
}

// "\"A\" (failed), \"B\" (offline)": the resources of the table not in
// `wanted`. Taking a group offline leaves its disks online on purpose.
std::wstring NotInState(const Table& table, CLUSTER_RESOURCE_STATE wanted) {
    std::wstring text;
    for (const std::vector<Value>& row : table.Cells()) {
        if (row[3].Json() == static_cast<int>(wanted)) continue;
        if (wanted == ClusterResourceOffline && row[1].Plain() == L"Physical Disk") continue;
        text += (text.empty() ? L"" : L", ") + Quoted(row[0].Plain()) + L" (" + row[2].Plain() + L")";
    }
    return text;
}

int RunGroupCall(Context& context, const GroupCall& how) {
    const std::wstring& group = context.operands[0];
    const bool missing = GroupMissing(context.target, group);
    unsigned result = 0;
    {
        WaitLine wait(WithGroup(how.doing, group) + L" (the library checks every 2 s)");
        result = how.call(group.c_str());
    }
    nlohmann::ordered_json facts = Facts(context, result);
    facts["group"] = ToUtf8(group);
    const std::wstring failed =
        L"cannot " + WithGroup(how.action, group) + L" (result " + Code(result) + L": " + how.failedMeaning + L")";
    if (result != how.success && missing)
        return Failure(failed + L": cluster " + context.target.Name() + L" has no group of that name", facts);
    if (result != how.success) {
        const std::wstring left = NotInState(GroupResources(context.target, group, false), how.wanted);
        return Failure(failed + (left.empty() ? L"" : L"; " + std::wstring(how.notWanted) + L": " + left), facts);
    }
    Report report = StepReport(
        context, missing ? L"Cluster " + context.target.Name() + L" has no group " + Quoted(group) + L": nothing to do."
                         : WithGroup(how.done, group));
    report.Add(L"group", L"Group", Value::Text(group));
    AddResult(report, result, how.doneMeaning);
    // A deleted group has none left to show.
    const Table resources = GroupResources(context.target, group, false);
    if (resources.Rows() > 0) report.AddTable(L"resources", resources);
    return PrintReport(report, context.format);
}

int RunOnline(Context& context) {
    return RunGroupCall(context,
                        {L"bringing group %s online", L"bring group %s online", L"Group %s is online.",
                         Cluster::CWIZ_BringOnline, 1, L"online", L"not online", ClusterResourceOnline, L"not online"});
}

int RunOffline(Context& context) {
    return RunGroupCall(context,
                        {L"taking group %s offline", L"take group %s offline",
                         L"Group %s is offline; its disks stay online, so the product's files stay reachable.",
                         Cluster::CWIZ_TakeOffline, 1, L"offline, its disks excepted",
                         L"a resource refused, or the group cannot be opened", ClusterResourceOffline, L"not offline"});
}

int RunDeleteGroup(Context& context) {
    return RunGroupCall(context,
                        {L"deleting group %s and its resources", L"delete group %s",
                         L"Group %s and its resources are deleted.", Cluster::CWIZ_DeleteGroup, 0, L"done", L"failed",
                         ClusterResourceStateUnknown, L"still there"});
}

int RunNodeCall(Context& context, bool add) {
    const std::wstring& group = context.operands[0];
    const std::wstring& node = context.operands[1];
    const unsigned result = add ? Cluster::CWIZ_AddNodeDep(group.c_str(), node.c_str())
                                : Cluster::CWIZ_RemoveNodeDep(group.c_str(), node.c_str());
    nlohmann::ordered_json facts = Facts(context, result);
    facts["group"] = ToUtf8(group);
    facts["node"] = ToUtf8(node);
    if (result != 1) {
        const std::vector<std::wstring> nodes = TableNames(Cluster::CWIZ_GetNode);
        const std::wstring why = GroupMissing(context.target, group)
                                     ? L"cluster " + context.target.Name() + L" has no group " + Quoted(group)
                                 : !Contains(nodes, node) ? node + L" is no node of cluster " + context.target.Name() +
                                                                L" (its nodes: " + Joined(nodes) + L")"
                                 : add ? L"a resource of the group refused it"
                                       : L"a resource of the group refused, for example one online on that node";
        return Failure(L"cannot " + std::wstring(add ? L"add node " : L"remove node ") + node +
                           (add ? L" to" : L" from") + L" the possible owners of group " + Quoted(group) +
                           L" (result " + Code(result) + L": failed): " + why,
                       facts);
    }
    Report report =
        StepReport(context, add ? L"Node " + node + L" may run the resources of group " + Quoted(group) + L"."
                                : L"Node " + node + L" no longer runs the resources of group " + Quoted(group) + L".");
    report.Add(L"group", L"Group", Value::Text(group));
    report.Add(L"node", L"Node", Value::Text(node));
    AddResult(report, result, L"done");
    report.AddTable(L"resources", GroupResources(context.target, group, true));
    return PrintReport(report, context.format);
}

int RunAddNode(Context& context) { return RunNodeCall(context, true); }
int RunRemoveNode(Context& context) { return RunNodeCall(context, false); }

int RunSyncServices(Context& context) {
    std::vector<std::wstring> leftOut;
    const int refused = Select(context, leftOut);
    if (refused != kExitOk) return refused;
    // The library looks a service's resource up by the service's own name,
    // not by the resource name of its record.
    std::vector<std::wstring> before, removed, stays;
    for (const std::wstring& service : leftOut)
        if (Cluster::CWIZ_ResourceExists(service.c_str())) before.push_back(service);
    unsigned result = 0;
    if (leftOut.empty()) {
        result = Cluster::CWIZ_SyncUpServices();
    } else {
        WaitLine wait(L"removing the resources of " + Joined(leftOut) + L" (the library checks every 2 s)");
        result = Cluster::CWIZ_SyncUpServices();
    }
    for (const std::wstring& name : before)
        if (!Cluster::CWIZ_ResourceExists(name.c_str())) removed.push_back(name);
    for (const CLUSTERRESOURCE* record = Cluster::CWIZ_GetResourceList(); record && record->resourceName[0]; ++record)
        if (!record->install && orv::EqualsIgnoreCase(record->resourceType, kServiceType) &&
            Cluster::CWIZ_ResourceExists(record->resourceName))
            stays.push_back(record->resourceName);

    nlohmann::ordered_json facts = Facts(context, result);
    facts["removed"] = Value::TextList(removed).Json();
    if (result != 0) {
        const std::wstring meaning = result == 0xFFFFFFFDu   ? L"a resource refused to go offline"
                                     : result == 0xFFFFFFFFu ? L"a resource could not be deleted"
                                                             : L"an answer the library does not give";
        return Failure(L"cannot remove the resources of the services left out (result " + Code(result) + L": " +
                           meaning + L"); removed: " + Joined(removed),
                       facts);
    }
    const std::wstring cluster = context.target.Name();
    Report report = StepReport(
        context, leftOut.empty()    ? L"Every service of the definition stays chosen: no resource was removed."
                 : !removed.empty() ? L"Cluster " + cluster + L" no longer holds the resources of " + Joined(removed) +
                                          L"."
                                    : L"No resource was removed: cluster " + cluster +
                                          L" has no resource named after a service left out.");
    report.Add(L"left_out", L"Left out", Value::TextList(leftOut));
    report.Add(L"removed", L"Removed", Value::TextList(removed));
    report.Add(L"still_there", L"Still there", Value::TextList(stays),
               stays.empty() ? L""
                             : Joined(stays) + L" (the library removes only a resource that carries its service's "
                                               L"own name)");
    AddResult(report, result, L"done");
    return PrintReport(report, context.format);
}

// A service's state as its service manager shows it now.
std::wstring ServiceState(SC_HANDLE manager, const std::wstring& service) {
    orv::UniqueServiceHandle handle(OpenServiceW(manager, service.c_str(), SERVICE_QUERY_STATUS));
    if (!handle) return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? L"not installed" : L"unknown";
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(handle.Get(), &status)) return L"unknown";
    switch (status.dwCurrentState) {
        case SERVICE_STOPPED: return L"stopped";
        case SERVICE_START_PENDING: return L"starting";
        case SERVICE_STOP_PENDING: return L"stopping";
        case SERVICE_RUNNING: return L"running";
        case SERVICE_CONTINUE_PENDING: return L"continuing";
        case SERVICE_PAUSE_PENDING: return L"pausing";
        case SERVICE_PAUSED: return L"paused";
    }
    return L"unknown";
}

int RunServices(Context& context, bool start) {
    const std::wstring* machine = context.arguments.Value(kMachineOption);
    const std::wstring where = machine ? *machine : L"this computer";
    const std::vector<std::wstring> services = Services();
    unsigned result = 0;
    {
        WaitLine wait(std::wstring(start ? L"starting" : L"stopping") + L" the product's services on " + where +
                      L", last first" + (start ? L" (up to 35 s each)" : L" (as long as each is stopping)"));
        result = start ? Cluster::CWIZ_StartServices(machine ? machine->c_str() : nullptr)
                       : Cluster::CWIZ_StopServices(machine ? machine->c_str() : nullptr);
    }
    orv::UniqueServiceHandle manager(OpenSCManagerW(machine ? machine->c_str() : nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
        return Failure(L"cannot ask the service manager of " + where + L" how the product's services are (error " +
                           std::to_wstring(GetLastError()) + L"; the library answered " + Code(result) + L")",
                       Facts(context, result));
    Table table({{L"service", L"Service"}, {L"state", L"State"}});
    const std::wstring wanted = start ? L"running" : L"stopped";
    std::vector<std::wstring> installed, other;
    for (const std::wstring& service : services) {
        const std::wstring state = ServiceState(manager.Get(), service);
        table.AddRow({Value::Text(service), Value::Text(state)});
        if (state != L"not installed") installed.push_back(service);
        if (state != L"not installed" && state != wanted) other.push_back(service + L" is " + state);
    }
    nlohmann::ordered_json facts = Facts(context, result);
    facts["machine"] = machine ? nlohmann::ordered_json(ToUtf8(*machine)) : nlohmann::ordered_json();
    facts["services"] = table.AsJson().Json();
    if (installed.empty())
        return Failure(L"none of the product's services (" + Joined(services) + L") is installed on " + where +
                           L" (result " + Code(result) + L")",
                       facts);
    if (result != 0 || !other.empty())
        return Failure(L"not every service of the product " + (start ? std::wstring(L"started") : L"stopped") +
                           L" on " + where + L" (result " + Code(result) +
                           (result == 1006 ? L": a service failed to stop"
                            : result       ? L""
                                           : L": done") +
                           L"): " + Joined(other),
                       facts);
    Report report = StepReport(
        context, installed.size() == services.size()
                     ? L"The product's " + Count(services.size(), L"service") + L" on " + where + L" are " + wanted + L"."
                     : L"The product's services installed on " + where + L" (" + std::to_wstring(installed.size()) +
                           L" of " + std::to_wstring(services.size()) + L") are " + wanted + L".");
    report.Add(L"machine", L"Machine", machine ? Value::Text(*machine) : Value::None(), where);
    AddResult(report, result, L"done");
    report.AddTable(L"services", table);
    return PrintReport(report, context.format);
}

int RunStartServices(Context& context) { return RunServices(context, true); }
int RunStopServices(Context& context) { return RunServices(context, false); }

int RunIsUnique(Context& context) {
    const std::wstring& name = context.operands[0];
    const unsigned result = Cluster::CWIZ_IsUnique(name.c_str());
    const bool asked = name.size() >= kShortestAskedName;
    Report report =
        StepReport(context, result == 1 ? L"Nothing on the network answers to " + name + L": the name is free."
                            : asked     ? name +
                                          L" is not free: something on the network answers to it, or the network "
                                          L"cannot be asked."
                                    : L"The library does not ask the network about " + name +
                                          L": it answers 0 (not free) for every name shorter than " +
                                          std::to_wstring(kShortestAskedName) + L" characters.");
    report.Add(L"name", L"Name", Value::Text(name));
    report.Add(L"unique", L"Free", Value::YesNo(result == 1));
    report.AddJsonOnly(L"network_asked", Value::YesNo(asked));
    AddResult(report, result, result == 1 ? L"free" : L"not free");
    return PrintReport(report, context.format);
}

int RunIsSharedDrive(Context& context) {
    const std::wstring& drive = context.operands[0];
    const unsigned result = Cluster::CWIZ_IsSharedDrive(drive.c_str());
    Report report = StepReport(context, drive + (result ? L" is a" : L" is no") + L" drive of a disk of cluster " +
                                            context.target.Name() + L".");
    report.Add(L"drive", L"Drive", Value::Text(drive));
    report.Add(L"shared", L"Shared", Value::YesNo(result == 1));
    AddResult(report, result, result ? L"a cluster disk's drive" : L"not a cluster disk's drive");
    return PrintReport(report, context.format);
}

int RunContainsProduct(Context& context) {
    const std::wstring& node = context.operands[0];
    const int result = Cluster::CWIZ_DoesNodeContainProduct(node.c_str());
    Report report = StepReport(
        context, result ? node +
                              L" has the registry keys that the definition names for an installed product, or "
                              L"its registry cannot be checked."
                        : node + L" lacks a registry key that the definition names for an installed product.");
    report.Add(L"node", L"Node", Value::Text(node));
    report.Add(L"contains_product", L"Contains the product", Value::YesNo(result != 0));
    AddResult(report, static_cast<unsigned>(result), result ? L"installed, or cannot be checked" : L"not installed");
    return PrintReport(report, context.format);
}

const std::vector<OptionSpec>& WizardOptions() {
    static const std::vector<OptionSpec> options = {
        {kDirectoryOption, L"DIR", L"look for the product definition in DIR before the usual places"},
        {kGroupOption, L"NAME", L"create-group: the group (default: the definition's default group)"},
        {kServerOption, L"NAME", L"create-group: the virtual server name (default: the definition's default)"},
        {kDiskOption, L"DISK", L"create-group: the group's disk, a drive (\"E:\") or a disk resource's name"},
        {kAddressOption, L"ADDRESS", L"create-group: the group's IPv4 address"},
        {kMaskOption, L"MASK", L"create-group: the subnet mask of that address"},
        {kNetworkOption, L"NAME",
         L"create-group: the cluster network of that address (default: its first network for clients)"},
        {kWithoutOption, L"SERVICE",
         L"create-group, sync-services: leave the product's service SERVICE out (repeatable)", true},
        {kMachineOption, L"NAME", L"start-services, stop-services: the computer (default: this computer)"},
    };
    return options;
}

const std::vector<Step>& Steps() {
    static const std::vector<Step> steps = {
        {L"init",
         L"",
         0,
         {},
         {},
         L"Load the definition and show what the wizard learns first: the product and its default group\n"
         L"and server name, the product's configuration that the cluster already holds (its network, group,\n"
         L"virtual server name, address and subnet mask; none before the product is installed), the cluster's\n"
         L"nodes and its networks open to clients.",
         RunInit},
        {L"create-group",
         L"",
         0,
         {kGroupOption, kServerOption, kDiskOption, kAddressOption, kMaskOption, kNetworkOption, kWithoutOption},
         {kDiskOption, kAddressOption, kMaskOption},
         L"Create the product's group (or reuse it) with an IP address resource, a network name resource\n"
         L"and one resource for each chosen service installed on this computer, each depending on the ones\n"
         L"the definition names and on the disk, which moves into the group. Every service of the\n"
         L"definition is chosen unless --without leaves it out. Shows the group's resources afterwards.\n"
         L"The library answers 1 done, 0 failed (what was made before the failure stays).",
         RunCreateGroup},
        {L"online", L"GROUP", 1, {}, {}, L"Bring the group online and wait for it: 1 online, 0 not.", RunOnline},
        {L"offline",
         L"GROUP",
         1,
         {},
         {},
         L"Take the group's resources offline, except its disks, and wait for them: 1 done, 0 a resource\n"
         L"refused or the group cannot be opened.",
         RunOffline},
        {L"delete-group",
         L"GROUP",
         1,
         {},
         {},
         L"Take the group's resources offline, delete them and the group: 0 done, 1603 failed.",
         RunDeleteGroup},
        {L"add-node",
         L"GROUP NODE",
         2,
         {},
         {},
         L"Let NODE run every resource of the group (make it a possible owner): 1 done, 0 failed.",
         RunAddNode},
        {L"remove-node",
         L"GROUP NODE",
         2,
         {},
         {},
         L"Keep NODE from running the group's resources: 1 done, 0xFFFFFFFF failed (for example for a\n"
         L"resource online on NODE).",
         RunRemoveNode},
        {L"sync-services",
         L"",
         0,
         {kWithoutOption},
         {},
         L"Remove the resources of the services that --without leaves out; without it nothing is removed.\n"
         L"The library finds a service's resource by the service's own name (a resource named otherwise\n"
         L"stays): 0 done, 0xFFFFFFFF a deletion failed, 0xFFFFFFFD a resource refused to go offline.",
         RunSyncServices},
        {L"start-services",
         L"",
         0,
         {kMachineOption},
         {},
         L"Start the product's services, last first, waiting up to 30 s for each and 5 s after it. The\n"
         L"library always answers 0; the services' states afterwards tell.",
         RunStartServices},
        {L"stop-services",
         L"",
         0,
         {kMachineOption},
         {},
         L"Stop the product's services, last first, waiting as long as each is stopping: 0 done, 1006 a\n"
         L"service failed to stop.",
         RunStopServices},
        {L"is-unique",
         L"NAME",
         1,
         {},
         {},
         L"Whether nothing on the network answers to NAME: 1 free, 0 not. Names shorter than 21\n"
         L"characters are answered 0 without asking.",
         RunIsUnique},
        {L"is-shared-drive",
         L"DRIVE",
         1,
         {},
         {},
         L"Whether DRIVE (\"E:\") lies on a disk of the cluster: 1 yes, 0 no.",
         RunIsSharedDrive},
        {L"contains-product",
         L"NODE",
         1,
         {},
         {},
         L"Whether NODE has the registry keys that mark an installed product: 1 yes (or its registry\n"
         L"cannot be checked), 0 one is missing.",
         RunContainsProduct},
    };
    return steps;
}

const Step* FindStep(const std::wstring& name) {
    for (const Step& step : Steps())
        if (orv::EqualsIgnoreCase(step.name, name)) return &step;
    return nullptr;
}

std::wstring StepNames() {
    std::vector<std::wstring> names;
    for (const Step& step : Steps()) names.push_back(step.name);
    return Joined(names);
}

int RunWizard(const ParsedArguments& arguments, Format format) {
    const std::vector<std::wstring>& operands = arguments.Operands();
    if (operands.empty()) return UsageError(L"'wizard' needs a step: " + StepNames());
    const Step* step = FindStep(operands[0]);
    if (!step)
        return UsageError(L"unknown wizard step '" + operands[0] + L"' (run 'orvclus help wizard' for the steps)");
    const std::wstring command = L"'wizard " + step->name + L"'";
    if (operands.size() - 1 < step->operandCount) return UsageError(command + L" needs " + step->operands);
    if (operands.size() - 1 > step->operandCount)
        return UsageError(L"unexpected argument '" + operands[step->operandCount + 1] + L"' for " + command);
    for (const OptionSpec& option : WizardOptions())
        if (option.name != kDirectoryOption && arguments.Has(option.name) &&
            std::find(step->options.begin(), step->options.end(), option.name) == step->options.end())
            return UsageError(command + L" has no option '" + option.name + L"'");
    for (const std::wstring& option : step->required)
        if (!arguments.Has(option)) return UsageError(command + L" needs the option " + option);
    for (const wchar_t* option : {kAddressOption, kMaskOption}) {
        const std::wstring* value = arguments.Value(option);
        if (value && !IsDottedQuad(*value))
            return UsageError(L"'" + *value + L"' is no " +
                              (option == kAddressOption ? L"IPv4 address such as 10.20.40.50"
                                                        : L"subnet mask such as 255.255.255.0"));
    }

    Context context(arguments, format, *step, std::vector<std::wstring>(operands.begin() + 1, operands.end()));
    // The wizard's calls always work on this computer's cluster.
    if (!OpenTarget(ParsedArguments(), L"wizard", context.target)) return kExitFailure;
    const int loaded = LoadDefinition(context);
    return loaded == kExitOk ? step->run(context) : loaded;
}

std::wstring Details() {
    std::wstring text =
        L"Each step makes the call that the product's installation wizard makes for it, on this computer's\n"
        L"failover cluster; one step per run. Every step first loads the product definition (clusconfig.xml)\n"
        L"from --dir DIR, else from the current folder, the wizard's folder, the installed product's folder or\n"
        L"the setup folder. \"Result\" is the library's answer, its meaning in brackets.\n\nSteps:\n";
    for (const Step& step : Steps()) {
        std::wstring usage = step.name + (step.operands.empty() ? L"" : L" " + step.operands);
        for (const OptionSpec& option : WizardOptions()) {
            if (std::find(step.options.begin(), step.options.end(), option.name) == step.options.end()) continue;
            const std::wstring shown = option.name + L" " + option.value + (option.repeatable ? L" ..." : L"");
            const bool required =
                std::find(step.required.begin(), step.required.end(), option.name) != step.required.end();
            usage += required ? L" " + shown : L" [" + shown + L"]";
        }
        std::wstring help = step.help;
        for (size_t at = help.find(L'\n'); at != std::wstring::npos; at = help.find(L'\n', at + 1))
            help.insert(at + 1, L"      ");
        text += L"  " + usage + L"\n      " + help + L"\n";
    }
    return text +
           L"\nThe installation wizard runs them in this order:\n"
           L"  1. init, then it chooses the services to install (here: all but those --without names);\n"
           L"  2. create-group, then it shares the product's folder;\n"
           L"  3. online; add-node for each node that gets the product later;\n"
           L"  4. when the chosen services change, sync-services; to remove the product, offline, then\n"
           L"     delete-group.\n"
           L"On the way it checks names (is-unique), drives (is-shared-drive) and nodes (contains-product),\n"
           L"and starts and stops the product's services (start-services, stop-services).\n"
           L"Steps that wait show what for on standard error, on a console with the seconds waited.";
}

}  // namespace

Command WizardCommand() {
    Command command;
    command.name = L"wizard";
    command.operands = L"STEP [OPERANDS]";
    command.maxOperands = 3;
    command.summary = L"Run one step of the installation wizard on this computer's cluster.";
    command.details = Details();
    command.options = WizardOptions();
    command.needs = Needs::FailoverCluster;
    command.run = RunWizard;
    return command;
}

}  // namespace orvclus

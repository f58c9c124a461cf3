// "sql", "exchange", "online" and "offline": the clustered applications the
// library knows, and their resources brought online or taken offline.

#include <cwctype>
#include <memory>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

const wchar_t kTimeoutOption[] = L"--timeout";
constexpr unsigned long kDefaultTimeoutMs = 60000;
constexpr unsigned long kLongestTimeoutMs = 86400000;  // a day

// The one resource type the SQL Server detector looks at, and the type that
// later SQL Server versions give their resources.
const wchar_t kSqlDetectorType[] = L"SQL Server 7.0";
const wchar_t kSqlType[] = L"SQL Server";
// The Exchange detector's two tries: the resource of this service, else
// resources of this type.
const wchar_t kExchangeService[] = L"MSExchangeSA";
const wchar_t kExchangeStoreType[] = L"Microsoft Exchange Information Store";

const wchar_t* AppStateName(Cluster::appState state) {
    switch (state) {
        case Cluster::AppClustered: return L"clustered here";
        case Cluster::AppOtherServer: return L"clustered for another server";
        case Cluster::AppNotClustered: return L"not clustered";
        case Cluster::AppNotApplicable: return L"not applicable";
    }
    return L"unknown";
}

// The virtual servers an application serves, as a sentence names them.
std::wstring Served(const std::vector<std::wstring>& names) {
    std::wstring text;
    for (const std::wstring& name : names) text += (text.empty() ? L"" : L", ") + name;
    return text.empty() ? L"no readable network name" : text;
}

// The network names that the resources of `type` serve, and in `count` how
// many such resources there are; false when they cannot be listed.
bool NetworkNamesOfType(MSCSCluster& cluster, const wchar_t* type, std::vector<std::wstring>& names,
                        size_t& count) {
    std::list<std::wstring> resources;
    if (!cluster.GetResources(resources, type)) return false;
    count = resources.size();
    for (const std::wstring& name : resources) {
        std::unique_ptr<ClusterResource> resource(cluster.OpenResource(name.c_str()));
        std::wstring networkName;
        if (resource && resource->GetNetworkName(networkName) && !networkName.empty()) names.push_back(networkName);
    }
    return true;
}

// What a detector answered about `server`, as one report.
struct Detection {
    std::wstring application;  // "SQL Server"
    std::wstring server;
    bool serverGiven = false;
    Cluster::appState state = Cluster::AppNotApplicable;
    bool isNode = false;
    std::vector<std::wstring> virtualServers;  // what the detector compared the server with
    std::wstring why;                          // when the answer needs it
};

int PrintDetection(const ClusterTarget& target, const Detection& found, Format format) {
    const std::wstring& app = found.application;
    const std::wstring cluster = L"cluster " + target.Name();
    std::wstring headline;
    switch (found.state) {
        case Cluster::AppClustered:
            headline = found.server + L" is the virtual server of a clustered " + app + L" on " + cluster + L".";
            break;
        case Cluster::AppOtherServer:
            headline = app + L" is clustered on " + cluster + L", but not for " + found.server + L".";
            break;
        case Cluster::AppNotClustered: headline = app + L" is not clustered on " + cluster + L"."; break;
        default: headline = L"Cluster " + target.Name() + L" cannot tell whether " + app + L" is clustered."; break;
    }
    Report report = ClusterReport(target, headline);
    report.Add(L"application", L"Application", Value::Text(app));
    report.Add(L"server", L"Server asked", Value::Text(found.server),
               found.serverGiven ? std::wstring() : found.server + L" (this computer)");
    report.AddJsonOnly(L"server_given", Value::YesNo(found.serverGiven));
    report.Add(L"state", L"State", Value::Text(AppStateName(found.state)),
               std::wstring(AppStateName(found.state)) + L" (" + std::to_wstring(found.state) + L")");
    report.AddJsonOnly(L"state_code", Value::Number(found.state));
    report.Add(L"server_is_node", L"Server is a node of the cluster", Value::YesNo(found.isNode));
    if (found.virtualServers.empty()) {
        report.AddJsonOnly(L"virtual_servers", Value::List({}));
    } else {
        report.Add(L"virtual_servers", app + L"'s virtual servers", Value::TextList(found.virtualServers));
    }
    if (found.why.empty()) {
        report.AddJsonOnly(L"why", Value::None());
    } else {
        report.Add(L"why", L"Why", Value::Text(found.why));
    }
    return PrintReport(report, format);
}

// The detection asked for by the command line: SERVER, or this computer.
Detection AskedFor(const ParsedArguments& arguments, const wchar_t* application) {
    Detection found;
    found.application = application;
    found.serverGiven = !arguments.Operands().empty();
    found.server = found.serverGiven ? arguments.Operands().front() : OrvGetComputerName();
    return found;
}

int RunSql(const ParsedArguments& arguments, Format format) {
    Detection found = AskedFor(arguments, L"SQL Server");
    ClusterTarget target;
    if (!OpenTarget(arguments, L"sql", target)) return kExitFailure;
    found.state = target.failover->IsServerRunningSQL(found.server.c_str(), &found.isNode);

    size_t count = 0;
    const bool listed = NetworkNamesOfType(*target.failover, kSqlDetectorType, found.virtualServers, count);
    if (found.state == Cluster::AppOtherServer) {
        found.why = L"the cluster's SQL Server serves " + Served(found.virtualServers) + L", not " + found.server;
    } else if (found.state == Cluster::AppNotClustered) {
        found.why = listed ? L"the detector only looks at resources of type \"" + std::wstring(kSqlDetectorType) +
                                 L"\", and the cluster has none"
                           : L"the cluster's resources cannot be listed";
        std::list<std::wstring> later;
        if (listed && target.failover->GetResources(later, kSqlType) && !later.empty())
            found.why += L"; its " + Count(later.size(), L"resource") + L" of type \"" + kSqlType +
                         L"\" (the type of later SQL Server versions) " + (later.size() == 1 ? L"is" : L"are") +
                         L" not counted";
    }
    return PrintDetection(target, found, format);
}

int RunExchange(const ParsedArguments& arguments, Format format) {
    Detection found = AskedFor(arguments, L"Exchange");
    ClusterTarget target;
    if (!OpenTarget(arguments, L"exchange", target)) return kExitFailure;
    // Without a server the library asks about this computer itself.
    found.state = target.failover->IsServerRunningExchange(
        found.serverGiven ? found.server.c_str() : nullptr, &found.isNode);

    // What the detector compared the server with: the network name of the
    // resource of Exchange's service, else those of its information stores.
    std::unique_ptr<ClusterServiceResource> service(target.failover->OpenGenericServiceResource(kExchangeService));
    size_t stores = 0;
    std::wstring networkName;
    if (service && service->GetNetworkName(networkName) && !networkName.empty())
        found.virtualServers.push_back(networkName);
    const bool listed =
        service || NetworkNamesOfType(*target.failover, kExchangeStoreType, found.virtualServers, stores);
    if (found.state == Cluster::AppOtherServer && !service && stores == 0) {
        found.why = L"the cluster has no Exchange resource (no resource of service \"" +
                    std::wstring(kExchangeService) + L"\", none of type \"" + kExchangeStoreType +
                    L"\"); the detector then answers \"" + AppStateName(Cluster::AppOtherServer) + L"\" all the same";
    } else if (found.state == Cluster::AppOtherServer) {
        found.why = L"the cluster's Exchange serves " + Served(found.virtualServers) + L", not " + found.server;
    } else if (found.state == Cluster::AppNotClustered && !listed) {
        found.why = L"the cluster's resources of type \"" + std::wstring(kExchangeStoreType) + L"\" cannot be listed";
    }
    return PrintDetection(target, found, format);
}

// ---- online and offline ----

enum class Kind { Sql, Service, Exchange };

struct KindNames {
    Kind kind;
    const wchar_t* word;         // as typed, and as scripts get it
    const wchar_t* explanation;  // what NAME is
};

const KindNames kKinds[] = {
    {Kind::Sql, L"sql", L"a SQL Server or SQL Server Agent resource, by its own name"},
    {Kind::Service, L"service", L"the generic service resource of a Windows service, by the service's name"},
    {Kind::Exchange, L"exchange", L"the generic service resource of an Exchange service, by the service's name"},
};

// "N s" for whole seconds, else "N ms".
std::wstring Duration(unsigned long milliseconds) {
    return milliseconds % 1000 == 0 ? std::to_wstring(milliseconds / 1000) + L" s"
                                    : std::to_wstring(milliseconds) + L" ms";
}

// The --timeout value, or the default; false (with `error`) when it is no
// whole number of milliseconds from 1 to a day.
bool ParseTimeout(const ParsedArguments& arguments, unsigned long& timeout, std::wstring& error) {
    timeout = kDefaultTimeoutMs;
    const std::wstring* text = arguments.Value(kTimeoutOption);
    if (!text) return true;
    unsigned long long value = 0;
    bool digits = !text->empty() && text->size() <= 9;
    for (wchar_t c : *text) {
        digits = digits && c >= L'0' && c <= L'9';
        if (digits) value = value * 10 + static_cast<unsigned>(c - L'0');
    }
    if (!digits || value == 0 || value > kLongestTimeoutMs) {
        error = L"option '--timeout' takes milliseconds from 1 to " + std::to_wstring(kLongestTimeoutMs) +
                L" (a day), not '" + *text + L"'";
        return false;
    }
    timeout = static_cast<unsigned long>(value);
    return true;
}

// The resource that `kind` and `name` find, as the library finds it; null
// when there is none.
ClusterResource* FindResource(MSCSCluster& cluster, Kind kind, const std::wstring& name) {
    if (kind == Kind::Sql) return cluster.OpenSqlResource(name.c_str());
    return cluster.OpenGenericServiceResource(name.c_str());
}

// The resource's state now, as "; it is now failed", or nothing when unknown.
std::wstring StateNow(ClusterResource& resource) {
    const CLUSTER_RESOURCE_STATE state = MSCSClusterGlue::GetInstance()->GetClusterResourceState(
        resource.GetHandle(), nullptr, nullptr, nullptr, nullptr);
    return state == ClusterResourceStateUnknown ? std::wstring()
                                                : std::wstring(L"; it is now ") + ResourceStateName(state);
}

int RunStateChange(const ParsedArguments& arguments, Format format, bool online) {
    const std::wstring command = online ? L"online" : L"offline";
    const std::wstring kinds = online ? L"sql or service" : L"sql, service or exchange";
    const std::vector<std::wstring>& operands = arguments.Operands();
    if (operands.size() < 2)
        return UsageError(L"'" + command + L"' needs what to " + (online ? L"bring online" : L"take offline") +
                          L" (" + kinds + L") and its NAME");
    const KindNames* names = nullptr;
    for (const KindNames& each : kKinds)
        if (orv::EqualsIgnoreCase(each.word, operands[0])) names = &each;
    if (names && online && names->kind == Kind::Exchange)
        return UsageError(L"Exchange can only be taken offline: 'online' takes " + kinds);
    if (!names) return UsageError(L"'" + command + L"' takes " + kinds + L", not '" + operands[0] + L"'");
    const Kind kind = names->kind;
    const std::wstring& name = operands[1];
    unsigned long timeout = 0;
    std::wstring error;
    if (!ParseTimeout(arguments, timeout, error)) return UsageError(error);
    ClusterTarget target;
    if (!OpenTarget(arguments, command, target)) return kExitFailure;
    MSCSCluster& cluster = *target.failover;

    const std::wstring resource = kind == Kind::Sql       ? L"SQL Server resource " + Quoted(name)
                                  : kind == Kind::Service ? L"the resource of service " + Quoted(name)
                                                          : L"the Exchange resource of service " + Quoted(name);
    const std::wstring wait = L"up to the resource's pending timeout, or " + Duration(timeout) + L" when it has none";
    Progress((online ? L"bringing " : L"taking ") + resource + (online ? L" online" : L" offline") + L"; waiting " +
             wait + L"...");

    // The SQL Server and Exchange calls answer 0 done, 1 no such resource, 2
    // refused; the service calls 1 done, 0 not found or refused.
    unsigned long result = 0;
    bool done = false;
    std::wstring meaning;
    if (kind == Kind::Service) {
        result = static_cast<unsigned long>(online ? cluster.OnlineService(name.c_str(), timeout)
                                                   : cluster.OfflineService(name.c_str(), timeout));
        done = result == 1;
        meaning = done ? L"done" : L"not found or refused";
    } else {
        result = kind == Kind::Exchange ? cluster.OfflineExchangeServer(name.c_str(), timeout)
                 : online               ? cluster.OnlineSqlServer(name.c_str(), timeout)
                                        : cluster.OfflineSqlServer(name.c_str(), timeout);
        done = result == 0;
        meaning = result == 0   ? L"done"
                  : result == 1 ? L"no such resource"
                  : result == 2 ? L"the resource refused"
                                : L"an answer the library does not give";
    }

    const nlohmann::ordered_json facts = {{"action", ToUtf8(command)},   {"kind", ToUtf8(names->word)},
                                          {"name", ToUtf8(name)},        {"timeout_ms", timeout},
                                          {"result", result},            {"result_meaning", ToUtf8(meaning)}};
    const std::wstring code = L" (result " + std::to_wstring(result) + L": " + meaning;
    if (!done) {
        // Tell a missing resource from one that refused.
        std::unique_ptr<ClusterResource> found(FindResource(cluster, kind, name));
        if (!found) {
            const std::wstring missing =
                kind == Kind::Sql ? L"no SQL Server or SQL Server Agent resource of cluster " + target.Name() +
                                        L" is named " + Quoted(name)
                                  : L"no generic service resource of cluster " + target.Name() + L" runs service " +
                                        Quoted(name);
            return Failure(missing + code + (kind == Kind::Service ? L"; here: not found)" : L")"), facts);
        }
        return Failure(resource + L" did not " + (online ? L"come online" : L"go offline") + code +
                           (kind == Kind::Service ? L"; here: refused)" : L")") + StateNow(*found),
                       facts);
    }

    std::wstring headline = resource + L" is " + command + L".";
    headline[0] = static_cast<wchar_t>(towupper(headline[0]));
    Report report = ClusterReport(target, headline);
    report.AddJsonOnly(L"action", Value::Text(command));
    report.Add(L"kind", L"Kind", Value::Text(names->word), std::wstring(names->word) + L" (" + names->explanation + L")");
    report.Add(L"name", L"Name", Value::Text(name));
    report.Add(L"timeout_ms", L"Wait", Value::Number(timeout), wait);
    report.Add(L"result", L"Result", Value::Number(result), std::to_wstring(result) + L" (" + meaning + L")");
    report.AddJsonOnly(L"result_meaning", Value::Text(meaning));
    return PrintReport(report, format);
}

int RunOnline(const ParsedArguments& arguments, Format format) { return RunStateChange(arguments, format, true); }
int RunOffline(const ParsedArguments& arguments, Format format) { return RunStateChange(arguments, format, false); }

Command StateChangeCommand(bool online) {
    Command command = FailoverOnly(ClusterCommand(
        online ? L"online" : L"offline",
        online ? L"Bring a SQL Server resource or a service's resource online."
               : L"Take a SQL Server resource, a service's resource or an Exchange service's resource offline.",
        online ? RunOnline : RunOffline, online ? L"sql|service NAME" : L"sql|service|exchange NAME", 2));
    command.options.push_back({kTimeoutOption, L"MS",
                               L"how long to wait, in milliseconds, for a resource without a pending timeout of its "
                               L"own (default " + std::to_wstring(kDefaultTimeoutMs) + L")"});
    command.details =
        std::wstring(L"NAME is, for sql, the own name of a SQL Server or SQL Server Agent resource; for service") +
        (online ? L", the name\nof" : L" and\nexchange, the name of") +
        L" the Windows service that a generic service resource runs.\n"
        L"The wait is the resource's own pending timeout; --timeout counts only for a resource without one.\n"
        L"The library answers, for sql" + (online ? L"" : L" and exchange") +
        L": 0 done, 1 no such resource, 2 the resource refused; for\n"
        L"service: 1 done, 0 not found or refused. Anything but done is a failure.";
    return command;
}

}  // namespace

std::vector<Command> ApplicationCommands() {
    const std::wstring states =
        L"The answer: \"clustered here\" (0: SERVER is the application's virtual server), \"clustered for\n"
        L"another server\" (2), \"not clustered\" (3), \"not applicable\" (4: no failover cluster to ask).";
    return {
        FailoverOnly(ClusterCommand(
            L"sql", L"Tell whether SQL Server is clustered for SERVER (default: this computer).", RunSql, L"[SERVER]",
            1,
            states + L"\nThe detector only looks at resources of type \"SQL Server 7.0\": later SQL Server versions, "
                     L"whose\nresources have type \"SQL Server\", count as not clustered.")),
        FailoverOnly(ClusterCommand(
            L"exchange", L"Tell whether Exchange is clustered for SERVER (default: this computer).", RunExchange,
            L"[SERVER]", 1,
            states + L"\nThe detector looks at the resource of service \"MSExchangeSA\", else at resources of "
                     L"type\n\"Microsoft Exchange Information Store\"; a cluster with neither answers \"clustered "
                     L"for another\nserver\".")),
        StateChangeCommand(true), StateChangeCommand(false)};
}

}  // namespace orvclus

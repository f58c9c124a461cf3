// orvbench: what the library's hot paths cost next to the least their work
// could cost.
//
// Every figure is a ratio taken inside one run, from many short paired
// rounds: each round times the library's call and its bare minimum one right
// after the other, for about as long each (which goes first alternates), so
// that whatever else the machine is doing at that moment weighs on both
// alike, and gives one ratio. A figure is the median of its rounds' ratios: a
// round that another process interrupted gives a wild ratio, and the median
// pays it no heed. Beside it each line prints the middle half of the rounds'
// ratios (from the lower to the upper quartile), which shows how much one
// round says, and each arm's median cost of a unit of work (a call, a
// resource). The goal is met when the median, as printed, is at most the
// goal. The program only reports: it exits 0 whether or not a goal is met.
//
// To add a figure, write its two arms (and a preparation if they need one,
// and a finish if the preparation leaves something to release) and add a row
// to kBenchmarks.
//
// The inventory figures are of another kind: how the cost per resource of
// listing a cluster changes from a cluster of 1,000 resources to one of
// 10,000 (see kInventoryFigures). They too come from paired rounds.

#include <windows.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cwctype>
#include <limits>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "orvcluster.h"
#include "orvcluster/mscs_cluster.h"
#include "orvcluster/nrx_cluster.h"
#include "harness/wine_paths.h"
#include "simcluster.h"
#include "simnrx.h"

namespace {

// Runs the arm's operation `iterations` times.
using Arm = void (*)(long iterations);

struct Benchmark {
    const char* name;
    double goal;  // the highest acceptable ratio of measured to baseline
    // Sets up both arms; answers why the figure cannot be taken, or null.
    const char* (*prepare)();
    Arm measured;
    Arm baseline;
    // Runs after the figure, taken or not, and releases what the preparation
    // made; answers what it could not put back, or null. May be null.
    const char* (*finish)();
};

// Many short rounds rather than a few long ones: the machine's load changes
// over tens of milliseconds, and the two arms of one round, a millisecond
// each, see the same load. An interruption by another thread spoils the round
// it falls in; the shorter the rounds, the fewer it spoils.
constexpr int kRounds = 2001;
constexpr double kRoundSeconds = 0.001;

// Keeps the compiler from dropping work whose result nobody reads.
template <class T>
inline void Keep(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

// The performance counter, in seconds.
double Now() {
    static const double frequency = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return static_cast<double>(f.QuadPart);
    }();
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart) / frequency;
}

// --- The cached virtual server name against a lock and a pointer copy ------

CRITICAL_SECTION lockAndCopySection;
boost::shared_ptr<const std::wstring> lockAndCopyName;

const char* PrepareVirtualServerName() {
    // The first call asks the cluster and fills the cache. The test build's
    // clock stands still unless something sleeps, so every later call in the
    // run finds the cache fresh.
    boost::shared_ptr<const std::wstring> name = Cluster::GetOrvVirtualServerName();
    if (!name) return "the library answered an empty pointer";
    InitializeCriticalSection(&lockAndCopySection);
    lockAndCopyName.reset(new std::wstring(*name));
    return nullptr;
}

void CachedVirtualServerName(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        boost::shared_ptr<const std::wstring> name = Cluster::GetOrvVirtualServerName();
        Keep(name);
    }
}

// The least a locked, shared cache can cost: take the lock, copy the pointer.
void LockAndCopy(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        EnterCriticalSection(&lockAndCopySection);
        boost::shared_ptr<const std::wstring> name = lockAndCopyName;
        LeaveCriticalSection(&lockAndCopySection);
        Keep(name);
    }
}

// --- A trace line against handing the finished line to the system ----------

const wchar_t* const kTraceFormat = L"Failed to open Microsoft cluster (%s)";
const wchar_t* volatile traceArgument = L"ORVNODE-WEST-01";
std::wstring finishedTraceLine;

// The system hands a debug-output line to debuggers as an exception: wide
// where it supports that, otherwise converted to the ANSI code page.
LONG CALLBACK CatchTraceLine(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD* record = exception->ExceptionRecord;
    if (record->NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
    if (record->ExceptionCode == DBG_PRINTEXCEPTION_WIDE_C) {
        finishedTraceLine = reinterpret_cast<const wchar_t*>(record->ExceptionInformation[1]);
    } else if (record->ExceptionCode == DBG_PRINTEXCEPTION_C) {
        const char* text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
        int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
        if (length <= 1) return EXCEPTION_CONTINUE_EXECUTION;
        finishedTraceLine.resize(length);
        MultiByteToWideChar(CP_ACP, 0, text, -1, &finishedTraceLine[0], length);
        finishedTraceLine.resize(length - 1);
    } else {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

const char* PrepareTraceLine() {
    // The baseline sends the very line the library sends: same header, same
    // length. Catch one as a debugger would see it.
    void* handler = AddVectoredExceptionHandler(1, CatchTraceLine);
    if (!handler) return "no exception handler for catching a trace line";
    Cluster::OutputDebugMsg(kTraceFormat, traceArgument);
    RemoveVectoredExceptionHandler(handler);
    if (finishedTraceLine.empty()) return "the trace line did not reach the debug output";
    return nullptr;
}

void TraceLine(long iterations) {
    for (long i = 0; i < iterations; ++i) Cluster::OutputDebugMsg(kTraceFormat, traceArgument);
}

void BareDebugOutput(long iterations) {
    for (long i = 0; i < iterations; ++i) OutputDebugStringW(finishedTraceLine.c_str());
}

// --- A string property found by the list itself against the platform -------

// 64 string properties of the kind a resource of the product's group carries.
struct Property {
    const wchar_t* name;
    const wchar_t* value;
};

const Property kProperties[] = {
    {L"Name", L"Orvane Job Engine"},
    {L"Type", L"Generic Service"},
    {L"Description", L"Schedules and runs the backup jobs of the cluster"},
    {L"OwnerGroup", L"Orvane Group"},
    {L"OwnerNode", L"NODE1"},
    {L"PreferredOwners", L"NODE1,NODE2"},
    {L"PossibleOwners", L"NODE1,NODE2"},
    {L"DependsOn", L"Orvane Server Name;Cluster Disk 1;Cluster Disk 2"},
    {L"ServiceName", L"OrvJobEngine"},
    {L"DisplayName", L"Orvane Job Engine"},
    {L"StartupParameters", L"-cluster -quiet"},
    {L"ImagePath", L"\"C:\\Program Files\\Orvane\\orvjobeng.exe\""},
    {L"ServiceAccount", L"CORP\\svc-orvane"},
    {L"VirtualServerName", L"ORVANESRV"},
    {L"DnsName", L"orvanesrv.corp.example.com"},
    {L"DnsSuffix", L"corp.example.com"},
    {L"Address", L"10.20.30.40"},
    {L"SubnetMask", L"255.255.255.0"},
    {L"Network", L"Public"},
    {L"Gateway", L"10.20.30.1"},
    {L"PrimaryDnsServer", L"10.20.30.2"},
    {L"SecondaryDnsServer", L"10.20.30.3"},
    {L"Domain", L"CORP"},
    {L"ClusterName", L"ORVCLUS01"},
    {L"ClusterDnsName", L"orvclus01.corp.example.com"},
    {L"QuorumResource", L"Cluster Disk Q"},
    {L"QuorumPath", L"Q:\\Cluster\\"},
    {L"SharedVolumesRoot", L"C:\\ClusterStorage"},
    {L"DataDrive", L"S:\\"},
    {L"CatalogDrive", L"T:\\"},
    {L"InstallPath", L"C:\\Program Files\\Orvane"},
    {L"DatabasePath", L"S:\\Orvane\\Database"},
    {L"CatalogPath", L"T:\\Orvane\\Catalog"},
    {L"LogPath", L"S:\\Orvane\\Logs"},
    {L"TempPath", L"S:\\Orvane\\Temp"},
    {L"JobQueuePath", L"S:\\Orvane\\Jobs"},
    {L"ReportPath", L"S:\\Orvane\\Reports"},
    {L"ConfigurationFile", L"S:\\Orvane\\orvane.cfg"},
    {L"LicenseServer", L"orvlic.corp.example.com"},
    {L"ProductVersion", L"13.0.4211"},
    {L"BuildLabel", L"r13-sp2-hotfix7"},
    {L"DatabaseServer", L"SQLVS01\\ORVANEDB"},
    {L"DatabaseName", L"orvane_db"},
    {L"DatabaseAuthentication", L"Windows"},
    {L"TapeLibrary", L"\\\\.\\Changer0"},
    {L"TapeDevice", L"\\\\.\\Tape0"},
    {L"MediaPool", L"Weekly Full"},
    {L"RetentionPolicy", L"35 days"},
    {L"ScheduleWindow", L"22:00-06:00"},
    {L"NotificationAddress", L"backup-admins@corp.example.com"},
    {L"SmtpServer", L"mail.corp.example.com"},
    {L"AlertLevel", L"Warning"},
    {L"TraceLevel", L"Errors"},
    {L"Language", L"en-US"},
    {L"TimeZone", L"W. Europe Standard Time"},
    {L"AgentPort", L"6051"},
    {L"DiscoveryPort", L"6052"},
    {L"CheckpointRoot", L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0"},
    {L"LastFailoverNode", L"NODE2"},
    {L"RegistryCheckpoint", L"SOFTWARE\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Job Engine"},
    {L"LastFailoverTime", L"2024-03-11T02:17:45Z"},
    {L"LastFailoverReason", L"Node NODE2 lost its heartbeat link"},
    {L"ManagedBy", L"Backup team, extension 4417"},
    {L"Comment", L"Restart the tape engine first after a failover"},
};
static_assert(sizeof kProperties / sizeof kProperties[0] == 64, "the figure speaks of 64 properties");

// The 60th property: both lookups compare most of the list before they find it.
constexpr size_t kWantedProperty = 59;

ClusterPropertyList propertyList;
std::wstring wantedName;  // the 60th name in other letters than stored
const wchar_t* volatile wantedNamePointer = nullptr;
ResUtilFindSzPropertyFunction findSzProperty = nullptr;

const char* PrepareStringLookup() {
    for (const Property& property : kProperties) propertyList.Append(property.name, property.value);
    wantedName = kProperties[kWantedProperty].name;
    for (wchar_t& c : wantedName) c = static_cast<wchar_t>(std::towupper(c));
    if (wantedName == kProperties[kWantedProperty].name) return "the wanted name has no lower-case letter";
    wantedNamePointer = wantedName.c_str();

    // The simulator's resutils.dll lies beside this program, where a load by
    // name finds it first.
    HMODULE resutils = LoadLibraryW(L"resutils.dll");
    if (!resutils) return "resutils.dll did not load";
    findSzProperty = reinterpret_cast<ResUtilFindSzPropertyFunction>(
        reinterpret_cast<void*>(GetProcAddress(resutils, "ResUtilFindSzProperty")));
    if (!findSzProperty) return "resutils.dll has no ResUtilFindSzProperty";

    // Both arms must find the same value, and the platform's arm must be the
    // simulator's (it counts the call).
    const wchar_t* expected = kProperties[kWantedProperty].value;
    const wchar_t* ours = nullptr;
    if (!propertyList.GetValue(wantedNamePointer, &ours) || !ours || wcscmp(ours, expected) != 0)
        return "the list did not find the wanted property";
    const DWORD callsBefore = SimCluster_CallCount(L"ResUtilFindSzProperty");
    wchar_t* platforms = nullptr;
    DWORD result = findSzProperty(propertyList.Data(), propertyList.Size(), wantedNamePointer, &platforms);
    const bool same = result == ERROR_SUCCESS && platforms && wcscmp(platforms, expected) == 0;
    if (platforms) LocalFree(platforms);
    if (!same) return "ResUtilFindSzProperty did not find the wanted property";
    if (SimCluster_CallCount(L"ResUtilFindSzProperty") != callsBefore + 1)
        return "the loaded resutils.dll is not the simulator's";
    return nullptr;
}

void ListStringLookup(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        const wchar_t* value = nullptr;
        bool found = propertyList.GetValue(wantedNamePointer, &value);
        Keep(found);
        Keep(value);
    }
}

// The platform hands out its own copy of the value, which the caller frees.
void PlatformStringLookup(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        wchar_t* value = nullptr;
        DWORD result = findSzProperty(propertyList.Data(), propertyList.Size(), wantedNamePointer, &value);
        Keep(result);
        LocalFree(value);
    }
}

// --- A call through the cluster binding against the bare entry point -------

// The resource whose state both arms ask for, and the way to it.
HCLUSTER stateCluster = nullptr;
HRESOURCE stateResource = nullptr;
CloseClusterFunction closeCluster = nullptr;
CloseClusterResourceFunction closeClusterResource = nullptr;
GetClusterResourceStateFunction getClusterResourceState = nullptr;
DWORD handlesBeforeStateCall = 0;

template <class Function>
bool Bind(HMODULE module, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    return function != nullptr;
}

const char* PrepareResourceState() {
    // The bundled two-node cluster, from the source tree as Wine sees it.
    if (!SimCluster_LoadScenarioFile(orvtest::ExampleScenario().c_str()))
        return "the example scenario did not load";
    handlesBeforeStateCall = SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL);

    HMODULE clusapi = GetModuleHandleW(L"clusapi.dll");
    if (!clusapi) return "clusapi.dll is not loaded";
    OpenClusterFunction openCluster = nullptr;
    OpenClusterResourceFunction openClusterResource = nullptr;
    if (!Bind(clusapi, "OpenCluster", openCluster) ||
        !Bind(clusapi, "OpenClusterResource", openClusterResource) ||
        !Bind(clusapi, "CloseCluster", closeCluster) ||
        !Bind(clusapi, "CloseClusterResource", closeClusterResource) ||
        !Bind(clusapi, "GetClusterResourceState", getClusterResourceState))
        return "clusapi.dll lacks an entry point";
    stateCluster = openCluster(nullptr);
    if (!stateCluster) return "OpenCluster failed";
    stateResource = openClusterResource(stateCluster, L"Orvane Job Engine");
    if (!stateResource) return "OpenClusterResource failed";

    // Both arms must reach the simulator and see the resource online.
    const DWORD callsBefore = SimCluster_CallCount(L"GetClusterResourceState");
    if (getClusterResourceState(stateResource, nullptr, nullptr, nullptr, nullptr) !=
        ClusterResourceOnline)
        return "the resource is not online";
    if (MSCSClusterGlue::GetInstance()->GetClusterResourceState(stateResource, nullptr, nullptr,
                                                                 nullptr, nullptr) !=
        ClusterResourceOnline)
        return "the binding does not see the resource online";
    if (SimCluster_CallCount(L"GetClusterResourceState") != callsBefore + 2)
        return "the binding did not call the simulator";
    return nullptr;
}

// As the failover backend calls: through the binding reference it holds.
void BindingResourceState(long iterations) {
    const orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    for (long i = 0; i < iterations; ++i) {
        CLUSTER_RESOURCE_STATE state =
            glue->GetClusterResourceState(stateResource, nullptr, nullptr, nullptr, nullptr);
        Keep(state);
    }
}

void DirectResourceState(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        CLUSTER_RESOURCE_STATE state =
            getClusterResourceState(stateResource, nullptr, nullptr, nullptr, nullptr);
        Keep(state);
    }
}

const char* FinishResourceState() {
    bool closed = true;
    if (stateResource) closed = closeClusterResource(stateResource) && closed;
    if (stateCluster) closed = closeCluster(stateCluster) && closed;
    stateResource = nullptr;
    stateCluster = nullptr;
    if (!closed) return "a handle did not close";
    if (SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL) != handlesBeforeStateCall)
        return "cluster handles left open";
    return nullptr;
}

// --- A cached NRX connection against a lock and a map lookup ---------------

const char* const kNrxHost = "ORVNODE2";
// The host as callers hand it over: text the compiler cannot see into.
const char* volatile nrxHostPointer = kNrxHost;
CRITICAL_SECTION connectionSection;
std::map<std::string, NRXHandle, std::less<>> connections;

const char* PrepareCachedConnection() {
    if (!SimNrx_LoadScenarioFile(orvtest::ExamplePath("scenarios/two-node-nrx.json").c_str()))
        return "the bundled NRX scenario did not load";
    // The first open connects; every later one must come from the cache.
    NRXHandle handle = NRXClusterGlue::GetInstance()->OpenCluster(kNrxHost);
    if (!handle) return "the binding did not connect to the bundled NRX cluster";
    const DWORD opens = SimNrx_CallCount("NRXClusterOpen");
    if (NRXClusterGlue::GetInstance()->OpenCluster(kNrxHost) != handle || SimNrx_CallCount("NRXClusterOpen") != opens)
        return "a second open did not come from the cache";
    InitializeCriticalSection(&connectionSection);
    connections.emplace(kNrxHost, handle);
    return nullptr;
}

// As the backend opens: through the binding reference it holds.
void CachedConnection(long iterations) {
    const orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    for (long i = 0; i < iterations; ++i) Keep(glue->OpenCluster(nrxHostPointer));
}

// The least a locked cache of connections by host can cost: the lock and the
// lookup of the host's text.
void LockAndLookUp(long iterations) {
    for (long i = 0; i < iterations; ++i) {
        const std::string_view key = nrxHostPointer;
        EnterCriticalSection(&connectionSection);
        const auto found = connections.find(key);
        NRXHandle handle = found == connections.end() ? nullptr : found->second;
        LeaveCriticalSection(&connectionSection);
        Keep(handle);
    }
}

const Benchmark kBenchmarks[] = {
    {"virtual server name (cached) vs lock+copy", 1.5, PrepareVirtualServerName,
     CachedVirtualServerName, LockAndCopy, nullptr},
    // Both arms spend most of their time in the system's debug-output path,
    // which under Wine goes through the Wine server.
    {"trace line (OutputDebugMsg) vs bare OutputDebugStringW", 1.3, PrepareTraceLine, TraceLine,
     BareDebugOutput, nullptr},
    // A name near the end of 64 string properties, in other letters than
    // stored; the platform's arm frees the copy it is handed.
    {"string property lookup (ClusterPropertyList) vs ResUtilFindSzProperty", 1.0,
     PrepareStringLookup, ListStringLookup, PlatformStringLookup, nullptr},
    {"resource state through MSCSClusterGlue vs direct entry point", 1.2, PrepareResourceState,
     BindingResourceState, DirectResourceState, FinishResourceState},
    {"NRX connection (OpenCluster, cached) vs lock+map lookup", 1.5, PrepareCachedConnection, CachedConnection,
     LockAndLookUp, nullptr},
};

// --- Runner and printer -----------------------------------------------------

double Seconds(Arm arm, long iterations) {
    const double start = Now();
    arm(iterations);
    return Now() - start;
}

// The number of iterations that makes a round of the arm last about
// kRoundSeconds. Every trial count is timed a few times and the fastest kept,
// so that an interruption during the trials does not shorten every round.
long IterationsPerRound(Arm arm) {
    long iterations = 1;
    for (;;) {
        double seconds = std::numeric_limits<double>::infinity();
        for (int trial = 0; trial < 3; ++trial) seconds = std::min(seconds, Seconds(arm, iterations));
        if (seconds >= kRoundSeconds / 8) {
            double scaled = iterations * (kRoundSeconds / seconds);
            return std::max(1L, static_cast<long>(scaled));
        }
        if (iterations >= (1L << 28)) return iterations;
        iterations *= 2;
    }
}

// The median and the quartiles of a sample, each between its two nearest
// values.
struct Quartiles {
    double lower = 0, median = 0, upper = 0;
};

double Quantile(const std::vector<double>& sorted, double fraction) {
    const double at = fraction * (sorted.size() - 1);
    const size_t below = static_cast<size_t>(at);
    if (below + 1 >= sorted.size()) return sorted.back();
    return sorted[below] + (at - below) * (sorted[below + 1] - sorted[below]);
}

Quartiles QuartilesOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {Quantile(values, 0.25), Quantile(values, 0.5), Quantile(values, 0.75)};
}

double MedianOf(std::vector<double> values) { return QuartilesOf(std::move(values)).median; }

// A figure taken from paired rounds.
struct Result {
    Quartiles ratio;      // of the rounds' ratios, measured to baseline
    double measured = 0;  // the measured arm's median cost of a unit of work, in nanoseconds
    double baseline = 0;  // the same for the baseline
    int rounds = 0;
};

// Sums up paired rounds from the seconds each arm took for a unit of work
// (a call, a resource), round by round.
Result Summarise(const std::vector<double>& measured, const std::vector<double>& baseline) {
    std::vector<double> ratios(measured.size());
    for (size_t round = 0; round < measured.size(); ++round)
        ratios[round] = measured[round] / baseline[round];
    Result result;
    result.ratio = QuartilesOf(ratios);
    result.measured = MedianOf(measured) * 1e9;
    result.baseline = MedianOf(baseline) * 1e9;
    result.rounds = static_cast<int>(measured.size());
    return result;
}

Result Run(const Benchmark& benchmark) {
    // Each arm runs for about as long as the other, so that an interruption
    // is as likely to fall in either.
    const long measuredIterations = IterationsPerRound(benchmark.measured);
    const long baselineIterations = IterationsPerRound(benchmark.baseline);
    std::vector<double> measured, baseline;
    const auto timeMeasured = [&] {
        measured.push_back(Seconds(benchmark.measured, measuredIterations) / measuredIterations);
    };
    const auto timeBaseline = [&] {
        baseline.push_back(Seconds(benchmark.baseline, baselineIterations) / baselineIterations);
    };
    for (int round = 0; round < kRounds; ++round) {
        // Alternate which arm goes first, so that neither always runs in the
        // other's wake.
        if (round % 2 == 0) {
            timeMeasured();
            timeBaseline();
        } else {
            timeBaseline();
            timeMeasured();
        }
    }
    return Summarise(measured, baseline);
}

std::string Nanoseconds(double value) {
    char text[32];
    snprintf(text, sizeof text, value < 100 ? "%.1f ns" : "%.0f ns", value);
    return text;
}

double Hundredths(double value) { return std::round(value * 100) / 100; }

// One line: what was compared, the median ratio, the middle half of the
// rounds' ratios, the median costs, and whether the goal was met. `unit` is
// what the costs are per ("a call", "a resource").
void Print(const char* name, double goal, const Result& result, const char* unit) {
    // The verdict follows the ratio as printed, so the line never contradicts itself.
    const double ratio = Hundredths(result.ratio.median);
    printf("%s: %.2fx (median of %d paired rounds; middle half of rounds %.2fx to %.2fx; %s vs %s %s)"
           " goal <= %gx: goal %s\n",
           name, ratio, result.rounds, Hundredths(result.ratio.lower), Hundredths(result.ratio.upper),
           Nanoseconds(result.measured).c_str(), Nanoseconds(result.baseline).c_str(), unit, goal,
           ratio <= goal ? "met" : "missed");
}

// --- Inventory: the cost per resource on a small and on a large cluster -----

// Listing a cluster's resources should cost the same per resource however
// many there are. Each inventory figure times one backend call on a simulated
// cluster of kSmallInventory resources and on one of kLargeInventory, and
// compares the time per resource.
//
// A call on the large cluster lasts longer than the system lets a thread run
// on a busy machine, so it is mostly interrupted, while a single call on the
// small cluster mostly is not; to be fair, a sample on the small cluster is
// as many calls in a row as list the same number of resources as one call on
// the large cluster, and the two samples last about as long.
//
// The simulator holds one cluster at a time, so the sizes cannot alternate
// sample by sample: each round loads one cluster, takes a few samples of
// every figure on it, then does the same with the other, the order changing
// from round to round. A round's cost per resource at a size is the median of
// its samples there, and its ratio that at the large size to that at the
// small one; the figure is the median of the rounds' ratios, as for the
// others.

constexpr long kSmallInventory = 1000;
constexpr long kLargeInventory = 10000;
// Loading the large cluster takes a tenth of a second or more, most of a
// round, so the rounds are fewer than those of the other figures.
constexpr int kInventoryRounds = 121;
// Samples per figure each time a cluster is loaded, after one untimed call.
constexpr int kInventorySamples = 2;

constexpr int kInventoryNodes = 4;
constexpr int kInventoryGroups = 8;

// A generated cluster: four nodes, one client network, eight groups taking
// ten resources at a time in turn, every tenth resource a network name and
// the others, in turn, generic services, IP addresses and disks (three in ten
// of all are services), each with the private properties of its kind.
struct Inventory {
    long size = 0;
    std::string scenario;                    // UTF-8 JSON for SimCluster_LoadScenarioText
    std::vector<std::wstring> networkNames;  // resource names, sorted
    std::vector<std::wstring> serviceNames;  // "ServiceName" of every generic service
};

// The private "Name" that network name resource `index` publishes. No
// generated resource publishes kUnknownNetworkName.
std::string PublishedName(long index) { return "ORVVS" + std::to_string(index); }
// The "ServiceName" of generic service resource `index`.
std::string ServiceName(long index) { return "OrvScaleSvc" + std::to_string(index); }
const wchar_t* const kUnknownNetworkName = L"ORVVSNOWHERE";

Inventory MakeInventory(long size) {
    struct Kind {
        const char* type;
        const char* prefix;
        std::string (*privateProperties)(long index);  // a JSON object
    };
    static const Kind kNetworkName = {"Network Name", "Name", [](long index) {
        return "{\"Name\": \"" + PublishedName(index) + "\", \"DnsName\": \"orvvs" + std::to_string(index) +
               ".scale.example.com\"}";
    }};
    static const Kind kOthers[] = {
        {"Generic Service", "Service",
         [](long index) {
             return "{\"ServiceName\": \"" + ServiceName(index) +
                    "\", \"StartupParameters\": \"\", \"UseNetworkName\": 0}";
         }},
        {"IP Address", "Address",
         [](long index) {
             return "{\"Address\": \"10.1." + std::to_string(index / 256 % 256) + "." +
                    std::to_string(index % 256) +
                    "\", \"SubnetMask\": \"255.255.0.0\", \"Network\": \"Public\", \"EnableNetBios\": 1}";
         }},
        {"Physical Disk", "Disk",
         [](long index) { return "{\"Signature\": " + std::to_string(0x51000000L + index) + "}"; }}};

    Inventory inventory;
    inventory.size = size;
    std::string& json = inventory.scenario;
    json = "{\"cluster\": {\"name\": \"ORVSCALE\"},\n\"nodes\": [";
    for (int node = 1; node <= kInventoryNodes; ++node) {
        json += node > 1 ? ", " : "";
        json += "{\"name\": \"NODE" + std::to_string(node) + "\"" + (node == 1 ? ", \"local\": true}" : "}");
    }
    json += "],\n\"networks\": [{\"name\": \"Public\", \"role\": 3, \"address\": \"10.1.0.0\", "
            "\"mask\": \"255.255.0.0\"}],\n\"groups\": [";
    for (int group = 1; group <= kInventoryGroups; ++group) {
        json += group > 1 ? ",\n" : "\n";
        json += "{\"name\": \"Role " + std::to_string(group) + "\", \"owner\": \"NODE" +
                std::to_string((group - 1) % kInventoryNodes + 1) + "\"}";
    }
    json += "],\n\"resources\": [";
    for (long index = 0; index < size; ++index) {
        const Kind& kind = index % 10 == 0 ? kNetworkName : kOthers[index % 3];
        const std::string name = std::string(kind.prefix) + " " + std::to_string(index);
        if (&kind == &kNetworkName) inventory.networkNames.emplace_back(name.begin(), name.end());
        if (&kind == &kOthers[0]) {
            const std::string service = ServiceName(index);
            inventory.serviceNames.emplace_back(service.begin(), service.end());
        }
        json += index > 0 ? ",\n" : "\n";
        json += "{\"name\": \"" + name + "\", \"type\": \"" + kind.type + "\", \"group\": \"Role " +
                std::to_string(index / 10 % kInventoryGroups + 1) + "\", \"state\": \"online\", \"private\": " +
                kind.privateProperties(index) + "}";
    }
    json += "]}\n";
    std::sort(inventory.networkNames.begin(), inventory.networkNames.end());
    return inventory;
}

// Whether `names` are exactly the inventory's network names, in any order.
bool AreNetworkNames(std::vector<std::wstring> names, const Inventory& inventory) {
    std::sort(names.begin(), names.end());
    return names == inventory.networkNames;
}

struct InventoryFigure {
    const char* name;
    double goal;  // the highest acceptable ratio of the large cluster's cost per resource to the small one's
    // Runs once, on the first cluster loaded, before the figure's first call;
    // answers why the figure cannot be taken, or null. May be null.
    const char* (*prepare)(const Inventory (&inventories)[2]);
    // Lists the loaded cluster once, timing the call alone into `seconds`;
    // answers why the list is not the one expected, or null.
    const char* (*take)(Cluster& cluster, const Inventory& inventory, double& seconds);
};

// How often the simulator was asked to open a resource and to answer a
// resource control, since the counters were last reset.
struct ResourceCalls {
    DWORD opens = SimCluster_CallCount(L"OpenClusterResource");
    DWORD controls = SimCluster_CallCount(L"ClusterResourceControl");
};

// Whether the calls made since `before` opened at least `opens` resources and
// asked at least `controls` resource controls.
bool CalledAtLeast(const ResourceCalls& before, size_t opens, size_t controls) {
    const ResourceCalls after;
    return after.opens - before.opens >= opens && after.controls - before.controls >= controls;
}

const char* NamesOfType(Cluster& backend, const Inventory& inventory, double& seconds) {
    MSCSCluster& cluster = static_cast<MSCSCluster&>(backend);
    std::list<std::wstring> names;
    const double start = Now();
    const bool listed = cluster.GetResources(names, L"Network Name");
    seconds = Now() - start;
    if (!listed) return "GetResources failed";
    if (names.size() != inventory.networkNames.size()) return "GetResources listed a wrong number of names";
    if (!AreNetworkNames(std::vector<std::wstring>(names.begin(), names.end()), inventory))
        return "GetResources listed other names than the network names";
    return nullptr;
}

const char* NetworkNameResources(Cluster& backend, const Inventory& inventory, double& seconds) {
    MSCSCluster& cluster = static_cast<MSCSCluster&>(backend);
    const double start = Now();
    const auto resources = cluster.GetNetworkNameResources();
    seconds = Now() - start;
    if (!resources) return "GetNetworkNameResources answered an empty pointer";
    if (resources->size() != inventory.networkNames.size())
        return "GetNetworkNameResources listed a wrong number of resources";
    std::vector<std::wstring> names;
    for (const auto& resource : *resources) {
        if (!resource || !resource->GetHandle())
            return "GetNetworkNameResources listed a resource without a handle";
        names.push_back(*resource->GetResourceName());
    }
    if (!AreNetworkNames(names, inventory))
        return "GetNetworkNameResources listed other resources than the network names";
    return nullptr;
}

// The service whose generic service resource tells that the product is
// clustered: the second service resource of the product's definition.
std::wstring markerService;

// The product's definition is loaded once per process, from the bundled one,
// and asks for an open cluster on this computer.
const char* PrepareClusteredOrv(const Inventory (&inventories)[2]) {
    if (!Cluster::CWIZ_InitData(nullptr, nullptr, nullptr, nullptr, nullptr, orvtest::ExamplePath().c_str()))
        return "the bundled product definition did not load";
    const CLUSTERRESOURCE* table = Cluster::CWIZ_GetResourceList();
    if (!table) return "the product definition has no service resource table";
    // Records 0 and 1 are the address and the network name; 2 and 3 the
    // first two services.
    for (int record = 0; record <= 3; ++record)
        if (!table[record].resourceName[0]) return "the product definition has fewer than two service resources";
    if (_wcsicmp(table[3].resourceType, L"Generic Service") != 0)
        return "the product's second service resource is not a generic service";
    markerService = table[3].serviceName;
    if (markerService.empty()) return "the product's second service resource names no service";
    // Without a generic service the call would have nothing to read; with the
    // marker service it could answer before the end of the list.
    for (const Inventory& inventory : inventories) {
        if (inventory.serviceNames.size() * 5 < static_cast<size_t>(inventory.size))
            return "fewer than one in five generated resources is a generic service";
        for (const std::wstring& service : inventory.serviceNames)
            if (_wcsicmp(service.c_str(), markerService.c_str()) == 0)
                return "a generated generic service runs the product's marker service";
    }
    return nullptr;
}

const char* ClusteredOrv(Cluster& backend, const Inventory& inventory, double& seconds) {
    MSCSCluster& cluster = static_cast<MSCSCluster&>(backend);
    const wcstring unused;  // the call does not read its argument
    const ResourceCalls before;
    const double start = Now();
    const unsigned clustered = cluster.IsClusteredOrv(unused);
    seconds = Now() - start;
    if (clustered != 0) return "IsClusteredOrv answered 1 on a cluster where no resource runs the marker service";
    // Every resource opened and asked its type, every service's properties read.
    const size_t resources = static_cast<size_t>(inventory.size);
    if (!CalledAtLeast(before, resources, resources + inventory.serviceNames.size()))
        return "IsClusteredOrv answered without opening every resource and reading every service name";
    return nullptr;
}

const char* UnknownNetworkName(Cluster& backend, const Inventory& inventory, double& seconds) {
    MSCSCluster& cluster = static_cast<MSCSCluster&>(backend);
    static const std::wstring name = kUnknownNetworkName;
    std::wstring node = L"NODE1";  // a node's name, which the call must replace
    const ResourceCalls before;
    const double start = Now();
    const bool found = cluster.NetworkNameToNodeName(name, node);
    seconds = Now() - start;
    if (found) return "NetworkNameToNodeName found a node for a name that no resource carries";
    if (node != name) return "NetworkNameToNodeName did not give back the name it was asked for as the node";
    // Every resource opened and asked its type for the list, then every
    // network name opened again and its properties read.
    const size_t resources = static_cast<size_t>(inventory.size);
    const size_t names = inventory.networkNames.size();
    if (!CalledAtLeast(before, resources + names, resources + names))
        return "NetworkNameToNodeName answered without opening every resource and reading every network name";
    return nullptr;
}

const InventoryFigure kInventoryFigures[] = {
    {"network names by type (GetResources \"Network Name\")", 1.2, nullptr, NamesOfType},
    {"network name resources (GetNetworkNameResources)", 1.2, nullptr, NetworkNameResources},
    // Every resource opened and asked its type, every generic service's
    // "ServiceName" read; none runs the marker service, so the call reads
    // them all and answers 0.
    {"product clustered (IsClusteredOrv)", 1.2, PrepareClusteredOrv, ClusteredOrv},
    // The network names listed by type, then every one's private "Name"
    // read; none carries the name asked for.
    {"unknown network name to node (NetworkNameToNodeName)", 1.2, nullptr, UnknownNetworkName},
};

// --- The same on NRX clusters -----------------------------------------------

// A generated NRX cluster: this computer and a second system, eight service
// groups taking ten resources at a time in turn, every resource a generic
// service with its "ServiceName".
Inventory MakeNrxInventory(long size) {
    Inventory inventory;
    inventory.size = size;
    std::string& json = inventory.scenario;
    json = "{\"cluster\": \"ORVNRXSCALE\", \"systems\": [\"%COMPUTERNAME%\", \"NRXNODE2\"],\n"
           "\"types\": [\"GenericService\"],\n\"groups\": [";
    for (int group = 1; group <= kInventoryGroups; ++group)
        json += std::string(group > 1 ? ",\n" : "\n") + "{\"name\": \"Role " + std::to_string(group) +
                "\", \"systemList\": [\"%COMPUTERNAME%\", \"NRXNODE2\"]}";
    json += "],\n\"resources\": [";
    for (long index = 0; index < size; ++index) {
        const std::string service = ServiceName(index);
        inventory.serviceNames.emplace_back(service.begin(), service.end());
        json += std::string(index > 0 ? ",\n" : "\n") + "{\"name\": \"Service " + std::to_string(index) +
                "\", \"type\": \"GenericService\", \"group\": \"Role " +
                std::to_string(index / 10 % kInventoryGroups + 1) +
                "\", \"attributes\": {\"ServiceName\": \"" + service + "\"}}";
    }
    json += "]}\n";
    return inventory;
}

// Every resource's name through the binding's enumeration, each byte widened.
const char* NrxNamesOfType(Cluster& backend, const Inventory& inventory, double& seconds) {
    NRXCluster& cluster = static_cast<NRXCluster&>(backend);
    const orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    std::list<std::wstring> names;
    const double start = Now();
    const bool listed = glue->ClusterEnum(cluster.GetClusterHandle(), "GenericService", names, std::string());
    seconds = Now() - start;
    if (!listed) return "ClusterEnum failed";
    if (names.size() != static_cast<size_t>(inventory.size)) return "ClusterEnum listed a wrong number of names";
    if (names.back() != L"Service " + std::to_wstring(inventory.size - 1))
        return "ClusterEnum listed other names than the generated ones";
    return nullptr;
}

const InventoryFigure kNrxInventoryFigures[] = {
    {"NRX names of a type (ClusterEnum \"GenericService\")", 1.2, nullptr, NrxNamesOfType},
};

// A kind of cluster the inventory figures run on: how its clusters are made
// and loaded into the simulator, how the backend is opened on them, and the
// figures taken.
struct InventoryKind {
    Inventory (*make)(long size);
    BOOL(WINAPI* load)(const char* scenario);
    const wchar_t*(WINAPI* lastError)();
    boost::shared_ptr<Cluster> (*instance)();
    const InventoryFigure* figures;
    size_t count;
};

const InventoryKind kFailoverInventory = {
    MakeInventory, SimCluster_LoadScenarioText, SimCluster_LastError,
    [] { return boost::shared_ptr<Cluster>(MSCSCluster::GetInstance(nullptr)); }, kInventoryFigures,
    sizeof kInventoryFigures / sizeof kInventoryFigures[0]};
const InventoryKind kNrxInventory = {
    MakeNrxInventory, SimNrx_LoadScenarioText, SimNrx_LastError,
    [] { return boost::shared_ptr<Cluster>(NRXCluster::GetInstance(nullptr)); }, kNrxInventoryFigures,
    sizeof kNrxInventoryFigures / sizeof kNrxInventoryFigures[0]};

// Loads the inventory's cluster and opens the backend on it; answers why it
// could not, or an empty text.
std::string OpenInventory(const InventoryKind& kind, const Inventory& inventory, boost::shared_ptr<Cluster>& cluster) {
    if (!kind.load(inventory.scenario.c_str())) {
        std::wstring why = kind.lastError();
        return "the generated scenario of " + std::to_string(inventory.size) +
               " resources did not load: " + std::string(why.begin(), why.end());
    }
    cluster = kind.instance();
    if (!cluster->ClusterOpen()) return "the backend did not open the generated cluster";
    return std::string();
}

// 10000 as "10,000".
std::string WithCommas(long value) {
    std::string digits = std::to_string(value);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) digits.insert(at, ",");
    return digits;
}

void RunInventoryFigures(const InventoryKind& kind) {
    const InventoryFigure* const figures = kind.figures;
    const size_t figureCount = kind.count;
    const Inventory inventories[2] = {kind.make(kSmallInventory), kind.make(kLargeInventory)};
    // Calls per sample at each size: as many as list kLargeInventory resources.
    const long calls[2] = {kLargeInventory / kSmallInventory, 1};
    // Per figure and round, the median cost per resource at each size, in seconds.
    std::vector<std::array<std::vector<double>, 2>> perResource(figureCount);
    std::vector<std::string> problems(figureCount);
    const auto measuring = [&](size_t figure) { return problems[figure].empty(); };
    const auto take = [&](size_t figure, Cluster& cluster, const Inventory& inventory, double& seconds) {
        const char* problem = figures[figure].take(cluster, inventory, seconds);
        if (problem)
            problems[figure] = std::string(problem) + " on " + WithCommas(inventory.size) + " resources";
        return !problem;
    };

    std::string setup;
    for (int round = 0; round < kInventoryRounds && setup.empty(); ++round) {
        std::vector<std::array<double, 2>> roundCost(figureCount);
        for (int turn = 0; turn < 2 && setup.empty(); ++turn) {
            const int which = (round + turn) % 2;
            const Inventory& inventory = inventories[which];
            boost::shared_ptr<Cluster> cluster;
            setup = OpenInventory(kind, inventory, cluster);
            if (!setup.empty()) break;
            if (round == 0 && turn == 0)
                for (size_t figure = 0; figure < figureCount; ++figure)
                    if (figures[figure].prepare)
                        if (const char* problem = figures[figure].prepare(inventories))
                            problems[figure] = problem;
            // The first call on a freshly loaded cluster finds its memory
            // cold; it only checks the list.
            double seconds = 0;
            for (size_t figure = 0; figure < figureCount; ++figure)
                if (measuring(figure)) take(figure, *cluster, inventory, seconds);
            // The figures take turns, sample by sample.
            std::vector<std::vector<double>> samples(figureCount);
            for (int sample = 0; sample < kInventorySamples; ++sample) {
                for (size_t figure = 0; figure < figureCount; ++figure) {
                    double total = 0;
                    for (long call = 0; call < calls[which] && measuring(figure); ++call)
                        if (take(figure, *cluster, inventory, seconds)) total += seconds;
                    if (measuring(figure)) samples[figure].push_back(total / (inventory.size * calls[which]));
                }
            }
            for (size_t figure = 0; figure < figureCount; ++figure)
                if (measuring(figure)) roundCost[figure][which] = MedianOf(samples[figure]);
        }
        if (!setup.empty()) break;
        for (size_t figure = 0; figure < figureCount; ++figure)
            for (int which = 0; which < 2 && measuring(figure); ++which)
                perResource[figure][which].push_back(roundCost[figure][which]);
    }

    for (size_t figure = 0; figure < figureCount; ++figure) {
        const std::string name = std::string(figures[figure].name) + ", per resource at " +
                                 WithCommas(inventories[1].size) + " vs at " +
                                 WithCommas(inventories[0].size);
        const std::string& problem = setup.empty() ? problems[figure] : setup;
        if (!problem.empty()) {
            printf("%s: not measured (%s)\n", name.c_str(), problem.c_str());
            continue;
        }
        Print(name.c_str(), figures[figure].goal,
              Summarise(perResource[figure][1], perResource[figure][0]), "a resource");
    }
    fflush(stdout);
}

}  // namespace

int main() {
    for (const Benchmark& benchmark : kBenchmarks) {
        if (const char* problem = benchmark.prepare()) {
            printf("%s: not measured (%s)\n", benchmark.name, problem);
        } else {
            Print(benchmark.name, benchmark.goal, Run(benchmark), "a call");
        }
        if (benchmark.finish) {
            if (const char* problem = benchmark.finish()) {
                printf("%s: not cleaned up (%s)\n", benchmark.name, problem);
            }
        }
        fflush(stdout);
    }
    RunInventoryFigures(kFailoverInventory);
    RunInventoryFigures(kNrxInventory);
    return 0;
}

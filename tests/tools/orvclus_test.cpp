// orvclus.exe as an administrator or a script runs it: its output, its JSON,
// its trace viewer, its answers to bad command lines, and what it says when
// the cluster cannot be reached or read.

#include <windows.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"
#include "orvcluster.h"

namespace {

using orv::UniqueKernelHandle;
using orvtest::Utf8;

struct Outcome {
    DWORD exitCode = STILL_ACTIVE;
    std::string out;
    std::string err;
};

// Moves what the pipe holds now into `text`, without waiting for more.
void Drain(HANDLE pipe, std::string& text) {
    char buffer[4096];
    DWORD available = 0, read = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available > 0) {
        if (!ReadFile(pipe, buffer, available < sizeof(buffer) ? available : sizeof(buffer), &read, nullptr) ||
            read == 0)
            break;
        text.append(buffer, read);
    }
}

// Runs orvclus.exe from this program's folder with `arguments`, standard
// output and standard error captured apart. With a `scenario` (a scenario
// file's Windows path) the run's cluster simulator shows that cluster.
Outcome RunOrvclus(const std::wstring& arguments, const std::wstring& scenario = std::wstring()) {
    Outcome run;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    UniqueKernelHandle outRead, outWrite, errRead, errWrite;
    if (!CreatePipe(outRead.Receive(), outWrite.Receive(), &inheritable, 0) ||
        !CreatePipe(errRead.Receive(), errWrite.Receive(), &inheritable, 0)) {
        ADD_FAILURE() << "CreatePipe failed: " << GetLastError();
        return run;
    }
    SetHandleInformation(outRead.Get(), HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(errRead.Get(), HANDLE_FLAG_INHERIT, 0);

    std::wstring commandLine = L"\"" + orvtest::ProgramFolder() + L"orvclus.exe\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = outWrite.Get();
    startup.hStdError = errWrite.Get();
    PROCESS_INFORMATION created = {};
    // Only the child gets the scenario: this program's own library stays
    // off the cluster.
    if (!scenario.empty()) SetEnvironmentVariableW(L"ORVSIM_SCENARIO", scenario.c_str());
    const BOOL started = CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                        &startup, &created);
    if (!scenario.empty()) SetEnvironmentVariableW(L"ORVSIM_SCENARIO", nullptr);
    if (!started) {
        ADD_FAILURE() << "cannot start orvclus.exe: " << GetLastError();
        return run;
    }
    UniqueKernelHandle process(created.hProcess);
    UniqueKernelHandle thread(created.hThread);
    outWrite.Reset();
    errWrite.Reset();

    // The run is over when orvclus.exe ends, not when its pipes close: the
    // desktop process that Wine starts for the first program to make a
    // window (COM does, for the XML reader) inherits standard error and
    // lives as long as this program.
    for (DWORD waited = 0;; waited += 5) {
        const bool ended = WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0;
        Drain(outRead.Get(), run.out);
        Drain(errRead.Get(), run.err);
        if (ended) break;
        if (waited >= 60000) {
            TerminateProcess(process.Get(), 99);
            ADD_FAILURE() << "orvclus.exe did not end";
            break;
        }
        Sleep(5);
    }
    GetExitCodeProcess(process.Get(), &run.exitCode);
    return run;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Runs orvclus and expects a failure as every command gives it: the exit
// code, one "orvclus: " line on stderr that mentions `mentions`, and with
// --json one object on stdout carrying the same sentence and the exit code.
// Answers the run.
Outcome ExpectFailure(const std::wstring& arguments, DWORD exitCode, const std::string& mentions,
                      const std::wstring& scenario = std::wstring()) {
    SCOPED_TRACE(Utf8(arguments));
    const Outcome run = RunOrvclus(arguments, scenario);
    EXPECT_EQ(exitCode, run.exitCode) << run.err;
    const std::vector<std::string> lines = Lines(run.err);
    if (lines.size() != 1 || !StartsWith(lines[0], "orvclus: ") || !Has(lines[0], mentions)) {
        ADD_FAILURE() << "not one line that mentions " << mentions << ": " << run.err;
        return run;
    }
    if (!Has(Utf8(arguments), "--json")) {
        EXPECT_EQ("", run.out);
        return run;
    }
    nlohmann::json failure;
    EXPECT_NO_THROW(failure = nlohmann::json::parse(run.out)) << run.out;
    EXPECT_EQ(lines[0].substr(9), failure["error"]) << run.out;
    EXPECT_EQ(exitCode, failure["code"]) << run.out;
    return run;
}

// The plain text as label -> value, checking on the way that every line is
// "label:" with its value in the one column shared by all lines.
std::map<std::string, std::string> Fields(const std::vector<std::string>& lines) {
    std::map<std::string, std::string> fields;
    size_t column = 0;
    for (const std::string& line : lines) {
        const size_t colon = line.find(':');
        const size_t value = line.find_first_not_of(' ', colon + 1);
        if (colon == std::string::npos || value == std::string::npos) {
            ADD_FAILURE() << "not a label: value line: " << line;
            continue;
        }
        if (column == 0) column = value;
        EXPECT_EQ(column, value) << "value out of column: " << line;
        fields[line.substr(0, colon)] = line.substr(value);
    }
    return fields;
}

TEST(OrvclusStatus, WithoutClusterInTextAndJson) {
    const Outcome run = RunOrvclus(L"status");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.err) << "nothing goes to stderr without --trace";
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 2u) << run.out;
    EXPECT_EQ("This machine is not part of a cluster.", lines[0]);
    std::map<std::string, std::string> fields = Fields({lines.begin() + 1, lines.end()});
    EXPECT_EQ("not clustered (0)", fields["Cluster type"]);
    EXPECT_EQ("no", fields["Cluster key present"]);
    EXPECT_EQ(Utf8(OrvGetComputerName()), fields["This computer's name"]);
    EXPECT_EQ(Utf8(*Cluster::GetOrvVirtualServerName()), fields["This computer's virtual server name"]);

    // The same facts, and the options of every command before the command.
    const Outcome json = RunOrvclus(L"--json STATUS");
    ASSERT_EQ(0u, json.exitCode) << json.err;
    nlohmann::json status;
    ASSERT_NO_THROW(status = nlohmann::json::parse(json.out)) << json.out;
    const nlohmann::json expected = {
        {"machine", nullptr}, {"cluster_type", 0}, {"cluster_type_name", "not clustered"},
        {"cluster_open", false}, {"cluster_name", ""}, {"nodes", nullptr}, {"cluster_key_present", false},
        {"cluster_service", nullptr}, {"computer_name", Utf8(OrvGetComputerName())}, {"computer_is_node", nullptr},
        {"virtual_server_name", Utf8(*Cluster::GetOrvVirtualServerName())}, {"product_clustered", false},
    };
    EXPECT_EQ(expected, status) << json.out;
}

TEST(OrvclusStatus, MachineNameSurvivesTheTracedRunAndComesBackAsJson) {
    // Blanks, quotes, a trailing backslash and non-ASCII letters must reach
    // the child of the trace viewer unchanged and come out escaped in UTF-8.
    const std::wstring machine = L"N\u00f6d\u00e9 \"B\" C\\";
    const Outcome run = RunOrvclus(L"--machine \"N\u00f6d\u00e9 \\\"B\\\" C\\\\\" status --json --trace");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    nlohmann::json status;
    ASSERT_NO_THROW(status = nlohmann::json::parse(run.out)) << run.out;
    EXPECT_EQ(Utf8(machine), status["machine"]);
    EXPECT_EQ(0, status["cluster_type"]);
}

TEST(OrvclusTrace, LibraryLinesGoToStderrWhileStdoutStaysTheSame) {
    const Outcome plain = RunOrvclus(L"status");
    const Outcome local = RunOrvclus(L"status --trace");
    const Outcome remote = RunOrvclus(L"status --machine NO-SUCH-HOST-X --trace");
    ASSERT_EQ(0u, local.exitCode) << local.err;
    ASSERT_EQ(0u, remote.exitCode) << remote.err;
    EXPECT_EQ(plain.out, local.out);

    const std::regex traceLine(R"(trace: \[\d{4,}\] \d\d/\d\d/\d\d \d\d:\d\d:\d\d (.*))");
    auto messages = [&](const Outcome& run) {
        std::vector<std::string> found;
        for (const std::string& line : Lines(run.err)) {
            std::smatch match;
            EXPECT_TRUE(StartsWith(line, "trace: ")) << line;
            if (std::regex_match(line, match, traceLine)) found.push_back(match[1]);
        }
        return found;
    };
    const auto contains = [](const std::vector<std::string>& found, const std::string& message) {
        return std::find(found.begin(), found.end(), message) != found.end();
    };
    EXPECT_TRUE(contains(messages(local), "\"Cluster\" key does not appear to be present in the registry"))
        << local.err;
    EXPECT_TRUE(contains(messages(remote), "Unable to connect to the registry on NO-SUCH-HOST-X")) << remote.err;

    // A command that never asks the library says that there was nothing to show.
    const Outcome silent = RunOrvclus(L"help --trace");
    EXPECT_EQ(0u, silent.exitCode);
    EXPECT_EQ("orvclus: the library wrote no trace line while the command ran\n", silent.err);
}

TEST(OrvclusUsage, BadCommandLinesGiveExitCode2AndOneLine) {
    const struct {
        const wchar_t* arguments;
        const char* mentions;
    } cases[] = {
        {L"", "no command"},
        {L"frobnicate", "'frobnicate'"},
        {L"status \"\"", "is empty"},
        {L"backup-db \"\"", "is empty"},
        {L"status --foo", "'status' has no option '--foo'"},
        {L"--foo status", "'status' has no option '--foo'"},
        {L"definition --machine N", "'definition' has no option '--machine'"},
        {L"status --machine", "'--machine'"},
        {L"status --machine=", "'--machine'"},
        {L"status --machine --json", "'--machine'"},
        {L"--machine A status --machine B", "more than once"},
        {L"status extra", "'extra'"},
        {L"backup-db", "PATH"},
        {L"backup-db A B", "'B'"},
        {L"resources --type", "'--type'"},
        // What the trace viewer tells its traced run is no option.
        {L"status --traced-run", "'--traced-run'"},
        // Refused before the traced run starts, so said once.
        {L"status --trace --bogus", "'--bogus'"},
        // Refused by the traced run itself, whose exit code comes back.
        {L"help nope --trace", "'nope'"},
    };
    for (const auto& c : cases)
        for (const wchar_t* json : {L"", L"--json "}) ExpectFailure(json + std::wstring(c.arguments), 2, c.mentions);
}

TEST(OrvclusUsage, HelpAndVersionInTextAndJson) {
    for (const wchar_t* arguments : {L"help", L"--help", L"-h"}) {
        const Outcome run = RunOrvclus(arguments);
        EXPECT_EQ(0u, run.exitCode) << run.err;
        EXPECT_TRUE(Has(run.out, "status") && Has(run.out, "--json")) << run.out;
    }
    const Outcome status = RunOrvclus(L"status --help");
    EXPECT_TRUE(Has(status.out, "--machine NAME")) << status.out;
    EXPECT_FALSE(Has(status.out, "traced")) << status.out;

    const Outcome help = RunOrvclus(L"help --json");
    nlohmann::json usage;
    ASSERT_NO_THROW(usage = nlohmann::json::parse(help.out)) << help.out;
    EXPECT_EQ("status", usage["commands"][0]["name"]);
    const Outcome one = RunOrvclus(L"--json help BACKUP-DB");
    ASSERT_NO_THROW(usage = nlohmann::json::parse(one.out)) << one.out;
    EXPECT_EQ("orvclus backup-db PATH [--machine NAME] [--json] [--trace]", usage["usage"]);

    const Outcome version = RunOrvclus(L"--version");
    EXPECT_EQ(0u, version.exitCode);
    EXPECT_TRUE(StartsWith(version.out, "orvclus ")) << version.out;
    EXPECT_TRUE(Has(version.out, "orvcluster.dll")) << version.out;
}

// ---- On the example clusters ----

const std::wstring kScenario = orvtest::ExampleScenario();

// Runs orvclus with the example cluster and answers its JSON.
nlohmann::json JsonOnExampleCluster(const std::wstring& arguments) {
    const Outcome run = RunOrvclus(arguments + L" --json", kScenario);
    EXPECT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.err);
    nlohmann::json parsed;
    EXPECT_NO_THROW(parsed = nlohmann::json::parse(run.out)) << run.out;
    return parsed;
}

TEST(OrvclusCluster, StatusNamesTheClusterAndSaysWhichLinesAreAboutThisComputer) {
    const nlohmann::json status = JsonOnExampleCluster(L"status");
    EXPECT_EQ(1, status["cluster_type"]);
    EXPECT_EQ("ORVCLUS01", status["cluster_name"]);
    EXPECT_EQ(nlohmann::json({"NODE1", "NODE2"}), status["nodes"]);
    const std::string computer = Utf8(OrvGetComputerName());
    const bool isNode = computer == "NODE1" || computer == "NODE2";
    EXPECT_EQ(isNode, status["computer_is_node"]);

    // Asked about the cluster by its name, the lines about this computer say so.
    for (const wchar_t* arguments : {L"status", L"status --machine ORVCLUS01"}) {
        const Outcome text = RunOrvclus(arguments, kScenario);
        ASSERT_EQ(0u, text.exitCode) << text.err;
        const std::vector<std::string> lines = Lines(text.out);
        ASSERT_GE(lines.size(), 2u) << text.out;
        const bool local = Utf8(arguments) == "status";
        EXPECT_EQ(!local              ? "ORVCLUS01 belongs to failover cluster ORVCLUS01."
                  : isNode ? "This machine belongs to failover cluster ORVCLUS01."
                           : "This machine can reach failover cluster ORVCLUS01 but is not one of its nodes.",
                  lines[0]);
        std::map<std::string, std::string> fields = Fields({lines.begin() + 1, lines.end()});
        EXPECT_EQ("failover cluster (1)", fields["Cluster type"]);
        EXPECT_EQ("NODE1, NODE2", fields["Nodes"]);
        EXPECT_EQ(computer, fields["This computer's name"]);
        EXPECT_EQ(isNode ? "yes" : "no", fields["This computer is a node"]);
    }
}

TEST(OrvclusCluster, NodesResourcesAndNetworksAsJson) {
    const nlohmann::json nodes = JsonOnExampleCluster(L"nodes");
    EXPECT_EQ("ORVCLUS01", nodes["cluster_name"]);
    ASSERT_EQ(2u, nodes["nodes"].size()) << nodes;
    EXPECT_EQ("NODE2", nodes["nodes"][1]["name"]);

    // The type is matched exactly; every other fact comes from the resource itself.
    const nlohmann::json names = JsonOnExampleCluster(L"resources --type \"Network Name\"");
    const nlohmann::json expected = {
        {{"name", "Cluster Name"}, {"type", "Network Name"}, {"group", "Cluster Group"},
         {"owner_node", "NODE1"}, {"state", "online"}, {"state_code", 2}},
        {{"name", "Orvane Server Name"}, {"type", "Network Name"}, {"group", "Orvane Group"},
         {"owner_node", "NODE1"}, {"state", "online"}, {"state_code", 2}},
        {{"name", "SQL Network Name (SQLVS01)"}, {"type", "Network Name"}, {"group", "SQL Server (MSSQLSERVER)"},
         {"owner_node", "NODE2"}, {"state", "online"}, {"state_code", 2}},
    };
    EXPECT_EQ(expected, names["resources"]) << names;
    EXPECT_EQ(16u, JsonOnExampleCluster(L"resources")["resources"].size());
    EXPECT_EQ(0u, JsonOnExampleCluster(L"resources --type Nothing")["resources"].size());
    ExpectFailure(L"resources --type \"network name\"", 1,
                  "no resource has type \"network name\"; did you mean \"Network Name\"?", kScenario);

    const nlohmann::json networks = JsonOnExampleCluster(L"networks");
    const nlohmann::json expectedNetworks = {
        {{"name", "Public"}, {"role", "cluster and clients"}, {"role_code", 3}, {"address", "10.20.30.0"},
         {"address_mask", "255.255.255.0"}},
        {{"name", "Heartbeat"}, {"role", "cluster only"}, {"role_code", 1}, {"address", "192.168.100.0"},
         {"address_mask", "255.255.255.0"}},
    };
    EXPECT_EQ(expectedNetworks, networks["networks"]) << networks;
}

TEST(OrvclusCluster, GroupsAsAnAlignedTable) {
    const Outcome run = RunOrvclus(L"groups", kScenario);
    EXPECT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("Cluster ORVCLUS01 has 4 groups.\n\n"
              "Group                     Owner node  State\n"
              "------------------------  ----------  ------\n"
              "Cluster Group             NODE1       online\n"
              "Orvane Group              NODE1       online\n"
              "SQL Server (MSSQLSERVER)  NODE2       online\n"
              "Cluster Shared Volume     NODE1       online\n",
              run.out);
}

TEST(OrvclusCluster, DrivesDisksAndSharedVolumes) {
    EXPECT_EQ(nlohmann::json({"Q:", "S:", "T:", "U:", "C:\\ClusterStorage\\Volume1"}),
              JsonOnExampleCluster(L"drives")["drives"]);

    const nlohmann::json disks = JsonOnExampleCluster(L"disks")["disks"];
    ASSERT_EQ(5u, disks.size()) << disks;
    EXPECT_EQ("Cluster Disk 1", disks[1]["name"]);
    const nlohmann::json partition = {{"device", "S:"}, {"label", "Orvane Data"}, {"number", 1},
                                      {"volume_guid", "{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d702}"}};
    EXPECT_EQ(nlohmann::json::array({partition}), disks[1]["partitions"]);

    const nlohmann::json shared = JsonOnExampleCluster(L"shared-volumes");
    EXPECT_EQ("C:\\ClusterStorage\\", shared["shared_volumes_root"]);
    ASSERT_EQ(1u, shared["resources"].size()) << shared;
    EXPECT_EQ("Cluster Disk 3", shared["resources"][0]["name"]);
    const nlohmann::json volume = {{"friendly_name", "Volume1"}, {"partition", 2}, {"offset", 135266304},
                                   {"fault_state", "none"}, {"backup_in_progress", false},
                                   {"volume_name", "\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\"}};
    EXPECT_EQ(nlohmann::json::array({volume}), shared["resources"][0]["volumes"]);
}

TEST(OrvclusCluster, DefinitionNamesItsFileAndSaysWhyAFileCannotBeUsed) {
    const std::wstring examples = orvtest::ExamplePath();
    const nlohmann::json definition = JsonOnExampleCluster(L"definition --dir \"" + examples + L"\"");
    EXPECT_EQ(Utf8(examples) + "\\clusconfig.xml", definition["file"]);
    EXPECT_EQ("Orvane", definition["product"]);
    EXPECT_EQ("\\Brassel\\Orvane\\", definition["default_directory"]);
    const nlohmann::json& table = definition["resources"];
    ASSERT_EQ(5u, table.size()) << definition;
    EXPECT_EQ(nullptr, table[0]["service"]);
    const nlohmann::json third = {{"name", "Orvane Discovery Service"}, {"type", "Generic Service"},
                                  {"service", "OrvDiscovery"}, {"dependencies", nlohmann::json::array()}};
    EXPECT_EQ(third, table[2]);
    EXPECT_EQ(nlohmann::json({"Orvane Job Engine"}), table[4]["dependencies"]);

    // The library reads its definition once per run: each file gets a run of its own.
    orvtest::ScratchFolder folder(L"orvclus-definition");
    const struct {
        const wchar_t* folder;
        const char* text;  // null: no file
        const char* mentions;
    } cases[] = {
        {L"empty", nullptr, "no readable clusconfig.xml in \""},
        {L"broken", "<ClusterDefinition>\n  <Section name=\"INFO\">\n</ClusterDefinition>\n", "xml\": line "},
        {L"foreign", "<Settings><Item name=\"Colour\">red</Item></Settings>\n", "has none of the keys"},
    };
    for (const auto& c : cases) {
        const std::wstring where = folder.Path() + L"\\" + c.folder;
        CreateDirectoryW(where.c_str(), nullptr);
        if (c.text) folder.Write(c.folder + std::wstring(L"\\clusconfig.xml"), c.text);
        const Outcome run = ExpectFailure(L"definition --json --dir \"" + where + L"\"", 1, c.mentions, kScenario);
        EXPECT_TRUE(Has(run.err, "\"" + Utf8(where) + (c.text ? "\\clusconfig.xml\"" : "\""))) << run.err;
    }
}

TEST(OrvclusCluster, BackupWhereTheClusterVersionOffersIt) {
    // Version 6.1 no longer offers a backup of the cluster database.
    ExpectFailure(L"backup-db C:\\", 1,
                  "cluster ORVCLUS01 (version 6.1) does not offer a backup of its database; this was removed in "
                  "version 6.0",
                  kScenario);

    const std::wstring older = orvtest::ExamplePath("scenarios/two-node-failover-2003.json");
    orvtest::ScratchFolder folder(L"orvclus-backup");
    const Outcome done = RunOrvclus(L"backup-db --json \"" + folder.Path() + L"\"", older);
    EXPECT_EQ(0u, done.exitCode) << done.err;
    EXPECT_EQ("", done.err);
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((folder.Path() + L"\\chk0001.tmp").c_str()))
        << done.out;

    const std::wstring missing = folder.Path() + L"\\missing";
    const Outcome failed = ExpectFailure(L"backup-db \"" + missing + L"\" --json", 1,
                                         "cannot back up the database of cluster ORVCLUS52 to \"" + Utf8(missing) +
                                             "\": ", older);
    EXPECT_EQ(3, nlohmann::json::parse(failed.out)["system_error"]) << failed.out;
}

// ---- When there is no cluster to show ----

TEST(OrvclusNoCluster, EveryCommandSaysWhyInOneLineAndExitCode1) {
    for (const wchar_t* command : {L"nodes", L"resources", L"groups", L"networks", L"drives", L"disks",
                                   L"shared-volumes", L"backup-db C:\\", L"definition"})
        ExpectFailure(std::wstring(command) + L" --json", 1, "this machine is not part of a cluster");
}

TEST(OrvclusNoCluster, AScenarioThatCannotBeLoadedSaysWhy) {
    orvtest::ScratchFolder folder(L"orvclus-scenario");
    const struct {
        const wchar_t* file;
        const char* text;  // null: no file
        const char* mentions;
    } cases[] = {
        {L"missing.json", nullptr, "cannot read"},
        {L"text.json", "two nodes, one disk\n", "scenario"},
        {L"misspelt.json", "{\"cluster\": {\"name\": \"C\", \"verison\": {}}}\n", "unknown field 'verison'"},
    };
    for (const auto& c : cases) {
        const std::wstring path = c.text ? folder.Write(c.file, c.text) : folder.Path() + L"\\" + c.file;
        for (const wchar_t* command : {L"status", L"groups --json"}) {
            const Outcome run = ExpectFailure(command, 1, "orvclus: the simulated cluster could not be loaded: ", path);
            EXPECT_TRUE(Has(run.err, c.mentions)) << run.err;
        }
    }
}

// This computer with the cluster key and a cluster service that is not
// running: the library waits for one that starts, and orvclus says so.
TEST(OrvclusNoCluster, ClusterNodeWhoseServiceDoesNotRun) {
    orvtest::RemoveService(L"ClusSvc");
    orvtest::ScopedMachineKey clusterKey(L"Cluster");
    const struct {
        DWORD startType;
        const char* why;
        const char* progress;
    } cases[] = {
        {SERVICE_DEMAND_START, "its cluster service (ClusSvc) is not running", nullptr},
        {SERVICE_AUTO_START, "its cluster service (ClusSvc) did not start within 60 seconds",
         "orvclus: waiting for the cluster service (ClusSvc) to start; this can take up to 60 seconds...\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        orvtest::TestService service(L"ClusSvc", L"", c.startType);
        const Outcome status = RunOrvclus(L"status", kScenario);
        EXPECT_EQ(0u, status.exitCode);
        EXPECT_EQ(c.progress ? c.progress : "", status.err);
        EXPECT_EQ(std::string("This machine is a cluster node, but ") + c.why + ".", Lines(status.out).at(0));
        EXPECT_TRUE(Has(status.out, c.progress ? "ClusSvc starting" : "ClusSvc not running")) << status.out;

        const Outcome nodes = RunOrvclus(L"nodes", kScenario);
        EXPECT_EQ(1u, nodes.exitCode);
        EXPECT_EQ(std::string(c.progress ? c.progress : "") + "orvclus: this machine is a cluster node, but " +
                      c.why + "\n", nodes.err);
    }
}

}  // namespace

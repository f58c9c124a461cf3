// orvclus.exe as an administrator or a script runs it: its output, its JSON,
// its trace viewer and its answers to bad command lines.

#include <windows.h>

#include <algorithm>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"
#include "orvcluster.h"
#include "support/unique_handle.h"

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
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
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

TEST(OrvclusStatus, PlainTextOnAMachineWithoutCluster) {
    const Outcome run = RunOrvclus(L"status");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.err) << "nothing goes to stderr without --trace";

    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 2u) << run.out;
    EXPECT_EQ("This machine is not part of a cluster.", lines[0]);
    std::map<std::string, std::string> fields = Fields({lines.begin() + 1, lines.end()});
    EXPECT_EQ("0 (not clustered)", fields["Cluster type"]);
    EXPECT_EQ("no", fields["Cluster open"]);
    EXPECT_EQ("no", fields["Cluster key present"]);
    EXPECT_EQ(Utf8(OrvGetComputerName()), fields["Computer name"]);
    EXPECT_EQ(Utf8(*Cluster::GetOrvVirtualServerName()), fields["Virtual server name"]);
    EXPECT_EQ("no", fields["Product clustered"]);
}

TEST(OrvclusStatus, JsonIsOneObjectOfTheSameFacts) {
    const Outcome run = RunOrvclus(L"status --json");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    nlohmann::json status;
    ASSERT_NO_THROW(status = nlohmann::json::parse(run.out)) << run.out;
    const nlohmann::json expected = {
        {"machine", nullptr},
        {"cluster_type", 0},
        {"cluster_type_name", "not clustered"},
        {"cluster_open", false},
        {"cluster_name", ""},
        {"nodes", nullptr},
        {"cluster_key_present", false},
        {"computer_name", Utf8(OrvGetComputerName())},
        {"computer_is_node", nullptr},
        {"virtual_server_name", Utf8(*Cluster::GetOrvVirtualServerName())},
        {"product_clustered", false},
    };
    EXPECT_EQ(expected, status) << run.out;
}

TEST(OrvclusStatus, MachineNameSurvivesTheTracedRunAndComesBackAsJson) {
    // Blanks, quotes, a trailing backslash and non-ASCII letters must reach
    // the child of the trace viewer unchanged and come out escaped in UTF-8.
    const std::wstring machine = L"N\u00f6d\u00e9 \"B\" C\\";
    const Outcome run = RunOrvclus(L"status --machine \"N\u00f6d\u00e9 \\\"B\\\" C\\\\\" --json --trace");
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
    const std::vector<std::string> localMessages = messages(local);
    const std::vector<std::string> remoteMessages = messages(remote);
    EXPECT_NE(localMessages.end(),
              std::find(localMessages.begin(), localMessages.end(),
                        "\"Cluster\" key does not appear to be present in the registry"))
        << local.err;
    EXPECT_NE(remoteMessages.end(),
              std::find(remoteMessages.begin(), remoteMessages.end(),
                        "Unable to connect to the registry on NO-SUCH-HOST-X"))
        << remote.err;
}

TEST(OrvclusUsage, BadCommandLinesGiveExitCode2AndOneLine) {
    const struct {
        const wchar_t* arguments;
        const char* mentions;
    } cases[] = {
        {L"", "no command"},
        {L"frobnicate", "'frobnicate'"},
        {L"status --foo", "unknown option '--foo'"},
        {L"status --machine", "'--machine'"},
        {L"status --machine --json", "'--machine'"},
        {L"status extra", "'extra'"},
        {L"backup-db", "PATH"},
        {L"backup-db A B", "'B'"},
        {L"resources --type", "'--type'"},
        // Refused before the traced run starts, so said once.
        {L"status --trace --bogus", "'--bogus'"},
        // Refused by the traced run itself, whose exit code comes back.
        {L"help nope --trace", "'nope'"},
    };
    for (const auto& c : cases) {
        const Outcome run = RunOrvclus(c.arguments);
        SCOPED_TRACE(std::string("arguments: ") + Utf8(c.arguments));
        EXPECT_EQ(2u, run.exitCode);
        EXPECT_EQ("", run.out);
        const std::vector<std::string> lines = Lines(run.err);
        ASSERT_EQ(1u, lines.size()) << run.err;
        EXPECT_TRUE(StartsWith(lines[0], "orvclus: ")) << lines[0];
        EXPECT_NE(std::string::npos, lines[0].find(c.mentions)) << lines[0];
    }
}

TEST(OrvclusUsage, HelpNamesTheCommandsAndTheirOptions) {
    for (const wchar_t* arguments : {L"help", L"--help"}) {
        const Outcome run = RunOrvclus(arguments);
        EXPECT_EQ(0u, run.exitCode) << run.err;
        EXPECT_NE(std::string::npos, run.out.find("status")) << run.out;
        EXPECT_NE(std::string::npos, run.out.find("--json")) << run.out;
    }
    const Outcome status = RunOrvclus(L"status --help");
    EXPECT_EQ(0u, status.exitCode) << status.err;
    EXPECT_NE(std::string::npos, status.out.find("--machine NAME")) << status.out;
}

// ---- On the example cluster ----

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

// The cells of a plain-text table (its heading line, the rule of dashes
// under it, then its rows), checking on the way that every cell begins in
// its column, right where the rule's dashes begin.
std::vector<std::vector<std::string>> TableCells(const std::vector<std::string>& lines) {
    std::vector<std::vector<std::string>> cells;
    if (lines.size() < 2) {
        ADD_FAILURE() << "no table";
        return cells;
    }
    const std::string& rule = lines[1];
    std::vector<size_t> starts;
    for (size_t i = 0; i < rule.size(); ++i) {
        EXPECT_TRUE(rule[i] == '-' || rule[i] == ' ') << rule;
        if (rule[i] == '-' && (i == 0 || rule[i - 1] == ' ')) starts.push_back(i);
    }
    for (size_t row = 0; row < lines.size(); ++row) {
        if (row == 1) continue;
        const std::string& line = lines[row];
        cells.emplace_back();
        for (size_t column = 0; column < starts.size(); ++column) {
            const size_t start = starts[column];
            const size_t end = column + 1 < starts.size() ? starts[column + 1] : std::string::npos;
            EXPECT_TRUE(start < line.size() && line[start] != ' ')
                << "no cell in column " << column << ": " << line;
            if (start > 0 && start <= line.size()) {
                EXPECT_EQ(' ', line[start - 1]) << "cell out of column: " << line;
            }
            std::string cell;
            if (start < line.size()) cell = line.substr(start, end == std::string::npos ? end : end - start);
            cell.erase(cell.find_last_not_of(' ') + 1);
            cells.back().push_back(cell);
        }
    }
    return cells;
}

TEST(OrvclusCluster, StatusNamesTheClusterItsNodesAndWhetherThisComputerIsOne) {
    const nlohmann::json status = JsonOnExampleCluster(L"status");
    EXPECT_EQ(1, status["cluster_type"]);
    EXPECT_EQ(true, status["cluster_open"]);
    EXPECT_EQ("ORVCLUS01", status["cluster_name"]);
    EXPECT_EQ(nlohmann::json({"NODE1", "NODE2"}), status["nodes"]);
    const std::string computer = Utf8(OrvGetComputerName());
    EXPECT_EQ(computer == "NODE1" || computer == "NODE2", status["computer_is_node"]);

    const Outcome text = RunOrvclus(L"status", kScenario);
    ASSERT_EQ(0u, text.exitCode) << text.err;
    const std::vector<std::string> lines = Lines(text.out);
    ASSERT_GE(lines.size(), 2u) << text.out;
    EXPECT_EQ("This machine belongs to a failover cluster.", lines[0]);
    std::map<std::string, std::string> fields = Fields({lines.begin() + 1, lines.end()});
    EXPECT_EQ("NODE1, NODE2", fields["Cluster nodes"]);
    EXPECT_EQ(status["computer_is_node"] == true ? "yes" : "no", fields["Computer is a node"]);
}

TEST(OrvclusCluster, NodesResourcesAndNetworksAsJson) {
    const nlohmann::json nodes = JsonOnExampleCluster(L"nodes");
    EXPECT_EQ("ORVCLUS01", nodes["cluster_name"]);
    ASSERT_EQ(2u, nodes["nodes"].size()) << nodes;
    EXPECT_EQ("NODE1", nodes["nodes"][0]["name"]);
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
    EXPECT_EQ(0u, JsonOnExampleCluster(L"resources --type \"network name\"")["resources"].size());
    EXPECT_EQ(16u, JsonOnExampleCluster(L"resources")["resources"].size());

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
    ASSERT_EQ(0u, run.exitCode) << run.err;
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 4u) << run.out;
    EXPECT_EQ("Cluster ORVCLUS01 has 4 groups.", lines[0]);
    EXPECT_EQ("", lines[1]);
    const std::vector<std::vector<std::string>> expected = {
        {"Group", "Owner", "State"},
        {"Cluster Group", "NODE1", "online"},
        {"Orvane Group", "NODE1", "online"},
        {"SQL Server (MSSQLSERVER)", "NODE2", "online"},
        {"Cluster Shared Volume", "NODE1", "online"},
    };
    EXPECT_EQ(expected, TableCells({lines.begin() + 2, lines.end()})) << run.out;
}

TEST(OrvclusCluster, DrivesDisksAndSharedVolumes) {
    EXPECT_EQ(nlohmann::json({"Q:\\", "S:\\", "T:\\", "U:\\", "C:\\ClusterStorage\\Volume1\\"}),
              JsonOnExampleCluster(L"drives")["drives"]);

    const nlohmann::json disks = JsonOnExampleCluster(L"disks")["disks"];
    ASSERT_EQ(5u, disks.size()) << disks;
    EXPECT_EQ("Cluster Disk 1", disks[1]["name"]);
    const nlohmann::json partition = {{"device", "S:\\"}, {"label", "Orvane Data"}, {"number", 1},
                                      {"volume_guid", "{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d702}"}};
    EXPECT_EQ(nlohmann::json::array({partition}), disks[1]["partitions"]);

    const nlohmann::json shared = JsonOnExampleCluster(L"shared-volumes");
    EXPECT_EQ("C:\\ClusterStorage\\", shared["shared_volumes_root"]);
    ASSERT_EQ(1u, shared["resources"].size()) << shared;
    EXPECT_EQ("Cluster Disk 3", shared["resources"][0]["name"]);
    const nlohmann::json volume = {{"friendly_name", "Volume1"},
                                   {"partition", 2},
                                   {"offset", 135266304},
                                   {"fault_state", "none"},
                                   {"backup_in_progress", false},
                                   {"volume_name", "\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\"}};
    EXPECT_EQ(nlohmann::json::array({volume}), shared["resources"][0]["volumes"]);
}

TEST(OrvclusCluster, DefinitionShowsTheServiceResourceTable) {
    const nlohmann::json definition =
        JsonOnExampleCluster(L"definition --dir \"" + orvtest::ExamplePath() + L"\"");
    EXPECT_EQ("clusconfig.xml", definition["file_name"]);
    EXPECT_EQ("Orvane", definition["product"]);
    EXPECT_EQ("Orvane Group", definition["default_group"]);
    EXPECT_EQ("\\Brassel\\Orvane\\", definition["default_dir"]);
    const nlohmann::json& table = definition["resources"];
    ASSERT_EQ(5u, table.size()) << definition;
    EXPECT_EQ("Orvane IP Address", table[0]["name"]);
    EXPECT_EQ(nullptr, table[0]["service"]);
    EXPECT_EQ("Network Name", table[1]["type"]);
    const nlohmann::json third = {{"name", "Orvane Discovery Service"}, {"type", "Generic Service"},
                                  {"service", "OrvDiscovery"}, {"dependencies", nlohmann::json::array()}};
    EXPECT_EQ(third, table[2]);
    EXPECT_EQ(nlohmann::json({"Orvane Discovery Service"}), table[3]["dependencies"]);
    EXPECT_EQ(nlohmann::json({"Orvane Job Engine"}), table[4]["dependencies"]);
}

TEST(OrvclusCluster, BackupIntoAFolderAndIntoAMissingOne) {
    orvtest::ScratchFolder folder(L"orvclus-backup");
    const Outcome done = RunOrvclus(L"backup-db \"" + folder.Path() + L"\"", kScenario);
    EXPECT_EQ(0u, done.exitCode) << done.err;
    EXPECT_EQ("", done.err);
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((folder.Path() + L"\\chk0001.tmp").c_str()))
        << done.out;

    const std::wstring missing = folder.Path() + L"\\missing";
    const Outcome failed = RunOrvclus(L"backup-db \"" + missing + L"\" --json", kScenario);
    EXPECT_EQ(1u, failed.exitCode);
    EXPECT_EQ("", failed.out);
    const std::vector<std::string> lines = Lines(failed.err);
    ASSERT_EQ(1u, lines.size()) << failed.err;
    EXPECT_TRUE(
        StartsWith(lines[0], "orvclus: cannot back up the database of cluster ORVCLUS01 to " + Utf8(missing)))
        << lines[0];
    EXPECT_NE(std::string::npos, lines[0].find("(error 3)")) << lines[0];
}

TEST(OrvclusCluster, InventoryWithoutClusterIsOneLineAndExitCode1) {
    for (const wchar_t* command : {L"nodes", L"resources", L"groups", L"networks", L"drives", L"disks",
                                   L"shared-volumes", L"backup-db C:\\", L"definition"}) {
        SCOPED_TRACE(Utf8(command));
        const Outcome run = RunOrvclus(std::wstring(command) + L" --json");
        EXPECT_EQ(1u, run.exitCode);
        EXPECT_EQ("", run.out);
        EXPECT_EQ("orvclus: this machine is not part of a cluster\n", run.err);
    }
}

}  // namespace

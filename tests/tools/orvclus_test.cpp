// orvclus.exe as an administrator or a script runs it: its output, its JSON,
// its trace viewer, its answers to bad command lines, and what it says when
// the cluster cannot be reached or read.

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/orvclus_runner.h"
#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"

namespace {

using orvtest::ExpectAnswer;
using orvtest::Has;
using orvtest::Lines;
using orvtest::Me;
using orvtest::OrvclusRun;
using orvtest::RunOrvclus;
using orvtest::StartsWith;
using orvtest::Utf8;

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

// The bundled cluster, whose first node is this computer; the cluster of
// version 5.2, whose nodes are NODE1 and NODE2; no cluster at all.
const std::wstring kScenario = orvtest::ExampleScenario();
const std::wstring kOlderScenario = orvtest::ExamplePath("scenarios/two-node-failover-2003.json");
const std::wstring kNoCluster;

// The bundled cluster with two resources that refuse to come online, the
// product's RPC service and the SQL Server agent, and the product's discovery
// service offline, ready to come online.
std::wstring WriteRefusingScenario(const orvtest::ScratchFolder& folder) {
    std::ifstream file(Utf8(kScenario));
    nlohmann::json scenario = nlohmann::json::parse(file);
    const nlohmann::json refuses = {{"online", {{"result", "failed"}}}};
    for (nlohmann::json& resource : scenario["resources"]) {
        const std::string name = resource["name"];
        const bool refusing = name == "Orvane RPC Service" || name == "SQL Server Agent (MSSQLSERVER)";
        if (refusing) resource["transitions"] = refuses;
        if (refusing || name == "Orvane Discovery Service") resource["state"] = "offline";
    }
    return folder.Write(L"refusing.json", scenario.dump());
}

TEST(OrvclusStatus, MachineNameSurvivesTheTracedRunAndComesBackAsJson) {
    // Blanks, quotes, a trailing backslash and non-ASCII letters must reach
    // the child of the trace viewer unchanged and come out escaped in UTF-8.
    const OrvclusRun run = RunOrvclus(L"--machine \"N\u00f6d\u00e9 \\\"B\\\" C\\\\\" status --json --trace");
    EXPECT_EQ(0u, run.exitCode) << run.err;
    orvtest::ExpectJsonAt(run.out, R"({"/machine": "N\u00f6d\u00e9 \"B\" C\\", "/cluster_type": 0})");
}

TEST(OrvclusTrace, LibraryLinesGoToStderrWhileStdoutStaysTheSame) {
    const OrvclusRun plain = RunOrvclus(L"status");
    const OrvclusRun local = RunOrvclus(L"status --trace");
    const OrvclusRun remote = RunOrvclus(L"status --machine NO-SUCH-HOST-X --trace");
    ASSERT_EQ(0u, local.exitCode) << local.err;
    ASSERT_EQ(0u, remote.exitCode) << remote.err;
    EXPECT_EQ(plain.out, local.out);

    // Every line on stderr is a trace line; one of them is exactly `message`.
    const auto traced = [](const OrvclusRun& run, const std::string& message) {
        const std::regex traceLine(R"(trace: \[\d{4,}\] \d\d/\d\d/\d\d \d\d:\d\d:\d\d (.*))");
        bool found = false;
        for (const std::string& line : Lines(run.err)) {
            std::smatch match;
            EXPECT_TRUE(StartsWith(line, "trace: ")) << line;
            if (std::regex_match(line, match, traceLine) && match[1] == message) found = true;
        }
        return found;
    };
    EXPECT_TRUE(traced(local, "\"Cluster\" key does not appear to be present in the registry")) << local.err;
    EXPECT_TRUE(traced(remote, "Unable to connect to the registry on NO-SUCH-HOST-X")) << remote.err;

    // A command that never asks the library says that there was nothing to show.
    const OrvclusRun silent = RunOrvclus(L"help --trace");
    EXPECT_EQ(0u, silent.exitCode);
    EXPECT_EQ("orvclus: the library wrote no trace line while the command ran\n", silent.err);
}

TEST(OrvclusUsage, HelpAndVersionInTextAndJson) {
    for (const wchar_t* arguments : {L"help", L"--help", L"-h"}) {
        const OrvclusRun run = RunOrvclus(arguments);
        EXPECT_EQ(0u, run.exitCode) << run.err;
        EXPECT_TRUE(Has(run.out, "status") && Has(run.out, "--json")) << run.out;
    }
    const OrvclusRun status = RunOrvclus(L"status --help");
    EXPECT_TRUE(Has(status.out, "--machine NAME")) << status.out;
    EXPECT_FALSE(Has(status.out, "traced")) << status.out;

    orvtest::ExpectJsonAt(RunOrvclus(L"help --json").out, R"({"/commands/0/name": "status"})");
    orvtest::ExpectJsonAt(RunOrvclus(L"--json help BACKUP-DB").out,
                          R"({"/usage": "orvclus backup-db PATH [--machine NAME] [--json] [--trace]"})");
    const OrvclusRun online = RunOrvclus(L"help online");
    EXPECT_TRUE(Has(online.out, "Usage: orvclus online sql|service NAME [--machine NAME] [--timeout MS]") &&
                Has(online.out, "(default 60000)"))
        << online.out;

    const OrvclusRun version = RunOrvclus(L"--version");
    EXPECT_EQ(0u, version.exitCode);
    EXPECT_TRUE(StartsWith(version.out, "orvclus ")) << version.out;
    EXPECT_TRUE(Has(version.out, "orvcluster.dll")) << version.out;
}

// What an administrator asks and what orvclus answers, in words and as JSON.
// A success (exit code 0) shows `text` as its headline and the "Label=value"
// lines of `fields` among its fields, with nothing on stderr but `progress`;
// a failure says why in one line that mentions `text`, after `progress`. The
// JSON answer holds `json`'s values at their JSON pointers (missing: null).
TEST(Orvclus, AnswersInWordsAndAsJson) {
    orvtest::ScratchFolder folder(L"orvclus-answers");
    const std::wstring refusing = WriteRefusingScenario(folder);
    // Asked about the cluster by its name, the headline names it; the lines
    // about this computer stay the same.
    const char* const clusterStatus =
        "Cluster type=failover cluster (1)\nNodes=%ME%, NODE2\nThis computer is a node=yes\n"
        "This computer's virtual server name=ORVANESRV\nProduct's active node=%ME%\n"
        "Product clustered on this computer=yes";
    const struct {
        const wchar_t* arguments;
        const char* text;
        DWORD exitCode = 2;
        const std::wstring& scenario = kNoCluster;
        const char* json = nullptr;
        const char* fields = "";
        const char* progress = nullptr;
    } cases[] = {
        // ---- Without a cluster; the options of every command before the command ----
        {L"STATUS", "This machine is not part of a cluster.", 0, kNoCluster,
         R"({"": {"machine": null, "cluster_type": 0, "cluster_type_name": "not clustered", "cluster_open": false,
                  "cluster_name": "", "nodes": null, "cluster_key_present": false, "cluster_service": null,
                  "computer_name": "%ME%", "computer_is_node": null, "virtual_server_name": "%ME%",
                  "active_node": null, "product_clustered": false}})",
         "Cluster type=not clustered (0)\nCluster key present=no\nThis computer's name=%ME%\n"
         "This computer's virtual server name=%ME%"},
        // ---- What the example clusters are made of ----
        {L"status", "This machine belongs to failover cluster ORVCLUS01.", 0, kScenario,
         R"({"/cluster_type": 1, "/cluster_name": "ORVCLUS01", "/nodes": ["%ME%", "NODE2"], "/computer_is_node": true,
             "/virtual_server_name": "ORVANESRV", "/active_node": "%ME%", "/product_clustered": true})",
         clusterStatus},
        {L"status --machine ORVCLUS01", "ORVCLUS01 belongs to failover cluster ORVCLUS01.", 0, kScenario,
         R"({"/machine": "ORVCLUS01", "/cluster_name": "ORVCLUS01", "/computer_is_node": true})", clusterStatus},
        {L"nodes", "Cluster ORVCLUS01 has 2 nodes.", 0, kScenario,
         R"({"/cluster_name": "ORVCLUS01",
             "/nodes": [{"name": "%ME%", "is_this_computer": true}, {"name": "NODE2", "is_this_computer": false}]})"},
        // The type is matched exactly; every other fact comes from the resource itself.
        {L"resources --type \"Network Name\"", "Cluster ORVCLUS01 has 4 resources of type \"Network Name\".", 0,
         kScenario, R"json({"/resources": [
             {"name": "Cluster Name", "type": "Network Name", "group": "Cluster Group", "owner_node": "%ME%",
              "state": "online", "state_code": 2},
             {"name": "Orvane Server Name", "type": "Network Name", "group": "Orvane Group", "owner_node": "%ME%",
              "state": "online", "state_code": 2},
             {"name": "SQL Network Name (SQLVS01)", "type": "Network Name", "group": "SQL Server (MSSQLSERVER)",
              "owner_node": "NODE2", "state": "online", "state_code": 2},
             {"name": "Exchange Network Name", "type": "Network Name", "group": "Exchange Group",
              "owner_node": "NODE2", "state": "online", "state_code": 2}]})json"},
        {L"resources", "Cluster ORVCLUS01 has 20 resources.", 0, kScenario,
         R"({"/resources/19/name": "Exchange Information Store", "/resources/20": null})"},
        {L"resources --type Nothing", "Cluster ORVCLUS01 has 0 resources of type \"Nothing\".", 0, kScenario,
         R"({"/resources": []})"},
        {L"resources --type \"network name\"", "no resource has type \"network name\"; did you mean \"Network Name\"?",
         1, kScenario},
        {L"networks", "Cluster ORVCLUS01 has 2 networks.", 0, kScenario, R"({"/networks": [
             {"name": "Public", "role": "cluster and clients", "role_code": 3, "address": "10.20.30.0",
              "address_mask": "255.255.255.0"},
             {"name": "Heartbeat", "role": "cluster only", "role_code": 1, "address": "192.168.100.0",
              "address_mask": "255.255.255.0"}]})"},
        {L"drives", "The disks of cluster ORVCLUS01 hold 5 drives.", 0, kScenario,
         R"({"/drives": ["Q:", "S:", "T:", "U:", "C:\\ClusterStorage\\Volume1"]})"},
        {L"disks", "Cluster ORVCLUS01 has 5 shared disks.", 0, kScenario,
         R"({"/disks/1/name": "Cluster Disk 1", "/disks/4/name": "Cluster Disk 3", "/disks/5": null,
             "/disks/1/partitions": [{"device": "S:", "label": "Orvane Data", "number": 1,
                                      "volume_guid": "{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d702}"}]})"},
        {L"shared-volumes", "Cluster ORVCLUS01 has 1 shared volume resource.", 0, kScenario,
         R"({"/shared_volumes_root": "C:\\ClusterStorage\\", "/resources/0/name": "Cluster Disk 3",
             "/resources/1": null, "/resources/0/volumes": [{"friendly_name": "Volume1", "partition": 2,
                 "offset": 135266304, "fault_state": "none", "backup_in_progress": false,
                 "volume_name": "\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\"}]})"},
        // Version 6.1 no longer offers a backup of the cluster database.
        {L"backup-db C:\\",
         "cluster ORVCLUS01 (version 6.1) does not offer a backup of its database; this was removed "
         "in version 6.0",
         1, kScenario},
        // ---- Names, addresses and applications ----
        {L"whois ORVANESRV", "ORVANESRV is a network name of cluster ORVCLUS01, owned by node %ME%.", 0, kScenario,
         R"({"/name": "ORVANESRV", "/owner_node": "%ME%", "/virtual_name": null})", "Kind=network name"},
        {L"whois \\\\sqlvs01 --machine ORVCLUS01",
         "sqlvs01 is a network name of cluster ORVCLUS01, owned by node NODE2.", 0, kScenario,
         R"({"/name": "sqlvs01", "/kind": "network name"})", "Owner node=NODE2"},
        {L"whois 10.20.30.50", "10.20.30.50 is an IP address of cluster ORVCLUS01, owned by node NODE2.", 0, kScenario,
         R"({"/kind": "IP address", "/owner_node": "NODE2", "/virtual_name": "SQLVS01"})", "Virtual name=SQLVS01"},
        {L"sql SQLVS01", "SQL Server is not clustered on cluster ORVCLUS01.", 0, kScenario,
         R"({"/state": "not clustered", "/state_code": 3, "/server_given": true, "/server_is_node": false})",
         "Why=the detector only looks at resources of type \"SQL Server 7.0\", and the cluster has none; its 1 "
         "resource of type \"SQL Server\" (the type of later SQL Server versions) is not counted"},
        {L"sql", "SQL Server is not clustered on cluster ORVCLUS01.", 0, kScenario,
         R"({"/server": "%ME%", "/server_given": false, "/server_is_node": true, "/virtual_servers": []})",
         "Server asked=%ME% (this computer)"},
        {L"sql sqlvs00", "sqlvs00 is the virtual server of a clustered SQL Server on cluster ORVCLUS52.", 0,
         kOlderScenario, R"({"/state_code": 0, "/virtual_servers": ["SQLVS00"], "/why": null})",
         "State=clustered here (0)"},
        {L"sql NODE2", "SQL Server is clustered on cluster ORVCLUS52, but not for NODE2.", 0, kOlderScenario,
         R"({"/state": "clustered for another server", "/state_code": 2, "/server_is_node": true})",
         "Why=the cluster's SQL Server serves SQLVS00, not NODE2"},
        {L"exchange EXVS01", "EXVS01 is the virtual server of a clustered Exchange on cluster ORVCLUS01.", 0, kScenario,
         R"({"/state": "clustered here", "/server_is_node": false})", "Exchange's virtual servers=EXVS01"},
        {L"exchange", "Exchange is clustered on cluster ORVCLUS01, but not for %ME%.", 0, kScenario,
         R"({"/server_given": false, "/state_code": 2, "/why": "the cluster's Exchange serves EXVS01, not %ME%"})",
         "Server is a node of the cluster=yes"},
        {L"exchange EXVS01", "Exchange is clustered on cluster ORVCLUS52, but not for EXVS01.", 0, kOlderScenario,
         R"({"/state_code": 2, "/virtual_servers": []})",
         "Why=the cluster has no Exchange resource (no resource of service \"MSExchangeSA\", none of type \"Microsoft "
         "Exchange Information Store\"); the detector then answers \"clustered for another server\" all the same"},
        {L"status", "This machine can reach failover cluster ORVCLUS52 but is not one of its nodes.", 0, kOlderScenario,
         R"({"/active_node": null})",
         "Product's active node=(unknown: the cluster shows no owner of the product's RPC service resource)"},
        {L"offline sql \"SQL Server (MSSQLSERVER)\"", "SQL Server resource \"SQL Server (MSSQLSERVER)\" is offline.", 0,
         kScenario,
         R"({"/action": "offline", "/kind": "sql", "/timeout_ms": 60000, "/result": 0, "/result_meaning": "done"})",
         "Wait=up to the resource's pending timeout, or 60 s when it has none",
         "taking SQL Server resource \"SQL Server (MSSQLSERVER)\" offline; waiting up to the resource's pending "
         "timeout, or 60 s when it has none..."},
        {L"ONLINE Service OrvDiscovery --timeout 1500", "The resource of service \"OrvDiscovery\" is online.", 0,
         refusing, R"({"/kind": "service", "/name": "OrvDiscovery", "/timeout_ms": 1500, "/result": 1})",
         "Result=1 (done)",
         "bringing the resource of service \"OrvDiscovery\" online; waiting up to the resource's pending timeout, or "
         "1500 ms when it has none..."},
        {L"offline exchange OrvaneRPCService --timeout=5000",
         "The Exchange resource of service \"OrvaneRPCService\" is offline.", 0, kScenario,
         R"({"/kind": "exchange", "/timeout_ms": 5000, "/result": 0})",
         "Kind=exchange (the generic service resource of an Exchange service, by the service's name)",
         "or 5 s when it has none..."},
        {L"check-address 10.20.30.99 255.255.255.0 Public",
         "The address 10.20.30.99 with mask 255.255.255.0 on network \"Public\" of cluster ORVCLUS01 can be brought "
         "online.",
         0, kScenario, R"({"/address": "10.20.30.99", "/mask": "255.255.255.0", "/network": "Public", "/result": 1})",
         "Result=1 (the address came online, and went offline again)",
         "for real: a scratch group \"NULLTESTGRP13\" with an IP address resource \"TestNullRes13\" goes online and "
         "offline, then both are deleted again..."},
        {L"whois NOSUCH", "no network name resource of cluster ORVCLUS01 carries the name \"NOSUCH\"", 1, kScenario},
        {L"whois 10.9.9.9", "no IP address resource of cluster ORVCLUS01 carries the address \"10.9.9.9\"", 1,
         kScenario},
        {L"online sql Nothing",
         "no SQL Server or SQL Server Agent resource of cluster ORVCLUS01 is named \"Nothing\" (result 1: no such "
         "resource)",
         1, kScenario, R"({"/result": 1})", "", "bringing SQL Server resource \"Nothing\" online; waiting"},
        {L"offline service Nothing",
         "no generic service resource of cluster ORVCLUS01 runs service \"Nothing\" (result 0: not found or refused; "
         "here: not found)",
         1, kScenario, R"({"/result": 0})", "", "taking the resource of service \"Nothing\" offline"},
        {L"online service OrvaneRPCService",
         "the resource of service \"OrvaneRPCService\" did not come online (result 0: not found or refused; here: "
         "refused); it is now failed",
         1, refusing, R"({"/result": 0})", "", "bringing the resource of service"},
        {L"online sql \"SQL Server Agent (MSSQLSERVER)\"",
         "SQL Server resource \"SQL Server Agent (MSSQLSERVER)\" did not come online (result 2: the resource "
         "refused); it is now failed",
         1, refusing, R"({"/result": 2})", "", "bringing SQL Server resource"},
        // The address is tried for real, and the cluster's networks and resources say why it failed.
        {L"check-address 10.20.30.50 255.255.255.0 Public",
         "the address 10.20.30.50 with mask 255.255.255.0 on network \"Public\" of cluster ORVCLUS01 cannot be "
         "brought online (result 0): an IP address resource of the cluster already carries it (owned by node NODE2)",
         1, kScenario, R"({"/result": 0})", "", "trying address 10.20.30.50"},
        {L"check-address 10.20.30.99 255.255.255.0 Nowhere",
         "(result 0): the cluster has no such network (its networks: Public, Heartbeat)", 1, kScenario,
         R"({"/result": 0})", "", "trying address"},
        {L"check-address 10.99.0.1 255.255.255.0 Public",
         "(result 0): the address lies outside the network's subnet (10.20.30.0 with mask 255.255.255.0)", 1, kScenario,
         R"({"/result": 0})", "", "trying address"},
        // ---- Bad command lines ----
        {L"", "no command"},
        {L"frobnicate", "'frobnicate'"},
        {L"status \"\"", "is empty"},
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
        {L"whois", "NAME-OR-ADDRESS"},
        {L"whois \\\\", "no network name or IP address"},
        {L"sql A B", "'B'"},
        {L"online sql", "what to bring online (sql or service) and its NAME"},
        {L"online exchange X", "Exchange can only be taken offline"},
        {L"offline disk X", "takes sql, service or exchange, not 'disk'"},
        {L"online sql X --timeout", "'--timeout' needs a value"},
        {L"online sql X --timeout 2s", "milliseconds from 1 to 86400000 (a day), not '2s'"},
        {L"offline sql X --timeout=0", "not '0'"},
        {L"offline sql X --timeout 86400001", "not '86400001'"},
        {L"check-address 10.0.0.1 255.0.0.0", "(ADDRESS MASK NETWORK)"},
        {L"check-address 10.0.0.256 255.0.0.0 Public", "'10.0.0.256' is no IPv4 address"},
        {L"check-address 10.0.0.1 255.0 Public", "'255.0' is no subnet mask"},
        // What the trace viewer tells its traced run is no option.
        {L"status --traced-run", "'--traced-run'"},
        // Refused before the traced run starts, so said once.
        {L"status --trace --bogus", "'--bogus'"},
        // Refused by the traced run itself, whose exit code comes back.
        {L"help nope --trace", "'nope'"},
    };
    for (const auto& c : cases) {
        for (const wchar_t* json : {L"", L"--json "}) {
            const std::wstring arguments = json + std::wstring(c.arguments);
            const OrvclusRun run = ExpectAnswer(arguments, c.exitCode, c.text, c.scenario, c.progress);
            if (*json && c.json) orvtest::ExpectJsonAt(run.out, c.json);
            const std::vector<std::string> lines = Lines(run.out);
            if (*json || !*c.fields || lines.empty()) continue;
            std::map<std::string, std::string> shown = Fields({lines.begin() + 1, lines.end()});
            std::istringstream fields(Me(c.fields));
            for (std::string field; std::getline(fields, field);) {
                const size_t equals = field.find('=');
                EXPECT_EQ(field.substr(equals + 1), shown[field.substr(0, equals)]) << run.out;
            }
        }
    }
}

TEST(OrvclusCluster, GroupsAsAnAlignedTable) {
    const OrvclusRun run = RunOrvclus(L"groups", kScenario);
    EXPECT_EQ(0u, run.exitCode) << run.err;
    // The owner column is as wide as its widest entry, this computer's name included.
    const std::string me = Utf8(orvtest::ThisComputer());
    const size_t width = std::max<size_t>(me.size(), 10);
    const auto row = [&](const std::string& group, const std::string& owner, const std::string& state) {
        return group + std::string(26 - group.size(), ' ') + owner + std::string(width + 2 - owner.size(), ' ') +
               state + "\n";
    };
    EXPECT_EQ("Cluster ORVCLUS01 has 5 groups.\n\n" + row("Group", "Owner node", "State") +
                  row(std::string(24, '-'), std::string(width, '-'), "------") +
                  row("Cluster Group", me, "online") + row("Orvane Group", me, "online") +
                  row("SQL Server (MSSQLSERVER)", "NODE2", "online") + row("Cluster Shared Volume", me, "online") +
                  row("Exchange Group", "NODE2", "online"),
              run.out);
}

TEST(OrvclusCluster, DefinitionNamesItsFileAndSaysWhyAFileCannotBeUsed) {
    const std::wstring examples = orvtest::ExamplePath();
    const OrvclusRun run = ExpectAnswer(L"definition --json --dir \"" + examples + L"\"", 0, "", kScenario);
    orvtest::ExpectJsonAt(run.out, R"({"/file": )" + nlohmann::json(Utf8(examples) + "\\clusconfig.xml").dump() +
                                       R"(, "/product": "Orvane", "/default_directory": "\\Brassel\\Orvane\\",
        "/resources/0/service": null, "/resources/4/dependencies": ["Orvane Job Engine"], "/resources/5": null,
        "/resources/2": {"name": "Orvane Discovery Service", "type": "Generic Service", "service": "OrvDiscovery",
                         "dependencies": []}})");

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
        const OrvclusRun failed = ExpectAnswer(L"definition --json --dir \"" + where + L"\"", 1, c.mentions, kScenario);
        EXPECT_TRUE(Has(failed.err, "\"" + Utf8(where) + (c.text ? "\\clusconfig.xml\"" : "\""))) << failed.err;
    }
}

TEST(OrvclusCluster, BackupOnAClusterVersionThatOffersIt) {
    orvtest::ScratchFolder folder(L"orvclus-backup");
    const OrvclusRun done = ExpectAnswer(L"backup-db --json \"" + folder.Path() + L"\"", 0, "", kOlderScenario);
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((folder.Path() + L"\\chk0001.tmp").c_str()))
        << done.out;

    const std::wstring missing = folder.Path() + L"\\missing";
    const OrvclusRun failed = ExpectAnswer(L"backup-db \"" + missing + L"\" --json", 1,
                                           "cannot back up the database of cluster ORVCLUS52 to \"" + Utf8(missing) +
                                               "\": ",
                                           kOlderScenario);
    orvtest::ExpectJsonAt(failed.out, R"({"/system_error": 3})");
}

// ---- When there is no cluster to show ----

TEST(OrvclusNoCluster, EveryCommandSaysWhyInOneLineAndExitCode1) {
    for (const wchar_t* command :
         {L"nodes", L"resources", L"groups", L"networks", L"drives", L"disks", L"shared-volumes", L"backup-db C:\\",
          L"definition", L"whois ORVANESRV", L"sql", L"exchange X", L"online sql X", L"offline service X",
          L"check-address 10.0.0.1 255.0.0.0 Public"})
        ExpectAnswer(std::wstring(command) + L" --json", 1, "this machine is not part of a cluster");
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
            const OrvclusRun run =
                ExpectAnswer(command, 1, "orvclus: the simulated cluster could not be loaded: ", path);
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
        const OrvclusRun status = RunOrvclus(L"status", kScenario);
        EXPECT_EQ(0u, status.exitCode);
        EXPECT_EQ(c.progress ? c.progress : "", status.err);
        EXPECT_EQ(std::string("This machine is a cluster node, but ") + c.why + ".", Lines(status.out).at(0));
        EXPECT_TRUE(Has(status.out, c.progress ? "ClusSvc starting" : "ClusSvc not running")) << status.out;

        const OrvclusRun nodes = RunOrvclus(L"nodes", kScenario);
        EXPECT_EQ(1u, nodes.exitCode);
        EXPECT_EQ(std::string(c.progress ? c.progress : "") + "orvclus: this machine is a cluster node, but " +
                      c.why + "\n", nodes.err);
    }
}

}  // namespace

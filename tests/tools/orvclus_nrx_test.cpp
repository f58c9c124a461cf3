// orvclus.exe on the bundled two-node NRX cluster, where the failover
// simulator shows no cluster: the same commands and shapes as on a failover
// cluster, with NRX's service groups and its states per system, and the
// commands that need a failover cluster refusing in one line.

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "harness/orvclus_runner.h"
#include "harness/wine_paths.h"

namespace {

using orvtest::Lines;
using orvtest::Me;
using orvtest::OrvclusRun;

// The child's NRX simulator shows the bundled NRX cluster.
class NrxScenarioForChildren {
public:
    NrxScenarioForChildren() {
        SetEnvironmentVariableW(L"ORVNRX_SCENARIO", orvtest::ExamplePath("scenarios/two-node-nrx.json").c_str());
    }
    ~NrxScenarioForChildren() { SetEnvironmentVariableW(L"ORVNRX_SCENARIO", nullptr); }
};

// The text's lines as their cells: what stands between runs of two or more
// blanks.
std::vector<std::vector<std::string>> Rows(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : Lines(text)) {
        rows.emplace_back();
        for (size_t at = 0; at < line.size();) {
            const size_t gap = line.find("  ", at);
            rows.back().push_back(line.substr(at, gap - at));
            at = gap == std::string::npos ? gap : line.find_first_not_of(' ', gap);
        }
    }
    return rows;
}

TEST(OrvclusOnNrx, AnswersInWordsAndAsJson) {
    NrxScenarioForChildren scenario;
    const struct {
        const wchar_t* arguments;
        const char* text;  // the headline, or what the failure line mentions
        DWORD exitCode = 0;
        const char* json = nullptr;
        // Lines of the plain text, "|" between their cells ("Label:|value").
        const char* lines = "";
    } cases[] = {
        {L"status", "This machine belongs to NRX cluster ORVNRX01.", 0,
         R"({"/cluster_type": 2, "/cluster_type_name": "NRX", "/cluster_name": "ORVNRX01",
             "/nodes": ["%ME%", "ORVNODE2"], "/computer_name": "%ME%", "/computer_is_node": true,
             "/virtual_server_name": "ORVANENRX", "/active_node": "%ME%", "/product_clustered": true})",
         "Cluster type:|NRX (2)\nThis computer's virtual server name:|ORVANENRX\nProduct's active node:|%ME%"},
        {L"nodes", "Cluster ORVNRX01 has 2 nodes.", 0,
         R"({"/nodes": [{"name": "%ME%", "is_this_computer": true}, {"name": "ORVNODE2", "is_this_computer": false}]})",
         "ORVNODE2|no"},
        {L"groups", "Cluster ORVNRX01 has 3 service groups.", 0,
         R"({"/groups/1": {"name": "SQL2005 Group", "states": [
                {"system": "%ME%", "state": "offline", "state_code": 1},
                {"system": "ORVNODE2", "state": "online", "state_code": 4}]},
             "/groups/2/name": "Exchange Group", "/groups/3": null})",
         "Service group|State\nSQL2005 Group|offline on %ME%, online on ORVNODE2"},
        {L"resources", "Cluster ORVNRX01 has 18 resources.", 0,
         R"({"/resources/1": {"name": "Orvane Server Name", "type": "Lanman", "group": "Orvane Group", "states": [
                {"system": "%ME%", "state": "online", "state_code": 2},
                {"system": "ORVNODE2", "state": "offline", "state_code": 0}]},
             "/resources/17/name": "Exchange_Mount", "/resources/18": null})",
         "Resource|Type|Service group|State\nSQL2005_IP|IP|SQL2005 Group|offline on %ME%, online on ORVNODE2"},
        {L"resources --type Mount", "Cluster ORVNRX01 has 3 resources of type \"Mount\".", 0,
         R"({"/type": "Mount", "/resources/0/name": "Orvane_Mount", "/resources/2/group": "Exchange Group",
             "/resources/3": null})"},
        {L"resources --type mount", "no resource has type \"mount\"; did you mean \"Mount\"?", 1},
        {L"drives", "The mount resources of cluster ORVNRX01 hold 4 drives.", 0,
         R"({"/drives": ["E:", "F:", "G:", "E:\\Orvane"]})", "E:\\Orvane"},
        {L"whois \\\\orvanenrx", "orvanenrx is a network name of cluster ORVNRX01, last online on node %ME%.", 0,
         R"({"/name": "orvanenrx", "/kind": "network name", "/owner_node": "%ME%", "/virtual_name": null})",
         "Owner node:|%ME% (where it was last online)"},
        {L"whois 10.20.30.61", "10.20.30.61 is an IP address of cluster ORVNRX01, last online on node ORVNODE2.", 0,
         R"({"/kind": "IP address", "/owner_node": "ORVNODE2", "/virtual_name": "SQLVS05"})",
         "Virtual name:|SQLVS05"},
        {L"whois SQLVS01", "no network name resource of cluster ORVNRX01 carries the name \"SQLVS01\"", 1},
        {L"help disks", "Usage: orvclus disks [--machine NAME] [--json] [--trace]", 0, R"({"/failover_only": true})",
         "Needs a failover cluster: on an NRX cluster it says so and fails."},
        {L"help groups", "Usage: orvclus groups [--machine NAME] [--json] [--trace]", 0,
         R"({"/failover_only": false})"},
    };
    for (const auto& c : cases) {
        for (const wchar_t* json : {L"", L"--json "}) {
            const OrvclusRun run = orvtest::ExpectAnswer(json + std::wstring(c.arguments), c.exitCode, c.text);
            if (*json && c.json) orvtest::ExpectJsonAt(run.out, c.json);
            if (*json) continue;
            const auto rows = Rows(run.out);
            std::istringstream lines(Me(c.lines));
            for (std::string line; std::getline(lines, line);) {
                std::vector<std::string> cells;
                std::istringstream split(line);
                for (std::string cell; std::getline(split, cell, '|');) cells.push_back(cell);
                EXPECT_TRUE(std::find(rows.begin(), rows.end(), cells) != rows.end()) << line << " in\n" << run.out;
            }
        }
    }
}

TEST(OrvclusOnNrx, FailoverOnlyCommandsRefuseInOneLine) {
    NrxScenarioForChildren scenario;
    for (const wchar_t* command :
         {L"networks", L"disks", L"shared-volumes", L"backup-db C:\\", L"sql", L"exchange X", L"online sql X",
          L"offline service X", L"check-address 10.0.0.1 255.0.0.0 Public", L"wizard init"}) {
        const std::wstring name(command, std::wcscspn(command, L" "));
        orvtest::ExpectAnswer(std::wstring(command) + L" --json", 1,
                              "'" + std::string(name.begin(), name.end()) +
                                  "' needs a failover cluster, and this machine belongs to NRX cluster ORVNRX01");
    }
}

}  // namespace

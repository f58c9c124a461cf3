// orvclus wizard as an administrator or a script runs it, step by step:
// bad command lines, failures in one line (and one JSON object), and what
// each step did to the simulated cluster.

#include <windows.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/orvclus_runner.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"

namespace {

using orvtest::Utf8;

const std::wstring kNoCluster;
// The bundled cluster with the product; one without it, whose disk E: is free.
const std::wstring kBundled = orvtest::ExampleScenario();
const std::wstring kFresh = orvtest::ExamplePath("scenarios/two-node-fresh.json");

// The bundled cluster with one more service resource, named after the
// product's service OrvTapeEngine: the name by which the library removes a
// service's resource.
std::wstring WriteServiceNamedScenario(const orvtest::ScratchFolder& folder) {
    std::ifstream file(Utf8(kBundled));
    nlohmann::json scenario = nlohmann::json::parse(file);
    scenario["resources"].push_back({{"name", "OrvTapeEngine"},
                                     {"type", "Generic Service"},
                                     {"group", "Orvane Group"},
                                     {"state", "online"},
                                     {"private", {{"ServiceName", "OrvTapeEngine"}}}});
    return folder.Write(L"service-named.json", scenario.dump());
}

TEST(OrvclusWizard, StepsAnswerInWordsAndAsJson) {
    orvtest::ScratchFolder folder(L"orvclus-wizard");
    const std::wstring serviceNamed = WriteServiceNamedScenario(folder);
    CreateDirectoryW((folder.Path() + L"\\empty").c_str(), nullptr);
    const std::wstring dir = L" --dir \"" + orvtest::ExamplePath() + L"\"";
    const std::wstring emptyDir = L" --dir \"" + folder.Path() + L"\\empty\"";
    const std::wstring newGroup = L"wizard create-group --disk E: --address 10.20.40.50 --mask 255.255.255.0";
    // One product service is installed, and stopped.
    orvtest::RemoveService(L"OrvJobEngine");
    orvtest::TestService jobEngine(L"OrvJobEngine", L"");

    // Each step's answer in words and, with --json, the values of `json`
    // at their pointers.
    const struct {
        std::wstring arguments;
        const char* text;
        DWORD exitCode = 2;
        const std::wstring& scenario = kNoCluster;
        const char* json = nullptr;
        const char* progress = nullptr;
    } cases[] = {
        // ---- Bad command lines ----
        {L"wizard", "'wizard' needs a step: init, create-group, online, offline, delete-group, add-node, "},
        {L"wizard frobnicate", "unknown wizard step 'frobnicate'"},
        {L"wizard online", "'wizard online' needs GROUP"},
        {L"wizard add-node G", "'wizard add-node' needs GROUP NODE"},
        {L"wizard online G H", "unexpected argument 'H' for 'wizard online'"},
        {L"wizard online G --disk E:", "'wizard online' has no option '--disk'"},
        {L"wizard create-group --address 10.20.40.50 --mask 255.255.255.0",
         "'wizard create-group' needs the option --disk"},
        {newGroup + L" --address 1.2.3", "option '--address' given more than once"},
        {L"wizard create-group --disk E: --address 10.20.40.256 --mask 255.255.255.0",
         "'10.20.40.256' is no IPv4 address"},
        {L"wizard create-group --disk E: --address 10.20.40.5 --mask 255.255.0", "'255.255.0' is no subnet mask"},
        {L"wizard sync-services --without Nothing" + dir,
         "'Nothing' is no service of the product definition (its services: OrvDiscovery, OrvJobEngine, "
         "OrvTapeEngine)",
         2, kBundled},
        {L"help wizard",
         "Usage: orvclus wizard STEP [OPERANDS] [--dir DIR] [--group NAME] [--server-name NAME] [--disk DISK] "
         "[--address ADDRESS] [--mask MASK] [--network NAME] [--without SERVICE ...] [--machine NAME] [--json] "
         "[--trace]",
         0},
        // ---- Failures ----
        {L"wizard init" + dir, "this machine is not part of a cluster", 1},
        {L"wizard init" + emptyDir, "cannot find the product definition: no readable clusconfig.xml in \"", 1,
         kBundled},
        {L"wizard online Nowhere" + dir,
         "cannot bring group \"Nowhere\" online (result 0: not online): cluster ORVCLUS01 has no group of that name",
         1, kBundled, R"({"/step": "online", "/result": 0, "/group": "Nowhere"})", "bringing group \"Nowhere\""},
        {L"wizard delete-group Nowhere" + dir, "cannot delete group \"Nowhere\" (result 1603: failed): cluster", 1,
         kBundled, R"({"/result": 1603})", "deleting group"},
        {L"wizard add-node \"Orvane Group\" NODE9" + dir,
         "(result 0: failed): NODE9 is no node of cluster ORVCLUS01 (its nodes: %ME%, NODE2)", 1, kBundled,
         R"({"/node": "NODE9"})"},
        {L"wizard create-group --disk Z: --address 10.20.40.50 --mask 255.255.255.0" + dir,
         "cannot create group \"Orvane Group\" in cluster ORVCLUS02 (result 0: failed); Z: is no drive of a "
         "cluster disk",
         1, kFresh, R"({"/result": 0})", "creating group \"Orvane Group\""},
        {L"wizard start-services --without OrvJobEngine" + dir, "'wizard start-services' has no option '--without'"},
        // ---- Successes ----
        {L"wizard init" + dir, "Brassel Orvane For Windows is not configured in cluster ORVCLUS02 yet.", 0, kFresh,
         R"({"/configured": false, "/existing_group": null, "/default_group": "Orvane Group",
             "/nodes": ["%ME%", "NODE2"], "/client_networks": ["Public"]})"},
        {L"wizard init" + dir, "Brassel Orvane For Windows is configured in cluster ORVCLUS01: group \"Orvane Group\".",
         0, kBundled,
         R"({"/configured": true, "/existing_network": "Public", "/existing_group": "Orvane Group",
             "/existing_virtual_server_name": "ORVANESRV", "/existing_address": "10.20.30.40",
             "/existing_subnet_mask": "255.255.255.0"})"},
        // Services not on this computer get no resource; the disk moves in.
        {newGroup + L" --without OrvTapeEngine" + dir, "Group \"Orvane Group\" of cluster ORVCLUS02 holds 4 resources.",
         0, kFresh,
         R"({"/result": 1, "/network": "Public", "/left_out": ["OrvTapeEngine"],
             "/not_installed_here": ["OrvDiscovery"], "/resources/0/name": "Cluster Disk 1",
             "/resources/3/name": "Orvane Job Engine", "/resources/3/depends_on": ["Cluster Disk 1"],
             "/resources/3/state": "offline"})",
         "creating group"},
        {newGroup + L" --without OrvJobEngine" + dir, "Group \"Orvane Group\" of cluster ORVCLUS02 holds 3 resources.",
         0, kFresh,
         R"({"/left_out": ["OrvJobEngine"], "/resources/2/name": "Orvane Server Name", "/resources/3": null})",
         "creating group"},
        {L"wizard online \"Orvane Group\"" + dir, "Group \"Orvane Group\" is online.", 0, kBundled,
         R"({"/result": 1, "/resources/0/state": "online"})", "bringing group \"Orvane Group\""},
        {L"wizard offline \"Orvane Group\"" + dir,
         "Group \"Orvane Group\" is offline; its disks stay online, so the product's files stay reachable.", 0,
         kBundled, R"({"/result": 1, "/resources/0/name": "Orvane IP Address", "/resources/0/state": "offline",
                       "/resources/2/name": "Cluster Disk 1", "/resources/2/state": "online"})",
         "taking group"},
        {L"wizard delete-group \"Orvane Group\"" + dir, "Group \"Orvane Group\" and its resources are deleted.", 0,
         kBundled, R"({"/result": 0, "/resources": null})", "deleting group"},
        {L"wizard remove-node \"Orvane Group\" NODE2" + dir,
         "Node NODE2 no longer runs the resources of group \"Orvane Group\".", 0, kBundled,
         R"({"/result": 1, "/resources/0/possible_owners": ["%ME%"]})"},
        {L"wizard sync-services" + dir, "Every service of the definition stays chosen: no resource was removed.", 0,
         kBundled, R"({"/result": 0, "/left_out": [], "/removed": []})"},
        {L"wizard sync-services --without orvtapeengine --without OrvTapeEngine" + dir,
         "Cluster ORVCLUS01 no longer holds the resources of OrvTapeEngine.", 0, serviceNamed,
         R"({"/left_out": ["OrvTapeEngine"], "/removed": ["OrvTapeEngine"], "/still_there": ["Orvane Tape Engine"]})",
         "removing the resources of OrvTapeEngine"},
        {L"wizard stop-services" + dir, "The product's services installed on this computer (1 of 3) are stopped.", 0,
         kBundled,
         R"({"/result": 0, "/services": [{"service": "OrvDiscovery", "state": "not installed"},
             {"service": "OrvJobEngine", "state": "stopped"},
             {"service": "OrvTapeEngine", "state": "not installed"}]})",
         "stopping the product's services on this computer"},
        {L"wizard is-shared-drive s:" + dir, "s: is a drive of a disk of cluster ORVCLUS01.", 0, kBundled,
         R"({"/shared": true, "/result": 1})"},
        {L"wizard is-unique ORVANESRV" + dir,
         "The library does not ask the network about ORVANESRV: it answers 0 (not free) for every name shorter than "
         "21 characters.",
         0, kBundled, R"({"/unique": false, "/network_asked": false, "/result": 0})"},
        // Wine's registry cannot be reached as another computer's: it cannot be checked.
        {L"wizard contains-product NODE2" + dir,
         "NODE2 has the registry keys that the definition names for an installed product, or its registry cannot be "
         "checked.",
         0, kBundled,
         R"({"/contains_product": true, "/result": 1})"},
    };
    for (const auto& c : cases) {
        for (const wchar_t* json : {L"", L" --json"}) {
            const orvtest::OrvclusRun run =
                orvtest::ExpectAnswer(c.arguments + json, c.exitCode, c.text, c.scenario, c.progress);
            if (*json && c.json) orvtest::ExpectJsonAt(run.out, c.json);
        }
    }
}

}  // namespace

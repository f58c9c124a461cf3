#pragma once

#include <stdexcept>
#include <string>

#include "model.h"

// Scenario files: the JSON description of a simulated cluster.
//
//   {
//     "cluster": {"name": "ORVCLUS01", "installed": true, "aliases": [...],
//                 "version": {"major": 6, "minor": 1, "build": 7601, "vendor": "...", "csdVersion": "..."},
//                 "pendingMs": 500, "addressesInUse": ["10.20.30.77"],
//                 "quorum": {"resource": "Cluster Disk Q", "path": "Q:\\MSCS\\", "maxLogSize": 4194304},
//                 "commonProperties": {...}, "readOnlyCommonProperties": {"SharedVolumesRoot": "C:\\ClusterStorage"}},
//     "nodes": [{"name": "%COMPUTERNAME%", "state": "up", "local": true}, {"name": "NODE2"}, ...],
//     "resourceTypes": [{"name": "SQL Server", "class": "unknown", "subClass": 0}],
//     "networks": [{"name": "Public", "role": 3, "address": "10.20.30.0", "mask": "255.255.255.0"}],
//     "groups": [{"name": "...", "owner": "NODE1", "preferredOwners": [...], "state": "online"}],
//     "resources": [{"name": "...", "type": "...", "group": "...", "state": "online",
//                    "possibleOwners": [...], "dependencies": [...], "common": {...}, "private": {...},
//                    "networkName": "...", "checkpoints": [...], "core": false,
//                    "disk": {"signature": 1, "scsiAddress": 0, "diskNumber": 1, "size": 0,
//                             "partitions": [{"device": "S:", "label": "...", "guid": "{...}", "number": 1}]},
//                    "sharedVolumes": [{"path": "C:\\ClusterStorage\\Volume1", "volumeName": "\\\\?\\Volume{...}\\"}],
//                    "transitions": {"online": {"delayMs": 3000, "result": "online"},
//                                    "offline": {"delayMs": 0, "result": "offline"}}}]
//   }
//
// The version decides what the platform does differently across releases:
// from 6.0 on the cluster database can be neither backed up nor restored,
// and the IP address types report the network class. "pendingMs" (500 when
// absent) is how long each resource stays pending on its way online or
// offline unless its own "transitions" say otherwise; 0 completes every
// transition within the call. "addressesInUse" lists IPv4 addresses that
// hosts elsewhere on the network hold: an IP Address resource of the cluster
// asked to bring one of them up fails (simcluster.h, "IP addresses"). A
// transition's "result" fixes how it ends, whatever the network says.
//
// "%COMPUTERNAME%" stands for this computer's name (as GetComputerNameW
// gives it) wherever a scenario names a node: in a node's "name", a group's
// "owner" and "preferredOwners", a resource's "owner" and "possibleOwners".
// A node named so, marked "local", makes whatever computer runs the program
// one of the cluster's nodes. A saved scenario names the computer itself.
//
// Property values: a string (REG_SZ-like), a number (32-bit; negative: signed;
// above 32 bits: 64-bit), true/false (32-bit 1/0), or an object naming the
// format: {"sz": ...}, {"expandSz": ...}, {"dword": n}, {"long": n},
// {"ulargeInteger": n}, {"multiSz": [...]}, {"binary": "hex"}, optionally
// with "syntax" (the syntax word to report). Every object may carry a
// "comment". Unknown fields are refused, so that a misspelt field is noticed.

namespace simcluster {

// A scenario that cannot be used; what() is a sentence naming the problem,
// starting with "scenario: ".
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

Cluster ReadScenario(const std::string& json);
std::string WriteScenario(Cluster& cluster);

// One property value in scenario notation.
PropertyValue ReadPropertyValue(const std::string& json, const std::string& where);

}  // namespace simcluster

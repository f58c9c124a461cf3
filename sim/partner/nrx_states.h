#pragma once

#include <string>
#include <vector>

#include "nrx_model.h"

// Resource and group states in virtual time. Nothing runs in the
// background: a transition records when it ends, and the engine settles the
// transitions whose end has passed on the shared virtual clock before it
// answers anything.

namespace simnrx {

ULONGLONG Now();

// The virtual time an NRXObjGetState round trip takes.
constexpr DWORD kStateQueryMs = 1;

// Settles every transition whose end has passed.
void Settle(Cluster& cluster);

// The state bits of a resource (group) on a system, NRX_RES_UNKNOWN
// (NRX_GRP_UNKNOWN) outside its group's list.
int StateOf(Cluster& cluster, Resource& resource, const std::string& system);
int StateOf(Cluster& cluster, Group& group, const std::string& system);

// The word that the "State" attribute and scenarios give for a state, and
// back (-1 for no such word).
const char* ResourceStateWord(int state);
const char* GroupStateWord(int state);
int ResourceStateFromWord(const std::string& word);

// The system as the cluster spells it, when it is one of the group's list.
Status CheckSystem(Cluster& cluster, const Group& group, const std::string& system, std::string& canonical);

// Puts the resource in a state on the system at once (see
// SimNrx_SetResourceState); false for a state it cannot be in.
bool ForceState(Resource& resource, const std::string& system, int state);

Status OnlineResource(Cluster& cluster, Resource& resource, const std::string& system);
Status OfflineResource(Cluster& cluster, Resource& resource, const std::string& system);
Status OnlineGroup(Cluster& cluster, Group& group, const std::string& system);
// `system` empty: everywhere the group is not offline.
Status OfflineGroup(Cluster& cluster, Group& group, const std::string& system);
Status SwitchGroup(Cluster& cluster, Group& group, const std::string& system);

// Marks the resource probed on the systems (of its group's list).
void Probe(Resource& resource, const std::vector<std::string>& systems);
// A fault on the system becomes OFFLINE.
void ClearFault(Resource& resource, const std::string& system);
// A transition running on the system stops where it started.
void Flush(Resource& resource, const std::string& system);

}  // namespace simnrx

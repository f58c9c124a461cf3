#pragma once

#include <windows.h>

// Control of the failover cluster simulator: the clusapi.dll and resutils.dll
// that tests and the demo place beside their programs. The functions below
// are exported by the simulator's clusapi.dll.
//
// Which cluster the simulator shows
//   A scenario (a JSON file, see examples/scenarios/) describes the cluster.
//   A program loads one with SimCluster_LoadScenarioFile or
//   SimCluster_LoadScenarioText. When none was loaded, the first call into
//   the simulator loads the file named by the environment variable
//   ORVSIM_SCENARIO; without that variable, the file "scenario.json" beside
//   clusapi.dll if there is one; else (or when that file is not a valid
//   scenario) there is no cluster: OpenCluster fails with
//   RPC_S_SERVER_UNAVAILABLE (1722) and GetNodeClusterState answers
//   ClusterStateNotInstalled.
//   When the environment variable ORVSIM_STATE names a file, the cluster
//   outlives the program: the first call loads that file if it exists (else
//   the scenario as above), and every call of an entry point writes the
//   cluster back to it as a scenario. Programs run one after the other (a
//   walk-through of command lines) thus see one cluster. A resource left
//   pending when a program ends stays pending in the file.
//
// Time
//   The simulator reads time from the virtual clock (simclock.h). As real
//   resources commonly do, a resource asked to go online or offline answers
//   ERROR_IO_PENDING, goes pending, and reaches its final state once the
//   virtual clock has advanced by its transition time (SimClock_Sleep): the
//   scenario's "pendingMs" (500 ms when absent) unless the resource's own
//   "transitions" or SimCluster_ScriptTransition say otherwise. A time of 0
//   completes within the call (SimCluster_SetPendingTime(0) for the whole
//   cluster). No thread runs in the background.
//   A GetClusterResourceState call is a round trip to the cluster service:
//   it answers the state at the moment it is asked, then advances the
//   virtual clock by 1 ms (without the real pause of SimClock_Sleep), so
//   that a program polling without pause still sees a pending resource
//   arrive. Every call takes that time, whatever it answers, except one
//   failed by SimCluster_InjectFailure, which does nothing. The other entry
//   points take no virtual time.
//
// IP addresses
//   An IP Address resource asked to go online goes pending for its
//   transition time like any other, then ends Online, or Failed when the
//   network does not let it bring its address up: its private "Address" is
//   no IPv4 address; or another IP Address resource of the cluster that is
//   online, or on its way online, holds it; or it is among the addresses in
//   use elsewhere on the network (the scenario's "addressesInUse",
//   SimCluster_SetAddressInUse); or its "Network" names no network of the
//   cluster; or the address lies outside that network's subnet (the
//   network's address and mask), unless its "OverrideAddressMatch" is 1.
//   The outcome is decided when the request is made, for the resources of
//   the scenario and those created later alike. A final state that the
//   resource's "transitions" or SimCluster_ScriptTransition give wins.
//
// Handles
//   Every handle belongs to the cluster handle it was obtained from. Once
//   that cluster handle is closed (CloseCluster always answers TRUE), the
//   handles obtained from it are invalid: used, they answer
//   ERROR_INVALID_HANDLE in the way each function reports a failure, and
//   closed, their close function answers ERROR_INVALID_HANDLE too (FALSE for
//   the BOOL ones). They stay counted by SimCluster_OpenHandles until they
//   are handed to their close function, so that a test sees whether a
//   program closed every handle it opened.
//
// Version
//   The scenario's cluster version decides what differs across releases:
//   BackupClusterDatabase and RestoreClusterDatabase answer
//   ERROR_CALL_NOT_IMPLEMENTED and do nothing from version 6.0 on;
//   OfflineClusterResource of a failed resource answers
//   ERROR_RESOURCE_FAILED before version 6.1 and goes offline from 6.1 on;
//   IP address resources report the network class from 6.0 on.
//
// States use the platform's values: CLUSTER_RESOURCE_STATE,
// CLUSTER_GROUP_STATE and CLUSTER_NODE_STATE.
//
// The functions that answer BOOL report a failure with FALSE and a sentence
// in SimCluster_LastError() that names the problem.

#if defined(SIMCLUSTER_BUILDING)
#define SIMCLUSTER_API
#else
#define SIMCLUSTER_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// The kinds of handle the cluster API hands out, for SimCluster_OpenHandles.
typedef enum SIMCLUSTER_HANDLE_KIND {
    SIMCLUSTER_HANDLE_ALL = 0,
    SIMCLUSTER_HANDLE_CLUSTER = 1,
    SIMCLUSTER_HANDLE_NODE = 2,
    SIMCLUSTER_HANDLE_GROUP = 3,
    SIMCLUSTER_HANDLE_RESOURCE = 4,
    SIMCLUSTER_HANDLE_NETWORK = 5,
    SIMCLUSTER_HANDLE_CLUSTER_ENUM = 6,
    SIMCLUSTER_HANDLE_GROUP_ENUM = 7,
    SIMCLUSTER_HANDLE_RESOURCE_ENUM = 8,
} SIMCLUSTER_HANDLE_KIND;

// SimCluster_SetGroupState: let the group's state follow its resources again.
#define SIMCLUSTER_GROUP_STATE_DERIVED 0x7FFFFFFF

// ---- Scenario ----

// Replaces the simulated cluster. Handles already open stay open (and are
// counted) but name objects that no longer exist. On failure the cluster is
// left as it was.
SIMCLUSTER_API BOOL WINAPI SimCluster_LoadScenarioFile(const wchar_t* path);
SIMCLUSTER_API BOOL WINAPI SimCluster_LoadScenarioText(const char* utf8Json);

// No cluster from now on (no automatic loading either).
SIMCLUSTER_API void WINAPI SimCluster_Unload(void);

// The current cluster as a scenario (UTF-8 JSON, terminated). `*size` is the
// buffer's size in bytes; when it is too small (or `buffer` is null) the
// answer is FALSE, GetLastError() is ERROR_MORE_DATA and `*size` the size
// needed, terminator included.
SIMCLUSTER_API BOOL WINAPI SimCluster_SaveScenarioText(char* buffer, DWORD* size);

// Why the last control call failed (or why the automatic loading found no
// cluster), for example "scenario: resource 'X' names unknown group 'Y'".
// Empty after a success. Valid until the next control call.
SIMCLUSTER_API const wchar_t* WINAPI SimCluster_LastError(void);

// ---- State ----

// Puts a resource in a state at once (a pending state set this way lasts
// until changed), ending any running transition.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetResourceState(const wchar_t* resource, int state);

// The resource's state now (transitions settled), -1 for an unknown name.
SIMCLUSTER_API int WINAPI SimCluster_GetResourceState(const wchar_t* resource);

// Fixes what GetClusterGroupState answers for the group, or
// SIMCLUSTER_GROUP_STATE_DERIVED to follow its resources again.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetGroupState(const wchar_t* group, int state);

SIMCLUSTER_API BOOL WINAPI SimCluster_SetNodeState(const wchar_t* node, int state);

// Makes `node` the owner of the group and its resources, states unchanged.
SIMCLUSTER_API BOOL WINAPI SimCluster_MoveGroup(const wchar_t* group, const wchar_t* node);

// Sets a property as a scenario would: `jsonValue` is a JSON value, "\"text\"",
// "42", "{\"binary\":\"0A0B\"}", "{\"multiSz\":[\"a\",\"b\"]}" and so on; null
// removes the property. `common` chooses the resource's common properties
// instead of its private ones.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetResourceProperty(const wchar_t* resource, BOOL common, const wchar_t* name,
                                                          const char* jsonValue);

// The same for the cluster's common (or read-only common) properties.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetClusterProperty(BOOL readOnly, const wchar_t* name, const char* jsonValue);

// Scripts how the resource answers the next requests to reach `target`
// (ClusterResourceOnline or ClusterResourceOffline): it goes pending, and
// after `delayMs` of virtual time reaches `finalState` (the target, or
// ClusterResourceFailed). A delay of 0 completes within the call.
SIMCLUSTER_API BOOL WINAPI SimCluster_ScriptTransition(const wchar_t* resource, int target, DWORD delayMs,
                                                       int finalState);

// Gives every resource, and those created later, `delayMs` of pending time
// on its way online and offline (final states unchanged). 0 brings back
// transitions that complete within the call. FALSE without a cluster.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetPendingTime(DWORD delayMs);

// Marks an IPv4 address ("10.20.30.77") as held by a host elsewhere on the
// network, or with `inUse` FALSE no longer. FALSE without a cluster or for a
// text that is not an IPv4 address.
SIMCLUSTER_API BOOL WINAPI SimCluster_SetAddressInUse(const wchar_t* address, BOOL inUse);

// ---- Faults and counters ----

// Makes calls of a cluster API or resource utility entry point (by its
// exported name) fail with `error`: the `nth` call from now on (1 is the
// next one) and the `count - 1` calls after it; `count` 0 fails every call
// from the nth on. A failing call does nothing else. Functions that answer
// a handle then answer null and those that answer BOOL answer FALSE, both
// with SetLastError(error); the state functions answer -1 with
// SetLastError(error); the others answer `error`. FALSE for a name that is
// not an entry point.
SIMCLUSTER_API BOOL WINAPI SimCluster_InjectFailure(const wchar_t* entryPoint, DWORD nth, DWORD count, DWORD error);
SIMCLUSTER_API void WINAPI SimCluster_ClearFailures(void);

// Calls of an entry point since the counters were last reset (failed calls
// included); 0 for a name that is not an entry point.
SIMCLUSTER_API DWORD WINAPI SimCluster_CallCount(const wchar_t* entryPoint);
SIMCLUSTER_API void WINAPI SimCluster_ResetCounters(void);

// Handles handed out and not yet closed, of one kind or of all.
SIMCLUSTER_API DWORD WINAPI SimCluster_OpenHandles(SIMCLUSTER_HANDLE_KIND kind);

#ifdef __cplusplus
}
#endif

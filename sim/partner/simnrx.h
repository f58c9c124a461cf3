#pragma once

#include <windows.h>

// Control of the NRX cluster simulator: the nrxapi_mt.dll that tests and the
// demo place beside their programs. Its 68 NRX entry points follow
// include/orvcluster/nrx_api.h; the functions below are exported by it too,
// in every variant.
//
// Which cluster the simulator shows
//   A scenario (a JSON file, see "Scenario" below and examples/scenarios/)
//   describes the cluster. A program loads one with SimNrx_LoadScenarioFile
//   or SimNrx_LoadScenarioText. When none was loaded, the first call into
//   the simulator loads the file named by the environment variable
//   ORVNRX_SCENARIO; without that variable, the file "nrx-scenario.json"
//   beside nrxapi_mt.dll if there is one; else (or when that file is not a
//   valid scenario, SimNrx_LastError says why) there is no NRX cluster:
//   NRXClusterOpenLocal and NRXClusterOpen fail with NRX_E_CONNECT.
//   NRXApiInit and the record functions work without a cluster.
//
// Connections
//   NRXClusterOpenLocal succeeds when this computer is one of the cluster's
//   systems; NRXClusterOpen when the host is a system or the cluster's name
//   (ASCII letters in any case) and the port is NRX_ENGINE_PORT. User,
//   password, time-out and flags are not looked at. A connection outlives
//   scenario loads and addresses whatever cluster is loaded; without one
//   (SimNrx_Unload) its calls fail with NRX_E_CONNECT. After NRXClusterClose
//   the handle answers NRX_E_BAD_HANDLE. NRXApiExit leaves connections open
//   (and counted) but every call but the free functions and the last-error
//   readers fails with NRX_E_NOT_INITIALISED until NRXApiInit again.
//   A call on a connection checks, in this order: NRXApiInit, the handle,
//   the cluster, the arguments, the configuration (for calls that change
//   it), then the objects named.
//
// Configuration
//   The configuration is writable only through the connection that opened
//   it with NRXClusterConfOpen: calls that change it fail with
//   NRX_E_CONF_READ_ONLY through any other connection or when nobody opened
//   it, and a second NRXClusterConfOpen (through any connection) fails with
//   NRX_E_CONF_OPEN. NRXClusterConfClose through a connection that did not
//   open it fails with NRX_E_CONF_READ_ONLY. Closing the connection, or
//   loading a scenario, makes the configuration read-only again.
//   Changing calls: NRXObjSetAttribute, NRXResAdd/Delete/Link/Unlink,
//   NRXResAttrMakeGlobal/Local, NRXResTypeAdd/Delete, NRXGrpAdd/Delete/
//   Link/Unlink, NRXGrpEnable/Disable (a group's "Enabled"),
//   NRXGrpEnableResources/DisableResources, and NRXGrpFreeze/Unfreeze with
//   `persistent` non-zero ("Frozen"; zero sets "TFrozen", which is not
//   kept in the configuration).
//
// Names
//   Names are UTF-8 bytes of any length. System names compare without regard
//   to the case of ASCII letters (the answers spell a system as the
//   scenario does); group, resource, type and attribute names compare
//   exactly, byte for byte. NRXObjGetNames patterns: "*" any run, "?" one
//   character (a whole UTF-8 sequence), compared the same way.
//
// Objects and listings
//   NRXObjGetNames lists in the order the objects were made: kind 0 the
//   cluster's own name, 1 systems, 2 groups, 3 resources, 4 resource types.
//   A control record narrows a resource listing only: NRX_CNTL_TYPE (one
//   value), NRX_CNTL_TYPE_IN_GROUP (two), NRX_CNTL_SCOPE (any number of
//   groups, members of all of them); an unknown type or group lists nothing
//   (count 0, success). Another flag, another kind with a control record, or
//   the wrong number of values: NRX_E_BAD_ARGUMENT. An NRXObjNames (and the
//   values of every record) ends with a null pointer after its `count`
//   names.
//   Attributes belong to groups, resources and resource types; systems and
//   the cluster object have none. NRXObject lists an object's attributes in
//   the order they were made, then the ones the engine keeps ("State",
//   "ArgListValues", "LastOnline" of resources, "State" of groups).
//   Every group has "SystemList", "AutoStartList" (keylists), "Frozen",
//   "TFrozen" (integers) and "Enabled" (an integer, local: a value per system
//   of its list; "0" on a system refuses bringing the group online there).
//   Every resource has "Enabled" (an integer, "0" or "1").
//
// States
//   A resource has a state on each system of its group's "SystemList"; the
//   entries of NRXObjGetState follow that list, or with a control record
//   (NRX_CNTL_SYSTEM, NRX_CNTL_SCOPE) the systems it names in its order: a
//   system outside the list answers NRX_RES_UNKNOWN (NRX_GRP_UNKNOWN), a name
//   that is no system NRX_E_NO_SUCH_OBJECT. NRXObjGetState covers groups and
//   resources only (NRX_E_BAD_ARGUMENT for the other kinds).
//   A resource not yet probed on a system is NRX_RES_UNKNOWN there: a
//   resource added by NRXResAdd until NRXGrpEnableResources (which enables
//   and probes every resource of the group) or NRXResProbe, and every
//   resource on a system newly added to its group's list. Probing an enabled
//   resource shows its real state (NRX_RES_OFFLINE when never started there).
//   A group's state on a system follows its enabled resources there: any
//   going offline: GOING_OFFLINE; any going online: GOING_ONLINE; all online:
//   ONLINE; some online: PARTIAL; any faulted: FAULTED; all unknown: UNKNOWN;
//   else (and without enabled resources) OFFLINE.
//   A group runs on one system at a time: bringing it or one of its
//   resources online, or switching it, while the group is ONLINE, PARTIAL or
//   going somewhere else fails with NRX_E_STATE.
//
// Time
//   The simulator reads time from the virtual clock (simclock.h); no thread
//   runs in the background. A resource asked to go online shows
//   NRX_RES_WAIT_ONLINE, one asked to go offline NRX_RES_ONLINE |
//   NRX_RES_WAIT_OFFLINE, and reaches its final state once the virtual clock
//   has advanced by the scenario's "pendingMs" (SimNrx_SetPendingTime; 0
//   completes within the call), unless SimNrx_ScriptTransition says
//   otherwise. Each NRXObjGetState call that reaches the engine (after
//   NRXApiInit, on an open connection to a loaded cluster, not answered by
//   an injected failure) is a round trip: it answers the states at the
//   moment it is asked, then advances the virtual clock by 1 ms
//   (SimClock_Advance), whatever it answers. "LastOnline" becomes the system
//   on which the resource reaches ONLINE.
//
// Dependencies
//   NRXResOnline needs every enabled child ONLINE on that system, and
//   NRXResOffline every parent OFFLINE (or faulted, or unknown) there; else
//   NRX_E_STATE. NRXGrpOnline brings the group's enabled resources up
//   children first: each waits (NRX_RES_WAIT_ONLINE) until its children are
//   online, then takes its own transition time; a child that ends faulted
//   leaves its parents offline. NRXGrpOffline takes them down parents first;
//   NRXGrpSwitch takes the group down where it runs, then up on the system
//   given. A linked group behaves the same way towards its child groups
//   (ONLINE on that system before the parent; the parent offline there
//   before the child). NRXGrpOnline refuses (NRX_E_STATE) a group that is
//   frozen, disabled on that system, or has a faulted or unprobed enabled
//   resource there. Bringing online on a system that is not in the group's
//   "SystemList": NRX_E_NOT_IN_SYSTEM_LIST.
//
// Other group and resource calls
//   NRXGrpOffline with a null system acts on every system of the list, and
//   stops resources still on their way online where they started.
//   NRXGrpFlush stops the transitions running on the system (null: every
//   system) where they started. NRXGrpClear and NRXResClear turn FAULTED into
//   OFFLINE there. NRXGrpAutoEnable makes the group's enabled resources
//   count as probed there. The simulator never makes a group wait for an
//   administrator or a parent: NRXGrpClearadminwait and NRXGrpIgnore only
//   check the group and the system (which they need). NRXResProbe of a
//   disabled resource: NRX_E_STATE. NRXGrpDelete takes the group's links
//   with it; NRXResDelete refuses a resource with a parent or a child.
//   Links join resources of one group: a link to itself, one that closes a
//   circle or one across groups is NRX_E_BAD_ARGUMENT, one that exists
//   NRX_E_OBJECT_EXISTS; unlinking what is not linked NRX_E_NO_SUCH_OBJECT.
//
// Setting attributes
//   NRXObjSetAttribute uses the caller's entry for `system` if the record
//   has one, else its first. An attribute the object lacks is made by
//   NRX_ATTR_REPLACE, _ADD and _ADD_KEY, with the value's dimension and type
//   (local when a system is named); the other operations answer
//   NRX_E_NO_SUCH_ATTRIBUTE. A system named must be in the group's list, and
//   the attribute local (else NRX_E_WRONG_DIMENSION); with a null system a
//   local attribute changes on every system. _ADD and _DELETE fit vectors,
//   _ADD_KEY and _DELETE_KEY keylists and associations, _UPDATE_KEY
//   associations; any other pairing is NRX_E_WRONG_DIMENSION. A key already
//   there (_ADD_KEY) is NRX_E_KEY_EXISTS; a value or key that is not there
//   (_DELETE, _DELETE_KEY, _UPDATE_KEY) NRX_E_KEY_NOT_FOUND. An operation
//   that fails changes nothing. An integer attribute takes decimal integers
//   only (NRX_E_BAD_ARGUMENT). The engine's own attributes answer
//   NRX_E_WRONG_DIMENSION. A group's "SystemList" and "AutoStartList" take
//   names of systems (NRX_E_NO_SUCH_OBJECT for others); a system where the
//   group is not offline cannot leave its "SystemList" (NRX_E_STATE).
//   NRXResAttrMakeLocal gives every system of the list the global value;
//   NRXResAttrMakeGlobal keeps the value of the first system that has one.
//   "ArgListValues" holds, per system, "Name=value" for each of the
//   resource's own attributes but "Enabled", in order, separated by spaces;
//   the values of a list are separated by commas, and a value that is empty
//   or holds a space, comma, quote or backslash is written in double quotes.
//
// Records
//   Every record and text handed out stays counted (SimNrx_UnfreedRecords)
//   until it is given to its own free function (the table of nrx_api.h).
//   A pointer given to another free function, freed twice or never handed
//   out is left alone, counted (SimNrx_BadFrees) and named in
//   SimNrx_LastError. On failure every output pointer is set to null.
//
// Faults
//   A failure injected into an entry point answers NRX_FAILURE (null for
//   NRXClusterOpen..., NRXApiGetLastError), sets the calling thread's error
//   to the given code with the message "failure injected by the simulator",
//   and does nothing else: no output, no state change, no clock advance.
//   NRXApiGetLastErrCode answers the given code and leaves the thread's error
//   as it is; NRXApiGetLastError answers null and leaves it too; a free
//   function frees nothing (the record stays counted). An injected exception
//   raises SIMNRX_EXCEPTION_CODE inside the entry point, outside the
//   simulator's lock, and does nothing else.
//
// Last error
//   NRXApiGetLastErrCode / NRXApiGetLastError give the calling thread's
//   error: its code, the failed entry point's name and a sentence. Every
//   entry point but those two and the free functions sets it on failure and
//   clears it on success.
//
// Scenario (UTF-8 JSON; unknown fields and values of the wrong kind are
// refused, so that a misspelt field is noticed)
//
//   { "cluster": "ORVNRX01", "pendingMs": 1000,           // pendingMs: 1000 when absent
//     "systems": ["%COMPUTERNAME%", "ORVNODE2"],
//     "types": ["GenericService", {"name": "IP", "attributes": {...}}],
//     "groups": [{"name": "Orvane Group",
//                 "systemList": [...], "autoStartList": [...],   // every system / the systemList when absent
//                 "frozen": false, "enabled": true,              // enabled on every system of its list
//                 "children": ["group it depends on"], "attributes": {...}}],
//     "resources": [{"name": "Orvane", "type": "Orvane", "group": "Orvane Group",
//                    "enabled": true,                            // true when absent
//                    "states": {"%COMPUTERNAME%": "ONLINE", "ORVNODE2": "OFFLINE"},
//                    "children": ["Orvane Server Name"], "attributes": {...}}] }
//
//   Attribute values: "text" (a global string scalar), 5 (an integer
//   scalar), ["a", "b"] or [1, 2] (a vector; [] an empty one),
//   {"keylist": ["x", "y"]}, {"assoc": {"k": "v"}}, and {"local": {"SYSTEM":
//   value, ...}} for a value per system of the group's list (each value one
//   of the forms above, all of one dimension and type).
//   State words: "ONLINE", "OFFLINE", "FAULTED", "UNKNOWN" (not probed),
//   "GOING_ONLINE", "GOING_OFFLINE" (pending until changed). A system of the
//   group's list without a word is OFFLINE, or UNKNOWN for a disabled
//   resource. A resource's "LastOnline" may be given among its attributes;
//   else it is the first system where the resource is ONLINE, or "".
//   "%COMPUTERNAME%" anywhere a system is named stands for this computer
//   (GetComputerNameW). A type that a resource uses exists without being
//   listed. Refused: an unknown group, system, type or child, a duplicate
//   name, a link that closes a circle, a child in another group, a state or
//   local value on a system outside the group's list, the engine's own
//   attributes ("State", "ArgListValues"), and attributes that have fields of
//   their own ("SystemList", "AutoStartList", "Frozen", "TFrozen", "Enabled").
//
// The functions that answer BOOL report a failure with FALSE and a sentence
// in SimNrx_LastError() that names the problem.

#if defined(SIMNRX_BUILDING)
#define SIMNRX_API
#else
#define SIMNRX_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// What SimNrx_InjectException raises inside an entry point ("NRX" in its
// low bytes).
#define SIMNRX_EXCEPTION_CODE 0xE04E5258UL

// The kinds of record the NRX API hands out, one per free function, for
// SimNrx_UnfreedRecords.
typedef enum SIMNRX_RECORD_KIND {
    SIMNRX_RECORD_ALL = 0,
    SIMNRX_RECORD_ERROR = 1,       // NRXApiError, freed by NRXFreeError
    SIMNRX_RECORD_CNTL_INFO = 2,   // NRXCntlInfo, NRXFreeCntlInfo
    SIMNRX_RECORD_OBJECT = 3,      // NRXObject, NRXFreeObject
    SIMNRX_RECORD_OBJ_NAMES = 4,   // NRXObjNames, NRXFreeObjNames
    SIMNRX_RECORD_STATE_INFO = 5,  // NRXStateInfo, NRXFreeStateInfo
    SIMNRX_RECORD_OBJ_ATTR = 6,    // NRXAttr read by NRXObjGetAttribute, NRXFreeObjAttr
    SIMNRX_RECORD_ATTR = 7,        // NRXAttr built by NRXAttrFill..., NRXFreeAttr
    SIMNRX_RECORD_TEXT = 8,        // char* text, NRXFreeStr
} SIMNRX_RECORD_KIND;

// ---- Scenario ----

// Replaces the simulated cluster. Connections stay open and address the new
// cluster; its configuration is read-only. Records handed out stay counted.
// On failure the cluster is left as it was.
SIMNRX_API BOOL WINAPI SimNrx_LoadScenarioFile(const wchar_t* path);
SIMNRX_API BOOL WINAPI SimNrx_LoadScenarioText(const char* utf8Json);

// No cluster from now on (no automatic loading either).
SIMNRX_API void WINAPI SimNrx_Unload(void);

// Why the last control call failed, why the automatic loading found no
// cluster, or which bad free came last, for example "scenario: resource 'X'
// names unknown group 'Y'". Empty after a successful control call. Valid
// until the next call into the simulator.
SIMNRX_API const wchar_t* WINAPI SimNrx_LastError(void);

// The current cluster as a scenario (UTF-8 JSON, terminated), states
// settled at the virtual time of the call. `*size` is the buffer's size in
// bytes; when it is too small (or `buffer` is null) the answer is FALSE,
// GetLastError() is ERROR_MORE_DATA and `*size` the size needed, terminator
// included. A transition in progress is saved as its pending word
// ("GOING_ONLINE", which then lasts until changed); "TFrozen" is not saved.
SIMNRX_API BOOL WINAPI SimNrx_SaveScenarioText(char* buffer, DWORD* size);

// ---- State ----

// Puts a resource in a state on a system (null: every system of its group's
// list) at once, ending any running transition there. `state` is one of
// NRX_RES_OFFLINE, NRX_RES_ONLINE, NRX_RES_FAULTED, NRX_RES_UNKNOWN (not
// probed) or a pending state (NRX_RES_WAIT_ONLINE, NRX_RES_ONLINE |
// NRX_RES_WAIT_OFFLINE), which then lasts until changed. ONLINE sets
// "LastOnline".
SIMNRX_API BOOL WINAPI SimNrx_SetResourceState(const char* resource, const char* system, int state);

// The resource's state on the system as NRXObjGetState would answer it now
// (transitions settled, no clock advance); NRX_RES_UNKNOWN for a system
// outside its group's list; -1 for an unknown resource or system.
SIMNRX_API int WINAPI SimNrx_GetResourceState(const char* resource, const char* system);

// Scripts how the resource answers the next requests to reach `target`
// (NRX_RES_ONLINE or NRX_RES_OFFLINE) on the system (null: on every
// system): it goes pending and after `delayMs` of virtual time reaches
// `finalState` (the target, or NRX_RES_FAULTED). A delay of 0 completes
// within the call. The script stays until the next scenario load.
SIMNRX_API BOOL WINAPI SimNrx_ScriptTransition(const char* resource, const char* system, int target, DWORD delayMs,
                                               int finalState);

// The pending time of every transition that is not scripted, from now on.
// FALSE without a cluster.
SIMNRX_API BOOL WINAPI SimNrx_SetPendingTime(DWORD delayMs);

// Sets an attribute of a group, resource or resource type (objType
// NRX_OBJ_GROUP, NRX_OBJ_RESOURCE, NRX_OBJ_RESTYPE) as a scenario would:
// `jsonValue` is a scenario attribute value ("\"text\"", "5",
// "{\"keylist\":[\"x\"]}", "{\"local\":{\"ORVNODE2\":\"v\"}}", ...); null
// removes the attribute. A group's "SystemList" and "AutoStartList" take a
// keylist or a list of systems, "Frozen", "TFrozen" and "Enabled" an
// integer (for a group's "Enabled" applied to every system); a resource's
// "LastOnline" a text. "State" and "ArgListValues", and removing an
// attribute that every object of the kind has, are refused. No
// configuration needs to be open.
SIMNRX_API BOOL WINAPI SimNrx_SetAttribute(int objType, const char* object, const char* attribute,
                                           const char* jsonValue);

// ---- Faults and counters ----

// Makes calls of an NRX entry point (by its exported name, including
// NRXApiInit and the free functions) fail with `errorCode` (not 0): the
// `nth` call from now on (1 is the next one) and the `count - 1` calls after
// it; `count` 0 fails every call from the nth on. See "Faults" above for
// what a failed call does. FALSE for a name that is not an entry point.
SIMNRX_API BOOL WINAPI SimNrx_InjectFailure(const char* entryPoint, DWORD nth, DWORD count, int errorCode);

// Makes the nth call from now of the entry point raise
// RaiseException(SIMNRX_EXCEPTION_CODE, EXCEPTION_NONCONTINUABLE, 0, NULL).
SIMNRX_API BOOL WINAPI SimNrx_InjectException(const char* entryPoint, DWORD nth);

// Forgets every injected failure and exception.
SIMNRX_API void WINAPI SimNrx_ClearFailures(void);

// Calls of an entry point since the counters were last reset (failed and
// raising calls included); 0 for a name that is not an entry point.
SIMNRX_API DWORD WINAPI SimNrx_CallCount(const char* entryPoint);

// Sets every call count, and the count of bad frees, to 0.
SIMNRX_API void WINAPI SimNrx_ResetCounters(void);

// Records handed out and not yet given to their free function, of one kind
// or (SIMNRX_RECORD_ALL) of all.
SIMNRX_API DWORD WINAPI SimNrx_UnfreedRecords(int kind);

// Pointers given to a free function that were not a live record of its kind.
SIMNRX_API DWORD WINAPI SimNrx_BadFrees(void);

// Connections opened and not yet closed.
SIMNRX_API DWORD WINAPI SimNrx_OpenConnections(void);

#ifdef __cplusplus
}
#endif

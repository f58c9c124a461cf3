#pragma once

/*
 * The NRX cluster client interface, nrxapi_mt.dll.
 *
 * A plain C interface to the NRX cluster engine. Every name is 8-bit text
 * (UTF-8); every call answers an NRXStatusCode, or a handle or record that is
 * null on failure. After a failure the calling thread's error is read with
 * NRXApiGetLastErrCode (the code) or NRXApiGetLastError (a record with the
 * failed function's name and a message); a success clears it.
 *
 * Ownership. Every record the library hands out belongs to the caller until
 * it is given back to its one matching free function:
 *
 *   record                           made by                        freed by
 *   NRXApiError                      NRXApiGetLastError             NRXFreeError
 *   NRXCntlInfo                      NRXFillCntlInfo                NRXFreeCntlInfo
 *   NRXObject                        NRXObjGet                      NRXFreeObject
 *   NRXObjNames                      NRXObjGetNames, the ...List    NRXFreeObjNames
 *                                    functions
 *   NRXStateInfo                     NRXObjGetState                 NRXFreeStateInfo
 *   NRXAttr read from an object      NRXObjGetAttribute             NRXFreeObjAttr
 *   NRXAttr built by the caller      the NRXAttrFill... functions   NRXFreeAttr
 *   char* text                       NRXObjGetDefinition,           NRXFreeStr
 *                                    NRXAttrGetStr, NRXResGetType,
 *                                    NRXResGetGrpName
 *
 * The free functions accept null. NRXStrVector and NRXStrAssoc are the
 * caller's own records: the library only reads them.
 *
 * Connections. NRXApiInit comes first; NRXClusterOpen connects to the engine
 * of a named system (port NRX_ENGINE_PORT), NRXClusterOpenLocal to the engine
 * of this computer. A connection is used by one call at a time.
 *
 * Configuration. Calls that change the configuration (adding, deleting,
 * linking, setting attributes, ...) need it opened for writing with
 * NRXClusterConfOpen; otherwise they fail with NRX_E_CONF_READ_ONLY.
 * NRXClusterConfClose saves it and makes it read-only again. Bringing
 * objects online or offline, probing and switching do not change the
 * configuration.
 *
 * Dependencies. A resource depends on its children (NRXResLink(parent,
 * child)): a child must be online on a system before its parent can go
 * online there, and a parent must be offline before its child can go
 * offline; otherwise the call fails with NRX_E_STATE. Service groups link
 * the same way.
 *
 * Attribute values. An attribute is global (one value for every system) or
 * local (a value per system of its service group). Every value is text;
 * integers are written in decimal. An NRXAttr holds one entry per value set:
 * a global attribute has one entry whose system is null, a local attribute
 * one entry per system. The values of an entry depend on the dimension:
 *
 *   NRX_DIM_SCALAR    one value
 *   NRX_DIM_VECTOR    any number of values, in order
 *   NRX_DIM_KEYLIST   any number of keys, in order ("SystemList")
 *   NRX_DIM_ASSOC     key, value, key, value, ... (count is even)
 *
 * An entry may hold no value at all (an empty vector or list).
 *
 * Attributes the engine keeps itself (read-only):
 *
 *   "State"          groups and resources: NRX_DIM_ASSOC, global; per system
 *                    of the group's "SystemList" the key (the system) and the
 *                    state's word: "ONLINE", "OFFLINE", "PARTIAL", "FAULTED",
 *                    "GOING_ONLINE", "GOING_OFFLINE" or "UNKNOWN".
 *   "ArgListValues"  resources: NRX_DIM_ASSOC, global; per system of the
 *                    group's "SystemList" the key (the system) and the
 *                    values the resource's agent gets there, as one text
 *                    ("name=value" items separated by spaces).
 *   "LastOnline"     resources: NRX_DIM_SCALAR, global; the system on which
 *                    the resource last came online.
 *
 * NRXObjSetAttribute on one of them fails with NRX_E_WRONG_DIMENSION.
 *
 * A group's "SystemList" and "AutoStartList" are NRX_DIM_KEYLIST attributes
 * that the caller sets.
 */

#ifdef __cplusplus
extern "C" {
#endif

/* The engine's port, for NRXClusterOpen. */
#define NRX_ENGINE_PORT 14141

/* Timeout argument meaning "wait as long as it takes". */
#define NRX_WAIT_FOREVER 0xFFFFFFFFUL

typedef int NRXStatusCode;
enum {
    NRX_SUCCESS = 0,
    NRX_FAILURE = 1,
};

/* The calling thread's error codes (NRXApiGetLastErrCode). */
enum {
    NRX_E_NONE = 0,
    NRX_E_NOT_INITIALISED = 10101,   /* NRXApiInit was not called */
    NRX_E_BAD_ARGUMENT = 10102,      /* null, empty or unknown argument */
    NRX_E_BAD_HANDLE = 10103,        /* not an open connection */
    NRX_E_CONNECT = 10104,           /* no engine answers on that system */
    NRX_E_NO_SUCH_OBJECT = 10110,    /* no system, group, resource or type of that name */
    NRX_E_NO_SUCH_ATTRIBUTE = 10111, /* the object has no attribute of that name */
    NRX_E_OBJECT_EXISTS = 10112,     /* an object of that name exists already */
    NRX_E_WRONG_DIMENSION = 10113,   /* the operation does not fit the attribute */
    NRX_E_CONF_READ_ONLY = 10120,    /* the configuration is not opened for writing */
    NRX_E_CONF_OPEN = 10121,         /* the configuration is opened for writing already */
    NRX_E_STATE = 10130,             /* the object's state does not allow it */
    NRX_E_NOT_IN_SYSTEM_LIST = 10131,/* the system may not run that group */
    NRX_E_KEY_NOT_FOUND = 10180,     /* the key is not in the list */
    NRX_E_KEY_EXISTS = 10181,        /* the key is in the list already */
};

/* The kind of object a call addresses. */
typedef enum NRXObjType {
    NRX_OBJ_CLUSTER = 0,
    NRX_OBJ_SYSTEM = 1,
    NRX_OBJ_GROUP = 2,
    NRX_OBJ_RESOURCE = 3,
    NRX_OBJ_RESTYPE = 4,
} NRXObjType;

/* What the values of a control record mean (NRXFillCntlInfo). */
typedef enum NRXCntlFlag {
    /* Names that scope the call: the service groups whose members a listing
       gives, or the systems a probe or state query covers. Any count. */
    NRX_CNTL_SCOPE = 14,
    /* A listing of the resources of one type in one service group:
       values[0] the type, values[1] the group. */
    NRX_CNTL_TYPE_IN_GROUP = 16,
    /* A state query on one system: values[0]. */
    NRX_CNTL_SYSTEM = 17,
    /* A listing of the resources of one type: values[0]. */
    NRX_CNTL_TYPE = 18,
} NRXCntlFlag;

/* NRXObjSetAttribute operations. */
typedef enum NRXAttrOp {
    NRX_ATTR_REPLACE = 36,    /* the value becomes the given one */
    NRX_ATTR_ADD = 37,        /* append the given values to a vector */
    NRX_ATTR_ADD_KEY = 38,    /* add the given keys (or key, value pairs) to a keylist or association;
                                 NRX_E_KEY_EXISTS when one is there */
    NRX_ATTR_UPDATE_KEY = 39, /* change the values of keys already there */
    NRX_ATTR_DELETE = 40,     /* remove the given values from a vector; NRX_E_KEY_NOT_FOUND when one is absent */
    NRX_ATTR_DELETE_KEY = 41, /* remove the given keys; NRX_E_KEY_NOT_FOUND when one is absent */
} NRXAttrOp;

typedef enum NRXAttrDimension {
    NRX_DIM_SCALAR = 0,
    NRX_DIM_VECTOR = 1,
    NRX_DIM_KEYLIST = 2,
    NRX_DIM_ASSOC = 3,
} NRXAttrDimension;

typedef enum NRXAttrType {
    NRX_TYPE_STR = 0,
    NRX_TYPE_INT = 1,
} NRXAttrType;

/* The state of a resource on one system: a set of bits. */
enum {
    NRX_RES_OFFLINE = 0x00,
    NRX_RES_FAULTED = 0x01,
    NRX_RES_ONLINE = 0x02,
    NRX_RES_WAIT_ONLINE = 0x04,   /* on its way online */
    NRX_RES_WAIT_OFFLINE = 0x08,  /* with NRX_RES_ONLINE: on its way offline */
    NRX_RES_UNKNOWN = 0x10,       /* not probed there, or the system is not in its group's list */
};

/* The state of a service group on one system: one of these bits. */
enum {
    NRX_GRP_OFFLINE = 0x01,
    NRX_GRP_FAULTED = 0x02,
    NRX_GRP_ONLINE = 0x04,        /* every enabled resource online */
    NRX_GRP_PARTIAL = 0x08,       /* some resources online */
    NRX_GRP_GOING_OFFLINE = 0x10,
    NRX_GRP_GOING_ONLINE = 0x20,
    NRX_GRP_UNKNOWN = 0x40,
};

typedef struct NRXConnection* NRXHandle;

typedef struct NRXApiError {
    int code;         /* as NRXApiGetLastErrCode */
    char* function;   /* the entry point that failed */
    char* message;    /* a sentence for people */
} NRXApiError;

typedef struct NRXCntlInfo {
    NRXCntlFlag flag;
    int count;
    char** values;
} NRXCntlInfo;

typedef struct NRXObject {
    char* name;           /* first, so that a pointer to the record is one to its name */
    NRXObjType type;
    int attributeCount;
    char** attributeNames;
} NRXObject;

typedef struct NRXObjNames {
    int count;
    char** names;
} NRXObjNames;

typedef struct NRXSystemState {
    char* system;
    int state;            /* NRX_RES_... or NRX_GRP_... */
} NRXSystemState;

typedef struct NRXStateInfo {
    NRXObjType type;
    char* object;
    int count;            /* one entry per system, in the order of the group's "SystemList" */
    NRXSystemState* entries;
} NRXStateInfo;

typedef struct NRXAttrValue {
    char* system;         /* null for a global value */
    int count;
    char** values;
} NRXAttrValue;

typedef struct NRXAttr {
    char* name;
    NRXAttrType type;
    NRXAttrDimension dimension;
    int local;            /* 1: one entry per system */
    int count;
    NRXAttrValue* entries;
} NRXAttr;

typedef struct NRXStrVector {
    int count;
    const char* const* values;
} NRXStrVector;

typedef struct NRXStrAssoc {
    int count;            /* pairs */
    const char* const* keys;
    const char* const* values;
} NRXStrAssoc;

/* ---- The library ---- */

/* version 0: this interface. Flags: none defined, pass 0. */
NRXStatusCode NRXApiInit(unsigned long version, unsigned long flags);
NRXStatusCode NRXApiExit(void);
/* The calling thread's last error as a new record, or null when there is none. */
NRXApiError* NRXApiGetLastError(void);
int NRXApiGetLastErrCode(void);

/* ---- Connections and configuration ---- */

NRXHandle NRXClusterOpenLocal(unsigned long timeoutMs, unsigned long flags);
/* user and password null: the calling thread's own identity. */
NRXHandle NRXClusterOpen(const char* host, unsigned short port, const char* user, const char* password,
                         unsigned long timeoutMs, unsigned long flags);
NRXStatusCode NRXClusterClose(NRXHandle cluster);
/* NRX_E_CONF_OPEN when the configuration is opened for writing already. */
NRXStatusCode NRXClusterConfOpen(NRXHandle cluster, unsigned long flags);
/* NRX_E_CONF_READ_ONLY when it was not opened through this connection. */
NRXStatusCode NRXClusterConfClose(NRXHandle cluster, unsigned long flags);

/* ---- Objects ---- */

NRXStatusCode NRXFillCntlInfo(NRXCntlFlag flag, char** values, int count, NRXCntlInfo** cntl);
/* The object of that kind and name; the cluster object takes a null name. */
NRXStatusCode NRXObjGet(NRXHandle cluster, NRXObjType type, const char* name, NRXObject** object);
/* One entry per system; cntl (may be null) of kind NRX_CNTL_SYSTEM or NRX_CNTL_SCOPE narrows the systems. */
NRXStatusCode NRXObjGetState(NRXHandle cluster, NRXObjType type, const char* name, NRXStateInfo** state,
                             const NRXCntlInfo* cntl);
/* The names of the objects of one kind, in the order they were made. pattern
   (may be null) keeps the names it matches, with "*" and "?" as wildcards;
   cntl (may be null) narrows a resource listing by type, group or both. An
   empty answer is a success with a count of 0. */
NRXStatusCode NRXObjGetNames(NRXHandle cluster, NRXObjType type, const char* pattern, NRXObjNames** names,
                             const NRXCntlInfo* cntl);
/* Applies value (its name names the attribute) with op. system null: the
   global value, or every system of a local attribute; else that system's. */
NRXStatusCode NRXObjSetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const NRXAttr* value,
                                 NRXAttrOp op, const char* system);
NRXStatusCode NRXObjGetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const char* attribute,
                                 NRXAttr** value);
/* The object as lines of the engine's configuration text. */
NRXStatusCode NRXObjGetDefinition(NRXHandle cluster, NRXObjType type, const char* object, char** text);

/* ---- Freeing ---- */

void NRXFreeCntlInfo(NRXCntlInfo* cntl);
void NRXFreeStateInfo(NRXStateInfo* state);
void NRXFreeStr(char* text);
void NRXFreeObject(NRXObject* object);
void NRXFreeObjNames(NRXObjNames* names);
void NRXFreeError(NRXApiError* error);
void NRXFreeAttr(NRXAttr* value);
void NRXFreeObjAttr(NRXAttr* value);

/* ---- Attribute values ---- */

NRXStatusCode NRXAttrFillStrVector(const char* name, const NRXStrVector* values, NRXAttr** value);
NRXStatusCode NRXAttrFillStrAssoc(const char* name, const NRXStrAssoc* pairs, NRXAttr** value);
NRXStatusCode NRXAttrFillKeylist(const char* name, const NRXStrVector* keys, NRXAttr** value);
NRXStatusCode NRXAttrFillStr(const char* name, const char* text, NRXAttr** value);
/* A copy of the index-th value of the entry of system, or of the global
   entry when the value has no entry of that system (null: the global entry,
   or the first one); NRX_E_KEY_NOT_FOUND when there is none. */
NRXStatusCode NRXAttrGetStr(const NRXAttr* value, const char* system, int index, char** text);
NRXStatusCode NRXAttrFillInt(const char* name, int number, NRXAttr** value);

/* ---- Resources ---- */

NRXStatusCode NRXResAdd(NRXHandle cluster, const char* resource, const char* type, const char* group);
/* Fails with NRX_E_STATE while the resource is online anywhere or linked. */
NRXStatusCode NRXResDelete(NRXHandle cluster, const char* resource);
NRXStatusCode NRXResOnline(NRXHandle cluster, const char* resource, const char* system);
NRXStatusCode NRXResOffline(NRXHandle cluster, const char* resource, const char* system);
NRXStatusCode NRXResGetType(NRXHandle cluster, const char* resource, char** type);
/* Asks the agents for the resource's state on the systems of cntl
   (NRX_CNTL_SCOPE or NRX_CNTL_SYSTEM; null: every system of its group). */
NRXStatusCode NRXResProbe(NRXHandle cluster, const char* resource, const NRXCntlInfo* cntl);
NRXStatusCode NRXResGetGrpName(NRXHandle cluster, const char* resource, char** group);
NRXStatusCode NRXResLink(NRXHandle cluster, const char* parent, const char* child);
NRXStatusCode NRXResUnlink(NRXHandle cluster, const char* parent, const char* child);
/* The resources it depends on directly. */
NRXStatusCode NRXResGetChildList(NRXHandle cluster, const char* resource, NRXObjNames** names);
/* The resources that depend on it, directly or not. */
NRXStatusCode NRXResGetDependentList(NRXHandle cluster, const char* resource, NRXObjNames** names);
NRXStatusCode NRXResAttrMakeGlobal(NRXHandle cluster, const char* resource, const char* attribute);
NRXStatusCode NRXResAttrMakeLocal(NRXHandle cluster, const char* resource, const char* attribute);
NRXStatusCode NRXResTypeAdd(NRXHandle cluster, const char* type);
NRXStatusCode NRXResTypeDelete(NRXHandle cluster, const char* type);
/* The resources that depend on it directly. */
NRXStatusCode NRXResGetParentList(NRXHandle cluster, const char* resource, NRXObjNames** names);
/* Clears a fault on the system (null: everywhere). */
NRXStatusCode NRXResClear(NRXHandle cluster, const char* resource, const char* system);

/* ---- Service groups ---- */

NRXStatusCode NRXGrpAdd(NRXHandle cluster, const char* group);
/* Fails with NRX_E_STATE while the group holds resources or is online. */
NRXStatusCode NRXGrpDelete(NRXHandle cluster, const char* group);
NRXStatusCode NRXGrpOnline(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpOffline(NRXHandle cluster, const char* group, const char* system);
/* Offline where it runs, then online on system. */
NRXStatusCode NRXGrpSwitch(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpFreeze(NRXHandle cluster, const char* group, int persistent);
NRXStatusCode NRXGrpUnfreeze(NRXHandle cluster, const char* group, int persistent);
NRXStatusCode NRXGrpFlush(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpClear(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpEnable(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpDisable(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpAutoEnable(NRXHandle cluster, const char* group, const char* system);
/* Lets the engine manage every resource of the group. */
NRXStatusCode NRXGrpEnableResources(NRXHandle cluster, const char* group);
NRXStatusCode NRXGrpDisableResources(NRXHandle cluster, const char* group);
NRXStatusCode NRXGrpLink(NRXHandle cluster, const char* parent, const char* child);
NRXStatusCode NRXGrpUnlink(NRXHandle cluster, const char* parent, const char* child);
NRXStatusCode NRXGrpGetChildList(NRXHandle cluster, const char* group, NRXObjNames** names);
NRXStatusCode NRXGrpGetParentList(NRXHandle cluster, const char* group, NRXObjNames** names);
NRXStatusCode NRXGrpGetDependentList(NRXHandle cluster, const char* group, NRXObjNames** names);
NRXStatusCode NRXGrpClearadminwait(NRXHandle cluster, const char* group, const char* system);
NRXStatusCode NRXGrpIgnore(NRXHandle cluster, const char* group, const char* system);

#ifdef __cplusplus
}
#endif

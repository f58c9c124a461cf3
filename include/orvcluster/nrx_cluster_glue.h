#pragma once

#include <windows.h>

#include <list>
#include <functional>
#include <map>
#include <string>

#include "orvcluster/export.h"
#include "orvcluster/nrx_api.h"
#include "orvcluster/singleton.h"
#include "orvcluster/unique_handle.h"

// The one door to the NRX cluster client, nrxapi_mt.dll, loaded by name once
// per process: through the search path, else from the NRX console's
// "InstallLocation". A wrapper whose library is not loaded answers
// NRX_FAILURE (null, false) and leaves the last error alone; one whose entry
// point is missing answers the same after SetLastError(127). The records the
// wrappers hand out belong to the NRX library: give each back to its free
// wrapper.
class ORVCLUSTER_API NRXClusterGlue {
public:
    static orvclass::shared_ptr<NRXClusterGlue> GetInstance();

    // Every entry point was found.
    bool OK() const;

    // A connection to the engine of `host` (null or empty: this computer),
    // opened once per host and kept for the life of the process; null when
    // the library is not loaded or not initialised, or the open failed. An
    // exception raised inside the NRX library becomes last error 6.
    NRXHandle OpenCluster(const char* host);
    // Appends the names of the resources of type `text` (in the service
    // group `filter` when not empty), or of the systems when `text` is
    // "Nodes", each byte widened to one character; true when `names` holds
    // at least one name afterwards.
    bool ClusterEnum(NRXHandle cluster, const char* text, std::list<std::wstring>& names, std::string filter);

    // Resource access. OpenClusterResource reads one attribute of a
    // resource; give it back with CloseClusterResource.
    NRXStatusCode OpenClusterResource(NRXHandle cluster, const char* resource, const char* attribute,
                                      NRXAttr** value);
    void CloseClusterResource(NRXAttr** value);
    NRXStatusCode GetClusterResourceState(NRXHandle cluster, NRXObjType type, const char* name,
                                          NRXStateInfo** state, NRXCntlInfo* cntl);
    NRXStatusCode ResGetGrpName(NRXHandle cluster, const char* resource, char** group);
    NRXStatusCode OnlineClusterResource(NRXHandle cluster, const char* resource, const char* system);
    NRXStatusCode OfflineClusterResource(NRXHandle cluster, const char* resource, const char* system);
    NRXStatusCode ResProbe(NRXHandle cluster, const char* resource, NRXCntlInfo* cntl);
    NRXStatusCode ResGetChildList(NRXHandle cluster, const char* resource, NRXObjNames** names);
    NRXStatusCode ResOffline(NRXHandle cluster, const char* resource, const char* system);
    NRXStatusCode ResLink(NRXHandle cluster, const char* parent, const char* child);
    NRXStatusCode ResAttrMakeLocal(NRXHandle cluster, const char* resource, const char* attribute);

    // Objects and configuration.
    NRXStatusCode GetClusterObject(NRXHandle cluster, NRXObjType type, const char* name, NRXObject** object);
    NRXStatusCode FreeClusterObject(NRXObject* object);
    NRXStatusCode ClusterConfOpen(NRXHandle cluster, unsigned long flags);
    NRXStatusCode ClusterConfClose(NRXHandle cluster, unsigned long flags);
    NRXStatusCode ObjectGetNames(NRXHandle cluster, NRXObjType type, const char* pattern, NRXObjNames** names,
                                 NRXCntlInfo* cntl);
    // NRX_FAILURE without the library; NRX_SUCCESS once a list was handed
    // back; NRX_FAILURE after SetLastError(127) for a missing entry point and,
    // alike, for a null list.
    NRXStatusCode FreeObjNames(NRXObjNames* names);
    NRXStatusCode ObjGetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const char* attribute,
                                  NRXAttr** value);
    NRXStatusCode ObjSetAttribute(NRXHandle cluster, NRXObjType type, const char* object, const NRXAttr* value,
                                  NRXAttrOp op, const char* system);

    // Attribute values to write; give each back with FreeAttr.
    NRXStatusCode AttrFillStr(const char* name, const char* text, NRXAttr** value);
    NRXStatusCode AttrFillInt(const char* name, int number, NRXAttr** value);
    NRXStatusCode NRXAttrFillInt(const char* name, int number, NRXAttr** value);
    NRXStatusCode AttrFillStrVector(const char* name, const NRXStrVector* values, NRXAttr** value);
    NRXStatusCode AttrFillKeylist(const char* name, const NRXStrVector* keys, NRXAttr** value);
    NRXStatusCode AttrFillStrAssoc(const char* name, const NRXStrAssoc* pairs, NRXAttr** value);
    NRXStatusCode AttrGetStr(const NRXAttr* value, const char* system, int index, char** text);

    // Service groups and resource types.
    NRXStatusCode GrpAdd(NRXHandle cluster, const char* group);
    NRXStatusCode GrpDel(NRXHandle cluster, const char* group);
    NRXStatusCode GrpOnline(NRXHandle cluster, const char* group, const char* system);
    NRXStatusCode GrpEnableResources(NRXHandle cluster, const char* group);
    NRXStatusCode ResourceAdd(NRXHandle cluster, const char* resource, const char* type, const char* group);
    NRXStatusCode ResourceDelete(NRXHandle cluster, const char* resource);
    NRXStatusCode ResTypeAdd(NRXHandle cluster, const char* type);

    // Control records and freeing. FreeCntlInfo, FreeStr and
    // FreeResourceStateInfo do nothing without the library and set last
    // error 127 for a missing entry point; FreeAttr, FreeStateInfo and
    // FreeError call their entry point whenever it was found.
    NRXStatusCode FillCntlInfo(NRXCntlFlag flag, char** values, int count, NRXCntlInfo** cntl);
    void FreeCntlInfo(NRXCntlInfo* cntl);
    void FreeStr(char* text);
    void FreeAttr(NRXAttr* value);
    void FreeStateInfo(NRXStateInfo* state);
    void FreeResourceStateInfo(NRXStateInfo* state);
    void FreeError(NRXApiError* error);
    // The calling thread's last NRX error, or null; give it back with FreeError.
    NRXApiError* GetLastError();

    NRXClusterGlue(const NRXClusterGlue&) = delete;
    NRXClusterGlue& operator=(const NRXClusterGlue&) = delete;

private:
    friend class orvclass::singleton<NRXClusterGlue>;
    NRXClusterGlue();
    ~NRXClusterGlue();

    static constexpr size_t kEntryPoints = 69;

    CRITICAL_SECTION lock_;
    // Open connections by host; "" is this computer. Looked up by the
    // caller's text as it is, without a copy.
    std::map<std::string, NRXHandle, std::less<>> connections_;
    orv::UniqueModule module_;
    bool initialised_ = false;
    // One address per entry point, in lookup order; null when not found.
    FARPROC entryPoints_[kEntryPoints] = {};
};

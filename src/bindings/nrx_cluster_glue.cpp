// nrxapi_mt.dll, the NRX cluster client, bound by name. Without the library
// every wrapper fails quietly (NRX_FAILURE, null, false; last error left
// alone); with the library but without the entry point it fails after
// SetLastError(127). The free wrappers differ, as noted at each.

#include "orvcluster/nrx_cluster_glue.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <vector>

#include "bindings/exception_shield.h"
#include "bindings/library_binding.h"
#include "support/critical_section.h"

namespace {

// The client's entry points in lookup order. "NRXFreeStateInfo" is looked
// up twice, the second time into a slot of its own (NRXFreeStateInfoAgain)
// with wrappers that treat a missing entry point differently.
#define NRXAPI_ENTRY_POINTS(X)                          \
    X(NRXApiInit, StatusFailureWithLastError)           \
    X(NRXApiExit, StatusFailureWithLastError)           \
    X(NRXApiGetLastError, NullWithLastError)            \
    X(NRXApiGetLastErrCode, StatusFailureWithLastError) \
    X(NRXClusterOpenLocal, NullWithLastError)           \
    X(NRXClusterOpen, NullWithLastError)                \
    X(NRXClusterClose, StatusFailureWithLastError)      \
    X(NRXClusterConfOpen, StatusFailureWithLastError)   \
    X(NRXClusterConfClose, StatusFailureWithLastError)  \
    X(NRXFillCntlInfo, StatusFailureWithLastError)      \
    X(NRXObjGet, StatusFailureWithLastError)            \
    X(NRXObjGetState, StatusFailureWithLastError)       \
    X(NRXObjGetNames, StatusFailureWithLastError)       \
    X(NRXObjSetAttribute, StatusFailureWithLastError)   \
    X(NRXObjGetAttribute, StatusFailureWithLastError)   \
    X(NRXObjGetDefinition, StatusFailureWithLastError)  \
    X(NRXFreeCntlInfo, NullWithLastError)               \
    X(NRXFreeStateInfo, NullWithLastError)              \
    X(NRXFreeStr, NullWithLastError)                    \
    X(NRXFreeObject, NullWithLastError)                 \
    X(NRXFreeObjNames, NullWithLastError)               \
    X(NRXFreeError, Zero)                               \
    X(NRXFreeAttr, Zero)                                \
    X(NRXFreeStateInfoAgain, Zero)                      \
    X(NRXFreeObjAttr, NullWithLastError)                \
    X(NRXAttrFillStrVector, StatusFailureWithLastError) \
    X(NRXAttrFillStrAssoc, StatusFailureWithLastError)  \
    X(NRXAttrFillKeylist, StatusFailureWithLastError)   \
    X(NRXAttrFillStr, StatusFailureWithLastError)       \
    X(NRXAttrGetStr, StatusFailureWithLastError)        \
    X(NRXAttrFillInt, StatusFailureWithLastError)       \
    X(NRXResAdd, StatusFailureWithLastError)            \
    X(NRXResDelete, StatusFailureWithLastError)         \
    X(NRXResOnline, StatusFailureWithLastError)         \
    X(NRXResOffline, StatusFailureWithLastError)        \
    X(NRXResGetType, StatusFailureWithLastError)        \
    X(NRXResProbe, StatusFailureWithLastError)          \
    X(NRXResGetGrpName, StatusFailureWithLastError)     \
    X(NRXResLink, StatusFailureWithLastError)           \
    X(NRXResUnlink, StatusFailureWithLastError)         \
    X(NRXResGetChildList, StatusFailureWithLastError)   \
    X(NRXResGetDependentList, StatusFailureWithLastError) \
    X(NRXResAttrMakeGlobal, StatusFailureWithLastError) \
    X(NRXResAttrMakeLocal, StatusFailureWithLastError)  \
    X(NRXResTypeAdd, StatusFailureWithLastError)        \
    X(NRXResTypeDelete, StatusFailureWithLastError)     \
    X(NRXResGetParentList, StatusFailureWithLastError)  \
    X(NRXResClear, StatusFailureWithLastError)          \
    X(NRXGrpAdd, StatusFailureWithLastError)            \
    X(NRXGrpDelete, StatusFailureWithLastError)         \
    X(NRXGrpOnline, StatusFailureWithLastError)         \
    X(NRXGrpOffline, StatusFailureWithLastError)        \
    X(NRXGrpSwitch, StatusFailureWithLastError)         \
    X(NRXGrpFreeze, StatusFailureWithLastError)         \
    X(NRXGrpUnfreeze, StatusFailureWithLastError)       \
    X(NRXGrpFlush, StatusFailureWithLastError)          \
    X(NRXGrpClear, StatusFailureWithLastError)          \
    X(NRXGrpEnable, StatusFailureWithLastError)         \
    X(NRXGrpDisable, StatusFailureWithLastError)        \
    X(NRXGrpAutoEnable, StatusFailureWithLastError)     \
    X(NRXGrpEnableResources, StatusFailureWithLastError) \
    X(NRXGrpDisableResources, StatusFailureWithLastError) \
    X(NRXGrpLink, StatusFailureWithLastError)           \
    X(NRXGrpUnlink, StatusFailureWithLastError)         \
    X(NRXGrpGetChildList, StatusFailureWithLastError)   \
    X(NRXGrpGetParentList, StatusFailureWithLastError)  \
    X(NRXGrpGetDependentList, StatusFailureWithLastError) \
    X(NRXGrpClearadminwait, StatusFailureWithLastError) \
    X(NRXGrpIgnore, StatusFailureWithLastError)

// Each entry point's type is the one the client's header declares; the
// second slot of "NRXFreeStateInfo" takes the first one's.
#define NRXFreeStateInfoAgain NRXFreeStateInfo
#define NRXAPI_FUNCTION_TYPE(name, missing) using name##Function = decltype(&::name);
NRXAPI_ENTRY_POINTS(NRXAPI_FUNCTION_TYPE)
#undef NRXAPI_FUNCTION_TYPE
#undef NRXFreeStateInfoAgain

ORV_BINDING_TABLE(NRXAPI_ENTRY_POINTS)

// The names looked up, in slot order.
const char* LookupName(size_t slot) {
    return slot == kNRXFreeStateInfoAgain ? "NRXFreeStateInfo" : kNames[slot];
}

// What a wrapper answers when the library is not loaded: the partner's
// failure status, or null, or nothing; the last error is left alone.
template <typename Result>
Result NotLoaded() {
    if constexpr (std::is_void_v<Result>) return;
    else if constexpr (std::is_pointer_v<Result>) return nullptr;
    else return static_cast<Result>(NRX_FAILURE);
}

// The body of the plain wrappers: not loaded, missing, or forwarded.
template <Index index, typename... Args>
auto Call(HMODULE module, const FARPROC* entryPoints, Args... args) {
    using Result = decltype(std::declval<typename Entry<index>::Function>()(args...));
    if (!module) return NotLoaded<Result>();
    return Forward<index>(entryPoints, args...);
}

constexpr wchar_t kNrxLibrary[] = L"nrxapi_mt.dll";
constexpr wchar_t kConsoleKey[] = L"SOFTWARE\\PENTRY\\Vontar Console";
constexpr DWORD kConsoleKeyAccess = 0x20019;  // KEY_READ
constexpr DWORD kInstallLocationBytes = 522;
// The stored location ends with a backslash, so none is added.
constexpr wchar_t kLibraryUnderLocation[] = L"nrxapi\\nrxapi_mt.dll";

// The client from the NRX console's folder, when the search path has none.
// An empty, overlong or non-text "InstallLocation" loads nothing: a relative
// path would be searched for where anyone may plant a library.
HMODULE LoadFromConsoleFolder() {
    orv::UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kConsoleKey, 0, kConsoleKeyAccess, key.Receive()) != ERROR_SUCCESS)
        return nullptr;
    wchar_t location[kInstallLocationBytes / sizeof(wchar_t) + 1] = {};
    DWORD type = 0;
    DWORD size = kInstallLocationBytes;
    if (RegQueryValueExW(key.Get(), L"InstallLocation", nullptr, &type, reinterpret_cast<BYTE*>(location), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ || !location[0])
        return nullptr;
    return LoadLibraryW((std::wstring(location) + kLibraryUnderLocation).c_str());
}

}  // namespace

orvclass::shared_ptr<NRXClusterGlue> NRXClusterGlue::GetInstance() {
    return orvclass::singleton<NRXClusterGlue>::instance();
}

NRXClusterGlue::NRXClusterGlue() {
    static_assert(kEntryPointCount == kEntryPoints, "one address per entry point");
    InitializeCriticalSection(&lock_);
    HMODULE module = LoadLibraryW(kNrxLibrary);
    if (!module) module = LoadFromConsoleFolder();
    const char* names[kEntryPoints];
    for (size_t slot = 0; slot < kEntryPoints; ++slot) names[slot] = LookupName(slot);
    module_.Reset(orv::BindModule(module, names, entryPoints_, kEntryPoints));

    EnterCriticalSection(&lock_);
    if (entryPoints_[kNRXApiInit]) initialised_ = Forward<kNRXApiInit>(entryPoints_, 0ul, 0ul) == NRX_SUCCESS;
    LeaveCriticalSection(&lock_);
}

// The connections are closed and the client told to let go before it is
// unloaded.
NRXClusterGlue::~NRXClusterGlue() {
    if (initialised_) {
        for (const auto& connection : connections_) Call<kNRXClusterClose>(module_.Get(), entryPoints_, connection.second);
        Call<kNRXApiExit>(module_.Get(), entryPoints_);
    }
    DeleteCriticalSection(&lock_);
}

bool NRXClusterGlue::OK() const {
    return std::all_of(std::begin(entryPoints_), std::end(entryPoints_), [](FARPROC entry) { return entry; });
}

namespace {

struct OpenRequest {
    const FARPROC* entryPoints;
    const char* host;  // null: this computer
    NRXHandle handle;
};

void OpenConnection(void* context) {
    OpenRequest& request = *static_cast<OpenRequest*>(context);
    request.handle = request.host
                         ? Forward<kNRXClusterOpen>(request.entryPoints, request.host, static_cast<unsigned short>(NRX_ENGINE_PORT),
                                                    static_cast<const char*>(nullptr),
                                                    static_cast<const char*>(nullptr), NRX_WAIT_FOREVER, 0ul)
                         : Forward<kNRXClusterOpenLocal>(request.entryPoints, NRX_WAIT_FOREVER, 0ul);
}

}  // namespace

NRXHandle NRXClusterGlue::OpenCluster(const char* host) {
    if (!module_ || !initialised_) return nullptr;
    if (!entryPoints_[kNRXClusterOpen]) {
        SetLastError(orv::kMissingEntryPoint);
        return nullptr;
    }
    const std::string_view key = host ? host : "";

    EnterCriticalSection(&lock_);
    NRXHandle handle = nullptr;
    const auto cached = connections_.find(key);
    if (cached != connections_.end()) {
        handle = cached->second;
    } else {
        // The client may impersonate while it connects; the caller's own
        // token (or none) is put back afterwards.
        orv::UniqueKernelHandle token;
        if (!OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, token.Receive())) token.Release();
        SetLastError(ERROR_SUCCESS);
        OpenRequest request = {entryPoints_, key.empty() ? nullptr : host, nullptr};
        if (!request.host && !entryPoints_[kNRXClusterOpenLocal]) {
            SetLastError(orv::kMissingEntryPoint);
        } else if (!orv::RunShielded(&OpenConnection, &request)) {
            request.handle = nullptr;
            SetLastError(ERROR_INVALID_HANDLE);
        }
        const DWORD lastError = ::GetLastError();
        SetThreadToken(nullptr, token.Get());
        SetLastError(lastError);
        handle = request.handle;
        if (handle) connections_.emplace(key, handle);
    }
    LeaveCriticalSection(&lock_);
    return handle;
}

bool NRXClusterGlue::ClusterEnum(NRXHandle cluster, const char* text, std::list<std::wstring>& names,
                                 std::string filter) {
    if (!module_ || !text || !entryPoints_[kNRXFillCntlInfo] || !entryPoints_[kNRXObjGetNames] ||
        !entryPoints_[kNRXFreeCntlInfo] || !entryPoints_[kNRXFreeObjNames])
        return false;

    NRXCntlInfo* cntl = nullptr;
    NRXObjNames* list = nullptr;
    NRXStatusCode status;
    if (std::strcmp(text, "Nodes") == 0) {
        status = Forward<kNRXObjGetNames>(entryPoints_, cluster, NRX_OBJ_SYSTEM, static_cast<const char*>(nullptr),
                                          &list, static_cast<const NRXCntlInfo*>(nullptr));
    } else {
        // The client reads the values from an array of its caller's own.
        std::vector<char> copies[2] = {std::vector<char>(text, text + std::strlen(text) + 1),
                                       std::vector<char>(filter.c_str(), filter.c_str() + filter.size() + 1)};
        char* values[2] = {copies[0].data(), copies[1].data()};
        const bool withFilter = !filter.empty();
        status = Forward<kNRXFillCntlInfo>(entryPoints_, withFilter ? NRX_CNTL_TYPE_IN_GROUP : NRX_CNTL_TYPE, values,
                                           withFilter ? 2 : 1, &cntl);
        if (status != NRX_SUCCESS) return false;
        status = Forward<kNRXObjGetNames>(entryPoints_, cluster, NRX_OBJ_RESOURCE, static_cast<const char*>(nullptr),
                                          &list, static_cast<const NRXCntlInfo*>(cntl));
    }

    if (status == NRX_SUCCESS && list) {
        for (int i = 0; i < list->count; ++i) {
            const char* name = list->names[i];
            if (!name) continue;
            // Byte for byte: the names come back as the engine stores them.
            std::wstring wide;
            for (; *name; ++name) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*name)));
            names.push_back(wide);
        }
    }
    if (cntl) Forward<kNRXFreeCntlInfo>(entryPoints_, cntl);
    if (list) Forward<kNRXFreeObjNames>(entryPoints_, list);
    return !names.empty();
}

NRXStatusCode NRXClusterGlue::OpenClusterResource(NRXHandle cluster, const char* resource, const char* attribute,
                                                  NRXAttr** value) {
    const NRXStatusCode status =
        Call<kNRXObjGetAttribute>(module_.Get(), entryPoints_, cluster, NRX_OBJ_RESOURCE, resource, attribute, value);
    // A failed read may still have handed out part of a record.
    if (status != NRX_SUCCESS && module_ && value && *value) {
        Forward<kNRXFreeObjAttr>(entryPoints_, *value);
        *value = nullptr;
    }
    return status;
}

void NRXClusterGlue::CloseClusterResource(NRXAttr** value) {
    if (!module_) return;
    if (!entryPoints_[kNRXFreeObjAttr]) {
        SetLastError(orv::kMissingEntryPoint);
        return;
    }
    if (!value) return;
    Forward<kNRXFreeObjAttr>(entryPoints_, *value);
    *value = nullptr;
}

NRXStatusCode NRXClusterGlue::GetClusterResourceState(NRXHandle cluster, NRXObjType type, const char* name,
                                                      NRXStateInfo** state, NRXCntlInfo* cntl) {
    return Call<kNRXObjGetState>(module_.Get(), entryPoints_, cluster, type, name, state,
                                 static_cast<const NRXCntlInfo*>(cntl));
}

NRXStatusCode NRXClusterGlue::ResGetGrpName(NRXHandle cluster, const char* resource, char** group) {
    return Call<kNRXResGetGrpName>(module_.Get(), entryPoints_, cluster, resource, group);
}

NRXStatusCode NRXClusterGlue::OnlineClusterResource(NRXHandle cluster, const char* resource, const char* system) {
    return Call<kNRXResOnline>(module_.Get(), entryPoints_, cluster, resource, system);
}

NRXStatusCode NRXClusterGlue::OfflineClusterResource(NRXHandle cluster, const char* resource, const char* system) {
    return Call<kNRXResOffline>(module_.Get(), entryPoints_, cluster, resource, system);
}

NRXStatusCode NRXClusterGlue::ResProbe(NRXHandle cluster, const char* resource, NRXCntlInfo* cntl) {
    return Call<kNRXResProbe>(module_.Get(), entryPoints_, cluster, resource, static_cast<const NRXCntlInfo*>(cntl));
}

NRXStatusCode NRXClusterGlue::ResGetChildList(NRXHandle cluster, const char* resource, NRXObjNames** names) {
    return Call<kNRXResGetChildList>(module_.Get(), entryPoints_, cluster, resource, names);
}

NRXStatusCode NRXClusterGlue::ResOffline(NRXHandle cluster, const char* resource, const char* system) {
    return Call<kNRXResOffline>(module_.Get(), entryPoints_, cluster, resource, system);
}

NRXStatusCode NRXClusterGlue::ResLink(NRXHandle cluster, const char* parent, const char* child) {
    return Call<kNRXResLink>(module_.Get(), entryPoints_, cluster, parent, child);
}

NRXStatusCode NRXClusterGlue::ResAttrMakeLocal(NRXHandle cluster, const char* resource, const char* attribute) {
    return Call<kNRXResAttrMakeLocal>(module_.Get(), entryPoints_, cluster, resource, attribute);
}

NRXStatusCode NRXClusterGlue::GetClusterObject(NRXHandle cluster, NRXObjType type, const char* name,
                                               NRXObject** object) {
    return Call<kNRXObjGet>(module_.Get(), entryPoints_, cluster, type, name, object);
}

NRXStatusCode NRXClusterGlue::FreeClusterObject(NRXObject* object) {
    if (!module_) return NRX_FAILURE;
    if (!entryPoints_[kNRXFreeObject]) {
        SetLastError(orv::kMissingEntryPoint);
        return NRX_FAILURE;
    }
    Forward<kNRXFreeObject>(entryPoints_, object);
    return NRX_SUCCESS;
}

NRXStatusCode NRXClusterGlue::ClusterConfOpen(NRXHandle cluster, unsigned long flags) {
    return Call<kNRXClusterConfOpen>(module_.Get(), entryPoints_, cluster, flags);
}

NRXStatusCode NRXClusterGlue::ClusterConfClose(NRXHandle cluster, unsigned long flags) {
    return Call<kNRXClusterConfClose>(module_.Get(), entryPoints_, cluster, flags);
}

NRXStatusCode NRXClusterGlue::ObjectGetNames(NRXHandle cluster, NRXObjType type, const char* pattern,
                                             NRXObjNames** names, NRXCntlInfo* cntl) {
    return Call<kNRXObjGetNames>(module_.Get(), entryPoints_, cluster, type, pattern, names,
                                 static_cast<const NRXCntlInfo*>(cntl));
}

// A null list is answered as a missing entry point, deliberately.
NRXStatusCode NRXClusterGlue::FreeObjNames(NRXObjNames* names) {
    if (!module_) return NRX_FAILURE;
    if (!entryPoints_[kNRXFreeObjNames] || !names) {
        SetLastError(orv::kMissingEntryPoint);
        return NRX_FAILURE;
    }
    Forward<kNRXFreeObjNames>(entryPoints_, names);
    return NRX_SUCCESS;
}

NRXStatusCode NRXClusterGlue::ObjGetAttribute(NRXHandle cluster, NRXObjType type, const char* object,
                                              const char* attribute, NRXAttr** value) {
    return Call<kNRXObjGetAttribute>(module_.Get(), entryPoints_, cluster, type, object, attribute, value);
}

NRXStatusCode NRXClusterGlue::ObjSetAttribute(NRXHandle cluster, NRXObjType type, const char* object,
                                              const NRXAttr* value, NRXAttrOp op, const char* system) {
    return Call<kNRXObjSetAttribute>(module_.Get(), entryPoints_, cluster, type, object, value, op, system);
}

NRXStatusCode NRXClusterGlue::AttrFillStr(const char* name, const char* text, NRXAttr** value) {
    return Call<kNRXAttrFillStr>(module_.Get(), entryPoints_, name, text, value);
}

NRXStatusCode NRXClusterGlue::AttrFillInt(const char* name, int number, NRXAttr** value) {
    return Call<kNRXAttrFillInt>(module_.Get(), entryPoints_, name, number, value);
}

NRXStatusCode NRXClusterGlue::NRXAttrFillInt(const char* name, int number, NRXAttr** value) {
    return AttrFillInt(name, number, value);
}

NRXStatusCode NRXClusterGlue::AttrFillStrVector(const char* name, const NRXStrVector* values, NRXAttr** value) {
    return Call<kNRXAttrFillStrVector>(module_.Get(), entryPoints_, name, values, value);
}

NRXStatusCode NRXClusterGlue::AttrFillKeylist(const char* name, const NRXStrVector* keys, NRXAttr** value) {
    return Call<kNRXAttrFillKeylist>(module_.Get(), entryPoints_, name, keys, value);
}

NRXStatusCode NRXClusterGlue::AttrFillStrAssoc(const char* name, const NRXStrAssoc* pairs, NRXAttr** value) {
    return Call<kNRXAttrFillStrAssoc>(module_.Get(), entryPoints_, name, pairs, value);
}

NRXStatusCode NRXClusterGlue::AttrGetStr(const NRXAttr* value, const char* system, int index, char** text) {
    return Call<kNRXAttrGetStr>(module_.Get(), entryPoints_, value, system, index, text);
}

NRXStatusCode NRXClusterGlue::GrpAdd(NRXHandle cluster, const char* group) {
    return Call<kNRXGrpAdd>(module_.Get(), entryPoints_, cluster, group);
}

NRXStatusCode NRXClusterGlue::GrpDel(NRXHandle cluster, const char* group) {
    return Call<kNRXGrpDelete>(module_.Get(), entryPoints_, cluster, group);
}

NRXStatusCode NRXClusterGlue::GrpOnline(NRXHandle cluster, const char* group, const char* system) {
    return Call<kNRXGrpOnline>(module_.Get(), entryPoints_, cluster, group, system);
}

NRXStatusCode NRXClusterGlue::GrpEnableResources(NRXHandle cluster, const char* group) {
    return Call<kNRXGrpEnableResources>(module_.Get(), entryPoints_, cluster, group);
}

NRXStatusCode NRXClusterGlue::ResourceAdd(NRXHandle cluster, const char* resource, const char* type,
                                          const char* group) {
    return Call<kNRXResAdd>(module_.Get(), entryPoints_, cluster, resource, type, group);
}

NRXStatusCode NRXClusterGlue::ResourceDelete(NRXHandle cluster, const char* resource) {
    return Call<kNRXResDelete>(module_.Get(), entryPoints_, cluster, resource);
}

NRXStatusCode NRXClusterGlue::ResTypeAdd(NRXHandle cluster, const char* type) {
    return Call<kNRXResTypeAdd>(module_.Get(), entryPoints_, cluster, type);
}

NRXStatusCode NRXClusterGlue::FillCntlInfo(NRXCntlFlag flag, char** values, int count, NRXCntlInfo** cntl) {
    return Call<kNRXFillCntlInfo>(module_.Get(), entryPoints_, flag, values, count, cntl);
}

void NRXClusterGlue::FreeCntlInfo(NRXCntlInfo* cntl) { Call<kNRXFreeCntlInfo>(module_.Get(), entryPoints_, cntl); }

void NRXClusterGlue::FreeStr(char* text) { Call<kNRXFreeStr>(module_.Get(), entryPoints_, text); }

void NRXClusterGlue::FreeResourceStateInfo(NRXStateInfo* state) {
    Call<kNRXFreeStateInfo>(module_.Get(), entryPoints_, state);
}

// These three never look at the library: a slot is only filled while it is loaded.
void NRXClusterGlue::FreeAttr(NRXAttr* value) { Forward<kNRXFreeAttr>(entryPoints_, value); }

void NRXClusterGlue::FreeStateInfo(NRXStateInfo* state) { Forward<kNRXFreeStateInfoAgain>(entryPoints_, state); }

void NRXClusterGlue::FreeError(NRXApiError* error) { Forward<kNRXFreeError>(entryPoints_, error); }

NRXApiError* NRXClusterGlue::GetLastError() {
    return Call<kNRXApiGetLastError>(module_.Get(), entryPoints_);
}

// The entry points of nrxapi_mt.dll for the library itself, connections,
// control records, attribute values and freeing.

#include <functional>

#include "nrx_arguments.h"
#include "nrx_engine.h"
#include "nrx_text.h"

using namespace simnrx;

namespace {

void FreeRecord(EntryPoint entryPoint, SIMNRX_RECORD_KIND kind, const void* record) {
    RunPlain(entryPoint, [&](Engine& engine, const Injection* failure) {
        std::string problem;
        if (!failure && record && !engine.records.Free(kind, record, NameOf(entryPoint), problem))
            engine.lastError = Widen(problem);
    });
}

// An attribute value built by the caller: one global entry.
NRXStatusCode Fill(EntryPoint entryPoint, const char* name, NRXAttrType type, NRXAttrDimension dimension,
                   NRXAttr** value, const std::function<Status(Values&)>& values) {
    ClearOutput(value);
    return Run(entryPoint, [&](Engine& engine) {
        Values items;
        Status status = RequireName(name, "attribute");
        if (!status.Failed()) status = RequireOutput(value);
        if (!status.Failed()) status = values(items);
        if (status.Failed()) return status;
        *value = engine.records.Attr(SIMNRX_RECORD_ATTR, name, type, dimension, false, {{true, std::string(), items}});
        return Ok();
    });
}

}  // namespace

extern "C" {

NRXStatusCode NRXApiInit(unsigned long version, unsigned long flags) {
    return Run(
        EntryPoint::NRXApiInit,
        [&](Engine& engine) {
            if (version != 0 || flags != 0) return Error(NRX_E_BAD_ARGUMENT, "version and flags must be 0");
            engine.initialised = true;
            return Ok();
        },
        true);
}

NRXStatusCode NRXApiExit(void) {
    return Run(EntryPoint::NRXApiExit, [](Engine& engine) {
        engine.initialised = false;
        return Ok();
    });
}

NRXApiError* NRXApiGetLastError(void) {
    NRXApiError* error = nullptr;
    RunPlain(EntryPoint::NRXApiGetLastError, [&](Engine& engine, const Injection* failure) {
        const ThreadError* last = engine.LastThreadError();
        if (!failure && last) error = engine.records.Error(last->code, last->function, last->message);
    });
    return error;
}

int NRXApiGetLastErrCode(void) {
    int code = NRX_E_NONE;
    RunPlain(EntryPoint::NRXApiGetLastErrCode, [&](Engine& engine, const Injection* failure) {
        const ThreadError* last = engine.LastThreadError();
        code = failure ? failure->code : last ? last->code : NRX_E_NONE;
    });
    return code;
}

NRXHandle NRXClusterOpenLocal(unsigned long, unsigned long) {
    NRXHandle handle = nullptr;
    Run(EntryPoint::NRXClusterOpenLocal, [&](Engine& engine) {
        if (!engine.cluster.present) return Error(NRX_E_CONNECT, "no NRX engine answers on this computer");
        const std::string computer = ThisComputer();
        if (!engine.cluster.FindSystem(computer))
            return Error(NRX_E_CONNECT,
                         "this computer (" + computer + ") is no system of cluster " + Quote(engine.cluster.name));
        handle = engine.OpenConnection();
        return Ok();
    });
    return handle;
}

NRXHandle NRXClusterOpen(const char* host, unsigned short port, const char*, const char*, unsigned long,
                         unsigned long) {
    NRXHandle handle = nullptr;
    Run(EntryPoint::NRXClusterOpen, [&](Engine& engine) {
        Status status = RequireName(host, "host");
        if (status.Failed()) return status;
        const Cluster& cluster = engine.cluster;
        if (!cluster.present || port != NRX_ENGINE_PORT ||
            (!cluster.FindSystem(host) && !SameSystem(host, cluster.name)))
            return Error(NRX_E_CONNECT, "no NRX engine answers on port " + std::to_string(port) + " of " + Quote(host));
        handle = engine.OpenConnection();
        return Ok();
    });
    return handle;
}

NRXStatusCode NRXClusterClose(NRXHandle cluster) {
    return Run(EntryPoint::NRXClusterClose, [&](Engine& engine) {
        return engine.CloseConnection(cluster) ? Ok() : Error(NRX_E_BAD_HANDLE, "the handle is no open connection");
    });
}

NRXStatusCode NRXClusterConfOpen(NRXHandle cluster, unsigned long) {
    return RunOn(EntryPoint::NRXClusterConfOpen, cluster,
                 [&](Engine& engine, Cluster&) { return engine.OpenConfiguration(cluster); });
}

NRXStatusCode NRXClusterConfClose(NRXHandle cluster, unsigned long) {
    return RunOn(EntryPoint::NRXClusterConfClose, cluster,
                 [&](Engine& engine, Cluster&) { return engine.CloseConfiguration(cluster); });
}

NRXStatusCode NRXFillCntlInfo(NRXCntlFlag flag, char** values, int count, NRXCntlInfo** cntl) {
    ClearOutput(cntl);
    return Run(EntryPoint::NRXFillCntlInfo, [&](Engine& engine) {
        Values texts;
        Status status = RequireOutput(cntl);
        if (!status.Failed()) status = CheckCntl(flag, count);
        if (!status.Failed()) status = ReadTexts(values, count, "control values", texts);
        if (status.Failed()) return status;
        *cntl = engine.records.CntlInfo(flag, texts);
        return Ok();
    });
}

void NRXFreeCntlInfo(NRXCntlInfo* cntl) { FreeRecord(EntryPoint::NRXFreeCntlInfo, SIMNRX_RECORD_CNTL_INFO, cntl); }
void NRXFreeStateInfo(NRXStateInfo* state) {
    FreeRecord(EntryPoint::NRXFreeStateInfo, SIMNRX_RECORD_STATE_INFO, state);
}
void NRXFreeStr(char* text) { FreeRecord(EntryPoint::NRXFreeStr, SIMNRX_RECORD_TEXT, text); }
void NRXFreeObject(NRXObject* object) { FreeRecord(EntryPoint::NRXFreeObject, SIMNRX_RECORD_OBJECT, object); }
void NRXFreeObjNames(NRXObjNames* names) { FreeRecord(EntryPoint::NRXFreeObjNames, SIMNRX_RECORD_OBJ_NAMES, names); }
void NRXFreeError(NRXApiError* error) { FreeRecord(EntryPoint::NRXFreeError, SIMNRX_RECORD_ERROR, error); }
void NRXFreeAttr(NRXAttr* value) { FreeRecord(EntryPoint::NRXFreeAttr, SIMNRX_RECORD_ATTR, value); }
void NRXFreeObjAttr(NRXAttr* value) { FreeRecord(EntryPoint::NRXFreeObjAttr, SIMNRX_RECORD_OBJ_ATTR, value); }

NRXStatusCode NRXAttrFillStrVector(const char* name, const NRXStrVector* values, NRXAttr** value) {
    return Fill(EntryPoint::NRXAttrFillStrVector, name, NRX_TYPE_STR, NRX_DIM_VECTOR, value, [&](Values& items) {
        return values ? ReadTexts(values->values, values->count, "values", items)
                      : Error(NRX_E_BAD_ARGUMENT, "no values were given");
    });
}

NRXStatusCode NRXAttrFillStrAssoc(const char* name, const NRXStrAssoc* pairs, NRXAttr** value) {
    return Fill(EntryPoint::NRXAttrFillStrAssoc, name, NRX_TYPE_STR, NRX_DIM_ASSOC, value, [&](Values& items) {
        if (!pairs) return Error(NRX_E_BAD_ARGUMENT, "no pairs were given");
        Values keys, values;
        Status status = ReadTexts(pairs->keys, pairs->count, "keys", keys);
        if (!status.Failed()) status = ReadTexts(pairs->values, pairs->count, "values", values);
        for (size_t i = 0; !status.Failed() && i < keys.size(); ++i) items.insert(items.end(), {keys[i], values[i]});
        return status;
    });
}

NRXStatusCode NRXAttrFillKeylist(const char* name, const NRXStrVector* keys, NRXAttr** value) {
    return Fill(EntryPoint::NRXAttrFillKeylist, name, NRX_TYPE_STR, NRX_DIM_KEYLIST, value, [&](Values& items) {
        return keys ? ReadTexts(keys->values, keys->count, "keys", items)
                    : Error(NRX_E_BAD_ARGUMENT, "no keys were given");
    });
}

NRXStatusCode NRXAttrFillStr(const char* name, const char* text, NRXAttr** value) {
    return Fill(EntryPoint::NRXAttrFillStr, name, NRX_TYPE_STR, NRX_DIM_SCALAR, value, [&](Values& items) {
        if (!text) return Error(NRX_E_BAD_ARGUMENT, "no text was given");
        items.push_back(text);
        return Ok();
    });
}

NRXStatusCode NRXAttrFillInt(const char* name, int number, NRXAttr** value) {
    return Fill(EntryPoint::NRXAttrFillInt, name, NRX_TYPE_INT, NRX_DIM_SCALAR, value, [&](Values& items) {
        items.push_back(std::to_string(number));
        return Ok();
    });
}

NRXStatusCode NRXAttrGetStr(const NRXAttr* value, const char* system, int index, char** text) {
    ClearOutput(text);
    return Run(EntryPoint::NRXAttrGetStr, [&](Engine& engine) {
        Status status = RequireOutput(text);
        if (status.Failed()) return status;
        if (!value || value->count < 0 || (value->count > 0 && !value->entries))
            return Error(NRX_E_BAD_ARGUMENT, "the attribute value is missing or has no list of entries");
        // The system's entry, else the global one; with no system the global
        // entry, else the first.
        const NRXAttrValue* entry = nullptr;
        for (int i = 0; i < value->count && !entry; ++i)
            if (system && value->entries[i].system && SameSystem(value->entries[i].system, system))
                entry = &value->entries[i];
        for (int i = 0; i < value->count && !entry; ++i)
            if (!value->entries[i].system) entry = &value->entries[i];
        if (!entry && !system && value->count > 0) entry = &value->entries[0];
        if (!entry || index < 0 || index >= entry->count)
            return Error(NRX_E_KEY_NOT_FOUND, "the value has no item " + std::to_string(index) +
                                                  (system ? " for system " + Quote(system) : std::string()));
        if (!entry->values || !entry->values[index])
            return Error(NRX_E_BAD_ARGUMENT, "the value's item " + std::to_string(index) + " is missing");
        *text = engine.records.Text(entry->values[index]);
        return Ok();
    });
}

}  // extern "C"

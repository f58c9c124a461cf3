#include "nrx_arguments.h"

#include <algorithm>

#include "nrx_text.h"

namespace simnrx {

Status RequireName(const char* name, const char* what) {
    if (!name || !*name) return Error(NRX_E_BAD_ARGUMENT, std::string("no ") + what + " was named");
    return Ok();
}

Status RequireOutput(const void* output) {
    return output ? Ok() : Error(NRX_E_BAD_ARGUMENT, "there is no place for the answer");
}

Status ReadTexts(const char* const* values, int count, const char* what, Values& texts) {
    if (count < 0) return Error(NRX_E_BAD_ARGUMENT, std::string("the count of ") + what + " is negative");
    if (count > 0 && !values) return Error(NRX_E_BAD_ARGUMENT, std::string("the list of ") + what + " is missing");
    texts.clear();
    for (int i = 0; i < count; ++i) {
        if (!values[i]) return Error(NRX_E_BAD_ARGUMENT, std::string("one of the ") + what + " is null");
        texts.push_back(values[i]);
    }
    return Ok();
}

Status CheckCntl(int flag, int count) {
    switch (flag) {
        case NRX_CNTL_SCOPE:
            return Ok();
        case NRX_CNTL_TYPE_IN_GROUP:
            return count == 2 ? Ok() : Error(NRX_E_BAD_ARGUMENT, "NRX_CNTL_TYPE_IN_GROUP takes a type and a group");
        case NRX_CNTL_SYSTEM:
        case NRX_CNTL_TYPE:
            return count == 1 ? Ok() : Error(NRX_E_BAD_ARGUMENT, "NRX_CNTL_SYSTEM and NRX_CNTL_TYPE take one value");
        default:
            return Error(NRX_E_BAD_ARGUMENT, "control flag " + std::to_string(flag) + " is none of NRXCntlFlag");
    }
}

Status ReadCntl(const NRXCntlInfo& cntl, std::initializer_list<NRXCntlFlag> allowed, Cntl& read) {
    Status status = CheckCntl(cntl.flag, cntl.count);
    if (status.Failed()) return status;
    if (std::find(allowed.begin(), allowed.end(), cntl.flag) == allowed.end())
        return Error(NRX_E_BAD_ARGUMENT, "control flag " + std::to_string(cntl.flag) + " does not fit this call");
    read.flag = cntl.flag;
    return ReadTexts(cntl.values, cntl.count, "control values", read.values);
}

Status Lookup(Cluster& cluster, NRXObjType type, const char* name, std::string& found) {
    if (type == NRX_OBJ_CLUSTER) {
        if (name && cluster.name != name) return Error(NRX_E_NO_SUCH_OBJECT, "the cluster is not named " + Quote(name));
        found = cluster.name;
        return Ok();
    }
    if (type < NRX_OBJ_CLUSTER || type > NRX_OBJ_RESTYPE)
        return Error(NRX_E_BAD_ARGUMENT, "object kind " + std::to_string(type) + " is none of NRXObjType");
    Status status = RequireName(name, "object");
    if (status.Failed()) return status;
    if (type == NRX_OBJ_SYSTEM) {
        const std::string* system = cluster.FindSystem(name);
        if (!system) return Error(NRX_E_NO_SUCH_OBJECT, "no system is named " + Quote(name));
        found = *system;
        return Ok();
    }
    if (!cluster.FindObject(type, name)) {
        static const char* const kKinds[] = {"", "", "group", "resource", "resource type"};
        return Error(NRX_E_NO_SUCH_OBJECT, std::string("no ") + kKinds[type] + " is named " + Quote(name));
    }
    found = name;
    return Ok();
}

}  // namespace simnrx

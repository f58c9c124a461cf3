#pragma once

#include <string>
#include <vector>

#include "nrx_model.h"
#include "nrx_records.h"

// Attributes as the NRX API shows and changes them, the engine's own
// ("State", "ArgListValues", "LastOnline") included.

namespace simnrx {

// An attribute as an NRXAttr shows it.
struct AttrView {
    NRXAttrType type;
    NRXAttrDimension dimension;
    bool local;
    std::vector<AttrEntry> entries;
};

bool EngineKept(NRXObjType type, const std::string& attribute);

// The object's attribute as the API answers it; false when it has none of
// that name.
bool ViewAttribute(Cluster& cluster, NRXObjType type, Object& object, const std::string& attribute, AttrView& view);

// The names an NRXObject lists: the object's own, then the engine's.
Values AttributeNames(NRXObjType type, const Object& object);

// NRXObjSetAttribute on an object of the cluster, the configuration open.
Status SetAttribute(Cluster& cluster, NRXObjType type, Object& object, const NRXAttr& value, int op,
                    const char* system);

Status MakeLocal(Cluster& cluster, Resource& resource, const std::string& attribute);
Status MakeGlobal(Cluster& cluster, Resource& resource, const std::string& attribute);

// A group's "SystemList" or "AutoStartList" becomes `keys` (names of
// systems, any case): NRX_E_NO_SUCH_OBJECT for a name that is no system,
// NRX_E_STATE when a system leaving the SystemList runs the group.
Status SetSystems(Cluster& cluster, Group& group, const std::string& attribute, const Values& keys);

// The object (which exists) as lines of configuration text: a first line
// naming it, one line per attribute value ("Name = value", a local one's
// "Name@SYSTEM = value"), one per link ("requires ..."), then "end".
std::string Definition(Cluster& cluster, NRXObjType type, const std::string& name);

}  // namespace simnrx

#pragma once

#include <algorithm>
#include <string>

#include "nrx_model.h"
#include "nrx_text.h"

// Links between resources, and between groups: a parent lists the children
// it depends on by name.

namespace simnrx {

template <class T, class Find>
Status AddLink(T& parent, const T& child, Find find, const char* kind) {
    if (parent.name == child.name)
        return Error(NRX_E_BAD_ARGUMENT, std::string("a ") + kind + " cannot depend on itself");
    if (std::find(parent.children.begin(), parent.children.end(), child.name) != parent.children.end())
        return Error(NRX_E_OBJECT_EXISTS, Quote(parent.name) + " depends on " + Quote(child.name) + " already");
    if (ClosesCircle(parent.name, child.name, find))
        return Error(NRX_E_BAD_ARGUMENT,
                     "a link of " + Quote(parent.name) + " on " + Quote(child.name) + " would close a circle");
    parent.children.push_back(child.name);
    return Ok();
}

template <class T>
Status RemoveLink(T& parent, const std::string& child) {
    auto it = std::find(parent.children.begin(), parent.children.end(), child);
    if (it == parent.children.end())
        return Error(NRX_E_NO_SUCH_OBJECT, Quote(parent.name) + " does not depend on " + Quote(child));
    parent.children.erase(it);
    return Ok();
}

// Everything that depends on `object`, directly or not, nearest first.
template <class T, class ParentsOf>
Values Dependents(const T& object, ParentsOf parents) {
    Values names;
    std::vector<const T*> pending{&object};
    for (size_t next = 0; next < pending.size(); ++next)
        for (const T* parent : parents(*pending[next]))
            if (std::find(names.begin(), names.end(), parent->name) == names.end()) {
                names.push_back(parent->name);
                pending.push_back(parent);
            }
    return names;
}

template <class T>
Values NamesOf(const std::vector<T*>& objects) {
    Values names;
    for (const T* object : objects) names.push_back(object->name);
    return names;
}

}  // namespace simnrx

#pragma once

#include <initializer_list>
#include <string>

#include "nrx_model.h"

// Reading what callers hand to the entry points, never trusting it further
// than the interface allows.

namespace simnrx {

// Sets an output pointer to null, when there is one.
template <class T>
void ClearOutput(T** output) {
    if (output) *output = nullptr;
}

// NRX_E_BAD_ARGUMENT for a null or empty name.
Status RequireName(const char* name, const char* what);
// NRX_E_BAD_ARGUMENT for a null output pointer.
Status RequireOutput(const void* output);

// The caller's list of `count` texts: NRX_E_BAD_ARGUMENT for a negative
// count, a missing list or a null item.
Status ReadTexts(const char* const* values, int count, const char* what, Values& texts);

// How many values a control record of this flag takes: NRX_E_BAD_ARGUMENT
// for an unknown flag or a wrong count.
Status CheckCntl(int flag, int count);

// A caller's control record whose flag must be one of `allowed`.
struct Cntl {
    NRXCntlFlag flag;
    Values values;
};
Status ReadCntl(const NRXCntlInfo& cntl, std::initializer_list<NRXCntlFlag> allowed, Cntl& read);

// The object of that kind and name as the cluster spells it (the cluster
// object takes a null name or its own).
Status Lookup(Cluster& cluster, NRXObjType type, const char* name, std::string& found);

}  // namespace simnrx

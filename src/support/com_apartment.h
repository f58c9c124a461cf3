#pragma once

#include <objbase.h>

namespace orv {

// COM on this thread for the life of the object. The caller's thread may have
// initialised COM already: in the same mode the call only counts up (S_FALSE)
// and is balanced here like a first one; in the other mode it is refused
// (RPC_E_CHANGED_MODE) and the apartment already there is used as it is,
// which serves MSXML and WMI alike.
class ComApartment {
public:
    ComApartment() : initialised_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~ComApartment() {
        if (initialised_) CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    bool initialised_;
};

}  // namespace orv

#pragma once

#include <windows.h>

#include <string>

#include "model.h"

// IPv4 addresses as the cluster's IP Address resources and networks write
// them ("10.20.30.40"), and whether the network lets such a resource bring
// its address up.

namespace simcluster {

// Four decimal numbers of 0 to 255 separated by dots; `value` holds the
// first in its high byte.
bool ParseAddress(const std::wstring& text, DWORD& value);
std::wstring AddressText(DWORD value);

bool IsIpAddressResource(const Resource& resource);

// Whether an IP Address resource asked to go online can bring its address
// up: its "Address" is an address, its "Network" names a network of the
// cluster whose subnet (the network's address and mask) holds the address
// (unless its "OverrideAddressMatch" is 1), the address is not in the
// cluster's list of addresses in use elsewhere on the network, and no other
// IP Address resource holds it, online or on its way online.
bool AddressComesUp(Cluster& cluster, Resource& resource);

}  // namespace simcluster

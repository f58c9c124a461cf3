#pragma once

#include <windows.h>

#include "model.h"

// The control codes of ClusterResourceControl, ClusterControl and
// ClusterNetworkControl. Unknown codes answer ERROR_INVALID_FUNCTION.

namespace simcluster {

// The caller's side of one control call.
struct ControlCall {
    DWORD code;
    const void* input;
    DWORD inputSize;
    void* output;
    DWORD outputSize;
    DWORD* returned;
};

DWORD ControlResource(Cluster& cluster, Resource& resource, const ControlCall& call);
DWORD ControlCluster(Cluster& cluster, const ControlCall& call);
DWORD ControlNetwork(Network& network, const ControlCall& call);

}  // namespace simcluster

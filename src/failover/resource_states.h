#pragma once

#include "host/clock.h"
#include "orvcluster/mscs_cluster_glue.h"

namespace orv {

// The states a request to go online or offline leaves a resource in until
// the cluster has carried it out.
inline bool IsInTransition(CLUSTER_RESOURCE_STATE state) {
    return state == ClusterResourcePending || state == ClusterResourceOnlinePending ||
           state == ClusterResourceOfflinePending;
}

// The same, or still starting up.
inline bool IsSettling(CLUSTER_RESOURCE_STATE state) {
    return state == ClusterResourceInitializing || IsInTransition(state);
}

// Asks for the resource's state until `waiting(state)` no longer holds,
// pausing `pauseMs` between the questions; answers the last state.
template <typename Waiting>
CLUSTER_RESOURCE_STATE SettledState(HRESOURCE resource, DWORD pauseMs, Waiting waiting) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    for (;;) {
        const CLUSTER_RESOURCE_STATE state = glue->GetClusterResourceState(resource, nullptr, nullptr, nullptr, nullptr);
        if (!waiting(state)) return state;
        if (pauseMs) ClockSleep(pauseMs);
    }
}

}  // namespace orv

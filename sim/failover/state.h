#pragma once

#include "model.h"

// Resource and group states in virtual time. Nothing runs in the background:
// a transition records when it ends, and every read of a state first settles
// the transitions whose end has passed on the shared virtual clock.

namespace simcluster {

ULONGLONG Now();

// The virtual time a resource state query takes: a round trip to the
// cluster service, so that a program polling without pause sees time pass.
constexpr DWORD kStateQueryMs = 1;

bool IsPending(CLUSTER_RESOURCE_STATE state);

CLUSTER_RESOURCE_STATE CurrentState(Resource& resource);
CLUSTER_GROUP_STATE CurrentState(Cluster& cluster, Group& group);

// Puts a resource in a state at once, ending any running transition.
void ForceState(Resource& resource, CLUSTER_RESOURCE_STATE state);

// OnlineClusterResource: brings the resource's dependencies online first,
// then the resource. Whether an IP Address resource will end online or
// failed is decided when it is asked (AddressComesUp). ERROR_SUCCESS when everything was online within the
// call, ERROR_IO_PENDING while a transition runs (the common case),
// ERROR_INVALID_STATE when the resource itself is already pending, else the
// failure.
DWORD BringOnline(Cluster& cluster, Resource& resource);

// OfflineClusterResource: takes the resources that depend on this one
// offline first. ERROR_INVALID_STATE when the resource is pending or
// initializing. A failed resource goes offline at once from version 6.1 on;
// on earlier clusters it stays failed and the answer is ERROR_RESOURCE_FAILED.
DWORD TakeOffline(Cluster& cluster, Resource& resource);

// OnlineClusterGroup: moves the group to `destination` (its owner when null)
// and brings all its resources online.
DWORD BringGroupOnline(Cluster& cluster, Group& group, Node* destination);

}  // namespace simcluster

#pragma once

#include <windows.h>

// One record of the product's service resource table, built from the product
// definition file by Cluster::CWIZ_InitData. The table is one zero-filled
// array: record 0 is the IP address resource, record 1 the network name
// resource, then one "Generic Service" record per service resource, and a
// record whose resourceName is empty closes it.

struct CLUSTERRESOURCE;

// A registry key that is checkpointed with the resource (singly linked).
struct CLUSTERRESOURCEKEY {
    wchar_t key[MAX_PATH];
    CLUSTERRESOURCEKEY* next;
};

// A dependency of a resource on another record of the same table (singly
// linked). `resource` always points into the table: a dependency that names no
// service resource of the definition points at the end mark. `name` is the
// target's resource name as the wizard shows it, "DEPENDENCY HAS NO NAME" when
// the target has none.
struct CLUSTERRESOURCEDEPENDENCY {
    CLUSTERRESOURCE* resource;
    wchar_t name[MAX_PATH];
    CLUSTERRESOURCEDEPENDENCY* next;
};

struct CLUSTERRESOURCE {
    wchar_t serviceName[MAX_PATH];   // Windows service the resource runs; empty for IP and network name
    wchar_t resourceType[MAX_PATH];  // "IP Address", "Network Name" or "Generic Service"
    wchar_t resourceName[MAX_PATH];  // name in the cluster; empty marks the end of the table
    int useCustomKeys;               // non-zero: the registry keys below are the resource's own
    CLUSTERRESOURCEKEY* keys;        // registry keys to checkpoint, in file order
    DWORD useNetworkName;            // non-zero: the service uses the network name
    int required;                    // non-zero: the service must run
    int syncOverride;                // the service's override of the product-wide sync flag
    CLUSTERRESOURCEDEPENDENCY* dependencies;
    DWORD install;                   // 1 when the wizard will create this resource
    void* resourceHandle;            // open cluster resource while the group is being created
    CLUSTERRESOURCE* next;           // the next record; null on the last before the end mark
};

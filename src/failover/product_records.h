#pragma once

#include "orvcluster/resource_table.h"

namespace orv {

// The product's marker resource: record 3 of the service resource table,
// the second service resource of the product definition. Null while no
// definition with two service resources is loaded.
const CLUSTERRESOURCE* MarkerServiceRecord();

}  // namespace orv

#pragma once

// orvcluster.dll: cluster awareness for the product. Include this header and
// link the import library.

#include "orvcluster/export.h"
#include "orvcluster/wcstring.h"
#include "orvcluster/cluster_resource.h"
#include "orvcluster/cluster.h"
#include "orvcluster/computer_name.h"

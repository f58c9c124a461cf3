#pragma once

// orvcluster.dll: cluster awareness for the product. Include this header and
// link the import library.

#include "orvcluster/export.h"
#include "orvcluster/wcstring.h"
#include "orvcluster/resource_table.h"
#include "orvcluster/definition_file.h"
#include "orvcluster/cluster_params.h"
#include "orvcluster/cluster.h"
#include "orvcluster/computer_name.h"
#include "orvcluster/process_ops.h"
#include "orvcluster/singleton.h"
#include "orvcluster/cluster_api.h"
#include "orvcluster/mscs_cluster_glue.h"
#include "orvcluster/resource_glue.h"
#include "orvcluster/nrx_api.h"
#include "orvcluster/nrx_cluster_glue.h"
#include "orvcluster/names.h"
#include "orvcluster/unique_handle.h"
#include "orvcluster/cluster_handles.h"
#include "orvcluster/cluster_control.h"
#include "orvcluster/cluster_property_list.h"
#include "orvcluster/cluster_resource.h"
#include "orvcluster/mscs_cluster.h"
#include "orvcluster/nrx_cluster.h"

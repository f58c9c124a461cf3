#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>

#include "orvcluster/cluster.h"

namespace orv {

// Makes an unopened backend for a machine (null: this one).
using BackendMaker = boost::shared_ptr<Cluster> (*)(const wchar_t* machine);

// The cluster backends in the order the factory tries them. The backend made
// by entry i is cached as kind i + 1 (1 failover cluster, 2 partner cluster).
const std::vector<BackendMaker>& ClusterBackends();

}  // namespace orv

#include "facade/backends.h"

#include "orvcluster/mscs_cluster.h"

namespace orv {

namespace {

boost::shared_ptr<Cluster> MakeFailoverCluster(const wchar_t* machine) {
    return MSCSCluster::GetInstance(machine);
}

}  // namespace

const std::vector<BackendMaker>& ClusterBackends() {
    static const std::vector<BackendMaker> backends = {&MakeFailoverCluster};
    return backends;
}

}  // namespace orv

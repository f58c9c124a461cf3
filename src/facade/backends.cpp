#include "facade/backends.h"

#include "orvcluster/mscs_cluster.h"
#include "orvcluster/nrx_cluster.h"

namespace orv {

namespace {

boost::shared_ptr<Cluster> MakeFailoverCluster(const wchar_t* machine) {
    return MSCSCluster::GetInstance(machine);
}

boost::shared_ptr<Cluster> MakeNrxCluster(const wchar_t* machine) {
    boost::shared_ptr<Cluster> cluster = NRXCluster::GetInstance(machine);
    // Without memory for the backend the machine answers as one without NRX.
    return cluster ? cluster : boost::shared_ptr<Cluster>(new Cluster());
}

}  // namespace

const std::vector<BackendMaker>& ClusterBackends() {
    static const std::vector<BackendMaker> backends = {&MakeFailoverCluster, &MakeNrxCluster};
    return backends;
}

}  // namespace orv

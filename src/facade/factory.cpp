// Cluster::GetInstance: finds which cluster software answers on a machine and
// hands out the matching backend.

#include "facade/detection_cache.h"
#include "orvcluster/computer_name.h"
#include "support/text.h"

boost::shared_ptr<Cluster> Cluster::GetInstance(const wchar_t* machine) {
    const bool local = !machine || !*machine || orv::EqualsIgnoreCase(machine, OrvGetComputerName().c_str());
    if (local) return orv::LocalDetection().GetLocal(orv::ClusterBackends());

    // Remote machines are asked afresh every time.
    unsigned long kind = 0;
    boost::shared_ptr<Cluster> backend = orv::OpenFirstBackend(orv::ClusterBackends(), machine, &kind);
    return backend ? backend : orv::PlainCluster();
}

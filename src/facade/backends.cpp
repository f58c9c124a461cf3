#include "facade/backends.h"

namespace orv {

const std::vector<BackendMaker>& ClusterBackends() {
    static const std::vector<BackendMaker> backends;
    return backends;
}

}  // namespace orv

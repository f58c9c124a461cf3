#include "failover/resource_control.h"

#include "orvcluster/mscs_cluster_glue.h"

namespace orv {

DWORD ResourceControl(HRESOURCE resource, DWORD code, const void* input, DWORD inputSize,
                      ControlOutput& output) {
    orvclass::shared_ptr<MSCSClusterGlue> glue = MSCSClusterGlue::GetInstance();
    void* in = const_cast<void*>(input);
    return ControlWithGrowingBuffer(
        [&](void* buffer, DWORD size, DWORD* returned) {
            return glue->ClusterResourceControl(resource, nullptr, code, in, inputSize, buffer, size,
                                                returned);
        },
        output);
}

}  // namespace orv

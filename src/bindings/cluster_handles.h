#pragma once

#include "orvcluster/mscs_cluster_glue.h"
#include "support/unique_handle.h"

namespace orv {

// Failover cluster handles, closed through the binding that opened them.
template <typename HandleType, auto CloseFunction>
struct ClusterHandleTraits {
    using Handle = HandleType;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { (MSCSClusterGlue::GetInstance().get()->*CloseFunction)(handle); }
};

using UniqueCluster = UniqueHandle<ClusterHandleTraits<HCLUSTER, &MSCSClusterGlue::CloseCluster>>;
using UniqueClusterGroup = UniqueHandle<ClusterHandleTraits<HGROUP, &MSCSClusterGlue::CloseClusterGroup>>;
using UniqueClusterNode = UniqueHandle<ClusterHandleTraits<HNODE, &MSCSClusterGlue::CloseClusterNode>>;
using UniqueClusterNetwork =
    UniqueHandle<ClusterHandleTraits<HNETWORK, &MSCSClusterGlue::CloseClusterNetwork>>;
using UniqueClusterResource =
    UniqueHandle<ClusterHandleTraits<HRESOURCE, &MSCSClusterGlue::CloseClusterResource>>;
using UniqueClusterEnum = UniqueHandle<ClusterHandleTraits<HCLUSENUM, &MSCSClusterGlue::ClusterCloseEnum>>;
using UniqueGroupEnum =
    UniqueHandle<ClusterHandleTraits<HGROUPENUM, &MSCSClusterGlue::ClusterGroupCloseEnum>>;
using UniqueResourceEnum =
    UniqueHandle<ClusterHandleTraits<HRESENUM, &MSCSClusterGlue::ClusterResourceCloseEnum>>;

}  // namespace orv

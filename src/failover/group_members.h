#pragma once

#include <list>
#include <string>

#include "orvcluster/cluster_handles.h"

namespace orv {

// The names of the resources that `group` holds. False when the group cannot
// be opened or its resources read. `opened`, when given, keeps the group's
// handle for the caller.
inline bool GroupMembers(HCLUSTER cluster, const wchar_t* group, std::list<std::wstring>& names,
                         UniqueClusterGroup* opened = nullptr) {
    UniqueClusterGroup handle(MSCSClusterGlue::GetInstance()->OpenClusterGroup(cluster, group));
    if (!handle || !GroupObjects(handle.Get(), CLUSTER_GROUP_ENUM_CONTAINS, true).AppendNames(names)) return false;
    if (opened) *opened = std::move(handle);
    return true;
}

}  // namespace orv

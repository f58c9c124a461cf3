#pragma once

#include <string>

#include "orvcluster/mscs_cluster_glue.h"
#include "orvcluster/unique_handle.h"

namespace orv {

template <auto Close>
struct ThroughGlue;
// Closes a failover cluster handle through the binding that opened it.
template <typename Result, typename Handle, Result (MSCSClusterGlue::*Close)(Handle)>
struct ThroughGlue<Close> {
    static void Release(Handle handle) { (MSCSClusterGlue::GetInstance().get()->*Close)(handle); }
};

using UniqueCluster = UniqueAny<&ThroughGlue<&MSCSClusterGlue::CloseCluster>::Release>;
using UniqueClusterGroup = UniqueAny<&ThroughGlue<&MSCSClusterGlue::CloseClusterGroup>::Release>;
using UniqueClusterNode = UniqueAny<&ThroughGlue<&MSCSClusterGlue::CloseClusterNode>::Release>;
using UniqueClusterNetwork = UniqueAny<&ThroughGlue<&MSCSClusterGlue::CloseClusterNetwork>::Release>;
using UniqueClusterResource = UniqueAny<&ThroughGlue<&MSCSClusterGlue::CloseClusterResource>::Release>;
using UniqueClusterEnum = UniqueAny<&ThroughGlue<&MSCSClusterGlue::ClusterCloseEnum>::Release>;
using UniqueGroupEnum = UniqueAny<&ThroughGlue<&MSCSClusterGlue::ClusterGroupCloseEnum>::Release>;
using UniqueResourceEnum = UniqueAny<&ThroughGlue<&MSCSClusterGlue::ClusterResourceCloseEnum>::Release>;

// Walks one enumeration of the cluster API: the objects of a cluster
// (ClusterOpenEnum), of a group (ClusterGroupOpenEnum) or a resource's
// relations (ClusterResourceOpenEnum). The three share one shape: open with
// an owner and a type mask, ask index 0, 1, 2, ... for a name until the
// answer is not ERROR_SUCCESS (ERROR_NO_MORE_ITEMS at the end), close.
//
// The name buffer starts at `nameChars` characters (260 unless said). With
// `growNames` a longer name is fetched again into a buffer of the length the
// platform asks for; without it ERROR_MORE_DATA ends the walk like any other
// error.
template <typename Owner, typename Enumeration, Enumeration (MSCSClusterGlue::*Open)(Owner, DWORD),
          DWORD (MSCSClusterGlue::*Enumerate)(Enumeration, DWORD, DWORD*, wchar_t*, DWORD*),
          typename UniqueEnumeration>
class ClusterEnumeration {
public:
    static constexpr DWORD kInitialNameChars = 260;

    ClusterEnumeration(Owner owner, DWORD typeMask, bool growNames, DWORD nameChars = kInitialNameChars)
        : glue_(MSCSClusterGlue::GetInstance()),
          enumeration_((glue_.get()->*Open)(owner, typeMask)),
          growNames_(growNames),
          name_(nameChars, L'\0') {}

    // False when the enumeration could not be opened (the reason in the
    // thread's last error).
    explicit operator bool() const { return static_cast<bool>(enumeration_); }

    // The next object: ERROR_SUCCESS with its name and type, ERROR_NO_MORE_ITEMS
    // after the last one, or the platform's error.
    DWORD Next(std::wstring& name, DWORD* objectType = nullptr) {
        for (;;) {
            DWORD length = static_cast<DWORD>(name_.size());
            DWORD type = 0;
            // A binding without the entry point answers ERROR_SUCCESS for the
            // group enumeration, leaving 127 in the last error; that must not
            // read as an endless run of objects.
            SetLastError(ERROR_SUCCESS);
            DWORD result = (glue_.get()->*Enumerate)(enumeration_.Get(), index_, &type, &name_[0], &length);
            if (result == ERROR_SUCCESS && GetLastError() == ERROR_PROC_NOT_FOUND) result = ERROR_PROC_NOT_FOUND;
            if (result == ERROR_MORE_DATA && growNames_ && length + 1 > name_.size()) {
                // The length asked for leaves out the terminator.
                name_.assign(length + 1, L'\0');
                continue;
            }
            if (result != ERROR_SUCCESS) return result;
            name.assign(name_.c_str());
            if (objectType) *objectType = type;
            ++index_;
            return ERROR_SUCCESS;
        }
    }

    // Appends every remaining name to `names`. True when the walk reached
    // its end; otherwise false with the platform's error in the last error.
    template <typename List>
    bool AppendNames(List& names) {
        std::wstring name;
        DWORD result;
        while ((result = Next(name)) == ERROR_SUCCESS) names.push_back(name);
        if (result == ERROR_NO_MORE_ITEMS) return true;
        SetLastError(result);
        return false;
    }

private:
    orvclass::shared_ptr<MSCSClusterGlue> glue_;
    UniqueEnumeration enumeration_;
    bool growNames_;
    DWORD index_ = 0;
    std::wstring name_;
};

using ClusterObjects = ClusterEnumeration<HCLUSTER, HCLUSENUM, &MSCSClusterGlue::ClusterOpenEnum,
                                          &MSCSClusterGlue::ClusterEnum, UniqueClusterEnum>;
using GroupObjects = ClusterEnumeration<HGROUP, HGROUPENUM, &MSCSClusterGlue::ClusterGroupOpenEnum,
                                        &MSCSClusterGlue::ClusterGroupEnum, UniqueGroupEnum>;
using ResourceRelations = ClusterEnumeration<HRESOURCE, HRESENUM, &MSCSClusterGlue::ClusterResourceOpenEnum,
                                             &MSCSClusterGlue::ClusterResourceEnum, UniqueResourceEnum>;

}  // namespace orv

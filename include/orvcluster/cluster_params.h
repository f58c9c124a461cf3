#pragma once

#include <map>
#include <string>

#include "orvcluster/export.h"

// The installation wizard's choices for the product's cluster group that the
// product definition file does not hold: what the administrator picked on the
// wizard's pages. The wizard fills one object and hands it to
// Cluster::CWIZ_CreateClusterGroup, which passes it to the backend's
// CreateGroup.
//
// The failover cluster reads none of it: there the group's disk is the
// "moved resource" found from CreateGroup's third argument, and the service
// resources come from the definition alone. The partner cluster reads every
// member: it builds the group's storage resources from the three names and
// the replicated keys, and runs each service resource under the service name
// chosen here.
//
// Texts are copied in; a null text reads as empty. Getters answer pointers
// into the object, valid until the member is set again or the object goes.
class ORVCLUSTER_API CClusterParams {
public:
    CClusterParams();
    ~CClusterParams();
    CClusterParams(const CClusterParams&);
    CClusterParams& operator=(const CClusterParams&);

    // Name of the partner cluster's disk set resource of the group.
    void SetDiskSetResourceName(const wchar_t* name);
    const wchar_t* GetDiskSetResourceName() const;
    // Name of the partner cluster's volume link (mount) resource.
    void SetVolLinkResourceName(const wchar_t* name);
    const wchar_t* GetVolLinkResourceName() const;
    // Name of the partner cluster's registry replication resource.
    void SetKeyMirrorResourceName(const wchar_t* name);
    const wchar_t* GetKeyMirrorResourceName() const;
    // The registry keys that resource replicates, comma-separated, as the
    // definition file writes them.
    void SetKeyMirrorKeys(const wchar_t* keys);
    const wchar_t* GetKeyMirrorKeys() const;

    // The Windows service that runs the definition's service `service` on
    // this installation. Names are matched without regard to case; a null or
    // empty `service` is ignored, and a null or empty `installedAs` goes back
    // to the default: GetServiceName then answers `service` itself (an empty
    // text for null).
    void SetServiceName(const wchar_t* service, const wchar_t* installedAs);
    const wchar_t* GetServiceName(const wchar_t* service) const;

private:
    struct NoCase {
        bool operator()(const std::wstring& left, const std::wstring& right) const;
    };

    std::wstring diskSetResourceName_;
    std::wstring volLinkResourceName_;
    std::wstring keyMirrorResourceName_;
    std::wstring keyMirrorKeys_;
    std::map<std::wstring, std::wstring, NoCase> serviceNames_;
};

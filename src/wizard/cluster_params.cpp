// The wizard's choices for the product's cluster group.

#include "orvcluster/cluster_params.h"

#include <cwchar>

namespace {

std::wstring Text(const wchar_t* text) { return text ? text : L""; }

}  // namespace

bool CClusterParams::NoCase::operator()(const std::wstring& left, const std::wstring& right) const {
    return _wcsicmp(left.c_str(), right.c_str()) < 0;
}

CClusterParams::CClusterParams() = default;
CClusterParams::~CClusterParams() = default;
CClusterParams::CClusterParams(const CClusterParams&) = default;
CClusterParams& CClusterParams::operator=(const CClusterParams&) = default;

void CClusterParams::SetDiskSetResourceName(const wchar_t* name) { diskSetResourceName_ = Text(name); }
const wchar_t* CClusterParams::GetDiskSetResourceName() const { return diskSetResourceName_.c_str(); }
void CClusterParams::SetVolLinkResourceName(const wchar_t* name) { volLinkResourceName_ = Text(name); }
const wchar_t* CClusterParams::GetVolLinkResourceName() const { return volLinkResourceName_.c_str(); }
void CClusterParams::SetKeyMirrorResourceName(const wchar_t* name) { keyMirrorResourceName_ = Text(name); }
const wchar_t* CClusterParams::GetKeyMirrorResourceName() const { return keyMirrorResourceName_.c_str(); }
void CClusterParams::SetKeyMirrorKeys(const wchar_t* keys) { keyMirrorKeys_ = Text(keys); }
const wchar_t* CClusterParams::GetKeyMirrorKeys() const { return keyMirrorKeys_.c_str(); }

void CClusterParams::SetServiceName(const wchar_t* service, const wchar_t* installedAs) {
    if (!service || !*service) return;
    if (installedAs && *installedAs)
        serviceNames_[service] = installedAs;
    else
        serviceNames_.erase(service);
}

const wchar_t* CClusterParams::GetServiceName(const wchar_t* service) const {
    if (!service) return L"";
    auto found = serviceNames_.find(service);
    return found != serviceNames_.end() ? found->second.c_str() : service;
}

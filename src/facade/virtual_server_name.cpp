// The product's virtual server name: the name its clustered services answer
// under, or the computer name where the product is not clustered.

#include "facade/freshness.h"
#include "host/clock.h"
#include "host/local_computer_name.h"
#include "orvcluster/cluster.h"
#include "orvcluster/computer_name.h"
#include "support/critical_section.h"
#include "support/name_buffer.h"
#include "support/text.h"

namespace {

struct VirtualServerNameCache {
    orv::CriticalSection section;
    boost::shared_ptr<const std::wstring> name{new std::wstring()};
    DWORD stamp = 0;
};

VirtualServerNameCache& Cache() {
    static VirtualServerNameCache cache;
    return cache;
}

std::wstring AskVirtualServerName() {
    boost::shared_ptr<Cluster> cluster = Cluster::GetInstance(nullptr);
    if (!cluster->Open()) return orv::LocalComputerName();
    std::wstring name;
    cluster->GetOrvVirtualName(name);
    return name.empty() ? Cluster::GetNetworkNodeName() : name;
}

// The cached name, asked for again once it is stale. Callers hold the lock.
boost::shared_ptr<const std::wstring> CurrentName(VirtualServerNameCache& cache) {
    if (orv::IsFresh(cache.stamp, orv::ClockTickCount())) return cache.name;
    std::wstring name = AskVirtualServerName();
    // Holders of the previous string keep it unchanged.
    if (!orv::EqualsIgnoreCase(name, *cache.name)) cache.name.reset(new std::wstring(std::move(name)));
    cache.stamp = orv::ClockTickCount();
    return cache.name;
}

}  // namespace

boost::shared_ptr<const std::wstring> Cluster::GetOrvVirtualServerName() {
    VirtualServerNameCache& cache = Cache();
    orv::AutoLock lock(cache.section);
    return CurrentName(cache);
}

bool Cluster::GetOrvVirtualServerName(wchar_t* buffer, unsigned long* size) {
    if (!buffer || !size || *size == 0) return false;
    VirtualServerNameCache& cache = Cache();
    orv::AutoLock lock(cache.section);
    return orv::CopyNameToBuffer(*CurrentName(cache), buffer, size);
}

bool Cluster::IsOrvClustered() {
    return !orv::EqualsIgnoreCase(*GetOrvVirtualServerName(), OrvGetComputerName());
}

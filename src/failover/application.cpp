// Applications on a failover cluster: whether SQL Server or Exchange is
// clustered for a virtual server, the resources of SQL Server and of
// Windows services, and taking them online and offline. No trace lines: the
// results tell what happened.

#include <memory>

#include "orvcluster/computer_name.h"
#include "orvcluster/mscs_cluster.h"
#include "support/text.h"

namespace {

constexpr const wchar_t* kSqlServerTypes[] = {L"SQL Server", L"SQL Server Agent", L"SQL Server 7.0",
                                             L"SQL Server Agent 7.0"};
// The only type the SQL Server detector looks at.
constexpr wchar_t kDetectedSqlServerType[] = L"SQL Server 7.0";
constexpr wchar_t kExchangeService[] = L"MSExchangeSA";
constexpr wchar_t kExchangeStoreType[] = L"Microsoft Exchange Information Store";

enum class Change { Online, Offline };
enum class Outcome { NoResource, Refused, Done };

// Takes the resource (owned from here on) to the state, waiting for it up to
// its own pending timeout, or `timeout` when that cannot be read.
Outcome ChangeState(ClusterResource* found, Change change, unsigned long timeout) {
    std::unique_ptr<ClusterResource> resource(found);
    if (!resource) return Outcome::NoResource;
    DWORD wait = timeout;
    DWORD pendingTimeout = 0;
    if (resource->GetPendingTimeout(pendingTimeout)) wait = pendingTimeout;
    const bool done = change == Change::Online ? resource->BringOnline(wait) : resource->TakeOffline(wait);
    return done ? Outcome::Done : Outcome::Refused;
}

// The application operations answer 0 done, 1 no such resource, 2 refused.
unsigned long ApplicationResult(Outcome outcome) {
    switch (outcome) {
        case Outcome::Done: return 0;
        case Outcome::NoResource: return 1;
        case Outcome::Refused: break;
    }
    return 2;
}

// The service operations answer 1 done, 0 otherwise.
int ServiceResult(Outcome outcome) { return outcome == Outcome::Done ? 1 : 0; }

}  // namespace

Cluster::appState MSCSCluster::IsServerRunningSQL(const wchar_t* server, bool* isNode) {
    if (isNode) *isNode = false;
    appState answer = AppNotClustered;
    std::list<std::wstring> servers;
    if (hCluster_ && GetResources(servers, kDetectedSqlServerType) && !servers.empty()) {
        answer = AppOtherServer;
        for (const std::wstring& name : servers) {
            std::unique_ptr<ClusterResource> resource(OpenAs<ClusterResource>(name));
            if (resource && server && resource->MatchNetworkName(server)) {
                answer = AppClustered;
                break;
            }
        }
    }
    if (answer != AppClustered) GetMachineNodeStatus(server, isNode);
    return answer;
}

Cluster::appState MSCSCluster::IsServerRunningExchange(const wchar_t* server, bool* isNode) {
    if (isNode) *isNode = false;
    const std::wstring wanted = orv::SkipLeadingBackslashes(server ? server : OrvGetComputerName().c_str());
    appState answer;
    std::unique_ptr<ClusterServiceResource> attendant(OpenGenericServiceResource(kExchangeService));
    if (attendant) {
        answer = attendant->MatchNetworkName(wanted) ? AppClustered : AppOtherServer;
    } else {
        std::list<std::wstring> stores;
        if (!hCluster_ || !GetResources(stores, kExchangeStoreType)) {
            answer = AppNotClustered;
        } else {
            // Deliberately, an empty list too means another server.
            answer = AppOtherServer;
            for (const std::wstring& name : stores) {
                std::unique_ptr<ClusterResource> store(OpenAs<ClusterResource>(name));
                if (store && store->MatchNetworkName(wanted)) {
                    answer = AppClustered;
                    break;
                }
            }
        }
    }
    GetMachineNodeStatus(wanted.c_str(), isNode);
    return answer;
}

ClusterResource* MSCSCluster::OpenSqlResource(const wchar_t* name) {
    if (!hCluster_ || !name) return nullptr;
    for (const wchar_t* type : kSqlServerTypes) {
        std::list<std::wstring> resources;
        if (!GetResources(resources, type)) continue;
        for (const std::wstring& resourceName : resources) {
            if (!orv::EqualsIgnoreCase(resourceName.c_str(), name)) continue;
            if (ClusterResource* resource = OpenAs<ClusterResource>(resourceName)) return resource;
        }
    }
    return nullptr;
}

ClusterServiceResource* MSCSCluster::OpenGenericServiceResource(const wchar_t* serviceName) {
    std::list<ClusterServiceResource*> services;
    ClusterServiceResource* found = nullptr;
    bool unreadable = false;
    if (hCluster_) GetResources(services);
    for (auto it = services.begin(); it != services.end(); ++it) {
        std::wstring service;
        // A service name that cannot be read ends the search.
        if (!(*it)->GetServiceName(service)) {
            unreadable = true;
            break;
        }
        if (orv::EqualsIgnoreCase(service.c_str(), serviceName)) {
            found = *it;
            services.erase(it);
            break;
        }
    }
    const DWORD lastError = GetLastError();
    for (ClusterServiceResource* service : services) delete service;
    SetLastError(found || unreadable ? lastError : DWORD{ERROR_FILE_NOT_FOUND});
    return found;
}

unsigned long MSCSCluster::OnlineSqlServer(const wchar_t* name, unsigned long timeout) {
    return ApplicationResult(ChangeState(OpenSqlResource(name), Change::Online, timeout));
}

unsigned long MSCSCluster::OfflineSqlServer(const wchar_t* name, unsigned long timeout) {
    return ApplicationResult(ChangeState(OpenSqlResource(name), Change::Offline, timeout));
}

unsigned long MSCSCluster::OfflineExchangeServer(const wchar_t* serviceName, unsigned long timeout) {
    return ApplicationResult(ChangeState(OpenGenericServiceResource(serviceName), Change::Offline, timeout));
}

int MSCSCluster::OnlineService(const wchar_t* serviceName, unsigned long timeout) {
    return ServiceResult(ChangeState(OpenGenericServiceResource(serviceName), Change::Online, timeout));
}

int MSCSCluster::OfflineService(const wchar_t* serviceName, unsigned long timeout) {
    return ServiceResult(ChangeState(OpenGenericServiceResource(serviceName), Change::Offline, timeout));
}

int MSCSCluster::RemoveService(const wchar_t* serviceName, unsigned long timeout) {
    // Deliberately the same as OfflineService: the resource stays in the cluster.
    return OfflineService(serviceName, timeout);
}

unsigned long MSCSCluster::RecheckpointRegistry(const std::wstring& serviceName, const std::wstring& key) {
    std::unique_ptr<ClusterServiceResource> resource(OpenGenericServiceResource(serviceName.c_str()));
    if (!resource) return 0xFFFFFFFF;
    return resource->RecheckpointRegistry(key.c_str());
}

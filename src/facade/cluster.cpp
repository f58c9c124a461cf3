// The plain Cluster: what a machine without cluster software answers.

#include "orvcluster/cluster.h"

#include "facade/detection_cache.h"
#include "orvcluster/computer_name.h"
#include "support/text.h"

Cluster::Cluster() = default;
Cluster::~Cluster() = default;

bool Cluster::ClusterOpen() { return false; }
void Cluster::Close() {}
bool Cluster::NetworkNameToNodeName(const std::wstring&, std::wstring&) { return false; }
unsigned Cluster::PrepareWizardData() { return 0; }
bool Cluster::GetNodes(std::list<std::wstring>&) { return false; }
unsigned Cluster::GetDriveNames(std::list<wcstring>&) { return 0; }
bool Cluster::GetDriveNames(std::list<std::wstring>&) { return false; }
bool Cluster::BackupDatabase(const wchar_t*) { return false; }
bool Cluster::BackupDatabase(const std::wstring&) { return false; }
Cluster::appState Cluster::IsServerRunningSQL(const wchar_t*, bool*) { return AppNotApplicable; }
Cluster::appState Cluster::IsServerRunningExchange(const wchar_t*, bool*) { return AppNotApplicable; }
bool Cluster::GetOrvActiveNodeName(std::wstring&) { return false; }
unsigned long Cluster::OfflineExchangeServer(const wchar_t*, unsigned long) { return 1; }
unsigned long Cluster::OfflineSqlServer(const wchar_t*, unsigned long) { return 1; }
unsigned long Cluster::OnlineSqlServer(const wchar_t*, unsigned long) { return 1; }
bool Cluster::GetOrvVirtualName(std::wstring&) { return false; }
bool Cluster::GetVirtualNameFromIp(std::wstring&, const wchar_t*) { return false; }
bool Cluster::GetVirtualNameFromIp(std::wstring&, const char*) { return false; }
unsigned Cluster::CreateGroup(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                              const wchar_t*, const wchar_t*, CClusterParams*) { return 0; }
unsigned Cluster::MakeOnline(const wchar_t*) { return 0; }
unsigned Cluster::MakeOffline(const wchar_t*) { return 0; }
unsigned Cluster::FailoverReservedOperation() { return 0; }
unsigned Cluster::GetNetworkNames(std::list<wcstring>&, const wchar_t*) { return 0; }
unsigned Cluster::IsClusteredOrv(wcstring) { return 0; }
unsigned Cluster::IsActiveClusterNode(const wchar_t*) { return 0; }
unsigned Cluster::DeleteGroup(const wchar_t*) { return 0; }
unsigned Cluster::AddNode(const wchar_t*, const wchar_t*) { return 0; }
unsigned Cluster::DeleteNode(const wchar_t*, const wchar_t*) { return 0; }
unsigned Cluster::BounceReg() { return 0; }
unsigned Cluster::IsValidNetworkConfig(const wchar_t*, const wchar_t*, const wchar_t*) { return 0; }
unsigned Cluster::GetClusterNodes(std::list<wcstring>**) { return 0; }
unsigned Cluster::IsNode(const wchar_t*) { return 0; }
unsigned Cluster::ClusterConfOpen() { return 0; }
unsigned Cluster::ClusterConfClose() { return 0; }
unsigned Cluster::ReservedOperation36() { return 0; }
unsigned Cluster::ReservedOperation37() { return 0; }
unsigned Cluster::PartnerReservedOperation() { return 0; }
unsigned Cluster::QueryForExisting(wchar_t*, wchar_t*, wchar_t*, wchar_t*, wchar_t*) { return 0; }
unsigned Cluster::DeleteServiceFromGroup(const wchar_t*, const wchar_t*, int) { return 0; }
int Cluster::ResourceExists(const wchar_t*) { return 0; }
unsigned Cluster::SyncUpServices() { return 0; }
unsigned Cluster::AddFileShareName(const wchar_t*, const wchar_t*, const wchar_t*) { return 0; }
unsigned Cluster::AddFileServerResource(const wchar_t*, const wchar_t*, const wchar_t*) { return 0; }
unsigned Cluster::DelFileServerResource(wchar_t*) { return 0; }
unsigned Cluster::OnlineFileServerResource(const wchar_t*) { return 0; }
unsigned Cluster::FileServerExists(const wchar_t*) { return 0; }
unsigned Cluster::OnlineResource(const wchar_t*) { return 0; }
unsigned Cluster::OfflineResource(const wchar_t*) { return 0; }

// Deliberately the process-wide detection, not this object's own type: an
// object is only usable while this machine is still seen as clustered.
bool Cluster::Open() const { return open_ && orv::LocalDetection().Kind() != 0; }

Cluster::ClusterType Cluster::GetClusterType() const { return type_; }

const wchar_t* Cluster::GetClusterName() const { return clusterName_.c_str(); }

void Cluster::SetTargetMachine(const wchar_t* machine) {
    clusterName_ = orv::SkipLeadingBackslashes(machine ? machine : L"");
    if (orv::EqualsIgnoreCase(clusterName_, OrvGetComputerName())) clusterName_.clear();
}

bool Cluster::GetMachineNodeStatus(const wchar_t* machine, bool* isNode) {
    std::list<std::wstring> nodes;
    if (!GetNodes(nodes)) return false;
    if (!isNode) return true;
    *isNode = false;
    if (!machine) return true;
    const std::wstring wanted = orv::SkipLeadingBackslashes(machine);
    for (const std::wstring& node : nodes) {
        if (orv::EqualsIgnoreCase(wanted, node)) {
            *isNode = true;
            break;
        }
    }
    return true;
}

bool Cluster::IsCluster(const wchar_t* machine) {
    return GetInstance(machine)->GetClusterType() != NotClustered;
}

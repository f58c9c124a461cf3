// The installation wizard's data: the product definition, loaded once per
// process, and what the cluster tells about an existing configuration.

#include "wizard/wizard_data.h"

#include <cwchar>
#include <list>
#include <memory>

#include "orvcluster/cluster.h"
#include "wizard/definition_search.h"

namespace orv {

namespace {

constexpr size_t kAnswerChars = 260;

// Set once by the first successful CWIZ_InitData and never freed: the
// accessors hand out pointers into it for the life of the process. The
// wizard works on one thread, so the load is not locked.
ProductDefinition* loadedDefinition = nullptr;

std::vector<std::wstring> networkNames;
std::vector<std::wstring> nodeNames;

// At most kWizardNameSlots names of the list, in its order.
template <typename List>
void KeepNames(const List& list, std::vector<std::wstring>& kept) {
    std::vector<std::wstring> names;
    for (const std::wstring& name : list) {
        if (names.size() == kWizardNameSlots) break;
        names.push_back(name);
    }
    kept.swap(names);
}

}  // namespace

ProductDefinition& ProcessDefinition() {
    static ProductDefinition empty;
    return loadedDefinition ? *loadedDefinition : empty;
}

const std::vector<std::wstring>& WizardNetworkNames() { return networkNames; }
const std::vector<std::wstring>& WizardNodeNames() { return nodeNames; }
void KeepWizardNodeNames(const std::list<std::wstring>& nodes) { KeepNames(nodes, nodeNames); }

CLUSTERRESOURCE& MovedResourceRecord() {
    static CLUSTERRESOURCE record = {};
    record.install = 1;
    return record;
}

}  // namespace orv

unsigned Cluster::CWIZ_InitData(wchar_t* out1, wchar_t* out2, wchar_t* out3, wchar_t* out4,
                                wchar_t* out5, const wchar_t* directory) {
    try {
        const boost::shared_ptr<Cluster> cluster = GetInstance(nullptr);
        if (!cluster->Open()) return 0;
        const wchar_t* fileName =
            cluster->GetClusterType() == NRX ? L"nrxconfig.xml" : L"clusconfig.xml";
        const std::wstring path = orv::FindDefinitionFile(fileName, directory);
        if (path.empty()) return 0;
        // A definition that fails to load is dropped, and the next call tries
        // again; one that loaded stays, even if a later call finds another file.
        if (!orv::loadedDefinition) {
            auto definition = std::make_unique<orv::ProductDefinition>();
            if (!definition->Load(path)) return 0;
            orv::loadedDefinition = definition.release();
        }

        cluster->PrepareWizardData();
        std::list<wcstring> networks;
        cluster->GetNetworkNames(networks, nullptr);
        orv::KeepNames(networks, orv::networkNames);

        wchar_t answers[5][orv::kAnswerChars] = {};
        cluster->QueryForExisting(answers[0], answers[1], answers[2], answers[3], answers[4]);
        wchar_t* outs[5] = {out1, out2, out3, out4, out5};
        for (size_t i = 0; i < 5; ++i) {
            answers[i][orv::kAnswerChars - 1] = L'\0';
            if (outs[i]) wcscpy(outs[i], answers[i]);
        }
        return 1;
    } catch (...) {
        // No exception reaches the wizard. A definition that was still being
        // loaded is dropped with its object.
        return 0;
    }
}

const wchar_t* Cluster::CWIZ_GetCompany() { return orv::ProcessDefinition().Company().c_str(); }
const wchar_t* Cluster::CWIZ_GetProduct() { return orv::ProcessDefinition().Product().c_str(); }
const wchar_t* Cluster::CWIZ_GetFullProductName() {
    return orv::ProcessDefinition().CompleteName().c_str();
}
int Cluster::CWIZ_GetSync() { return orv::ProcessDefinition().Sync(); }
int Cluster::CWIZ_GetRequire() { return orv::ProcessDefinition().Required(); }
const wchar_t* Cluster::CWIZ_GetIPResourceName() {
    return orv::ProcessDefinition().IPResourceName().c_str();
}
const wchar_t* Cluster::CWIZ_GetNetworkResourceName() {
    return orv::ProcessDefinition().NetworkResourceName().c_str();
}
const wchar_t* Cluster::CWIZ_GetDefaultDir() {
    return orv::ProcessDefinition().DefaultDir().c_str();
}
const wchar_t* Cluster::CWIZ_GetDataRegKey() {
    return orv::ProcessDefinition().DataRegKey().c_str();
}
const wchar_t* Cluster::CWIZ_GetDefGroupName() {
    return orv::ProcessDefinition().DefGroupName().c_str();
}
const wchar_t* Cluster::CWIZ_GetDefServerName() {
    return orv::ProcessDefinition().DefServerName().c_str();
}
const wchar_t* Cluster::CWIZ_GetULIB() { return orv::ProcessDefinition().ULIB().c_str(); }
const wchar_t* Cluster::CWIZ_GetMsiProductID() {
    return orv::ProcessDefinition().MsiProductId().c_str();
}
const wchar_t* Cluster::CWIZ_GetMsiClusterDirProperty() {
    return orv::ProcessDefinition().MsiClusterDirProperty().c_str();
}
const wchar_t* Cluster::CWIZ_DiskSetResName() {
    return orv::ProcessDefinition().DiskSetResName().c_str();
}
const wchar_t* Cluster::CWIZ_VolLinkResName() {
    return orv::ProcessDefinition().VolLinkResName().c_str();
}
const wchar_t* Cluster::CWIZ_VolLinkResDep() {
    return orv::ProcessDefinition().VolLinkResDep().c_str();
}
const wchar_t* Cluster::CWIZ_KeyMirrorName() {
    return orv::ProcessDefinition().KeyMirrorResName().c_str();
}
const wchar_t* Cluster::CWIZ_KeyMirrorResDep() {
    return orv::ProcessDefinition().KeyMirrorResDep().c_str();
}
const wchar_t* Cluster::CWIZ_CusAgentName() {
    return orv::ProcessDefinition().CusAgentName().c_str();
}
const wchar_t* Cluster::CWIZ_CusAgentType() {
    return orv::ProcessDefinition().CusAgentType().c_str();
}
const wchar_t* Cluster::CWIZ_CusAgentDep() {
    return orv::ProcessDefinition().CusAgentDep().c_str();
}
CLUSTERRESOURCE* Cluster::CWIZ_GetResourceList() { return orv::ProcessDefinition().Resources(); }

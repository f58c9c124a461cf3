#pragma once

#include <deque>
#include <forward_list>
#include <string>
#include <vector>

#include "orvcluster/resource_table.h"

namespace orv {

// The product's cluster definition: what the installation wizard creates in
// the cluster, read from "clusconfig.xml" or "nrxconfig.xml". Values missing
// from the file read as empty text or 0. Before Load, or after a failed one,
// every text is empty and the resource table is only its end mark.
class ProductDefinition {
public:
    // More service resources than this are never read, whatever the file
    // claims; the same bound holds for detection keys.
    static constexpr int kMaxServiceResources = 256;
    static constexpr int kMaxDetectionKeys = 256;

    ProductDefinition();
    ProductDefinition(const ProductDefinition&) = delete;
    ProductDefinition& operator=(const ProductDefinition&) = delete;

    // Reads the file, once per object. False, leaving the definition empty,
    // when it cannot be read as XML (missing, not well-formed, no XML
    // services on this machine).
    bool Load(const std::wstring& path);

    const std::wstring& Company() const { return company_; }
    const std::wstring& Product() const { return product_; }
    const std::wstring& CompleteName() const { return completeName_; }
    int Sync() const { return sync_; }
    int Required() const { return required_; }
    const std::wstring& IPResourceName() const { return ipResourceName_; }
    const std::wstring& NetworkResourceName() const { return networkResourceName_; }
    // Always with exactly one leading and one trailing backslash.
    const std::wstring& DefaultDir() const { return defaultDir_; }
    const std::wstring& DataRegKey() const { return dataRegKey_; }
    const std::wstring& DefGroupName() const { return defGroupName_; }
    const std::wstring& DefServerName() const { return defServerName_; }
    const std::wstring& ULIB() const { return ulib_; }
    // Registry paths below HKEY_LOCAL_MACHINE that exist where the product is
    // installed, in file order.
    const std::forward_list<std::wstring>& DetectionKeys() const { return detectionKeys_; }
    const std::wstring& MsiProductId() const { return msiProductId_; }
    const std::wstring& MsiClusterDirProperty() const { return msiClusterDirProperty_; }
    const std::wstring& DiskSetResName() const { return diskSetResName_; }
    const std::wstring& VolLinkResName() const { return volLinkResName_; }
    const std::wstring& VolLinkResDep() const { return volLinkResDep_; }
    const std::wstring& KeyMirrorResName() const { return keyMirrorResName_; }
    const std::wstring& KeyMirrorResDep() const { return keyMirrorResDep_; }
    const std::wstring& CusAgentName() const { return cusAgentName_; }
    const std::wstring& CusAgentType() const { return cusAgentType_; }
    const std::wstring& CusAgentDep() const { return cusAgentDep_; }

    // The service resource table: IP address, network name, one record per
    // service resource, end mark. The wizard and the backends write the
    // install flags and handle slots of its records.
    CLUSTERRESOURCE* Resources() { return records_.data(); }

private:
    struct ServiceSection;
    class Document;

    // Reads the product-wide values; answers the number of service
    // resources the file declares.
    int ReadInfo(const Document& document);
    void ReadDetectionKeys(const Document& document);
    std::vector<ServiceSection> ReadServiceSections(const Document& document, int declared) const;
    void BuildTable(const std::vector<ServiceSection>& sections);
    void AddKeys(CLUSTERRESOURCE& record, const std::wstring& list);
    void AddDependencies(CLUSTERRESOURCE& record, const std::wstring& list);

    std::wstring company_, product_, completeName_;
    int sync_ = 0;
    int required_ = 0;
    std::wstring ipResourceName_, networkResourceName_, defaultDir_, dataRegKey_;
    std::wstring defGroupName_, defServerName_, ulib_;
    std::forward_list<std::wstring> detectionKeys_;
    std::wstring msiProductId_, msiClusterDirProperty_;
    std::wstring diskSetResName_, volLinkResName_, volLinkResDep_, keyMirrorResName_,
        keyMirrorResDep_, cusAgentName_, cusAgentType_, cusAgentDep_;

    // The records, and the key and dependency list nodes they point at; a
    // deque keeps its elements in place as it grows.
    std::vector<CLUSTERRESOURCE> records_;
    std::deque<CLUSTERRESOURCEKEY> keyNodes_;
    std::deque<CLUSTERRESOURCEDEPENDENCY> dependencyNodes_;
};

}  // namespace orv

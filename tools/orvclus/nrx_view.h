#pragma once

#include <string>
#include <utility>
#include <vector>

#include "orvcluster.h"

#include "report.h"

// What orvclus reads of an NRX cluster beyond NRXCluster's own operations:
// every resource and resource type, a resource's service group, and the
// state that a service group or resource has on each system. NRX keeps a
// state per system, not one owner, so that is what these answer.

namespace orvclus {

// A record the NRX library handed out, given back through its one free
// wrapper when the scope ends.
template <typename Record, void (*Free)(NRXClusterGlue&, Record*)>
class NrxRecord {
public:
    explicit NrxRecord(NRXClusterGlue& glue) : glue_(glue) {}
    ~NrxRecord() {
        if (record_) Free(glue_, record_);
    }
    NrxRecord(const NrxRecord&) = delete;
    NrxRecord& operator=(const NrxRecord&) = delete;

    Record** Receive() { return &record_; }
    Record* Get() const { return record_; }
    Record* operator->() const { return record_; }
    explicit operator bool() const { return record_ != nullptr; }

private:
    NRXClusterGlue& glue_;
    Record* record_ = nullptr;
};

// NRX names are 8-bit; the library widens each byte to one character, and
// orvclus hands them back the same way.
std::wstring WidenBytes(const char* text);
std::string NarrowBytes(const std::wstring& text);

// The names of every object of one kind (systems, service groups,
// resources, resource types), in the order NRX made them.
bool NrxObjectNames(const NRXCluster& cluster, NRXObjType kind, std::vector<std::string>& names);

// The service group that holds the resource.
bool NrxGroupOf(const NRXCluster& cluster, const std::string& resource, std::wstring& group);

// A service group's or a resource's state on each system of its group, in
// the order of the group's system list: the system and NRX's state code.
using SystemStates = std::vector<std::pair<std::wstring, int>>;
bool NrxStates(const NRXCluster& cluster, NRXObjType kind, const std::string& name, SystemStates& states);

// The states as a person reads them, "online on NODE1, offline on NODE2 and
// NODE3", and as scripts get them, [{"system", "state", "state_code"}].
std::wstring StatesInWords(NRXObjType kind, const SystemStates& states);
Value StatesAsJson(NRXObjType kind, const SystemStates& states);

// "cannot WHAT: NRX's sentence (NRX error N)"; the JSON object carries the
// number as "nrx_error" too. Answers the exit code of a failed operation.
int NrxFailure(const std::wstring& what);

}  // namespace orvclus

// The name under which the product presents this machine, in the three forms
// the product's components ask for.

#include "orvcluster/computer_name.h"

#include <cstring>

#include "orvcluster/cluster.h"
#include "support/name_buffer.h"
#include "support/text.h"

OrvComputerName::OrvComputerName() : name_(Cluster::GetNetworkNodeName()) {}

OrvComputerName& OrvComputerName::GetInstanceRef() {
    static OrvComputerName instance;
    return instance;
}

const std::wstring& OrvComputerName::GetOrvComputerName() const { return name_; }

const std::wstring& OrvGetComputerName() { return OrvComputerName::GetInstanceRef().GetOrvComputerName(); }

int OrvGetComputerName(wchar_t* buffer, unsigned long* size) {
    if (!buffer || !size || *size == 0) return 0;
    return orv::CopyNameToBuffer(OrvGetComputerName(), buffer, size) ? 1 : 0;
}

int OrvGetComputerNameW(wchar_t* buffer, unsigned long* size) { return OrvGetComputerName(buffer, size); }

int OrvGetComputerNameA(char* buffer, unsigned long* size) {
    if (!buffer || !size || *size == 0) return 0;
    const std::string name = orv::LowBytes(OrvGetComputerName());
    if (!name.empty() && name.size() + 1 <= *size) {
        std::memcpy(buffer, name.c_str(), name.size() + 1);
        *size = static_cast<unsigned long>(name.size());
        return 1;
    }
    std::memset(buffer, 0, *size);
    *size = 0;
    return 0;
}

void SetVirtualNameForNodeName(bool) {}

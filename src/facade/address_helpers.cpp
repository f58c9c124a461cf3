// IPv4 address text, host name resolution, and this machine's node name.

#include <winsock2.h>

#include "host/local_computer_name.h"
#include "orvcluster/cluster.h"
#include "support/critical_section.h"
#include "support/text.h"

namespace {

constexpr int kHostNameBytes = 256;

// The name in the ANSI code page, cut to fit `bytes` with its terminator.
std::string ToAnsi(const std::wstring& name, int bytes) {
    char buffer[kHostNameBytes] = {};
    int characters = static_cast<int>(name.size());
    if (characters > bytes - 1) characters = bytes - 1;
    while (characters > 0 &&
           WideCharToMultiByte(CP_ACP, 0, name.data(), characters, buffer, bytes - 1, nullptr,
                               nullptr) == 0)
        --characters;  // a double-byte character did not fit: cut one more
    return characters > 0 ? std::string(buffer) : std::string();
}

}  // namespace

bool Cluster::IsIp(const std::wstring& text) {
    if (text.empty()) return false;
    // Whatever inet_addr accepts counts (short and octal forms included);
    // 255.255.255.255 cannot be told from its failure answer.
    return inet_addr(orv::LowBytes(text).c_str()) != INADDR_NONE;
}

bool Cluster::FromNetworkNameToIp(std::wstring& name) {
    const std::string ansi = ToAnsi(name, kHostNameBytes);
    hostent* host = gethostbyname(ansi.c_str());
    if (!host || host->h_addrtype != AF_INET || !host->h_addr_list || !host->h_addr_list[0])
        return false;
    in_addr address;
    memcpy(&address, host->h_addr_list[0], sizeof(address));
    const char* text = inet_ntoa(address);
    if (!text) return false;
    name.assign(text, text + strlen(text));
    return true;
}

const std::wstring& Cluster::GetNetworkNodeName() {
    static orv::CriticalSection section;
    static std::wstring nodeName;
    orv::AutoLock lock(section);
    if (!nodeName.empty()) return nodeName;

    const std::wstring computerName = orv::LocalComputerName();
    if (computerName.empty()) return nodeName;  // not cached: the next call tries again

    boost::shared_ptr<Cluster> cluster = GetInstance(nullptr);
    // Starts as the name asked about: a backend may answer true and leave it
    // as it was when no resource carries the name.
    std::wstring clusterNodeName = computerName;
    if (cluster->Open() && cluster->NetworkNameToNodeName(computerName, clusterNodeName))
        nodeName = clusterNodeName;
    else
        nodeName = computerName;
    return nodeName;
}

// mpr.dll of the stand-ins: which names answer on the simulated network
// (WNetGetResourceInformationW), and the few other entry points that Wine's
// own DLLs import (simnet.h says how each answers).

#include <windows.h>
#include <winnetwk.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host_names.h"
#include "simnet.h"

namespace {

using simnet::SameName;

constexpr wchar_t kProvider[] = L"Microsoft Windows Network";

// The names added and taken away through the control API; this computer's
// names and the environment's list answer unless taken away.
class Network {
public:
    // The name as the network spells it, when it answers.
    std::optional<std::wstring> Find(std::wstring_view name) {
        Lock lock(lock_);
        if (Contains(removed_, name)) return std::nullopt;
        if (const auto added = Lookup(added_, name)) return added;
        if (simnet::IsThisComputer(name)) {
            const std::wstring netbios = simnet::ThisComputer();
            return SameName(name, netbios) ? netbios : std::wstring(name);
        }
        return Lookup(EnvironmentNames(), name);
    }

    void Add(const std::wstring& name) {
        Lock lock(lock_);
        Erase(removed_, name);
        if (!Contains(added_, name)) added_.push_back(name);
    }

    void Remove(const std::wstring& name) {
        Lock lock(lock_);
        Erase(added_, name);
        removed_.push_back(name);
    }

    void Reset() {
        Lock lock(lock_);
        added_.clear();
        removed_.clear();
    }

private:
    struct Lock {
        explicit Lock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
        ~Lock() { ReleaseSRWLockExclusive(&lock_); }
        SRWLOCK& lock_;
    };

    static std::optional<std::wstring> Lookup(const std::vector<std::wstring>& names, std::wstring_view name) {
        for (const std::wstring& known : names)
            if (SameName(known, name)) return known;
        return std::nullopt;
    }
    static bool Contains(const std::vector<std::wstring>& names, std::wstring_view name) {
        return Lookup(names, name).has_value();
    }
    static void Erase(std::vector<std::wstring>& names, std::wstring_view name) {
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [name](const std::wstring& known) { return SameName(known, name); }),
                    names.end());
    }

    // ORVSIM_NETWORK_NAMES, read afresh so that a program may change it.
    static std::vector<std::wstring> EnvironmentNames() {
        std::vector<std::wstring> names;
        const DWORD size = GetEnvironmentVariableW(L"ORVSIM_NETWORK_NAMES", nullptr, 0);
        if (size == 0) return names;
        std::wstring list(size, L'\0');
        list.resize(GetEnvironmentVariableW(L"ORVSIM_NETWORK_NAMES", list.data(), size));
        for (size_t start = 0; start <= list.size();) {
            size_t end = list.find(L';', start);
            if (end == std::wstring::npos) end = list.size();
            std::wstring_view entry(list.data() + start, end - start);
            const size_t first = entry.find_first_not_of(L" \t");
            entry = first == std::wstring_view::npos ? std::wstring_view() : entry.substr(first);
            entry = entry.substr(0, entry.find_last_not_of(L" \t") + 1);
            entry = simnet::WithoutLeadingBackslashes(entry);
            if (!entry.empty()) names.emplace_back(entry);
            start = end + 1;
        }
        return names;
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
    std::vector<std::wstring> added_;
    std::vector<std::wstring> removed_;
};

Network& TheNetwork() {
    static Network network;
    return network;
}

volatile LONG resourceInformationCalls = 0;

// A name the control API accepts: a host alone, backslashes before it allowed.
std::optional<std::wstring> HostName(const wchar_t* name) {
    if (!name) return std::nullopt;
    const std::wstring_view host = simnet::WithoutLeadingBackslashes(name);
    if (host.empty() || host.find(L'\\') != std::wstring_view::npos) return std::nullopt;
    return std::wstring(host);
}

size_t StringBytes(const std::wstring& text) { return (text.size() + 1) * sizeof(wchar_t); }

}  // namespace

extern "C" {

DWORD WINAPI WNetGetResourceInformationW(LPNETRESOURCEW lpNetResource, LPVOID lpBuffer, LPDWORD lpcbBuffer,
                                         LPWSTR* lplpSystem) {
    InterlockedIncrement(&resourceInformationCalls);
    if (!lpNetResource || !lpcbBuffer || (!lpBuffer && *lpcbBuffer != 0)) return ERROR_INVALID_ADDRESS;
    if (!lpNetResource->lpRemoteName) return ERROR_INVALID_PARAMETER;

    // "\\HOST\share\rest": the host answers or not; the share and the rest
    // are the caller's.
    const std::wstring_view remote = simnet::WithoutLeadingBackslashes(lpNetResource->lpRemoteName);
    const size_t hostEnd = std::min(remote.find(L'\\'), remote.size());
    const std::optional<std::wstring> host = TheNetwork().Find(remote.substr(0, hostEnd));
    if (!host) return ERROR_BAD_NET_NAME;
    const std::wstring_view afterHost = remote.substr(std::min(hostEnd + 1, remote.size()));
    const size_t shareEnd = std::min(afterHost.find(L'\\'), afterHost.size());
    const std::wstring share(afterHost.substr(0, shareEnd));
    const std::wstring system(afterHost.substr(shareEnd));

    const std::wstring remoteName = L"\\\\" + *host + (share.empty() ? L"" : L"\\" + share);
    const std::wstring provider = kProvider;
    const bool hasSystem = !share.empty() && !system.empty();
    const size_t needed = sizeof(NETRESOURCEW) + StringBytes(remoteName) + StringBytes(provider) +
                          (hasSystem ? StringBytes(system) : 0);
    if (*lpcbBuffer < needed) {
        *lpcbBuffer = static_cast<DWORD>(needed);
        return ERROR_MORE_DATA;
    }

    auto* resource = static_cast<NETRESOURCEW*>(lpBuffer);
    auto* strings = reinterpret_cast<wchar_t*>(resource + 1);
    auto place = [&strings](const std::wstring& text) {
        wchar_t* at = strings;
        std::memcpy(at, text.c_str(), StringBytes(text));
        strings += text.size() + 1;
        return at;
    };
    std::memset(resource, 0, sizeof(*resource));
    resource->dwType = share.empty() ? RESOURCETYPE_ANY : RESOURCETYPE_DISK;
    resource->dwDisplayType = share.empty() ? RESOURCEDISPLAYTYPE_SERVER : RESOURCEDISPLAYTYPE_SHARE;
    resource->dwUsage = share.empty() ? RESOURCEUSAGE_CONTAINER : RESOURCEUSAGE_CONNECTABLE;
    resource->lpRemoteName = place(remoteName);
    resource->lpProvider = place(provider);
    wchar_t* systemPart = hasSystem ? place(system) : nullptr;
    if (lplpSystem) *lplpSystem = systemPart;
    return NO_ERROR;
}

// The simulated machine has no network connections: no local name is
// redirected, and there is nothing to restore.
DWORD WINAPI WNetGetUniversalNameW(LPCWSTR, DWORD, LPVOID, LPDWORD) { return ERROR_NOT_CONNECTED; }

DWORD WINAPI WNetRestoreConnectionW(HWND, LPCWSTR) { return ERROR_NOT_CONNECTED; }

// No call of the stand-in leaves an extended error behind.
DWORD WINAPI WNetGetLastErrorW(LPDWORD lpError, LPWSTR lpErrorBuf, DWORD nErrorBufSize, LPWSTR lpNameBuf,
                               DWORD nNameBufSize) {
    if (!lpError) return ERROR_INVALID_ADDRESS;
    *lpError = NO_ERROR;
    if (lpErrorBuf && nErrorBufSize) *lpErrorBuf = L'\0';
    if (lpNameBuf && nNameBufSize) *lpNameBuf = L'\0';
    return NO_ERROR;
}

// Nor does it keep a password cache.
DWORD WINAPI WNetCachePassword(LPSTR, WORD, LPSTR, WORD, BYTE, WORD) { return ERROR_NOT_SUPPORTED; }

DWORD WINAPI WNetGetCachedPassword(LPSTR, WORD, LPSTR, LPWORD, BYTE) { return ERROR_NOT_SUPPORTED; }

BOOL WINAPI SimNet_AddNetworkName(const wchar_t* name) {
    const std::optional<std::wstring> host = HostName(name);
    if (!host) return FALSE;
    TheNetwork().Add(*host);
    return TRUE;
}

BOOL WINAPI SimNet_RemoveNetworkName(const wchar_t* name) {
    const std::optional<std::wstring> host = HostName(name);
    if (!host || !TheNetwork().Find(*host)) return FALSE;
    TheNetwork().Remove(*host);
    return TRUE;
}

void WINAPI SimNet_ResetNetworkNames(void) { TheNetwork().Reset(); }

LONG WINAPI SimNet_ResourceInformationCalls(void) { return resourceInformationCalls; }

}  // extern "C"

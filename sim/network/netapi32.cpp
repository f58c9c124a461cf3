// netapi32.dll of the stand-ins: this computer's shares (share_store.h),
// the buffers handed out for them, and the few other entry points that
// Wine's own DLLs import (simnet.h says how each answers).

#define _DSGETDCAPI_
#include <windows.h>
#include <dsgetdc.h>
#include <lm.h>
#include <nb30.h>

#include <cstring>
#include <cwchar>
#include <set>
#include <string_view>
#include <vector>

#include "host_names.h"
#include "share_store.h"
#include "simnet.h"

namespace {

using simnet::Share;

// The type bits that name the kind of resource (the rest are flags).
constexpr DWORD kTypeMask = 0xFF;
constexpr wchar_t kIllegalNameCharacters[] = L"\"/\\[]:|<>+=;,*?";

// Buffers handed out and not yet freed: NetApiBufferFree releases only
// these, so a pointer from elsewhere is refused instead of freed.
class Buffers {
public:
    BYTE* Allocate(size_t bytes) {
        auto* buffer = static_cast<BYTE*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, bytes));
        if (!buffer) return nullptr;
        AcquireSRWLockExclusive(&lock_);
        live_.insert(buffer);
        ReleaseSRWLockExclusive(&lock_);
        return buffer;
    }

    bool Free(void* buffer) {
        AcquireSRWLockExclusive(&lock_);
        const bool known = live_.erase(buffer) != 0;
        ReleaseSRWLockExclusive(&lock_);
        if (known) HeapFree(GetProcessHeap(), 0, buffer);
        return known;
    }

    LONG Count() {
        AcquireSRWLockShared(&lock_);
        const LONG count = static_cast<LONG>(live_.size());
        ReleaseSRWLockShared(&lock_);
        return count;
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
    std::set<void*> live_;
};

Buffers& HandedOut() {
    static Buffers buffers;
    return buffers;
}

bool IsThisServer(const wchar_t* server) {
    if (!server) return true;
    const std::wstring_view name = simnet::WithoutLeadingBackslashes(server);
    return name.empty() || simnet::IsThisComputer(name);
}

bool Empty(const wchar_t* text) { return !text || !*text; }

void Blame(DWORD* parmErr, DWORD member) {
    if (parmErr) *parmErr = member;
}

bool IsFolderPath(const wchar_t* path) {
    const wchar_t drive = path[0];
    return ((drive >= L'A' && drive <= L'Z') || (drive >= L'a' && drive <= L'z')) && path[1] == L':' &&
           path[2] == L'\\';
}

bool IsExistingFolder(const wchar_t* path) {
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

NET_API_STATUS CheckNewShare(const SHARE_INFO_2* info, DWORD* parmErr) {
    const wchar_t* name = info->shi2_netname;
    if (Empty(name) || wcslen(name) > NNLEN) {
        Blame(parmErr, SHARE_NETNAME_PARMNUM);
        return ERROR_INVALID_PARAMETER;
    }
    for (const wchar_t* c = name; *c; ++c)
        if (*c < L' ' || wcschr(kIllegalNameCharacters, *c)) return ERROR_INVALID_NAME;
    if ((info->shi2_type & kTypeMask) != STYPE_DISKTREE ||
        (info->shi2_type & ~(kTypeMask | STYPE_SPECIAL | STYPE_TEMPORARY)) != 0) {
        Blame(parmErr, SHARE_TYPE_PARMNUM);
        return ERROR_INVALID_PARAMETER;
    }
    if (info->shi2_remark && wcslen(info->shi2_remark) > MAXCOMMENTSZ) {
        Blame(parmErr, SHARE_REMARK_PARMNUM);
        return ERROR_INVALID_PARAMETER;
    }
    const wchar_t* path = info->shi2_path;
    if (Empty(path)) {
        Blame(parmErr, SHARE_PATH_PARMNUM);
        return ERROR_INVALID_PARAMETER;
    }
    if (!IsFolderPath(path)) return ERROR_INVALID_NAME;
    if (!IsExistingFolder(path)) return NERR_UnknownDevDir;
    for (const Share& share : simnet::LoadShares())
        if (simnet::SameName(share.name, name)) return NERR_DuplicateShare;
    return NERR_Success;
}

size_t StringBytes(const std::wstring& text) { return (text.size() + 1) * sizeof(wchar_t); }

size_t EntryBytes(const Share& share) {
    return sizeof(SHARE_INFO_2) + StringBytes(share.name) + StringBytes(share.remark) + StringBytes(share.path);
}

// The entries first..last-1 as one buffer: the SHARE_INFO_2 array, then
// the strings of each entry in turn.
BYTE* EnumerationBuffer(const std::vector<Share>& shares, size_t first, size_t last, size_t bytes) {
    BYTE* buffer = HandedOut().Allocate(bytes);
    if (!buffer) return nullptr;
    auto* entry = reinterpret_cast<SHARE_INFO_2*>(buffer);
    auto* strings = reinterpret_cast<wchar_t*>(entry + (last - first));
    auto place = [&strings](const std::wstring& text) {
        wchar_t* at = strings;
        std::memcpy(at, text.c_str(), StringBytes(text));
        strings += text.size() + 1;
        return at;
    };
    for (size_t index = first; index < last; ++index, ++entry) {
        const Share& share = shares[index];
        entry->shi2_netname = place(share.name);
        entry->shi2_type = share.type;
        entry->shi2_remark = place(share.remark);
        entry->shi2_permissions = share.permissions;
        entry->shi2_max_uses = share.maxUses;
        entry->shi2_current_uses = 0;
        entry->shi2_path = place(share.path);
        entry->shi2_passwd = nullptr;
    }
    return buffer;
}

}  // namespace

extern "C" {

NET_API_STATUS WINAPI NetShareAdd(LMSTR servername, DWORD level, LPBYTE buf, LPDWORD parm_err) {
    if (!IsThisServer(servername)) return ERROR_BAD_NETPATH;
    if (level != 2) return ERROR_INVALID_LEVEL;
    if (!buf) return ERROR_INVALID_PARAMETER;
    const auto* info = reinterpret_cast<const SHARE_INFO_2*>(buf);
    const NET_API_STATUS status = CheckNewShare(info, parm_err);
    if (status != NERR_Success) return status;
    Share share;
    share.name = info->shi2_netname;
    share.type = info->shi2_type;
    share.remark = info->shi2_remark ? info->shi2_remark : L"";
    share.permissions = info->shi2_permissions;
    share.maxUses = info->shi2_max_uses;
    share.path = info->shi2_path;
    return static_cast<NET_API_STATUS>(simnet::SaveShare(share));
}

NET_API_STATUS WINAPI NetShareDel(LMSTR servername, LMSTR netname, DWORD reserved) {
    if (!IsThisServer(servername)) return ERROR_BAD_NETPATH;
    if (Empty(netname) || reserved != 0) return ERROR_INVALID_PARAMETER;
    const LONG result = simnet::RemoveShare(netname);
    return result == ERROR_FILE_NOT_FOUND ? NERR_NetNameNotFound : static_cast<NET_API_STATUS>(result);
}

NET_API_STATUS WINAPI NetShareEnum(LMSTR servername, DWORD level, LPBYTE* bufptr, DWORD prefmaxlen,
                                   LPDWORD entriesread, LPDWORD totalentries, LPDWORD resume_handle) {
    if (!IsThisServer(servername)) return ERROR_BAD_NETPATH;
    if (level != 2) return ERROR_INVALID_LEVEL;
    if (!bufptr || !entriesread || !totalentries) return ERROR_INVALID_PARAMETER;
    *bufptr = nullptr;
    *entriesread = 0;
    const std::vector<Share> shares = simnet::LoadShares();
    *totalentries = static_cast<DWORD>(shares.size());
    const size_t first = resume_handle ? *resume_handle : 0;
    size_t last = first;
    size_t bytes = 0;
    // The preferred length limits whole entries, but never to none.
    for (; last < shares.size(); ++last) {
        const size_t entry = EntryBytes(shares[last]);
        if (prefmaxlen != MAX_PREFERRED_LENGTH && last > first && bytes + entry > prefmaxlen) break;
        bytes += entry;
    }
    if (last > first) {
        *bufptr = EnumerationBuffer(shares, first, last, bytes);
        if (!*bufptr) return ERROR_NOT_ENOUGH_MEMORY;
        *entriesread = static_cast<DWORD>(last - first);
    }
    const bool more = last < shares.size();
    // A finished enumeration leaves the handle ready to start again.
    if (resume_handle) *resume_handle = more ? static_cast<DWORD>(last) : 0;
    return more ? ERROR_MORE_DATA : NERR_Success;
}

NET_API_STATUS WINAPI NetApiBufferFree(LPVOID Buffer) {
    if (!Buffer) return NERR_Success;
    return HandedOut().Free(Buffer) ? NERR_Success : ERROR_INVALID_PARAMETER;
}

// The simulated machine runs no workstation service.
NET_API_STATUS WINAPI NetWkstaUserGetInfo(LMSTR, DWORD, LPBYTE* bufptr) {
    if (bufptr) *bufptr = nullptr;
    return NERR_WkstaNotStarted;
}

// Nor does it belong to a domain.
DWORD WINAPI DsGetDcNameW(LPCWSTR, LPCWSTR, GUID*, LPCWSTR, ULONG, PDOMAIN_CONTROLLER_INFOW* info) {
    if (info) *info = nullptr;
    return ERROR_NO_SUCH_DOMAIN;
}

// Nor has it NetBIOS adapters: the list of adapters is empty, and every
// command that names one names one that does not exist.
UCHAR WINAPI Netbios(PNCB ncb) {
    if (!ncb) return NRC_INVADDRESS;
    UCHAR result = NRC_BRIDGE;
    if ((ncb->ncb_command & ~ASYNCH) == NCBENUM) {
        result = NRC_BUFLEN;
        if (ncb->ncb_buffer && ncb->ncb_length >= sizeof(LANA_ENUM)) {
            reinterpret_cast<LANA_ENUM*>(ncb->ncb_buffer)->length = 0;
            result = NRC_GOODRET;
        }
    }
    ncb->ncb_retcode = ncb->ncb_cmd_cplt = result;
    return result;
}

LONG WINAPI SimNet_UnreleasedBuffers(void) { return HandedOut().Count(); }

}  // extern "C"

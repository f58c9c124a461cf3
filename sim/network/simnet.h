#pragma once

#include <windows.h>

// Stand-ins for the system's share and network-name functions, which Wine
// answers differently from Windows: a netapi32.dll (NetShareAdd,
// NetShareDel, NetShareEnum, NetApiBufferFree) and an mpr.dll
// (WNetGetResourceInformationW), both in the test folder. The functions
// below are their control API.
//
// Loading them
//   Beside a program, the stand-ins are ignored: Wine keeps its own
//   netapi32.dll and mpr.dll. A program loads them in place of Wine's when
//   it runs with WINEDLLOVERRIDES="netapi32,mpr=n,b" (appended after ';' to
//   any overrides already set). A test asks for that with
//   orv_use_network_standins(TEST) in its CMakeLists.txt.
//
// Shares
//   Only this computer has shares. A server name that is null, empty, or one
//   of this computer's names (its NetBIOS name, DNS host name or fully
//   qualified DNS name, with or without leading backslashes, in any case)
//   means this computer; any other answers ERROR_BAD_NETPATH (53), as a
//   server that cannot be reached does.
//   The shares live where Windows keeps them, so that they outlive the
//   process and every program sees the same ones: one REG_MULTI_SZ value per
//   share, named after it, under
//   HKLM\SYSTEM\CurrentControlSet\Services\LanmanServer\Shares, holding
//   "MaxUses=<decimal>", "Path=<path>", "Permissions=<decimal>",
//   "Remark=<text>", "ShareName=<name>" and "Type=<decimal>". The first
//   share creates the key; deleting the last one leaves it (Windows always
//   has it). Values of another type are not shares and are skipped.
//   NetShareAdd knows information level 2 only (any other answers
//   ERROR_INVALID_LEVEL) and folders only (STYPE_DISKTREE, with
//   STYPE_SPECIAL or STYPE_TEMPORARY if wished). It checks, in this order:
//     a null buffer                            ERROR_INVALID_PARAMETER
//     a null or empty name, or one longer than 80 characters
//                                              ERROR_INVALID_PARAMETER, *parm_err = SHARE_NETNAME_PARMNUM
//     a name with a character of  " / \ [ ] : | < > + = ; , * ?  or a control character
//                                              ERROR_INVALID_NAME
//     a type other than a folder               ERROR_INVALID_PARAMETER, *parm_err = SHARE_TYPE_PARMNUM
//     a remark longer than 256 characters      ERROR_INVALID_PARAMETER, *parm_err = SHARE_REMARK_PARMNUM
//     a null or empty path                     ERROR_INVALID_PARAMETER, *parm_err = SHARE_PATH_PARMNUM
//     a path that is not "X:\..."              ERROR_INVALID_NAME
//     a path that is no existing folder        NERR_UnknownDevDir (2116)
//     a name already shared (any case)         NERR_DuplicateShare (2118)
//   *parm_err (when not null) is written only where said. The password and
//   the current uses are not kept: enumerations show a null password and 0
//   uses.
//   NetShareDel of a null or empty name, or with `reserved` not 0, answers
//   ERROR_INVALID_PARAMETER; of a name not shared NERR_NetNameNotFound
//   (2310).
//   NetShareEnum knows level 2 only. It hands out one buffer: the
//   SHARE_INFO_2 array, then each entry's name, remark and path. With
//   MAX_PREFERRED_LENGTH every share comes at once. With a smaller
//   preference it gives the entries (from *resume_handle on, when given)
//   that fit in that many bytes, at least one, and answers ERROR_MORE_DATA
//   while some are left, advancing *resume_handle (back to 0 once the last
//   entry is given). No share: NERR_Success, 0 entries and a null buffer.
//   NetApiBufferFree frees the buffers handed out by the stand-in and not
//   yet freed, and answers NERR_Success for a null pointer; any other
//   pointer answers ERROR_INVALID_PARAMETER and is left alone.
//
// Network names
//   The names that answer on the simulated network are this computer's
//   names, the names listed in the environment variable
//   ORVSIM_NETWORK_NAMES (separated by ';', read at each call), and those
//   added with SimNet_AddNetworkName; less those taken away with
//   SimNet_RemoveNetworkName. WNetGetResourceInformationW looks at the
//   remote name without its leading backslashes and up to the next
//   backslash ("\\HOST\share\dir" and "HOST" both ask about HOST), without
//   regard to case; the share part is not checked, nor are the request's
//   dwType and lpProvider. For a name that answers it writes into the
//   caller's buffer a NETRESOURCEW and then its strings:
//   lpRemoteName "\\HOST" (the host as the network spells it) or
//   "\\HOST\share", lpProvider "Microsoft Windows Network", for a server
//   dwType RESOURCETYPE_ANY, dwDisplayType RESOURCEDISPLAYTYPE_SERVER and
//   dwUsage RESOURCEUSAGE_CONTAINER, for a share RESOURCETYPE_DISK,
//   RESOURCEDISPLAYTYPE_SHARE and RESOURCEUSAGE_CONNECTABLE, the other
//   members 0 or null; *lplpSystem (when lplpSystem is not null) points at
//   what follows the share ("\dir") in the buffer, or is null. A buffer too
//   small answers ERROR_MORE_DATA with *lpcbBuffer the size needed in bytes.
//   A name that does not answer: ERROR_BAD_NET_NAME (67). A null
//   lpNetResource or lpcbBuffer, or a null lpBuffer with a size that is not
//   0: ERROR_INVALID_ADDRESS. A null lpRemoteName: ERROR_INVALID_PARAMETER.
//
// Wine's own DLLs import a few more functions from netapi32.dll and
// mpr.dll (wininet.dll, which MSXML brings in, imports two from mpr.dll).
// An import that a DLL lacks ends the program when it is called, so the
// stand-ins export them too and answer as a machine outside any domain,
// without NetBIOS adapters, network connections or a password cache would:
// NetWkstaUserGetInfo NERR_WkstaNotStarted, DsGetDcNameW
// ERROR_NO_SUCH_DOMAIN, Netbios an empty adapter list for NCBENUM and
// NRC_BRIDGE for any other command, WNetGetUniversalNameW and
// WNetRestoreConnectionW ERROR_NOT_CONNECTED, WNetGetLastErrorW no error,
// WNetCachePassword and WNetGetCachedPassword ERROR_NOT_SUPPORTED.
//
// The state of the names and the counters belongs to one process.

#if defined(SIMNET_BUILDING)
#define SIMNET_API
#else
#define SIMNET_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// ---- netapi32.dll ----

// Buffers that NetShareEnum handed out and NetApiBufferFree has not freed.
SIMNET_API LONG WINAPI SimNet_UnreleasedBuffers(void);

// ---- mpr.dll ----

// Makes a name ("HOST" or "\\HOST") answer on the network. FALSE for a null
// or empty name or one with a backslash inside.
SIMNET_API BOOL WINAPI SimNet_AddNetworkName(const wchar_t* name);

// Makes a name that answers (one of this computer's, one from
// ORVSIM_NETWORK_NAMES or one added) answer no more. FALSE when it did not
// answer.
SIMNET_API BOOL WINAPI SimNet_RemoveNetworkName(const wchar_t* name);

// Forgets every name added or removed.
SIMNET_API void WINAPI SimNet_ResetNetworkNames(void);

// Calls of WNetGetResourceInformationW in this process, failed ones included.
SIMNET_API LONG WINAPI SimNet_ResourceInformationCalls(void);

#ifdef __cplusplus
}
#endif

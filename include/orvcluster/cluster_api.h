#pragma once

// The Windows failover cluster API as this library binds it: the handle types,
// enumerations, records, control codes and property syntax values of
// clusapi.dll and resutils.dll, with the platform's published values, and the
// signature of every entry point the library looks up by name.

#include <windows.h>

typedef struct _HCLUSTER* HCLUSTER;
typedef struct _HNODE* HNODE;
typedef struct _HGROUP* HGROUP;
typedef struct _HRESOURCE* HRESOURCE;
typedef struct _HNETWORK* HNETWORK;
typedef struct _HCLUSENUM* HCLUSENUM;
typedef struct _HGROUPENUM* HGROUPENUM;
typedef struct _HRESENUM* HRESENUM;

// ClusterOpenEnum object types.
enum CLUSTER_ENUM : DWORD {
    CLUSTER_ENUM_NODE = 0x00000001,
    CLUSTER_ENUM_RESTYPE = 0x00000002,
    CLUSTER_ENUM_RESOURCE = 0x00000004,
    CLUSTER_ENUM_GROUP = 0x00000008,
    CLUSTER_ENUM_NETWORK = 0x00000010,
    CLUSTER_ENUM_NETINTERFACE = 0x00000020,
    // These two are used alone, never combined with other types.
    CLUSTER_ENUM_SHARED_VOLUME_RESOURCE = 0x40000000,
    CLUSTER_ENUM_INTERNAL_NETWORK = 0x80000000,
};

// ClusterResourceOpenEnum object types.
enum CLUSTER_RESOURCE_ENUM : DWORD {
    CLUSTER_RESOURCE_ENUM_DEPENDS = 0x00000001,
    CLUSTER_RESOURCE_ENUM_PROVIDES = 0x00000002,
    CLUSTER_RESOURCE_ENUM_NODES = 0x00000004,
};

// ClusterGroupOpenEnum object types.
enum CLUSTER_GROUP_ENUM : DWORD {
    CLUSTER_GROUP_ENUM_CONTAINS = 0x00000001,
    CLUSTER_GROUP_ENUM_NODES = 0x00000002,
};

enum CLUSTER_RESOURCE_STATE : int {
    ClusterResourceStateUnknown = -1,
    ClusterResourceInherited = 0,
    ClusterResourceInitializing = 1,
    ClusterResourceOnline = 2,
    ClusterResourceOffline = 3,
    ClusterResourceFailed = 4,
    ClusterResourcePending = 128,
    ClusterResourceOnlinePending = 129,
    ClusterResourceOfflinePending = 130,
};

enum CLUSTER_GROUP_STATE : int {
    ClusterGroupStateUnknown = -1,
    ClusterGroupOnline = 0,
    ClusterGroupOffline = 1,
    ClusterGroupFailed = 2,
    ClusterGroupPartialOnline = 3,
    ClusterGroupPending = 4,
};

// GetNodeClusterState answers.
enum NODE_CLUSTER_STATE : DWORD {
    ClusterStateNotInstalled = 0x00000000,
    ClusterStateNotConfigured = 0x00000001,
    ClusterStateNotRunning = 0x00000003,
    ClusterStateRunning = 0x00000013,
};

enum CLUSTER_NETWORK_ROLE : DWORD {
    ClusterNetworkRoleNone = 0,
    ClusterNetworkRoleInternalUse = 1,
    ClusterNetworkRoleClientAccess = 2,
    ClusterNetworkRoleInternalAndClient = 3,
};

// CreateClusterResource flags.
constexpr DWORD CLUSTER_RESOURCE_SEPARATE_MONITOR = 1;

struct CLUSTERVERSIONINFO {
    DWORD dwVersionInfoSize;
    WORD MajorVersion;
    WORD MinorVersion;
    WORD BuildNumber;
    WCHAR szVendorId[64];
    WCHAR szCSDVersion[64];
    DWORD dwClusterHighestVersion;
    DWORD dwClusterLowestVersion;
    DWORD dwFlags;
    DWORD dwReserved;
};

// Resource classes (CLUSTER_RESOURCE_CLASS).
constexpr DWORD CLUS_RESCLASS_UNKNOWN = 0;
constexpr DWORD CLUS_RESCLASS_STORAGE = 1;
constexpr DWORD CLUS_RESCLASS_NETWORK = 2;

struct CLUS_RESOURCE_CLASS_INFO {
    DWORD rc;
    DWORD SubClass;
};

// One partition of a disk resource, as the disk information controls give it.
struct CLUS_PARTITION_INFO {
    DWORD dwFlags;
    WCHAR szDeviceName[MAX_PATH];
    WCHAR szVolumeLabel[MAX_PATH];
    DWORD dwSerialNumber;
    DWORD rgdwMaximumComponentLength;
    DWORD dwFileSystemFlags;
    WCHAR szFileSystem[32];
};

struct CLUS_PARTITION_INFO_EX {
    DWORD dwFlags;
    WCHAR szDeviceName[MAX_PATH];
    WCHAR szVolumeLabel[MAX_PATH];
    DWORD dwSerialNumber;
    DWORD rgdwMaximumComponentLength;
    DWORD dwFileSystemFlags;
    WCHAR szFileSystem[32];
    ULARGE_INTEGER TotalSizeInBytes;
    ULARGE_INTEGER FreeSizeInBytes;
    DWORD DeviceNumber;
    DWORD PartitionNumber;
    GUID VolumeGuid;
};

// Property and value list syntax words (CLUSPROP_SYNTAX_*): type in the high
// word, format in the low word.
constexpr DWORD CLUSPROP_SYNTAX_ENDMARK = 0x00000000;
constexpr DWORD CLUSPROP_SYNTAX_NAME = 0x00040003;
constexpr DWORD CLUSPROP_SYNTAX_RESCLASS = 0x00020002;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_SZ = 0x00010003;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_EXPAND_SZ = 0x00010004;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_DWORD = 0x00010002;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_BINARY = 0x00010001;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_MULTI_SZ = 0x00010005;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_LONG = 0x00010007;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_ULARGE_INTEGER = 0x00010006;
constexpr DWORD CLUSPROP_SYNTAX_LIST_VALUE_LARGE_INTEGER = 0x0001000A;
constexpr DWORD CLUSPROP_SYNTAX_DISK_SIGNATURE = 0x00050002;
constexpr DWORD CLUSPROP_SYNTAX_SCSI_ADDRESS = 0x00060002;
constexpr DWORD CLUSPROP_SYNTAX_DISK_NUMBER = 0x00070002;
constexpr DWORD CLUSPROP_SYNTAX_PARTITION_INFO = 0x00080001;
constexpr DWORD CLUSPROP_SYNTAX_DISK_SIZE = 0x000C0006;
constexpr DWORD CLUSPROP_SYNTAX_PARTITION_INFO_EX = 0x000D0001;

// Control codes this library sends.
constexpr DWORD CLUSCTL_RESOURCE_GET_CLASS_INFO = 0x0100000D;
constexpr DWORD CLUSCTL_RESOURCE_GET_RESOURCE_TYPE = 0x0100002D;
constexpr DWORD CLUSCTL_RESOURCE_GET_COMMON_PROPERTIES = 0x01000059;
constexpr DWORD CLUSCTL_RESOURCE_SET_COMMON_PROPERTIES = 0x0140005E;
constexpr DWORD CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES = 0x01000081;
constexpr DWORD CLUSCTL_RESOURCE_SET_PRIVATE_PROPERTIES = 0x01400086;
constexpr DWORD CLUSCTL_RESOURCE_ADD_REGISTRY_CHECKPOINT = 0x014000A2;
constexpr DWORD CLUSCTL_RESOURCE_DELETE_REGISTRY_CHECKPOINT = 0x014000A6;
constexpr DWORD CLUSCTL_RESOURCE_GET_REGISTRY_CHECKPOINTS = 0x010000A9;
constexpr DWORD CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO = 0x01000191;
constexpr DWORD CLUSCTL_RESOURCE_STORAGE_GET_DISK_INFO_EX = 0x010001F1;
constexpr DWORD CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO = 0x01000225;
// An internal code (bit 20 set): the partitions of a cluster shared volume
// resource, as a value list of PARTITION_INFO_EX entries.
constexpr DWORD CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_PARTITION_INFO = 0x01100071;
constexpr DWORD CLUSCTL_CLUSTER_GET_RO_COMMON_PROPERTIES = 0x07000055;
constexpr DWORD CLUSCTL_CLUSTER_GET_COMMON_PROPERTIES = 0x07000059;
constexpr DWORD CLUSCTL_NETWORK_GET_RO_COMMON_PROPERTIES = 0x05000055;
constexpr DWORD CLUSCTL_NETWORK_GET_COMMON_PROPERTIES = 0x05000059;

// Signatures of the clusapi.dll entry points, in the order they are looked up.
extern "C" {
typedef DWORD(WINAPI* AddClusterResourceDependencyFunction)(HRESOURCE, HRESOURCE);
typedef DWORD(WINAPI* AddClusterResourceNodeFunction)(HRESOURCE, HNODE);
typedef DWORD(WINAPI* BackupClusterDatabaseFunction)(HCLUSTER, LPCWSTR);
typedef DWORD(WINAPI* ChangeClusterResourceGroupFunction)(HRESOURCE, HGROUP);
typedef BOOL(WINAPI* CloseClusterFunction)(HCLUSTER);
typedef BOOL(WINAPI* CloseClusterGroupFunction)(HGROUP);
typedef BOOL(WINAPI* CloseClusterNetworkFunction)(HNETWORK);
typedef BOOL(WINAPI* CloseClusterNodeFunction)(HNODE);
typedef BOOL(WINAPI* CloseClusterResourceFunction)(HRESOURCE);
typedef DWORD(WINAPI* ClusterCloseEnumFunction)(HCLUSENUM);
typedef DWORD(WINAPI* ClusterControlFunction)(HCLUSTER, HNODE, DWORD, LPVOID, DWORD, LPVOID, DWORD,
                                              LPDWORD);
typedef DWORD(WINAPI* ClusterEnumFunction)(HCLUSENUM, DWORD, LPDWORD, LPWSTR, LPDWORD);
typedef DWORD(WINAPI* ClusterGroupCloseEnumFunction)(HGROUPENUM);
typedef DWORD(WINAPI* ClusterGroupEnumFunction)(HGROUPENUM, DWORD, LPDWORD, LPWSTR, LPDWORD);
typedef HGROUPENUM(WINAPI* ClusterGroupOpenEnumFunction)(HGROUP, DWORD);
typedef DWORD(WINAPI* ClusterNetworkControlFunction)(HNETWORK, HNODE, DWORD, LPVOID, DWORD, LPVOID,
                                                     DWORD, LPDWORD);
typedef HCLUSENUM(WINAPI* ClusterOpenEnumFunction)(HCLUSTER, DWORD);
typedef DWORD(WINAPI* ClusterResourceCloseEnumFunction)(HRESENUM);
typedef DWORD(WINAPI* ClusterResourceControlFunction)(HRESOURCE, HNODE, DWORD, LPVOID, DWORD, LPVOID,
                                                      DWORD, LPDWORD);
typedef DWORD(WINAPI* ClusterResourceEnumFunction)(HRESENUM, DWORD, LPDWORD, LPWSTR, LPDWORD);
typedef HRESENUM(WINAPI* ClusterResourceOpenEnumFunction)(HRESOURCE, DWORD);
typedef HGROUP(WINAPI* CreateClusterGroupFunction)(HCLUSTER, LPCWSTR);
typedef HRESOURCE(WINAPI* CreateClusterResourceFunction)(HGROUP, LPCWSTR, LPCWSTR, DWORD);
typedef DWORD(WINAPI* DeleteClusterGroupFunction)(HGROUP);
typedef DWORD(WINAPI* DeleteClusterResourceFunction)(HRESOURCE);
typedef CLUSTER_GROUP_STATE(WINAPI* GetClusterGroupStateFunction)(HGROUP, LPWSTR, LPDWORD);
typedef DWORD(WINAPI* GetClusterInformationFunction)(HCLUSTER, LPWSTR, LPDWORD, CLUSTERVERSIONINFO*);
typedef DWORD(WINAPI* GetClusterQuorumResourceFunction)(HCLUSTER, LPWSTR, LPDWORD, LPWSTR, LPDWORD,
                                                        LPDWORD);
typedef BOOL(WINAPI* GetClusterResourceNetworkNameFunction)(HRESOURCE, LPWSTR, LPDWORD);
typedef CLUSTER_RESOURCE_STATE(WINAPI* GetClusterResourceStateFunction)(HRESOURCE, LPWSTR, LPDWORD,
                                                                       LPWSTR, LPDWORD);
typedef DWORD(WINAPI* GetNodeClusterStateFunction)(LPCWSTR, LPDWORD);
typedef DWORD(WINAPI* OfflineClusterResourceFunction)(HRESOURCE);
typedef DWORD(WINAPI* OnlineClusterGroupFunction)(HGROUP, HNODE);
typedef DWORD(WINAPI* OnlineClusterResourceFunction)(HRESOURCE);
typedef HCLUSTER(WINAPI* OpenClusterFunction)(LPCWSTR);
typedef HGROUP(WINAPI* OpenClusterGroupFunction)(HCLUSTER, LPCWSTR);
typedef HNETWORK(WINAPI* OpenClusterNetworkFunction)(HCLUSTER, LPCWSTR);
typedef HNODE(WINAPI* OpenClusterNodeFunction)(HCLUSTER, LPCWSTR);
typedef HRESOURCE(WINAPI* OpenClusterResourceFunction)(HCLUSTER, LPCWSTR);
typedef DWORD(WINAPI* RemoveClusterResourceDependencyFunction)(HRESOURCE, HRESOURCE);
typedef DWORD(WINAPI* RemoveClusterResourceNodeFunction)(HRESOURCE, HNODE);
typedef DWORD(WINAPI* RestoreClusterDatabaseFunction)(LPCWSTR, BOOL, LPCWSTR);

// resutils.dll entry points.
typedef DWORD(WINAPI* ResUtilFindSzPropertyFunction)(const void*, DWORD, LPCWSTR, LPWSTR*);
typedef DWORD(WINAPI* ResUtilFindDwordPropertyFunction)(const void*, DWORD, LPCWSTR, LPDWORD);
typedef BOOL(WINAPI* ClusterIsPathOnSharedVolumeFunction)(LPCWSTR);
typedef BOOL(WINAPI* ClusterGetVolumePathNameFunction)(LPCWSTR, LPWSTR, DWORD);
typedef BOOL(WINAPI* ClusterGetVolumeNameForVolumeMountPointFunction)(LPCWSTR, LPWSTR, DWORD);
typedef DWORD(WINAPI* ClusterPrepareSharedVolumeForBackupFunction)(LPCWSTR, LPWSTR, LPDWORD, LPWSTR,
                                                                   LPDWORD);
typedef DWORD(WINAPI* ClusterClearBackupStateForSharedVolumeFunction)(LPCWSTR);
}

// Resource sub-classes (high bit of CLUS_RESOURCE_CLASS_INFO::SubClass).
constexpr DWORD CLUS_RESSUBCLASS_SHARED = 0x80000000;
constexpr DWORD CLUS_RESSUBCLASS_NETWORK_INTERNET_PROTOCOL = 0x80000000;

enum CLUSTER_NODE_STATE : int {
    ClusterNodeStateUnknown = -1,
    ClusterNodeUp = 0,
    ClusterNodeDown = 1,
    ClusterNodePaused = 2,
    ClusterNodeJoining = 3,
};

// Property value formats: the low word of a syntax word.
constexpr WORD CLUSPROP_FORMAT_BINARY = 1;
constexpr WORD CLUSPROP_FORMAT_DWORD = 2;
constexpr WORD CLUSPROP_FORMAT_SZ = 3;
constexpr WORD CLUSPROP_FORMAT_EXPAND_SZ = 4;
constexpr WORD CLUSPROP_FORMAT_MULTI_SZ = 5;
constexpr WORD CLUSPROP_FORMAT_ULARGE_INTEGER = 6;
constexpr WORD CLUSPROP_FORMAT_LONG = 7;

// CLUS_PARTITION_INFO(_EX)::dwFlags.
constexpr DWORD CLUSPROP_PIFLAG_STICKY = 0x00000001;
constexpr DWORD CLUSPROP_PIFLAG_REMOVABLE = 0x00000002;
constexpr DWORD CLUSPROP_PIFLAG_USABLE = 0x00000004;
constexpr DWORD CLUSPROP_PIFLAG_DEFAULT_QUORUM = 0x00000008;

constexpr DWORD CLUSCTL_RESOURCE_GET_RO_COMMON_PROPERTIES = 0x01000055;

enum CLUSTER_SHARED_VOLUME_BACKUP_STATE : DWORD {
    VolumeBackupNone = 0x00000000,
    VolumeBackupInProgress = 0x00000001,
};

enum CLUSTER_CSV_VOLUME_FAULT_STATE : DWORD {
    VolumeStateNoFaults = 0x00000000,
    VolumeStateNoDirectIO = 0x00000001,
    VolumeStateNoAccess = 0x00000002,
    VolumeStateInMaintenance = 0x00000004,
    VolumeStateDismounted = 0x00000008,
};

// One binary value of the shared volume information control's answer.
struct CLUS_CSV_VOLUME_INFO {
    ULARGE_INTEGER VolumeOffset;
    DWORD PartitionNumber;
    CLUSTER_CSV_VOLUME_FAULT_STATE FaultState;
    CLUSTER_SHARED_VOLUME_BACKUP_STATE BackupState;
    WCHAR szVolumeFriendlyName[MAX_PATH];
    WCHAR szVolumeName[50];
};

// Cluster errors that the system headers of the cross compiler lack.
#ifndef ERROR_CSV_VOLUME_NOT_LOCAL
#define ERROR_CSV_VOLUME_NOT_LOCAL 5951L
#endif

// "backup-db": a backup of the failover cluster's database into a folder.

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

// The cluster's version ("6.1"), or nothing when the cluster does not say.
std::wstring ClusterVersion(const ClusterTarget& target) {
    wchar_t name[MAX_PATH] = {};
    DWORD length = MAX_PATH;
    CLUSTERVERSIONINFO version = {};
    version.dwVersionInfoSize = sizeof(version);
    if (MSCSClusterGlue::GetInstance()->GetClusterInformation(target.failover->GetClusterHandle(), name, &length,
                                                              &version) != ERROR_SUCCESS)
        return std::wstring();
    return std::to_wstring(version.MajorVersion) + L"." + std::to_wstring(version.MinorVersion);
}

int RunBackupDatabase(const ParsedArguments& arguments, Format format) {
    if (arguments.Operands().empty()) return UsageError(L"'backup-db' needs the folder to back up into (PATH)");
    const std::wstring& folder = arguments.Operands().front();
    ClusterTarget target;
    if (!OpenTarget(arguments, L"backup-db", target)) return kExitFailure;
    if (!target.failover->BackupDatabase(folder.c_str())) {
        const DWORD error = GetLastError();
        if (error == ERROR_CALL_NOT_IMPLEMENTED || error == ERROR_PROC_NOT_FOUND) {
            // Failover clusters of version 6.0 and later keep their database
            // elsewhere and answer 120; cluster software without the entry
            // point cannot be asked at all.
            if (!MSCSClusterGlue::GetInstance()->BackupAndRestoreSupported())
                return Failure(L"the cluster software on this computer (clusapi.dll) cannot back up a cluster's database");
            const std::wstring version = ClusterVersion(target);
            std::wstring sentence = L"cluster " + target.Name();
            if (!version.empty()) sentence += L" (version " + version + L")";
            sentence += L" does not offer a backup of its database";
            if (!version.empty() && _wtoi(version.c_str()) >= 6) sentence += L"; this was removed in version 6.0";
            return Failure(sentence);
        }
        return Win32Failure(L"back up the database of cluster " + target.Name() + L" to " + Quoted(folder), error);
    }

    Report report = ClusterReport(
        target, L"The database of cluster " + target.Name() + L" is backed up to " + Quoted(folder) + L".");
    report.Add(L"folder", L"Folder", Value::Text(folder));
    return PrintReport(report, format);
}

}  // namespace

Command BackupDatabaseCommand() {
    return FailoverOnly(ClusterCommand(
        L"backup-db", L"Back up the failover cluster's database into folder PATH (clusters before version 6.0 only).",
        RunBackupDatabase, L"PATH", 1));
}

}  // namespace orvclus

// "backup-db": a backup of the failover cluster's database into a folder.

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

int RunBackupDatabase(const ParsedArguments& arguments, Format format) {
    if (arguments.Operands().empty()) return UsageError(L"'backup-db' needs the folder to back up into (PATH)");
    const std::wstring& folder = arguments.Operands().front();
    ClusterTarget target;
    if (!OpenTarget(arguments, L"backup-db", Needs::FailoverCluster, target)) return kExitFailure;
    if (!target.failover->BackupDatabase(folder.c_str())) {
        const DWORD error = GetLastError();
        return Win32Failure(L"back up the database of cluster " + target.Name() + L" to " + folder, error);
    }

    Report report =
        ClusterReport(target, L"The database of cluster " + target.Name() + L" is backed up to " + folder + L".");
    report.AddJsonOnly(L"folder", Value::Text(folder));
    return PrintReport(report, format);
}

}  // namespace

Command BackupDatabaseCommand() {
    Command command = ClusterCommand(L"backup-db", L"Back up the failover cluster's database into folder PATH.",
                                     RunBackupDatabase);
    command.operands = L"PATH";
    command.maxOperands = 1;
    return command;
}

}  // namespace orvclus

// "drives", "disks" and "shared-volumes": the cluster's storage.

#include <cwchar>
#include <list>

#include "orvcluster.h"

#include "cluster_target.h"
#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

constexpr DWORD kUnknownPartition = 0xFFFFFFFF;

// "{0c7e43ab-1c2d-4e5f-8a9b-0a1b2c3d4e01}", or nothing for the zero GUID
// of an unknown volume.
Value GuidValue(const GUID& guid) {
    static const GUID zero = {};
    if (IsEqualGUID(guid, zero)) return Value::None();
    wchar_t text[40];
    swprintf(text, 40, L"{%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}", guid.Data1, guid.Data2, guid.Data3,
             guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
             guid.Data4[6], guid.Data4[7]);
    return Value::Text(text);
}

Value PartitionNumber(DWORD number) { return number == kUnknownPartition ? Value::None() : Value::Number(number); }

std::wstring FaultStateName(DWORD state) {
    if (state == VolumeStateNoFaults) return L"none";
    const struct {
        DWORD flag;
        const wchar_t* name;
    } flags[] = {{VolumeStateNoDirectIO, L"no direct I/O"},
                 {VolumeStateNoAccess, L"no access"},
                 {VolumeStateInMaintenance, L"in maintenance"},
                 {VolumeStateDismounted, L"dismounted"}};
    std::wstring names;
    for (const auto& flag : flags)
        if (state & flag.flag) names += (names.empty() ? L"" : L", ") + std::wstring(flag.name);
    return names.empty() ? L"unknown" : names;
}

int RunDrives(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"drives", target)) return kExitFailure;
    // NRX's drives are the mount paths of its "Mount" and "VolLink" resources.
    const std::wstring holders = target.nrx ? L"mount resources" : L"disks";
    std::list<std::wstring> drives;
    if (!target.cluster->GetDriveNames(drives)) {
        // NRX answers false for a cluster without drives too.
        if (target.nrx)
            return Failure(L"the " + holders + L" of cluster " + target.Name() +
                           L" give no drive, or cannot be read (run with --trace to see why)");
        return ListFailure(target, L"drives");
    }

    Table table({Column{L"", L"Drive"}});
    for (const std::wstring& drive : drives) table.AddRow({Value::Text(drive)});
    Report report = ClusterReport(
        target, L"The " + holders + L" of cluster " + target.Name() + L" hold " + Count(drives.size(), L"drive") + L".");
    report.AddJsonOnly(L"drives", Value::TextList(drives));
    report.AddTable(L"", table);
    return PrintReport(report, format);
}

// Cluster objects that each hold rows of facts (a disk's partitions, a
// resource's shared volumes). Plain text shows one table with a line per
// row, the object's name first; JSON a list of {"name", ROWS: [rows]}.
class NamedRows {
public:
    NamedRows(const std::wstring& nameHeading, const std::wstring& rowsKey, std::vector<Column> columns)
        : nameHeading_(nameHeading), rowsKey_(rowsKey), columns_(std::move(columns)) {}

    // The object whose rows follow.
    void Begin(const std::wstring& name) { objects_.push_back({name, Table(columns_)}); }
    void AddRow(std::vector<Value> cells) { objects_.back().rows.AddRow(std::move(cells)); }
    size_t Objects() const { return objects_.size(); }

    void AddTo(Report& report, const std::wstring& key) const {
        std::vector<Column> shown = {{L"", nameHeading_}};
        shown.insert(shown.end(), columns_.begin(), columns_.end());
        Table lines(shown);
        std::vector<Value> objects;
        for (const Object& object : objects_) {
            const Value rows = object.rows.AsJson();
            objects.push_back(Value::Object({L"name", rowsKey_}, {Value::Text(object.name), rows}));
            if (object.rows.Rows() == 0) lines.AddRow({Value::Text(object.name)});
            for (const std::vector<Value>& cells : object.rows.Cells()) {
                std::vector<Value> line = {Value::Text(object.name)};
                line.insert(line.end(), cells.begin(), cells.end());
                lines.AddRow(line);
            }
        }
        report.AddJsonOnly(key, Value::List(objects));
        report.AddTable(L"", lines);
    }

private:
    struct Object {
        std::wstring name;
        Table rows;
    };
    std::wstring nameHeading_;
    std::wstring rowsKey_;
    std::vector<Column> columns_;
    std::vector<Object> objects_;
};

int RunDisks(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"disks", target)) return kExitFailure;
    NamedRows disks(L"Disk", L"partitions",
                    {{L"device", L"Device"},
                     {L"label", L"Label"},
                     {L"number", L"Partition number"},
                     {L"volume_guid", L"Volume GUID"}});
    // Each list lives as long as its shared pointer: keep that while walking it.
    const auto found = target.failover->GetClusterDiskResources();
    for (const auto& disk : *found) {
        disks.Begin(*disk->GetResourceName());
        const MSCSPartitionList partitions = disk->GetPartitionInfo();
        for (const auto& partition : *partitions)
            disks.AddRow({Value::Text(partition->GetDeviceName()), Value::Text(partition->GetVolumeLabel()),
                          PartitionNumber(partition->GetPartitionNumber()),
                          GuidValue(partition->GetVolumeGUID())});
    }
    Report report = ClusterReport(target, CountHeadline(target, disks.Objects(), L"shared disk"));
    disks.AddTo(report, L"disks");
    return PrintReport(report, format);
}

int RunSharedVolumes(const ParsedArguments& arguments, Format format) {
    ClusterTarget target;
    if (!OpenTarget(arguments, L"shared-volumes", target)) return kExitFailure;
    const std::wstring root = target.failover->GetSharedVolumesRoot();
    NamedRows resources(L"Resource", L"volumes",
                        {{L"friendly_name", L"Friendly name"},
                         {L"partition", L"Partition"},
                         {L"offset", L""},
                         {L"fault_state", L"Fault state"},
                         {L"backup_in_progress", L"Backup in progress"},
                         {L"volume_name", L"Volume name"}});
    const auto found = target.failover->GetClusterSharedVolumeResources();
    for (const auto& resource : *found) {
        resources.Begin(*resource->GetResourceName());
        const MSCSClusterSharedVolumeResource::SharedVolumeList volumes = resource->GetSharedVolumesInfo();
        for (const auto& volume : *volumes)
            resources.AddRow({Value::Text(volume->GetFriendlyName()), Value::Number(volume->GetPartitionNumber()),
                              Value::Number(static_cast<long long>(volume->GetVolumeOffset())),
                              Value::Text(FaultStateName(volume->GetFaultState())),
                              Value::YesNo(volume->GetBackupState() == VolumeBackupInProgress),
                              Value::Text(volume->GetVolumeName())});
    }
    Report report = ClusterReport(target, CountHeadline(target, resources.Objects(), L"shared volume resource"));
    report.Add(L"shared_volumes_root", L"Shared volumes root", Value::Text(root), root.empty() ? L"(none)" : L"");
    resources.AddTo(report, L"resources");
    return PrintReport(report, format);
}

}  // namespace

std::vector<Command> StorageCommands() {
    return {
        ClusterCommand(L"drives", L"List the drives on the cluster's disks.", RunDrives, L"", 0,
                       L"On an NRX cluster the drives are the mount paths of its \"Mount\" and \"VolLink\" "
                       L"resources."),
        FailoverOnly(ClusterCommand(L"disks", L"List the cluster's shared disks and their partitions.", RunDisks)),
        FailoverOnly(ClusterCommand(L"shared-volumes",
                                    L"Show where the cluster's shared volumes live and list them with their state.",
                                    RunSharedVolumes)),
    };
}

}  // namespace orvclus

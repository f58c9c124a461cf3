// The resource utility functions: property lookups in good and broken
// lists, and the shared volume queries.

#include <cstring>

#include "sim_test.h"

namespace simtest {
namespace {

// A property list: "Name" = "first", "NAME" = "second", "Count" = 5,
// "Blob" = 3 bytes.
std::vector<BYTE> SampleList() {
    return ListBuilder()
        .Text(L"Name", L"first")
        .Text(L"NAME", L"second")
        .Number(L"Count", 5)
        .Add(L"Blob", CLUSPROP_SYNTAX_LIST_VALUE_BINARY, "abc", 3)
        .Bytes();
}

// Copies a list to the very end of a readable page that an inaccessible
// page follows: a lookup that reads one byte too far crashes the test.
class GuardedBuffer {
public:
    GuardedBuffer() {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        page_ = info.dwPageSize;
        base_ = static_cast<BYTE*>(VirtualAlloc(nullptr, page_ * 2, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(base_ + page_, page_, PAGE_NOACCESS, &old);
    }
    ~GuardedBuffer() { VirtualFree(base_, 0, MEM_RELEASE); }
    const BYTE* Place(const BYTE* data, size_t size) {
        BYTE* at = base_ + page_ - size;
        if (size) std::memcpy(at, data, size);
        return at;
    }

private:
    DWORD page_ = 0;
    BYTE* base_ = nullptr;
};

TEST(ResourceUtilities, LookupsMatchNamesWithoutRegardToCaseAndTheFirstMatchWins) {
    std::vector<BYTE> list = SampleList();
    DWORD size = static_cast<DWORD>(list.size());
    std::wstring text;
    EXPECT_EQ(DWORD(ERROR_SUCCESS), FindText(list.data(), size, L"name", &text));
    EXPECT_EQ(L"first", text);
    DWORD number = 0;
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().ResUtilFindDwordProperty(list.data(), size, L"COUNT", &number));
    EXPECT_EQ(5u, number);

    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), FindText(list.data(), size, L"Count"));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), Sim().ResUtilFindDwordProperty(list.data(), size, L"Name", &number));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), Sim().ResUtilFindDwordProperty(list.data(), size, L"Blob", &number));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), FindText(list.data(), size, L"Missing"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().ResUtilFindSzProperty(list.data(), size, L"Name", nullptr));

    const DWORD empty = 0;
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), FindText(&empty, 4, L"Name"));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), FindText(nullptr, 0, L"Name"));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), Sim().ResUtilFindDwordProperty(&empty, 3, L"Name", &number));
}

TEST(ResourceUtilities, BrokenListsAreNeverReadPastTheirSize) {
    const std::vector<BYTE> list = SampleList();
    GuardedBuffer guarded;
    // Every truncation: the property is found only when it lies whole before the cut.
    const size_t countEnd = 4 + 8 + 12 + 8 + 12 + 4 + 8 + 12 + 8 + 16 + 4 + 8 + 12 + 8 + 4 + 4;
    for (size_t size = 0; size < list.size(); ++size) {
        const BYTE* placed = guarded.Place(list.data(), size);
        DWORD number = 0;
        DWORD result = Sim().ResUtilFindDwordProperty(placed, static_cast<DWORD>(size), L"Count", &number);
        EXPECT_EQ(size >= countEnd ? DWORD(ERROR_SUCCESS) : DWORD(ERROR_INVALID_DATA), result) << size;
        EXPECT_EQ(DWORD(ERROR_INVALID_DATA), FindText(placed, static_cast<DWORD>(size), L"Missing")) << size;
    }
    // Random damage: any answer but a crash, and only the documented ones.
    unsigned seed = 12345;
    auto next = [&] { return seed = seed * 1103515245u + 12345u; };
    for (int round = 0; round < 3000; ++round) {
        std::vector<BYTE> broken = list;
        for (int hits = 1 + next() % 4; hits > 0; --hits)
            broken[next() % broken.size()] = next() % 3 == 0 ? 0xFF : static_cast<BYTE>(next() >> 16);
        const DWORD size = static_cast<DWORD>(broken.size() - next() % 8);
        const BYTE* placed = guarded.Place(broken.data(), size);
        DWORD number = 0;
        const DWORD results[] = {Sim().ResUtilFindDwordProperty(placed, size, L"Count", &number),
                                 FindText(placed, size, L"NAME")};
        for (DWORD result : results)
            EXPECT_TRUE(result == ERROR_SUCCESS || result == ERROR_INVALID_DATA || result == ERROR_FILE_NOT_FOUND)
                << "round " << round << ": " << result;
    }
}

using SharedVolumes = SimulatorTest;

TEST_F(SharedVolumes, PathQueriesAnswerFromTheScenariosVolumes) {
    EXPECT_TRUE(Sim().ClusterIsPathOnSharedVolume(L"C:\\ClusterStorage\\Volume1\\Backups\\full.bak"));
    EXPECT_TRUE(Sim().ClusterIsPathOnSharedVolume(L"c:\\clusterstorage\\VOLUME1"));
    EXPECT_TRUE(Sim().ClusterIsPathOnSharedVolume(L"\\\\?\\C:\\ClusterStorage\\Volume1\\x"));
    EXPECT_FALSE(Sim().ClusterIsPathOnSharedVolume(L"C:\\ClusterStorage\\Volume10\\x"));
    EXPECT_FALSE(Sim().ClusterIsPathOnSharedVolume(L"S:\\Orvane"));

    wchar_t path[64];
    ASSERT_TRUE(Sim().ClusterGetVolumePathName(L"C:\\ClusterStorage\\Volume1\\Backups\\full.bak", path, 64));
    EXPECT_STREQ(L"C:\\ClusterStorage\\Volume1\\", path);
    ASSERT_TRUE(Sim().ClusterGetVolumePathName(L"\\\\?\\C:\\ClusterStorage\\Volume1\\no\\such\\file", path, 64));
    EXPECT_STREQ(L"\\\\?\\C:\\ClusterStorage\\Volume1\\", path);
    EXPECT_FALSE(Sim().ClusterGetVolumePathName(L"C:\\ClusterStorage\\Volume1\\a", path, 26));
    EXPECT_EQ(DWORD(ERROR_FILENAME_EXCED_RANGE), GetLastError());
    SetLastError(ERROR_BUSY);
    EXPECT_FALSE(Sim().ClusterGetVolumePathName(L"", path, 64));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());

    const wchar_t volume[] = L"\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\";
    ASSERT_TRUE(Sim().ClusterGetVolumeNameForVolumeMountPoint(L"C:\\ClusterStorage\\Volume1\\", path, 64));
    EXPECT_STREQ(volume, path);
    ASSERT_TRUE(Sim().ClusterGetVolumeNameForVolumeMountPoint(volume, path, 64));
    EXPECT_STREQ(volume, path);
    EXPECT_FALSE(Sim().ClusterGetVolumeNameForVolumeMountPoint(L"C:\\ClusterStorage\\Volume1\\no\\such", path, 64));
    EXPECT_EQ(DWORD(ERROR_INVALID_NAME), GetLastError());
    EXPECT_FALSE(Sim().ClusterGetVolumeNameForVolumeMountPoint(L"\\\\?\\C:\\ClusterStorage\\Volume1\\x", path, 64));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST_F(SharedVolumes, BackupPreparationReportsTheVolumeAndMarksItsBackupState) {
    auto backupState = [&] {
        std::vector<BYTE> info = ResourceControl(L"Cluster Disk 3", CLUSCTL_RESOURCE_STORAGE_GET_SHARED_VOLUME_INFO);
        return info.size() >= 8 + sizeof(CLUS_CSV_VOLUME_INFO)
                   ? reinterpret_cast<const CLUS_CSV_VOLUME_INFO*>(info.data() + 8)->BackupState
                   : CLUSTER_SHARED_VOLUME_BACKUP_STATE(-1);
    };
    const wchar_t file[] = L"C:\\ClusterStorage\\Volume1\\Data\\db.mdf";
    DWORD pathLength = 0, nameLength = 0;
    EXPECT_EQ(DWORD(ERROR_MORE_DATA),
              Sim().ClusterPrepareSharedVolumeForBackup(file, nullptr, &pathLength, nullptr, &nameLength));
    EXPECT_EQ(27u, pathLength);  // with the terminator
    EXPECT_EQ(50u, nameLength);
    EXPECT_EQ(VolumeBackupNone, backupState());

    wchar_t path[27], name[50];
    ASSERT_EQ(DWORD(ERROR_SUCCESS),
              Sim().ClusterPrepareSharedVolumeForBackup(file, path, &pathLength, name, &nameLength));
    EXPECT_STREQ(L"C:\\ClusterStorage\\Volume1\\", path);
    EXPECT_EQ(26u, pathLength);
    EXPECT_STREQ(L"\\\\?\\Volume{5a1f0b2c-3d4e-4f60-8172-93a4b5c6d704}\\", name);
    EXPECT_EQ(VolumeBackupInProgress, backupState());

    EXPECT_EQ(DWORD(ERROR_SUCCESS), Sim().ClusterClearBackupStateForSharedVolume(file));
    EXPECT_EQ(VolumeBackupNone, backupState());
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), Sim().ClusterClearBackupStateForSharedVolume(L"S:\\db.mdf"));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER),
              Sim().ClusterPrepareSharedVolumeForBackup(L"S:\\db.mdf", path, &pathLength, name, &nameLength));
}

}  // namespace
}  // namespace simtest

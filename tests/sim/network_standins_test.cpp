// The stand-ins for the share and network-name functions, called as the
// library calls them: shares kept in the registry, the buffers of their
// enumeration, and the names that answer on the simulated network.

#include <gtest/gtest.h>
#include <windows.h>
#include <lm.h>
#include <winnetwk.h>

#include <string>
#include <utility>
#include <vector>

#include "harness/scratch_files.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"
#include "simnet.h"

namespace {

using orvtest::Utf8;

constexpr wchar_t kSharesKey[] = L"SYSTEM\\CurrentControlSet\\Services\\LanmanServer\\Shares";
constexpr DWORD kUntouched = 0xBADC0DE;

LPWSTR Text(const wchar_t* text) { return const_cast<LPWSTR>(text); }
std::string Show(const wchar_t* text) { return text ? Utf8(text) : "(null)"; }
std::string Show(DWORD number) { return std::to_string(number); }

// Every share at once, one line each: name, type, remark, permissions,
// maximum and current uses, path, password. Checks that the strings follow
// the array in the one buffer, entry by entry and packed, and frees it.
std::vector<std::string> Enumerate(const wchar_t* server = nullptr) {
    BYTE* buffer = nullptr;
    DWORD read = kUntouched, total = kUntouched;
    EXPECT_EQ(DWORD(NERR_Success),
              NetShareEnum(Text(server), 2, &buffer, MAX_PREFERRED_LENGTH, &read, &total, nullptr));
    EXPECT_EQ(total, read);
    std::vector<std::string> lines;
    const auto* entries = reinterpret_cast<const SHARE_INFO_2*>(buffer);
    const wchar_t* next = reinterpret_cast<const wchar_t*>(entries + read);
    for (DWORD i = 0; buffer && i < read; ++i) {
        const SHARE_INFO_2& e = entries[i];
        for (const wchar_t* text : {e.shi2_netname, e.shi2_remark, e.shi2_path}) {
            EXPECT_EQ(next, text) << i;
            if (text) next = text + wcslen(text) + 1;
        }
        lines.push_back(Show(e.shi2_netname) + " " + Show(e.shi2_type) + " " + Show(e.shi2_remark) + " " +
                        Show(e.shi2_permissions) + " " + Show(e.shi2_max_uses) + " " + Show(e.shi2_current_uses) +
                        " " + Show(e.shi2_path) + " " + Show(e.shi2_passwd));
    }
    EXPECT_EQ(DWORD(NERR_Success), NetApiBufferFree(buffer));
    return lines;
}

// The line of the share named `name`, or "".
std::string Line(const std::vector<std::string>& lines, const std::string& name) {
    for (const std::string& line : lines)
        if (line.compare(0, name.size() + 1, name + " ") == 0) return line;
    return "";
}

// WNetGetResourceInformationW into a buffer of `*size` bytes (1024 unless
// said): its result, and for a success the remote name, the system part,
// type, display type and usage. `*size` becomes the size the call asked for.
std::string Ask(std::wstring name, DWORD* size = nullptr) {
    DWORD bytes = size ? *size : 1024;
    NETRESOURCEW asked = {};
    asked.lpRemoteName = name.data();
    std::vector<BYTE> buffer(bytes + 1, 0xCC);
    LPWSTR system = Text(L"(untouched)");
    const DWORD result = WNetGetResourceInformationW(&asked, buffer.data(), size ? size : &bytes, &system);
    EXPECT_EQ(0xCC, buffer.back()) << "written past the buffer";
    const auto* got = reinterpret_cast<const NETRESOURCEW*>(buffer.data());
    if (result != NO_ERROR) return Show(result);
    EXPECT_EQ(reinterpret_cast<const wchar_t*>(got + 1), got->lpRemoteName);
    EXPECT_EQ("Microsoft Windows Network", Show(got->lpProvider));
    EXPECT_TRUE(!got->lpLocalName && !got->lpComment && !got->dwScope);
    return Show(result) + " " + Show(got->lpRemoteName) + " " + Show(system) + " " + Show(got->dwType) + " " +
           Show(got->dwDisplayType) + " " + Show(got->dwUsage);
}

class NetworkStandIns : public ::testing::Test {
protected:
    void SetUp() override {
        HKEY key = nullptr;
        keyExisted_ = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSharesKey, 0, KEY_READ, &key) == ERROR_SUCCESS;
        if (key) RegCloseKey(key);
        buffers_ = SimNet_UnreleasedBuffers();
    }
    void TearDown() override {
        EXPECT_EQ(buffers_, SimNet_UnreleasedBuffers()) << "enumeration buffers left";
        for (const wchar_t* name : {L"OrvNetTestA", L"OrvNetTestB", L"OrvNetTestJunk", L"OrvNetTestOdd"})
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kSharesKey, name);
        if (!keyExisted_) RegDeleteKeyW(HKEY_LOCAL_MACHINE, kSharesKey);
        SetEnvironmentVariableW(L"ORVSIM_NETWORK_NAMES", nullptr);
        SimNet_ResetNetworkNames();
    }

    // A folder share as the library makes it; the password and the current
    // uses are given only to see them dropped.
    static DWORD Add(const wchar_t* name, const wchar_t* path, DWORD* parmErr = nullptr,
                     const wchar_t* server = nullptr, DWORD type = STYPE_DISKTREE, const wchar_t* remark = nullptr) {
        SHARE_INFO_2 info = {Text(name), type, Text(remark), ACCESS_ALL, 0xFFFFFFFF, 5, Text(path), Text(L"secret")};
        return NetShareAdd(Text(server), 2, reinterpret_cast<BYTE*>(&info), parmErr);
    }

    orvtest::ScratchFolder folder_{L"network-standins"};
    const std::wstring path_ = folder_.Path(), here_ = orvtest::ThisComputer();
    // This computer's name in another case.
    const std::wstring lower_ = [name = here_]() mutable { return std::wstring(CharLowerW(name.data())); }();
    bool keyExisted_ = false;
    LONG buffers_ = 0;
};

// Wine's own DLLs, loaded beside the stand-ins, end the program when an
// entry point they import is missing.
TEST_F(NetworkStandIns, ExportWhatWinesOwnDllsImport) {
    const HMODULE netapi = GetModuleHandleW(L"netapi32.dll"), mpr = GetModuleHandleW(L"mpr.dll");
    for (const auto& [module, name] :
         {std::pair{netapi, "NetWkstaUserGetInfo"}, {netapi, "DsGetDcNameW"}, {netapi, "Netbios"},
          {mpr, "WNetCachePassword"}, {mpr, "WNetGetCachedPassword"}, {mpr, "WNetGetLastErrorW"},
          {mpr, "WNetGetUniversalNameW"}, {mpr, "WNetRestoreConnectionW"}})
        EXPECT_NE(nullptr, GetProcAddress(module, name)) << name;
}

TEST_F(NetworkStandIns, SharesRoundTripThroughTheRegistry) {
    DWORD parmErr = kUntouched;
    ASSERT_EQ(DWORD(NERR_Success), Add(L"OrvNetTestA", path_.c_str(), &parmErr, nullptr, STYPE_DISKTREE, L"Backups"));
    EXPECT_EQ(kUntouched, parmErr);
    wchar_t stored[512] = {};
    DWORD bytes = sizeof(stored);
    ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_LOCAL_MACHINE, kSharesKey, L"OrvNetTestA", RRF_RT_REG_MULTI_SZ,
                                          nullptr, stored, &bytes));
    std::wstring layout(stored, bytes / sizeof(wchar_t));
    for (wchar_t& c : layout) c = c ? c : L'|';
    EXPECT_EQ("MaxUses=4294967295|Path=" + Utf8(path_) +
                  "|Permissions=127|Remark=Backups|ShareName=OrvNetTestA|Type=0||",
              Utf8(layout));
    // This computer under each of its spellings.
    const std::wstring backslashed = L"\\\\" + lower_;
    for (const wchar_t* server : {(const wchar_t*)nullptr, L"", here_.c_str(), backslashed.c_str()})
        EXPECT_EQ("OrvNetTestA 0 Backups 127 4294967295 0 " + Utf8(path_) + " (null)",
                  Line(Enumerate(server), "OrvNetTestA"))
            << Show(server);
    EXPECT_EQ(DWORD(NERR_Success), NetShareDel(nullptr, Text(L"ORVNETTESTA"), 0));
    EXPECT_EQ(DWORD(NERR_NetNameNotFound), NetShareDel(nullptr, Text(L"OrvNetTestA"), 0));
    EXPECT_EQ("", Line(Enumerate(), "OrvNetTestA"));
}

TEST_F(NetworkStandIns, RefusalsNameTheirCauseAndChangeNothing) {
    const std::wstring longName(NNLEN + 1, L'n'), longRemark(MAXCOMMENTSZ + 1, L'r');
    const wchar_t *path = path_.c_str(), *B = L"OrvNetTestB";
    ASSERT_EQ(DWORD(NERR_Success), Add(L"OrvNetTestA", path));
    const struct {
        const char* what;
        const wchar_t *name, *path, *server;
        DWORD type;
        const wchar_t* remark;
        DWORD expected, parmErr;
    } rows[] = {
        {"empty name", L"", path, nullptr, 0, nullptr, ERROR_INVALID_PARAMETER, SHARE_NETNAME_PARMNUM},
        {"long name", longName.c_str(), path, nullptr, 0, nullptr, ERROR_INVALID_PARAMETER, SHARE_NETNAME_PARMNUM},
        {"name with /", L"OrvNetTest/B", path, nullptr, 0, nullptr, ERROR_INVALID_NAME, kUntouched},
        {"print queue", B, path, nullptr, STYPE_PRINTQ, nullptr, ERROR_INVALID_PARAMETER, SHARE_TYPE_PARMNUM},
        {"long remark", B, path, nullptr, 0, longRemark.c_str(), ERROR_INVALID_PARAMETER, SHARE_REMARK_PARMNUM},
        {"no path", B, nullptr, nullptr, 0, nullptr, ERROR_INVALID_PARAMETER, SHARE_PATH_PARMNUM},
        {"relative path", B, L"Windows", nullptr, 0, nullptr, ERROR_INVALID_NAME, kUntouched},
        {"missing folder", B, L"C:\\no\\such\\folder", nullptr, 0, nullptr, NERR_UnknownDevDir, kUntouched},
        {"taken, another case", L"ORVNETTESTA", path, nullptr, 0, nullptr, NERR_DuplicateShare, kUntouched},
        {"other server", B, path, L"\\\\ELSEWHERE", 0, nullptr, ERROR_BAD_NETPATH, kUntouched},
    };
    for (const auto& row : rows) {
        DWORD parmErr = kUntouched;
        EXPECT_EQ(row.expected, Add(row.name, row.path, &parmErr, row.server, row.type, row.remark)) << row.what;
        EXPECT_EQ(row.parmErr, parmErr) << row.what;
    }
    BYTE* buffer = nullptr;
    DWORD read = 0, total = 0;
    EXPECT_EQ(DWORD(ERROR_INVALID_LEVEL), NetShareAdd(nullptr, 502, buffer, nullptr));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), NetShareAdd(nullptr, 2, nullptr, nullptr));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), NetShareDel(nullptr, nullptr, 0));
    EXPECT_EQ(DWORD(ERROR_BAD_NETPATH), NetShareDel(Text(L"ELSEWHERE"), Text(L"A"), 0));
    EXPECT_EQ(DWORD(ERROR_BAD_NETPATH),
              NetShareEnum(Text(L"\\\\ELSEWHERE"), 2, &buffer, MAX_PREFERRED_LENGTH, &read, &total, nullptr));
    const std::vector<std::string> shares = Enumerate();
    EXPECT_TRUE(Line(shares, "OrvNetTestA") != "" && Line(shares, "OrvNetTestB") == "");
}

TEST_F(NetworkStandIns, EnumerationBuffersAreCountedUntilFreed) {
    BYTE* buffer = reinterpret_cast<BYTE*>(&buffer);
    DWORD read = kUntouched, total = kUntouched, resume = 0;
    if (!keyExisted_) {
        // No share: success, no entry and no buffer.
        EXPECT_EQ(DWORD(NERR_Success), NetShareEnum(nullptr, 2, &buffer, MAX_PREFERRED_LENGTH, &read, &total, nullptr));
        EXPECT_TRUE(buffer == nullptr && read == 0 && total == 0);
    }
    // A value of another type is no share; one without terminators is read
    // no further than its size; a field that is no number keeps its default.
    ASSERT_EQ(DWORD(NERR_Success), Add(L"OrvNetTestA", path_.c_str()));
    const wchar_t junk[] = L"Path=C:\\", odd[] = {'T', 'y', 'p', 'e', '=', 'x', 0, 'P', 'a', 't', 'h', '=', 'C', ':'};
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kSharesKey, L"OrvNetTestJunk", REG_SZ, junk, sizeof(junk));
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kSharesKey, L"OrvNetTestOdd", REG_MULTI_SZ, odd, sizeof(odd));
    const std::vector<std::string> all = Enumerate();
    EXPECT_EQ("", Line(all, "OrvNetTestJunk"));
    EXPECT_EQ("OrvNetTestOdd 0  0 4294967295 0 C: (null)", Line(all, "OrvNetTestOdd"));

    // A small preferred length: one entry a call, carried on by the resume
    // handle; each buffer freed, ERROR_MORE_DATA or not.
    std::vector<std::string> lines;
    for (DWORD result = ERROR_MORE_DATA; result == ERROR_MORE_DATA && lines.size() < all.size();) {
        result = NetShareEnum(nullptr, 2, &buffer, 1, &read, &total, &resume);
        ASSERT_EQ(1u, read);
        lines.push_back(Line(all, Show(reinterpret_cast<SHARE_INFO_2*>(buffer)->shi2_netname)));
        EXPECT_EQ(result == ERROR_MORE_DATA ? lines.size() : 0u, resume);
        EXPECT_EQ(DWORD(NERR_Success), NetApiBufferFree(buffer));
    }
    EXPECT_EQ(all, lines);

    // The library frees the address of its walking pointer instead of the
    // buffer, or a pointer inside it: refused, and the buffer stays counted.
    ASSERT_EQ(DWORD(NERR_Success), NetShareEnum(nullptr, 2, &buffer, MAX_PREFERRED_LENGTH, &read, &total, nullptr));
    auto* walker = reinterpret_cast<SHARE_INFO_2*>(buffer) + 1;
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), NetApiBufferFree(&walker));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), NetApiBufferFree(walker));
    EXPECT_EQ(buffers_ + 1, SimNet_UnreleasedBuffers());
    EXPECT_EQ(DWORD(NERR_Success), NetApiBufferFree(buffer));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), NetApiBufferFree(buffer));
    EXPECT_EQ(DWORD(NERR_Success), NetApiBufferFree(nullptr));
}

TEST_F(NetworkStandIns, NamesAnswerFromThisComputerTheEnvironmentAndTheControlApi) {
    const std::string here = Utf8(here_);
    SetEnvironmentVariableW(L"ORVSIM_NETWORK_NAMES", L" OrvVirtualServer01 ;\\\\SQLVS01;;");
    ASSERT_TRUE(SimNet_AddNetworkName(L"\\\\Added"));
    EXPECT_FALSE(SimNet_AddNetworkName(L"\\\\HOST\\share"));
    // Found: the remote name as the network spells it, the system part, then
    // a server (any, server, container) or a share (disk, share, connectable).
    const struct {
        std::wstring asked;
        std::string answer;
    } rows[] = {
        {lower_, "0 \\\\" + here + " (null) 0 2 2"},
        {L"\\\\" + lower_ + L"\\Backups\\full\\set", "0 \\\\" + here + "\\Backups \\full\\set 1 3 1"},
        {L"orvvirtualserver01", "0 \\\\OrvVirtualServer01 (null) 0 2 2"},
        {L"\\\\sqlvs01\\data", "0 \\\\SQLVS01\\data (null) 1 3 1"},
        {L"ADDED", "0 \\\\Added (null) 0 2 2"},
        {L"\\\\NOSUCHSERVER\\share", "67"},
        {L"", "67"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.answer, Ask(row.asked)) << Utf8(row.asked);

    ASSERT_TRUE(SimNet_RemoveNetworkName(here_.c_str()));
    ASSERT_TRUE(SimNet_RemoveNetworkName(L"sqlvs01"));
    EXPECT_FALSE(SimNet_RemoveNetworkName(L"SQLVS01"));
    EXPECT_EQ("67 67", Ask(here_) + " " + Ask(L"SQLVS01"));
    SimNet_ResetNetworkNames();
    EXPECT_EQ("0 \\\\" + here + " (null) 0 2 2 | 67", Ask(here_) + " | " + Ask(L"Added"));
}

TEST_F(NetworkStandIns, TooSmallABufferLearnsTheSizeNeeded) {
    std::wstring asked = L"\\\\" + here_ + L"\\Backups\\full";
    const DWORD needed = DWORD(sizeof(NETRESOURCEW) + (here_.size() + 11) * sizeof(wchar_t) +
                               sizeof(L"Microsoft Windows Network") + sizeof(L"\\full"));
    const LONG calls = SimNet_ResourceInformationCalls();
    // As the library asks: 2 bytes first, then the size it was told.
    DWORD size = 2;
    EXPECT_EQ("234", Ask(asked, &size));
    EXPECT_EQ(needed, size);
    size = needed - 1;
    EXPECT_EQ("234", Ask(asked, &size));
    EXPECT_EQ("0 \\\\" + Utf8(here_) + "\\Backups \\full 1 3 1", Ask(asked, &size));
    // Without a buffer: the size alone for a size of 0, else refused.
    NETRESOURCEW resource = {}, noName = {};
    resource.lpRemoteName = asked.data();
    size = 0;
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), WNetGetResourceInformationW(&resource, nullptr, &size, nullptr));
    EXPECT_EQ(needed, size);
    EXPECT_EQ(DWORD(ERROR_INVALID_ADDRESS), WNetGetResourceInformationW(&resource, nullptr, &size, nullptr));
    size = 0;
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), WNetGetResourceInformationW(&noName, nullptr, &size, nullptr));
    // Failed calls count too.
    EXPECT_EQ(6, SimNet_ResourceInformationCalls() - calls);
}

}  // namespace

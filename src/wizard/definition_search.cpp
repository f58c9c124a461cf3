// Where the product's cluster definition file lies: beside the wizard, in the
// installed product, or on the installation media.

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "orvclass_mini.h"
#include "orvcluster/process_ops.h"
#include "orvcluster/unique_handle.h"
#include "wizard/definition_search.h"

#include "orvcluster/definition_file.h"

namespace orv {

namespace {

constexpr size_t kDirectoryLimit = 520;  // characters; a longer directory is not used
constexpr DWORD kModulePathChars = 1024;
constexpr DWORD kBinPathBytes = 260;  // bytes, not characters: see InstalledBinFolder
constexpr wchar_t kWizardModule[] = L"orvinstdlgs.dll";
constexpr wchar_t kSetupProgram[] = L"setup.exe";
constexpr wchar_t kKelvaneInstallKey[] = L"Software\\PENTRY\\Kelvane\\ORVDS\\13.0\\Install";
constexpr wchar_t kOrvaneInstallKey[] =
    L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Install";

bool OpensForReading(const std::wstring& path) {
    FILE* file = _wfopen(path.c_str(), L"r");
    if (!file) return false;
    fclose(file);
    return true;
}

// The folder part of a path, up to and with its last backslash.
std::wstring FolderOf(const std::wstring& path) {
    const size_t slash = path.rfind(L'\\');
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

std::wstring GivenOrCurrentDirectory(const wchar_t* directory) {
    if (directory && directory[0] && wcsnlen(directory, kDirectoryLimit) < kDirectoryLimit)
        return directory;
    wchar_t current[MAX_PATH] = {};
    return _wgetcwd(current, MAX_PATH) ? current : L"";
}

std::wstring WizardModuleFolder() {
    const HMODULE module = GetModuleHandleW(kWizardModule);
    if (!module) return std::wstring();
    wchar_t path[kModulePathChars] = {};
    const DWORD length = GetModuleFileNameW(module, path, kModulePathChars);
    if (length == 0 || length >= kModulePathChars) return std::wstring();
    return FolderOf(path);
}

// The "Bin Path" of the installed product's install key. The value is read
// with room for 260 bytes, 129 characters and the terminator: a longer path
// does not fit and this place is skipped.
std::wstring InstalledBinFolder() {
    UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, ProductInstallKey(), 0, KEY_QUERY_VALUE, key.Receive()) !=
        ERROR_SUCCESS)
        return std::wstring();
    wchar_t value[kBinPathBytes / sizeof(wchar_t) + 1] = {};  // and a terminator of our own
    DWORD type = REG_NONE;
    DWORD size = kBinPathBytes;
    if (RegQueryValueExW(key.Get(), L"Bin Path", nullptr, &type, reinterpret_cast<BYTE*>(value),
                         &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ))
        return std::wstring();
    value[size / sizeof(wchar_t)] = L'\0';  // a value stored without terminator
    return value;
}

// The "bin" folder beside the executable of a running setup program.
std::wstring SetupBinFolder() {
    wchar_t path[MAX_PATH] = {};
    if (!CProcessOps().GetProcPath(kSetupProgram, path)) return std::wstring();
    const std::wstring folder = FolderOf(path);
    return folder.empty() ? folder : folder + L"bin\\";
}

// Whether `folder` (a backslash added unless it ends with one) holds the
// file; `path` receives its path when it does.
bool FileInFolder(std::wstring folder, const wchar_t* fileName, std::wstring& path) {
    if (folder.empty()) return false;
    if (folder.back() != L'\\') folder += L'\\';
    if (!OpensForReading(folder + fileName)) return false;
    path = folder + fileName;
    return true;
}

}  // namespace

const wchar_t* ProductInstallKey() {
    return CMS_GetProd() == CMS_PRODUCT_KELVANE ? kKelvaneInstallKey : kOrvaneInstallKey;
}

std::wstring FindDefinitionFile(const wchar_t* fileName, const wchar_t* directory) {
    if (!fileName || !fileName[0]) return std::wstring();
    // Each place is only asked for when the ones before it failed: the last
    // one walks the process list.
    std::wstring path;
    if (FileInFolder(GivenOrCurrentDirectory(directory), fileName, path) ||
        FileInFolder(WizardModuleFolder(), fileName, path) ||
        FileInFolder(InstalledBinFolder(), fileName, path) ||
        FileInFolder(SetupBinFolder(), fileName, path))
        return path;
    return std::wstring();
}

}  // namespace orv

std::wstring OrvFindDefinitionFile(const wchar_t* fileName, const wchar_t* directory) {
    return orv::FindDefinitionFile(fileName, directory);
}

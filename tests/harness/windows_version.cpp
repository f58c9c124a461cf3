#include "harness/windows_version.h"

#include "orvcluster/unique_handle.h"

namespace orvtest {

DWORD WindowsMajorVersion() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return GetVersionExW(&version) ? version.dwMajorVersion : 0;
#pragma GCC diagnostic pop
}

namespace {

std::wstring ThisProgram() {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    return length && length < MAX_PATH ? std::wstring(path) : std::wstring();
}

}  // namespace

int RunThisProgram(const std::wstring& filter) {
    const std::wstring program = ThisProgram();
    if (program.empty()) return -1;
    std::wstring commandLine = L"\"" + program + L"\" --gtest_filter=" + filter;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    DWORD exitCode = static_cast<DWORD>(-1);
    if (CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &process)) {
        orv::UniqueKernelHandle processHandle(process.hProcess);
        orv::UniqueKernelHandle thread(process.hThread);
        WaitForSingleObject(processHandle.Get(), INFINITE);
        GetExitCodeProcess(processHandle.Get(), &exitCode);
    }
    return static_cast<int>(exitCode);
}

int RunUnderWindowsVersion(const std::wstring& version, const std::wstring& filter) {
    const std::wstring program = ThisProgram();
    if (program.empty()) return -1;
    const std::wstring key =
        L"Software\\Wine\\AppDefaults\\" + program.substr(program.find_last_of(L'\\') + 1);

    HKEY created = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &created, nullptr))
        return -1;
    orv::UniqueRegistryKey appDefaults(created);
    RegSetValueExW(appDefaults.Get(), L"Version", 0, REG_SZ, reinterpret_cast<const BYTE*>(version.c_str()),
                   static_cast<DWORD>((version.size() + 1) * sizeof(wchar_t)));
    const int exitCode = RunThisProgram(filter);
    appDefaults.Reset();
    RegDeleteKeyW(HKEY_CURRENT_USER, key.c_str());
    return exitCode;
}

}  // namespace orvtest

// Process inspection through the process status API.

#include "orvcluster/process_ops.h"

#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <cwchar>
#include <vector>

#include "orvclass_mini.h"
#include "orvcluster/unique_handle.h"

namespace {

constexpr DWORD kProcessIdBytes = 4096;  // room for 1,024 process identifiers
constexpr DWORD kModuleBytes = 8192;     // room for 1,024 module handles
constexpr DWORD kNameChars = MAX_PATH;

// The whole names equal, character by character, without regard to case: a
// name that is only the beginning of the other does not match.
bool SameName(const wchar_t* left, const wchar_t* right) {
    for (; *left && *right; ++left, ++right) {
        if (comparei(*left, *right) != 0) return false;
    }
    return *left == *right;
}

// The identifiers of the running processes, in the system's order; empty
// when they cannot be listed.
std::vector<DWORD> ProcessIds() {
    std::vector<DWORD> ids(kProcessIdBytes / sizeof(DWORD));
    DWORD bytes = 0;
    if (!EnumProcesses(ids.data(), kProcessIdBytes, &bytes)) bytes = 0;
    ids.resize(bytes / sizeof(DWORD));
    return ids;
}

orv::UniqueKernelHandle OpenForInspection(DWORD processId) {
    return orv::UniqueKernelHandle(
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
}

bool ModuleHasName(HANDLE process, HMODULE module, const wchar_t* name) {
    wchar_t baseName[kNameChars] = {};
    return GetModuleBaseNameW(process, module, baseName, kNameChars) != 0 &&
           SameName(baseName, name);
}

// The first process whose main module is named `name`, or 0.
DWORD FirstProcessNamed(const wchar_t* name) {
    CProcessOps ops;
    for (DWORD id : ProcessIds()) {
        if (ops.GetProcessNameEx(id, name)) return id;
    }
    return 0;
}

}  // namespace

CProcessOps::CProcessOps() = default;

int CProcessOps::GetProcessNameEx(unsigned long processId, wcstring name) {
    orv::UniqueKernelHandle process = OpenForInspection(processId);
    if (!process) return 0;
    // Room for one module only: the first one listed is the executable.
    HMODULE mainModule = nullptr;
    DWORD needed = 0;
    if (!EnumProcessModules(process.Get(), &mainModule, sizeof(mainModule), &needed) || !mainModule)
        return 0;
    return ModuleHasName(process.Get(), mainModule, name.c_str()) ? 1 : 0;
}

int CProcessOps::IsProcessRunning(const wchar_t* name) {
    if (!name) return 0;
    return FirstProcessNamed(name) != 0 ? 1 : 0;
}

int CProcessOps::GetProcPath(const wchar_t* name, wchar_t* path) {
    if (!name || !path) return 0;
    const DWORD processId = FirstProcessNamed(name);
    if (!processId) return 0;
    orv::UniqueKernelHandle process = OpenForInspection(processId);
    if (!process) return 0;

    std::vector<HMODULE> modules(kModuleBytes / sizeof(HMODULE));
    DWORD needed = 0;
    if (!EnumProcessModules(process.Get(), modules.data(), kModuleBytes, &needed)) return 0;
    modules.resize(std::min<DWORD>(needed, kModuleBytes) / sizeof(HMODULE));

    int found = 0;
    for (HMODULE module : modules) {
        if (!ModuleHasName(process.Get(), module, name)) continue;
        wchar_t fullPath[kNameChars] = {};
        if (GetModuleFileNameExW(process.Get(), module, fullPath, kNameChars) == 0) continue;
        wcscpy(path, fullPath);
        found = 1;
    }
    return found;
}

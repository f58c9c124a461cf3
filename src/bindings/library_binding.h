#pragma once

#include <windows.h>

#include <initializer_list>

namespace orv {

// One entry point of a library bound by name, and where its address goes.
struct EntryPoint {
    const char* name;
    void* slot;  // address of a function-pointer field

    template <typename Function>
    EntryPoint(const char* entryName, Function* field) : name(entryName), slot(field) {}
};

// Loads `library` by name and looks up each entry point in the given order.
// Without the library every slot stays null; a name that is not found leaves
// its slot null. Answers the module handle, or null.
inline HMODULE BindLibrary(const wchar_t* library, std::initializer_list<EntryPoint> entryPoints) {
    HMODULE module = LoadLibraryW(library);
    if (!module) return nullptr;
    for (const EntryPoint& entryPoint : entryPoints) {
        FARPROC address = GetProcAddress(module, entryPoint.name);
        *static_cast<FARPROC*>(entryPoint.slot) = address;
    }
    return module;
}

// What the wrappers answer when their entry point is missing.
constexpr DWORD kMissingEntryPoint = ERROR_PROC_NOT_FOUND;  // 127

// Null, 0 or FALSE, with the last error 127.
template <typename Result>
Result MissingWithLastError() {
    SetLastError(kMissingEntryPoint);
    return Result();
}

// 110 (the operation could not open), with the last error 127.
inline DWORD MissingOpenFailed() {
    SetLastError(kMissingEntryPoint);
    return ERROR_OPEN_FAILED;
}

}  // namespace orv

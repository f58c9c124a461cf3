#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace orv {

// What a wrapper answers when its entry point is missing. Callers depend on
// each wrapper's own answer, so every binding names it per entry point.
enum class Missing {
    NullWithLastError,          // null, 0 or FALSE after SetLastError(127)
    Code127,                    // 127 as the result, last error untouched
    OpenFailedWithLastError,    // 110 after SetLastError(127)
    UnknownState,               // -1, last error untouched
    UnknownStateWithLastError,  // -1 after SetLastError(127)
    Zero,                       // 0 or FALSE, last error untouched
    StatusFailureWithLastError, // 1, the partner API's generic failure, after SetLastError(127)
};

constexpr DWORD kMissingEntryPoint = ERROR_PROC_NOT_FOUND;  // 127

// One entry point of a bound library: the function type its pointer has and
// its answer when missing. A binding lists its entry points as a table of
// these, and everything else (lookup, OK(), the wrappers) comes from it.
template <typename FunctionType, Missing whenMissing>
struct EntryPoint {
    using Function = FunctionType;
    static constexpr Missing missing = whenMissing;
};

// Forwards to the entry point when it was found; otherwise gives its
// answer for a missing entry point.
template <typename Entry, typename... Args>
auto CallEntryPoint(FARPROC address, Args... args) {
    using Function = typename Entry::Function;
    using Result = decltype(std::declval<Function>()(args...));
    // Through void (*)(), the generic function pointer type, as GetProcAddress
    // gives no types.
    if (address) return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address))(args...);
    constexpr Missing missing = Entry::missing;
    if constexpr (missing == Missing::NullWithLastError || missing == Missing::OpenFailedWithLastError ||
                  missing == Missing::UnknownStateWithLastError || missing == Missing::StatusFailureWithLastError)
        SetLastError(kMissingEntryPoint);
    if constexpr (std::is_pointer_v<Result>) {
        static_assert(missing == Missing::NullWithLastError || missing == Missing::Zero);
        return Result(nullptr);
    } else if constexpr (missing == Missing::Code127) {
        return static_cast<Result>(kMissingEntryPoint);
    } else if constexpr (missing == Missing::StatusFailureWithLastError) {
        return static_cast<Result>(1);
    } else if constexpr (missing == Missing::OpenFailedWithLastError) {
        return static_cast<Result>(ERROR_OPEN_FAILED);
    } else if constexpr (missing == Missing::UnknownState || missing == Missing::UnknownStateWithLastError) {
        return static_cast<Result>(-1);
    } else {
        return Result();
    }
}

// From a binding's table of entry points, LIST(X) with X(name, missing)
// per entry point in lookup order, declares the index of each (kName, then
// kEntryPointCount), its Entry<kName>, the names in lookup order (kNames)
// and Forward<kName>(addresses, args...), the body of every wrapper. The
// function type of entry point `name` is `nameFunction`.
#define ORV_BINDING_TABLE(LIST)                                                      \
    enum Index : size_t { LIST(ORV_BINDING_INDEX) kEntryPointCount };                \
    template <Index index>                                                           \
    struct Entry;                                                                    \
    LIST(ORV_BINDING_ENTRY)                                                          \
    const char* const kNames[] = {LIST(ORV_BINDING_NAME)};                           \
    template <Index index, typename... Args>                                         \
    auto Forward(const FARPROC* entryPoints, Args... args) {                         \
        return orv::CallEntryPoint<Entry<index>>(entryPoints[index], args...);       \
    }
#define ORV_BINDING_INDEX(name, missing) k##name,
#define ORV_BINDING_ENTRY(name, missing) \
    template <>                          \
    struct Entry<k##name> : orv::EntryPoint<name##Function, orv::Missing::missing> {};
#define ORV_BINDING_NAME(name, missing) #name,

// Looks up each of `count` entry points of `module` in order into
// `addresses`. Without a module every address stays null; a name that is
// not found leaves its address null. Answers the module.
inline HMODULE BindModule(HMODULE module, const char* const* names, FARPROC* addresses, size_t count) {
    std::fill(addresses, addresses + count, nullptr);
    if (!module) return nullptr;
    for (size_t i = 0; i < count; ++i) addresses[i] = GetProcAddress(module, names[i]);
    return module;
}

// The same for `library`, loaded by name through the search path.
inline HMODULE BindLibrary(const wchar_t* library, const char* const* names, FARPROC* addresses,
                           size_t count) {
    return BindModule(LoadLibraryW(library), names, addresses, count);
}

}  // namespace orv

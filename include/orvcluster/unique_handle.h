#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <utility>

namespace orv {

template <typename Function>
struct HandleOf;
template <typename Result, typename Handle>
struct HandleOf<Result (*)(Handle)> {
    using type = Handle;
};

// Owns one handle and closes it with `Close` when it goes out of scope, so
// every early return closes what it opened. The handle type is the one
// `Close` takes; `Invalid` is the value that means "no handle". Closing keeps
// the thread's last error, so a failure can be reported after its handles
// are gone.
template <auto Close, std::intptr_t Invalid = 0>
class UniqueAny {
public:
    using Handle = typename HandleOf<decltype(Close)>::type;

    UniqueAny() = default;
    explicit UniqueAny(Handle handle) : handle_(handle) {}
    ~UniqueAny() { Reset(); }

    UniqueAny(const UniqueAny&) = delete;
    UniqueAny& operator=(const UniqueAny&) = delete;
    UniqueAny(UniqueAny&& other) noexcept : handle_(other.Release()) {}
    UniqueAny& operator=(UniqueAny&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }

    Handle Get() const { return handle_; }
    explicit operator bool() const { return !IsInvalid(handle_); }

    // For functions that hand out a handle through an out pointer.
    Handle* Receive() {
        Reset();
        return &handle_;
    }

    Handle Release() { return std::exchange(handle_, InvalidHandle()); }

    void Reset(Handle handle = InvalidHandle()) {
        if (!IsInvalid(handle_)) {
            const DWORD lastError = GetLastError();
            Close(handle_);
            SetLastError(lastError);
        }
        handle_ = handle;
    }

private:
    static Handle InvalidHandle() { return reinterpret_cast<Handle>(Invalid); }
    static bool IsInvalid(Handle handle) { return reinterpret_cast<std::intptr_t>(handle) == Invalid; }

    Handle handle_ = InvalidHandle();
};

template <typename Interface>
void ReleaseInterface(Interface* object) {
    object->Release();
}

using UniqueRegistryKey = UniqueAny<&RegCloseKey>;
using UniqueServiceHandle = UniqueAny<&CloseServiceHandle>;
using UniqueKernelHandle = UniqueAny<&CloseHandle>;          // processes, threads, events
using UniqueFileHandle = UniqueAny<&CloseHandle, -1>;        // files, snapshots
using UniqueModule = UniqueAny<&FreeLibrary>;
using UniqueLocalMemory = UniqueAny<&LocalFree>;
using UniqueBstr = UniqueAny<&SysFreeString>;
template <typename Interface>
using UniqueCom = UniqueAny<&ReleaseInterface<Interface>>;  // one reference

}  // namespace orv

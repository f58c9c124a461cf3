#pragma once

#include <windows.h>
#include <oleauto.h>

#include <utility>

namespace orv {

// Owns one Windows handle and closes it with Traits::Close when it goes out of
// scope, so every early return closes what it opened. Traits gives the handle
// type, its invalid value and how to close it.
template <typename Traits>
class UniqueHandle {
public:
    using Handle = typename Traits::Handle;

    UniqueHandle() = default;
    explicit UniqueHandle(Handle handle) : handle_(handle) {}
    ~UniqueHandle() { Reset(); }

    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }

    Handle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != Traits::Invalid(); }

    // For APIs that fill in a handle through an out pointer.
    Handle* Receive() {
        Reset();
        return &handle_;
    }

    Handle Release() { return std::exchange(handle_, Traits::Invalid()); }

    void Reset(Handle handle = Traits::Invalid()) {
        if (handle_ != Traits::Invalid()) Traits::Close(handle_);
        handle_ = handle;
    }

private:
    Handle handle_ = Traits::Invalid();
};

struct RegistryKeyTraits {
    using Handle = HKEY;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle key) { RegCloseKey(key); }
};

struct ServiceHandleTraits {
    using Handle = SC_HANDLE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle service) { CloseServiceHandle(service); }
};

// Kernel handles whose failure value is null (processes, threads, events).
struct KernelHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { CloseHandle(handle); }
};

// Kernel handles whose failure value is INVALID_HANDLE_VALUE (files, snapshots).
struct FileHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) { CloseHandle(handle); }
};

struct ModuleHandleTraits {
    using Handle = HMODULE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle module) { FreeLibrary(module); }
};

// A COM interface pointer: one reference, released at the end.
template <typename Interface>
struct ComInterfaceTraits {
    using Handle = Interface*;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle object) { object->Release(); }
};

struct BstrTraits {
    using Handle = BSTR;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle text) { SysFreeString(text); }
};

using UniqueRegistryKey = UniqueHandle<RegistryKeyTraits>;
using UniqueServiceHandle = UniqueHandle<ServiceHandleTraits>;
using UniqueKernelHandle = UniqueHandle<KernelHandleTraits>;
using UniqueFileHandle = UniqueHandle<FileHandleTraits>;
using UniqueModule = UniqueHandle<ModuleHandleTraits>;
using UniqueBstr = UniqueHandle<BstrTraits>;
template <typename Interface>
using UniqueCom = UniqueHandle<ComInterfaceTraits<Interface>>;

}  // namespace orv

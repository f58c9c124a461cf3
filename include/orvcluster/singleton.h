#pragma once

// The process-wide singleton holder of the platform bindings. The first
// GetInstance() makes the object under a critical section; afterwards every
// call hands out another reference without taking a lock. The object lives
// until the last reference goes, at the latest when the process ends.

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <new>

#include <boost/shared_ptr.hpp>

namespace orvclass {

template <typename T>
using shared_ptr = boost::shared_ptr<T>;

namespace singleton_details {

// Thrown when making or destroying a singleton asks for that same singleton:
// a loop that would otherwise never end.
class reentrant_exception : public std::exception {
public:
    const char* what() const noexcept override {
        return "singleton creation and/or destuction code can not be recursively called.";
    }
};

// The spin count that every holder's lock gets where the system offers one.
inline void SetSpinCount(CRITICAL_SECTION* lock) {
    using SetSpinCountFunction = DWORD(WINAPI*)(LPCRITICAL_SECTION, DWORD);
    static const SetSpinCountFunction setSpinCount = reinterpret_cast<SetSpinCountFunction>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"),
                                               "SetCriticalSectionSpinCount")));
    if (setSpinCount) setSpinCount(lock, 4000);
}

}  // namespace singleton_details

template <typename T>
class singleton {
public:
    static shared_ptr<T> instance() {
        Holder& holder = TheHolder();
        // Made already: no lock, only an atomic increment of the use count.
        if (holder.state.load(std::memory_order_acquire) >= kMade) return holder.instance;

        Lock lock(holder.lock);
        if (holder.state.load(std::memory_order_relaxed) < kMade) {
            if (holder.busy) throw singleton_details::reentrant_exception();
            holder.busy = true;
            holder.state.store(kMaking, std::memory_order_relaxed);
            T* object = nullptr;
            try {
                object = new (ZeroedStorage(holder)) T();
            } catch (...) {
                holder.busy = false;
                holder.state.store(kNone, std::memory_order_relaxed);
                throw;
            }
            holder.busy = false;
            holder.instance = shared_ptr<T>(object, &Destroy);
            holder.state.store(kMade, std::memory_order_release);
        }
        return holder.instance;
    }

private:
    enum : LONG { kNone = 0, kMaking = 1, kMade = 2 };

    struct Holder {
        CRITICAL_SECTION lock;
        std::atomic<LONG> state{kNone};
        bool busy = false;  // inside T's constructor or destructor
        shared_ptr<T> instance;
        alignas(T) unsigned char storage[sizeof(T)];

        Holder() {
            InitializeCriticalSection(&lock);
            singleton_details::SetSpinCount(&lock);
        }
        // At process end the holder gives up its own reference; the lock
        // stays, since another static's destructor may still ask.
        ~Holder() { shared_ptr<T>().swap(instance); }
    };

    class Lock {
    public:
        explicit Lock(CRITICAL_SECTION& section) : section_(section) { EnterCriticalSection(&section_); }
        ~Lock() { LeaveCriticalSection(&section_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        CRITICAL_SECTION& section_;
    };

    static Holder& TheHolder() {
        static Holder holder;
        return holder;
    }

    static void* ZeroedStorage(Holder& holder) {
        std::fill(holder.storage, holder.storage + sizeof(T), static_cast<unsigned char>(0));
        return holder.storage;
    }

    // Runs when the last reference goes; asking for the singleton from its
    // destructor meets the same guard as asking from its constructor.
    static void Destroy(T* object) {
        Holder& holder = TheHolder();
        Lock lock(holder.lock);
        holder.state.store(kNone, std::memory_order_release);
        holder.busy = true;
        object->~T();
        holder.busy = false;
    }
};

}  // namespace orvclass

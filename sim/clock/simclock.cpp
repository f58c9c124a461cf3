#include "simclock.h"

#include <cwchar>

namespace {

// Virtual time starts well away from 0, because a tick stamp of 0 means
// "never" to the library's caches.
constexpr ULONGLONG kInitialMilliseconds = 1000000;

struct SharedClock {
    volatile LONG64 milliseconds;
};

struct ClockSection {
    wchar_t name[64] = {};
    SharedClock* clock = nullptr;

    ClockSection() {
        DWORD length = GetEnvironmentVariableW(L"ORVSIM_CLOCK", name, ARRAYSIZE(name));
        if (length == 0 || length >= ARRAYSIZE(name))
            swprintf(name, ARRAYSIZE(name), L"OrvSimClock-%lu", GetCurrentProcessId());
        // The mapping handle stays open for the life of the process on purpose:
        // it keeps the shared clock alive for every module that uses it.
        HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                            sizeof(SharedClock), name);
        bool created = mapping && GetLastError() != ERROR_ALREADY_EXISTS;
        if (mapping)
            clock = static_cast<SharedClock*>(
                MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(SharedClock)));
        if (!clock) {
            static SharedClock privateClock;
            clock = &privateClock;
            created = true;
        }
        if (created) InterlockedExchange64(&clock->milliseconds, kInitialMilliseconds);
    }
};

ClockSection& Section() {
    static ClockSection section;
    return section;
}

}  // namespace

extern "C" {

DWORD WINAPI SimClock_GetTickCount(void) {
    return static_cast<DWORD>(SimClock_GetTickCount64());
}

ULONGLONG WINAPI SimClock_GetTickCount64(void) {
    return static_cast<ULONGLONG>(InterlockedCompareExchange64(&Section().clock->milliseconds, 0, 0));
}

void WINAPI SimClock_Sleep(DWORD milliseconds) {
    InterlockedExchangeAdd64(&Section().clock->milliseconds, milliseconds);
    // A real millisecond, so that a helper process that follows the clock
    // (a test service stopping "after 20 seconds") keeps up with a waiter.
    Sleep(1);
}

void WINAPI SimClock_Advance(DWORD milliseconds) {
    InterlockedExchangeAdd64(&Section().clock->milliseconds, milliseconds);
}

void WINAPI SimClock_Set(ULONGLONG milliseconds) {
    InterlockedExchange64(&Section().clock->milliseconds, static_cast<LONG64>(milliseconds));
}

const wchar_t* WINAPI SimClock_Name(void) { return Section().name; }

}  // extern "C"

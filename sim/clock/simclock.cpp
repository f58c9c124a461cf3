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

// The demo's copy of the clock follows real time: the product build of the
// library beside it waits with the system's Sleep, so the simulator's
// resources must arrive in real time too. Sleeping then really sleeps, and
// advancing or setting the clock moves it on from real time.
#if defined(SIMCLOCK_FOLLOWS_REAL_TIME)
ULONGLONG RealElapsed() {
    static const ULONGLONG start = GetTickCount64();
    return GetTickCount64() - start;
}
void Pause(DWORD milliseconds) { Sleep(milliseconds); }
#else
ULONGLONG RealElapsed() { return 0; }
// A real millisecond, so that a helper process that follows the clock (a
// test service stopping "after 20 seconds") keeps up with a waiter.
void Pause(DWORD milliseconds) {
    InterlockedExchangeAdd64(&Section().clock->milliseconds, milliseconds);
    Sleep(1);
}
#endif

}  // namespace

extern "C" {

DWORD WINAPI SimClock_GetTickCount(void) {
    return static_cast<DWORD>(SimClock_GetTickCount64());
}

ULONGLONG WINAPI SimClock_GetTickCount64(void) {
    return static_cast<ULONGLONG>(InterlockedCompareExchange64(&Section().clock->milliseconds, 0, 0)) +
           RealElapsed();
}

void WINAPI SimClock_Sleep(DWORD milliseconds) { Pause(milliseconds); }

void WINAPI SimClock_Advance(DWORD milliseconds) {
    InterlockedExchangeAdd64(&Section().clock->milliseconds, milliseconds);
}

void WINAPI SimClock_Set(ULONGLONG milliseconds) {
    InterlockedExchange64(&Section().clock->milliseconds, static_cast<LONG64>(milliseconds - RealElapsed()));
}

const wchar_t* WINAPI SimClock_Name(void) { return Section().name; }

}  // extern "C"

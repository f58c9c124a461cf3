#pragma once

#include <windows.h>

// The virtual clock of the test build and of the cluster simulator. Sleeping
// advances virtual time at once instead of waiting. The clock lives in a named
// shared memory section, so that a helper process given its name (a test
// service, say) sees the same time.

#if defined(SIMCLOCK_BUILDING)
#define SIMCLOCK_API __declspec(dllexport)
#else
#define SIMCLOCK_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Milliseconds of virtual time, as GetTickCount (wraps after 49.7 days) and in full.
SIMCLOCK_API DWORD WINAPI SimClock_GetTickCount(void);
SIMCLOCK_API ULONGLONG WINAPI SimClock_GetTickCount64(void);

// Advances virtual time by `milliseconds` at once, then pauses one real
// millisecond so that other processes on the same clock can follow.
SIMCLOCK_API void WINAPI SimClock_Sleep(DWORD milliseconds);

// Advances virtual time by `milliseconds` without any real pause: the time a
// simulated call takes.
SIMCLOCK_API void WINAPI SimClock_Advance(DWORD milliseconds);

// Puts virtual time at `milliseconds`.
SIMCLOCK_API void WINAPI SimClock_Set(ULONGLONG milliseconds);

// Name of the shared section. A process that starts with the environment
// variable ORVSIM_CLOCK set to this name joins the same clock.
SIMCLOCK_API const wchar_t* WINAPI SimClock_Name(void);

#ifdef __cplusplus
}
#endif

#pragma once

#include <windows.h>

namespace orv {

// A process-wide Win32 critical section, usable as a static: it is
// initialised on construction and never deleted, because other statics may
// still take it while the process shuts down.
class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() { EnterCriticalSection(&section_); }
    void Leave() { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

// Holds a critical section for the life of a scope.
class AutoLock {
public:
    explicit AutoLock(CriticalSection& section) : section_(section) { section_.Enter(); }
    ~AutoLock() { section_.Leave(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    CriticalSection& section_;
};

}  // namespace orv

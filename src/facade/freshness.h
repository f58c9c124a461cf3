#pragma once

#include <windows.h>

namespace orv {

// How long a process-wide cache entry stays valid.
constexpr DWORD kCacheLifetimeMilliseconds = 0x10000;

// A value stamped at tick `stamp` is fresh while the stamp is not 0 and its
// distance to `now` is below 65,536 ms. The distance is taken the short way
// round the 32-bit tick counter, so a stamp taken just before the counter
// wraps stays fresh across the wrap; a stamp of 0 always means stale.
inline bool IsFresh(DWORD stamp, DWORD now) {
    if (stamp == 0) return false;
    DWORD ahead = now - stamp;
    DWORD behind = stamp - now;
    DWORD distance = ahead < behind ? ahead : behind;
    return distance < kCacheLifetimeMilliseconds;
}

}  // namespace orv

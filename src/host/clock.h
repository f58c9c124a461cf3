#pragma once

#include <windows.h>

namespace orv {

// Every wait and tick count of the library goes through here. The product
// build uses the system clock; the test build is linked with a virtual clock
// that the cluster simulator shares, so long waits take no real time.
DWORD ClockTickCount();
void ClockSleep(DWORD milliseconds);

}  // namespace orv

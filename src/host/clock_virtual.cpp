#include "host/clock.h"

#include "simclock.h"

namespace orv {

DWORD ClockTickCount() { return SimClock_GetTickCount(); }

void ClockSleep(DWORD milliseconds) { SimClock_Sleep(milliseconds); }

}  // namespace orv

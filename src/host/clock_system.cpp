#include "host/clock.h"

namespace orv {

DWORD ClockTickCount() { return GetTickCount(); }

void ClockSleep(DWORD milliseconds) { Sleep(milliseconds); }

}  // namespace orv

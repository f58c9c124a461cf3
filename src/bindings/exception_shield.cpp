// One guarded region through the system's own frame-based handler: the
// compiler's C++ handlers do not see structured exceptions. The region's
// labels are fixed names, so this file holds exactly one.

#include "bindings/exception_shield.h"

#include <windows.h>

#include <excpt.h>

extern "C" long ShieldFilter(EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; }

namespace orv {

__attribute__((noinline)) bool RunShielded(void (*body)(void*), void* context) {
    volatile bool completed = false;
    __try1(ShieldFilter)
    body(context);
    completed = true;
    __except1
    return completed;
}

}  // namespace orv

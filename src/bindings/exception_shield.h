#pragma once

namespace orv {

// Runs body(context) and answers false when a structured exception (an
// access violation, say, or one the called code raised itself) left it;
// execution then goes on here. For calls into a library whose faults must
// not end the process: what the body had set up when the exception came is
// abandoned, so the body should hold no resources of its own.
bool RunShielded(void (*body)(void*), void* context);

}  // namespace orv

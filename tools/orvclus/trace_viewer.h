#pragma once

#include <string>
#include <vector>

namespace orvclus {

// Runs this program again with `arguments` as a debugged child and writes
// every debug-output line of the child to standard error behind "trace: ",
// as a debug-output viewer shows them. The child shares this process's
// standard handles, so its own output passes through unchanged. Answers the
// child's exit code, or kExitFailure when it cannot be started. When the
// library wrote no trace line at all, says so.
int RunTraced(const std::vector<std::wstring>& arguments);

// Whether this process is the run that a trace viewer started: it runs the
// command itself instead of starting a viewer of its own. The viewer tells
// its child through the environment, not the command line, so that nobody
// types it by mistake.
bool IsTracedRun();

}  // namespace orvclus

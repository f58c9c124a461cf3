#pragma once

#include <string>
#include <vector>

namespace orvclus {

// Runs this program again with `arguments` as a debugged child and writes
// every debug-output line of the child to standard error behind "trace: ",
// as a debug-output viewer shows them. The child shares this process's
// standard handles, so its own output passes through unchanged. Answers the
// child's exit code, or kExitFailure when it cannot be started.
int RunTraced(const std::vector<std::wstring>& arguments);

}  // namespace orvclus

#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvtest {

// Collects the debug-output lines that this process writes while the capture
// lives. It sees what OutputDebugStringW really sends: the exception that the
// system raises for a debugger is caught by a vectored handler. Lines that
// do not open with the trace header's '[' (the test framework's own failure
// reports) are left out.
class TraceCapture {
public:
    // `onMessage`, when given, sees each message (header removed) as the
    // library writes it, on the writing thread, before the library goes on.
    explicit TraceCapture(std::function<void(const std::wstring&)> onMessage = nullptr);
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // Whole lines, header included.
    std::vector<std::wstring> Lines() const;
    // The lines without their "[thread] date time " header.
    std::vector<std::wstring> Messages() const;
};

// The message part of a trace line: everything after its three-field header.
std::wstring MessageOf(const std::wstring& line);

}  // namespace orvtest

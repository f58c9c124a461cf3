// The library's one trace function: a line per message to the debugger output
// channel, always on, read by a debugger or a debug-output viewer.

#include <cstdarg>
#include <cstdio>
#include <string>

#include "orvcluster/cluster.h"

namespace {

constexpr size_t kDateTimeChars = 16;
constexpr size_t kHeaderChars = 128;
constexpr size_t kMessageChars = 2048;

}  // namespace

void Cluster::OutputDebugMsg(const wchar_t* format, ...) {
    wchar_t date[kDateTimeChars] = {};
    wchar_t time[kDateTimeChars] = {};
    wchar_t header[kHeaderChars] = {};
    wchar_t message[kMessageChars] = {};

    _wstrdate_s(date, kDateTimeChars);
    _wstrtime_s(time, kDateTimeChars);
    if (swprintf_s(header, kHeaderChars, L"[%04lu] %s %s ", GetCurrentThreadId(), date, time) < 0)
        header[0] = L'\0';

    if (format) {
        va_list arguments;
        va_start(arguments, format);
        // A message that does not fit keeps its first 2,047 characters.
        _vsnwprintf_s(message, kMessageChars, _TRUNCATE, format, arguments);
        va_end(arguments);
    }

    // One call per line, so that lines of concurrent threads never interleave.
    std::wstring line(header);
    line += message;
    OutputDebugStringW(line.c_str());
}

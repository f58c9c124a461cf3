#include "harness/trace_capture.h"

#include <windows.h>

#include <mutex>

namespace orvtest {

namespace {

constexpr DWORD kDebugPrint = 0x40010006;      // DBG_PRINTEXCEPTION_C
constexpr DWORD kDebugPrintWide = 0x4001000A;  // DBG_PRINTEXCEPTION_WIDE_C

std::mutex linesLock;
std::vector<std::wstring> lines;
void* handler = nullptr;
std::function<void(const std::wstring&)> observer;

LONG CALLBACK CatchDebugOutput(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD* record = exception->ExceptionRecord;
    if (record->ExceptionCode != kDebugPrint && record->ExceptionCode != kDebugPrintWide)
        return EXCEPTION_CONTINUE_SEARCH;
    if (record->NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
    std::wstring line;
    if (record->ExceptionCode == kDebugPrintWide) {
        line = reinterpret_cast<const wchar_t*>(record->ExceptionInformation[1]);
    } else {
        const char* text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
        int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
        if (length > 0) {
            line.resize(length);
            MultiByteToWideChar(CP_ACP, 0, text, -1, &line[0], length);
            line.resize(length - 1);
        }
    }
    // Only trace lines count; the test framework reports failures on the same
    // channel, and those must not turn up as library output.
    if (line.empty() || line[0] != L'[') return EXCEPTION_CONTINUE_EXECUTION;
    {
        std::lock_guard<std::mutex> lock(linesLock);
        lines.push_back(line);
    }
    if (observer) observer(MessageOf(line));
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

TraceCapture::TraceCapture(std::function<void(const std::wstring&)> onMessage) {
    std::lock_guard<std::mutex> lock(linesLock);
    lines.clear();
    observer = std::move(onMessage);
    handler = AddVectoredExceptionHandler(1, CatchDebugOutput);
}

TraceCapture::~TraceCapture() {
    RemoveVectoredExceptionHandler(handler);
    std::lock_guard<std::mutex> lock(linesLock);
    lines.clear();
    observer = nullptr;
}

std::vector<std::wstring> TraceCapture::Lines() const {
    std::lock_guard<std::mutex> lock(linesLock);
    return lines;
}

std::vector<std::wstring> TraceCapture::Messages() const {
    std::vector<std::wstring> messages;
    for (const std::wstring& line : Lines()) messages.push_back(MessageOf(line));
    return messages;
}

std::wstring MessageOf(const std::wstring& line) {
    // "[0042] 11/21/26 07:16:14 message": the message follows the third blank.
    size_t position = 0;
    for (int blank = 0; blank < 3; ++blank) {
        position = line.find(L' ', position);
        if (position == std::wstring::npos) return line;
        ++position;
    }
    return line.substr(position);
}

}  // namespace orvtest

// The trace line as a debug-output viewer receives it.

#include <windows.h>

#include <cwctype>
#include <string>

#include <gtest/gtest.h>

#include "harness/trace_capture.h"
#include "orvcluster.h"

namespace {

using orvtest::TraceCapture;

DWORD WINAPI TraceFromThread(void*) {
    Cluster::OutputDebugMsg(L"Waiting for the cluster service to startup");
    return 0;
}

TEST(Trace, LineIsWritingThreadDateTimeThenMessageWithoutNewline) {
    TraceCapture capture;
    TraceFromThread(nullptr);
    HANDLE thread = CreateThread(nullptr, 0, TraceFromThread, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    const DWORD ids[] = {GetCurrentThreadId(), GetThreadId(thread)};
    CloseHandle(thread);

    const std::vector<std::wstring> lines = capture.Lines();
    ASSERT_EQ(2u, lines.size());
    for (size_t i = 0; i < 2; ++i) {
        // Wine hands out small thread identifiers, so the zero padding shows.
        wchar_t header[32];
        swprintf(header, 32, L"[%04lu] ", ids[i]);
        std::wstring shape = lines[i];
        for (wchar_t& c : shape) c = iswdigit(c) ? L'9' : c;
        EXPECT_EQ(header, lines[i].substr(0, wcslen(header)));
        EXPECT_EQ(L"99/99/99 99:99:99 Waiting for the cluster service to startup",
                  shape.substr(wcslen(header)));
    }
}

TEST(Trace, MessageFollowsWidePrintfRulesAndIsCutSilentlyAt2047Characters) {
    TraceCapture capture;
    Cluster::OutputDebugMsg(L"Failed to open Microsoft cluster (%s) %d %lu", L"NODE1", -5, 1062ul);
    Cluster::OutputDebugMsg(nullptr);  // the header alone
    const std::wstring exact(2047, L'a');
    Cluster::OutputDebugMsg(L"%s", exact.c_str());
    Cluster::OutputDebugMsg(L"%s", (std::wstring(2047, L'b') + std::wstring(953, L'c')).c_str());
    EXPECT_EQ((std::vector<std::wstring>{L"Failed to open Microsoft cluster (NODE1) -5 1062", L"",
                                         exact, std::wstring(2047, L'b')}),
              capture.Messages());
}

}  // namespace

// The trace line as a debug-output viewer receives it.

#include <windows.h>

#include <cwctype>
#include <string>

#include <gtest/gtest.h>

#include "harness/trace_capture.h"
#include "orvcluster.h"

namespace {

using orvtest::TraceCapture;

std::wstring OnlyLine(const TraceCapture& capture) {
    std::vector<std::wstring> lines = capture.Lines();
    EXPECT_EQ(1u, lines.size());
    return lines.empty() ? std::wstring() : lines.front();
}

bool IsDigits(const std::wstring& text) {
    if (text.empty()) return false;
    for (wchar_t c : text)
        if (!iswdigit(c)) return false;
    return true;
}

TEST(Trace, LineIsThreadDateTimeThenMessageWithoutNewline) {
    TraceCapture capture;
    Cluster::OutputDebugMsg(L"Waiting for the cluster service to startup");
    const std::wstring line = OnlyLine(capture);

    wchar_t thread[32];
    swprintf(thread, 32, L"[%04lu] ", GetCurrentThreadId());
    ASSERT_EQ(0u, line.find(thread)) << line;
    // "MM/DD/YY HH:MM:SS " follows the thread field.
    const std::wstring date = line.substr(wcslen(thread), 8);
    const std::wstring time = line.substr(wcslen(thread) + 9, 8);
    EXPECT_TRUE(IsDigits(date.substr(0, 2)) && date[2] == L'/' && IsDigits(date.substr(3, 2)) &&
                date[5] == L'/' && IsDigits(date.substr(6, 2)))
        << line;
    EXPECT_TRUE(IsDigits(time.substr(0, 2)) && time[2] == L':' && IsDigits(time.substr(3, 2)) &&
                time[5] == L':' && IsDigits(time.substr(6, 2)))
        << line;
    EXPECT_EQ(std::wstring(thread) + date + L" " + time + L" " +
                  L"Waiting for the cluster service to startup",
              line);
}

TEST(Trace, ThreadIdentifierHasAtLeastFourDigits) {
    // Wine hands out small thread identifiers, so zero padding shows here.
    TraceCapture capture;
    HANDLE thread = CreateThread(
        nullptr, 0, [](void*) -> DWORD { Cluster::OutputDebugMsg(L"x"); return 0; }, nullptr, 0,
        nullptr);
    WaitForSingleObject(thread, INFINITE);
    DWORD id = GetThreadId(thread);
    CloseHandle(thread);
    const std::wstring line = OnlyLine(capture);
    const std::wstring field = line.substr(1, line.find(L']') - 1);
    EXPECT_GE(field.size(), 4u);
    EXPECT_EQ(id, wcstoul(field.c_str(), nullptr, 10));
}

TEST(Trace, ArgumentsFollowWidePrintfRules) {
    TraceCapture capture;
    Cluster::OutputDebugMsg(L"Failed to open Microsoft cluster (%s) %d %lu", L"NODE1", -5, 1062ul);
    EXPECT_EQ(L"Failed to open Microsoft cluster (NODE1) -5 1062", orvtest::MessageOf(OnlyLine(capture)));
}

TEST(Trace, MessageIsCutSilentlyAt2047Characters) {
    TraceCapture capture;
    const std::wstring exact(2047, L'a');
    const std::wstring longer = std::wstring(2047, L'b') + std::wstring(953, L'c');
    Cluster::OutputDebugMsg(L"%s", exact.c_str());
    Cluster::OutputDebugMsg(L"%s", longer.c_str());
    std::vector<std::wstring> messages = capture.Messages();
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(exact, messages[0]);
    EXPECT_EQ(std::wstring(2047, L'b'), messages[1]);
}

TEST(Trace, NullFormatSendsTheHeaderAlone) {
    TraceCapture capture;
    Cluster::OutputDebugMsg(nullptr);
    EXPECT_EQ(L"", orvtest::MessageOf(OnlyLine(capture)));
}

}  // namespace

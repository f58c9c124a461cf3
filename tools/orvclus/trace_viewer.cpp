// The trace viewer: a small debugger loop that only listens to debug output.

#include "trace_viewer.h"

#include <windows.h>

#include "arguments.h"
#include "console.h"
#include "orvcluster.h"

namespace orvclus {

namespace {

// Set (to the viewer's process id) in the environment of the traced run only.
const wchar_t kTracedRunVariable[] = L"ORVCLUS_TRACED_RUN";

// The breakpoint a 32-bit child's loader raises; mingw-w64 leaves it out.
constexpr DWORD kWx86Breakpoint = 0x4000001F;

// The image file handles of process and DLL events are the debugger's to
// close; they may be null.
void CloseImageFile(HANDLE file) { orv::UniqueKernelHandle owned(file); }

std::wstring ThisProgram() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, &path[0], static_cast<DWORD>(path.size()));
        if (length == 0) return std::wstring();
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

// The string of an OUTPUT_DEBUG_STRING_EVENT, read from the child's memory.
// Its length counts characters with the terminator (only its low 16 bits are
// carried); the text is wide or in the ANSI code page as fUnicode says.
std::wstring ReadDebugString(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info) {
    const size_t length = info.nDebugStringLength;
    if (length == 0 || !info.lpDebugStringData) return std::wstring();
    SIZE_T read = 0;
    if (info.fUnicode) {
        std::wstring text(length, L'\0');
        if (!ReadProcessMemory(process, info.lpDebugStringData, &text[0], length * sizeof(wchar_t), &read))
            return std::wstring();
        text.resize(read / sizeof(wchar_t));
        return text.substr(0, text.find(L'\0'));
    }
    std::string ansi(length, '\0');
    if (!ReadProcessMemory(process, info.lpDebugStringData, &ansi[0], length, &read)) return std::wstring();
    ansi.resize(read);
    ansi.resize(ansi.find('\0') == std::string::npos ? ansi.size() : ansi.find('\0'));
    if (ansi.empty()) return std::wstring();
    const int characters = MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()), nullptr, 0);
    if (characters <= 0) return std::wstring();
    std::wstring text(static_cast<size_t>(characters), L'\0');
    MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()), &text[0], characters);
    return text;
}

// One "trace: " line per line of the debug string; empty lines are dropped.
// Answers how many lines it showed.
size_t ShowDebugString(const std::wstring& text) {
    size_t lines = 0;
    std::wstring shown;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(L'\n', start);
        if (end == std::wstring::npos) end = text.size();
        std::wstring line = text.substr(start, end - start);
        if (!line.empty() && line.back() == L'\r') line.pop_back();
        if (!line.empty()) {
            shown += L"trace: " + line + L"\n";
            ++lines;
        }
        start = end + 1;
    }
    if (!shown.empty()) WriteErr(shown);
    return lines;
}

// The child gets this process's standard handles, whatever they are.
void InheritStandardHandle(DWORD which, HANDLE& target) {
    target = GetStdHandle(which);
    if (target && target != INVALID_HANDLE_VALUE)
        SetHandleInformation(target, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

}  // namespace

int RunTraced(const std::vector<std::wstring>& arguments) {
    const std::wstring program = ThisProgram();
    if (program.empty()) return Win32Failure(L"find orvclus.exe itself", GetLastError());
    std::wstring commandLine = QuoteArgument(program);
    for (const std::wstring& argument : arguments) commandLine += L" " + QuoteArgument(argument);

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    InheritStandardHandle(STD_INPUT_HANDLE, startup.hStdInput);
    InheritStandardHandle(STD_OUTPUT_HANDLE, startup.hStdOutput);
    InheritStandardHandle(STD_ERROR_HANDLE, startup.hStdError);
    PROCESS_INFORMATION created = {};
    // The child inherits the variable; this process drops it again at once.
    SetEnvironmentVariableW(kTracedRunVariable, std::to_wstring(GetCurrentProcessId()).c_str());
    const BOOL started = CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, TRUE,
                                        DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &startup, &created);
    const DWORD startError = GetLastError();
    SetEnvironmentVariableW(kTracedRunVariable, nullptr);
    if (!started) return Win32Failure(L"start the traced run of orvclus.exe", startError);
    orv::UniqueKernelHandle process(created.hProcess);
    orv::UniqueKernelHandle thread(created.hThread);

    DWORD exitCode = kExitFailure;
    size_t traceLines = 0;
    for (bool running = true; running;) {
        DEBUG_EVENT event = {};
        if (!WaitForDebugEvent(&event, INFINITE)) {
            const DWORD error = GetLastError();
            TerminateProcess(process.Get(), kExitFailure);
            return Win32Failure(L"follow the traced run of orvclus.exe", error);
        }
        DWORD continueStatus = DBG_CONTINUE;
        switch (event.dwDebugEventCode) {
            case CREATE_PROCESS_DEBUG_EVENT:
                CloseImageFile(event.u.CreateProcessInfo.hFile);
                break;
            case LOAD_DLL_DEBUG_EVENT:
                CloseImageFile(event.u.LoadDll.hFile);
                break;
            case OUTPUT_DEBUG_STRING_EVENT:
                traceLines += ShowDebugString(ReadDebugString(process.Get(), event.u.DebugString));
                break;
            case EXCEPTION_DEBUG_EVENT: {
                // The loader's breakpoint is ours to swallow; every other
                // exception goes back to the child's own handlers.
                const DWORD code = event.u.Exception.ExceptionRecord.ExceptionCode;
                if (code != EXCEPTION_BREAKPOINT && code != kWx86Breakpoint)
                    continueStatus = DBG_EXCEPTION_NOT_HANDLED;
                break;
            }
            case EXIT_PROCESS_DEBUG_EVENT:
                exitCode = event.u.ExitProcess.dwExitCode;
                running = false;
                break;
            default:
                break;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, continueStatus);
    }
    WaitForSingleObject(process.Get(), INFINITE);
    // A command line the traced run refused never reached the library.
    if (traceLines == 0 && exitCode != static_cast<DWORD>(kExitUsage))
        WriteErr(L"orvclus: the library wrote no trace line while the command ran\n");
    return static_cast<int>(exitCode);
}

bool IsTracedRun() {
    wchar_t viewer[16] = {};
    const DWORD length = GetEnvironmentVariableW(kTracedRunVariable, viewer, 16);
    // Programs this run starts are no traced runs.
    SetEnvironmentVariableW(kTracedRunVariable, nullptr);
    return length > 0 && length < 16 && IsDebuggerPresent();
}

}  // namespace orvclus

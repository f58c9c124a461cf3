#include "harness/orvclus_runner.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/test_services.h"
#include "harness/utf8.h"
#include "harness/wine_paths.h"
#include "orvcluster/unique_handle.h"

namespace orvtest {

namespace {

// Moves what the pipe holds now into `text`, without waiting for more.
void Drain(HANDLE pipe, std::string& text) {
    char buffer[4096];
    DWORD available = 0, read = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available > 0 &&
           ReadFile(pipe, buffer, available < sizeof(buffer) ? available : sizeof(buffer), &read, nullptr) && read)
        text.append(buffer, read);
}

// The JSON object on `out`; false, and a failure, when there is none.
bool Parse(const std::string& out, nlohmann::json& object) {
    object = nlohmann::json::parse(out, nullptr, false);
    if (object.is_object()) return true;
    ADD_FAILURE() << "no JSON object on stdout: " << out;
    return false;
}

}  // namespace

OrvclusRun RunOrvclus(const std::wstring& arguments, const std::wstring& scenario) {
    OrvclusRun run;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    orv::UniqueKernelHandle outRead, outWrite, errRead, errWrite;
    if (!CreatePipe(outRead.Receive(), outWrite.Receive(), &inheritable, 0) ||
        !CreatePipe(errRead.Receive(), errWrite.Receive(), &inheritable, 0)) {
        ADD_FAILURE() << "CreatePipe failed: " << GetLastError();
        return run;
    }
    SetHandleInformation(outRead.Get(), HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(errRead.Get(), HANDLE_FLAG_INHERIT, 0);
    std::wstring commandLine = L"\"" + ProgramFolder() + L"orvclus.exe\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = outWrite.Get();
    startup.hStdError = errWrite.Get();
    PROCESS_INFORMATION created = {};
    // Only the child gets the scenario: this program's own library stays
    // off the cluster.
    SetEnvironmentVariableW(L"ORVSIM_SCENARIO", scenario.empty() ? nullptr : scenario.c_str());
    const BOOL started = CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                        &startup, &created);
    SetEnvironmentVariableW(L"ORVSIM_SCENARIO", nullptr);
    if (!started) {
        ADD_FAILURE() << "cannot start orvclus.exe: " << GetLastError();
        return run;
    }
    orv::UniqueKernelHandle process(created.hProcess), thread(created.hThread);
    outWrite.Reset();
    errWrite.Reset();
    // The run is over when orvclus.exe ends, not when its pipes close: the
    // desktop process that Wine starts for the first program to make a
    // window (COM does, for the XML reader) inherits standard error and
    // lives as long as this program.
    for (DWORD waited = 0;; waited += 5) {
        const bool ended = WaitForSingleObject(process.Get(), 5) == WAIT_OBJECT_0;
        Drain(outRead.Get(), run.out);
        Drain(errRead.Get(), run.err);
        if (ended) break;
        if (waited >= 60000) {
            TerminateProcess(process.Get(), 99);
            ADD_FAILURE() << "orvclus.exe did not end";
            break;
        }
    }
    GetExitCodeProcess(process.Get(), &run.exitCode);
    return run;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string Me(std::string text) {
    const std::string me = Utf8(ThisComputer());
    for (size_t at = text.find("%ME%"); at != std::string::npos; at = text.find("%ME%", at + me.size()))
        text.replace(at, 4, me);
    return text;
}

OrvclusRun ExpectAnswer(const std::wstring& arguments, DWORD exitCode, const std::string& text,
                        const std::wstring& scenario, const char* progress) {
    SCOPED_TRACE(Utf8(arguments));
    const OrvclusRun run = RunOrvclus(arguments, scenario);
    EXPECT_EQ(exitCode, run.exitCode) << run.err;
    std::vector<std::string> errors = Lines(run.err);
    if (progress) {
        EXPECT_TRUE(!errors.empty() && StartsWith(errors[0], "orvclus: ") && Has(errors[0], progress)) << run.err;
        if (!errors.empty()) errors.erase(errors.begin());
    }
    const bool json = Has(Utf8(arguments), "--json");
    if (exitCode == 0) {
        EXPECT_TRUE(errors.empty()) << run.err;
        if (!json) {
            const std::vector<std::string> lines = Lines(run.out);
            EXPECT_EQ(Me(text), lines.empty() ? "" : lines[0]) << run.out;
        }
        return run;
    }
    if (errors.size() != 1 || !StartsWith(errors[0], "orvclus: ") || !Has(errors[0], Me(text))) {
        ADD_FAILURE() << "not one line that mentions " << Me(text) << ": " << run.err;
        return run;
    }
    if (!json) {
        EXPECT_EQ("", run.out);
        return run;
    }
    nlohmann::json failure;
    if (!Parse(run.out, failure)) return run;
    EXPECT_EQ(errors[0].substr(9), failure["error"]) << run.out;
    EXPECT_EQ(exitCode, failure["code"]) << run.out;
    return run;
}

void ExpectJsonAt(const std::string& out, const std::string& expected) {
    nlohmann::json answer;
    if (!Parse(out, answer)) return;
    const nlohmann::json values = nlohmann::json::parse(Me(expected));
    for (const auto& item : values.items()) {
        const nlohmann::json::json_pointer at(item.key());
        EXPECT_EQ(item.value(), answer.contains(at) ? answer.at(at) : nlohmann::json()) << item.key() << " in " << out;
    }
}

}  // namespace orvtest

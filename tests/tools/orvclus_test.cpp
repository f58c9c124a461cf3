// orvclus.exe as an administrator or a script runs it: its output, its JSON,
// its trace viewer and its answers to bad command lines.

#include <windows.h>

#include <algorithm>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "harness/test_services.h"
#include "orvcluster.h"
#include "support/unique_handle.h"

namespace {

using orv::UniqueKernelHandle;

struct Outcome {
    DWORD exitCode = STILL_ACTIVE;
    std::string out;
    std::string err;
};

std::string ReadAll(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(pipe, buffer, sizeof(buffer), &read, nullptr) && read > 0) text.append(buffer, read);
    return text;
}

// Runs orvclus.exe from this program's folder with `arguments`, standard
// output and standard error captured apart.
Outcome RunOrvclus(const std::wstring& arguments) {
    Outcome run;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    UniqueKernelHandle outRead, outWrite, errRead, errWrite;
    if (!CreatePipe(outRead.Receive(), outWrite.Receive(), &inheritable, 0) ||
        !CreatePipe(errRead.Receive(), errWrite.Receive(), &inheritable, 0)) {
        ADD_FAILURE() << "CreatePipe failed: " << GetLastError();
        return run;
    }
    SetHandleInformation(outRead.Get(), HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(errRead.Get(), HANDLE_FLAG_INHERIT, 0);

    std::wstring commandLine = L"\"" + orvtest::ProgramFolder() + L"orvclus.exe\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = outWrite.Get();
    startup.hStdError = errWrite.Get();
    PROCESS_INFORMATION created = {};
    if (!CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &created)) {
        ADD_FAILURE() << "cannot start orvclus.exe: " << GetLastError();
        return run;
    }
    UniqueKernelHandle process(created.hProcess);
    UniqueKernelHandle thread(created.hThread);
    outWrite.Reset();
    errWrite.Reset();

    std::thread errReader([&] { run.err = ReadAll(errRead.Get()); });
    run.out = ReadAll(outRead.Get());
    errReader.join();
    if (WaitForSingleObject(process.Get(), 60000) != WAIT_OBJECT_0) {
        TerminateProcess(process.Get(), 99);
        ADD_FAILURE() << "orvclus.exe did not end";
    }
    GetExitCodeProcess(process.Get(), &run.exitCode);
    return run;
}

std::string Utf8(const std::wstring& text) {
    int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(bytes > 0 ? bytes : 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &utf8[0], bytes, nullptr, nullptr);
    utf8.resize(utf8.size() - 1);
    return utf8;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// The plain text as label -> value, checking on the way that every line is
// "label:" with its value in the one column shared by all lines.
std::map<std::string, std::string> Fields(const std::vector<std::string>& lines) {
    std::map<std::string, std::string> fields;
    size_t column = 0;
    for (const std::string& line : lines) {
        const size_t colon = line.find(':');
        const size_t value = line.find_first_not_of(' ', colon + 1);
        if (colon == std::string::npos || value == std::string::npos) {
            ADD_FAILURE() << "not a label: value line: " << line;
            continue;
        }
        if (column == 0) column = value;
        EXPECT_EQ(column, value) << "value out of column: " << line;
        fields[line.substr(0, colon)] = line.substr(value);
    }
    return fields;
}

TEST(OrvclusStatus, PlainTextOnAMachineWithoutCluster) {
    const Outcome run = RunOrvclus(L"status");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.err) << "nothing goes to stderr without --trace";

    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_GE(lines.size(), 2u) << run.out;
    EXPECT_EQ("This machine is not part of a cluster.", lines[0]);
    std::map<std::string, std::string> fields = Fields({lines.begin() + 1, lines.end()});
    EXPECT_EQ("0 (not clustered)", fields["Cluster type"]);
    EXPECT_EQ("no", fields["Cluster open"]);
    EXPECT_EQ("no", fields["Cluster key present"]);
    EXPECT_EQ(Utf8(OrvGetComputerName()), fields["Computer name"]);
    EXPECT_EQ(Utf8(*Cluster::GetOrvVirtualServerName()), fields["Virtual server name"]);
    EXPECT_EQ("no", fields["Product clustered"]);
}

TEST(OrvclusStatus, JsonIsOneObjectOfTheSameFacts) {
    const Outcome run = RunOrvclus(L"status --json");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    nlohmann::json status;
    ASSERT_NO_THROW(status = nlohmann::json::parse(run.out)) << run.out;
    const nlohmann::json expected = {
        {"machine", nullptr},
        {"cluster_type", 0},
        {"cluster_type_name", "not clustered"},
        {"cluster_open", false},
        {"cluster_name", ""},
        {"cluster_key_present", false},
        {"computer_name", Utf8(OrvGetComputerName())},
        {"virtual_server_name", Utf8(*Cluster::GetOrvVirtualServerName())},
        {"product_clustered", false},
    };
    EXPECT_EQ(expected, status) << run.out;
}

TEST(OrvclusStatus, MachineNameSurvivesTheTracedRunAndComesBackAsJson) {
    // Blanks, quotes, a trailing backslash and non-ASCII letters must reach
    // the child of the trace viewer unchanged and come out escaped in UTF-8.
    const std::wstring machine = L"N\u00f6d\u00e9 \"B\" C\\";
    const Outcome run = RunOrvclus(L"status --machine \"N\u00f6d\u00e9 \\\"B\\\" C\\\\\" --json --trace");
    ASSERT_EQ(0u, run.exitCode) << run.err;
    nlohmann::json status;
    ASSERT_NO_THROW(status = nlohmann::json::parse(run.out)) << run.out;
    EXPECT_EQ(Utf8(machine), status["machine"]);
    EXPECT_EQ(0, status["cluster_type"]);
}

TEST(OrvclusTrace, LibraryLinesGoToStderrWhileStdoutStaysTheSame) {
    const Outcome plain = RunOrvclus(L"status");
    const Outcome local = RunOrvclus(L"status --trace");
    const Outcome remote = RunOrvclus(L"status --machine NO-SUCH-HOST-X --trace");
    ASSERT_EQ(0u, local.exitCode) << local.err;
    ASSERT_EQ(0u, remote.exitCode) << remote.err;
    EXPECT_EQ(plain.out, local.out);

    const std::regex traceLine(R"(trace: \[\d{4,}\] \d\d/\d\d/\d\d \d\d:\d\d:\d\d (.*))");
    auto messages = [&](const Outcome& run) {
        std::vector<std::string> found;
        for (const std::string& line : Lines(run.err)) {
            std::smatch match;
            EXPECT_TRUE(StartsWith(line, "trace: ")) << line;
            if (std::regex_match(line, match, traceLine)) found.push_back(match[1]);
        }
        return found;
    };
    const std::vector<std::string> localMessages = messages(local);
    const std::vector<std::string> remoteMessages = messages(remote);
    EXPECT_NE(localMessages.end(),
              std::find(localMessages.begin(), localMessages.end(),
                        "\"Cluster\" key does not appear to be present in the registry"))
        << local.err;
    EXPECT_NE(remoteMessages.end(),
              std::find(remoteMessages.begin(), remoteMessages.end(),
                        "Unable to connect to the registry on NO-SUCH-HOST-X"))
        << remote.err;
}

TEST(OrvclusUsage, BadCommandLinesGiveExitCode2AndOneLine) {
    const struct {
        const wchar_t* arguments;
        const char* mentions;
    } cases[] = {
        {L"", "no command"},
        {L"frobnicate", "'frobnicate'"},
        {L"status --foo", "unknown option '--foo'"},
        {L"status --machine", "'--machine'"},
        {L"status --machine --json", "'--machine'"},
        {L"status extra", "'extra'"},
        // Refused before the traced run starts, so said once.
        {L"status --trace --bogus", "'--bogus'"},
        // Refused by the traced run itself, whose exit code comes back.
        {L"help nope --trace", "'nope'"},
    };
    for (const auto& c : cases) {
        const Outcome run = RunOrvclus(c.arguments);
        SCOPED_TRACE(std::string("arguments: ") + Utf8(c.arguments));
        EXPECT_EQ(2u, run.exitCode);
        EXPECT_EQ("", run.out);
        const std::vector<std::string> lines = Lines(run.err);
        ASSERT_EQ(1u, lines.size()) << run.err;
        EXPECT_TRUE(StartsWith(lines[0], "orvclus: ")) << lines[0];
        EXPECT_NE(std::string::npos, lines[0].find(c.mentions)) << lines[0];
    }
}

TEST(OrvclusUsage, HelpNamesTheCommandsAndTheirOptions) {
    for (const wchar_t* arguments : {L"help", L"--help"}) {
        const Outcome run = RunOrvclus(arguments);
        EXPECT_EQ(0u, run.exitCode) << run.err;
        EXPECT_NE(std::string::npos, run.out.find("status")) << run.out;
        EXPECT_NE(std::string::npos, run.out.find("--json")) << run.out;
    }
    const Outcome status = RunOrvclus(L"status --help");
    EXPECT_EQ(0u, status.exitCode) << status.err;
    EXPECT_NE(std::string::npos, status.out.find("--machine NAME")) << status.out;
}

}  // namespace

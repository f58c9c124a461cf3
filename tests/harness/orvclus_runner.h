#pragma once

#include <windows.h>

#include <string>
#include <vector>

// orvclus.exe run as a child process, as an administrator or a script runs
// it, and the checks of what every command answers: the exit code, the
// lines on stderr, the first line of the text and the JSON object.

namespace orvtest {

struct OrvclusRun {
    DWORD exitCode = STILL_ACTIVE;
    std::string out;
    std::string err;
};

// Runs orvclus.exe from this program's folder with `arguments`, standard
// output and standard error captured apart. With a `scenario` (a scenario
// file's Windows path) the run's cluster simulator shows that cluster;
// without one, there is no cluster.
OrvclusRun RunOrvclus(const std::wstring& arguments, const std::wstring& scenario = std::wstring());

std::vector<std::string> Lines(const std::string& text);
bool StartsWith(const std::string& text, const std::string& prefix);
bool Has(const std::string& text, const std::string& part);

// `text` with "%ME%" replaced by this computer's name.
std::string Me(std::string text);

// Runs orvclus and expects its answer as every command gives it: the exit
// code, and on stderr first one "orvclus: " line that mentions `progress`,
// when given. A success (exit code 0) shows `text` as its first line (not
// with --json) and nothing more on stderr; a failure says why in one more
// "orvclus: " line that mentions `text`, nothing on stdout but, with --json,
// one object carrying that sentence and the exit code. "%ME%" in `text`
// stands for this computer's name. Answers the run.
OrvclusRun ExpectAnswer(const std::wstring& arguments, DWORD exitCode, const std::string& text,
                        const std::wstring& scenario = std::wstring(), const char* progress = nullptr);

// Expects the JSON object on `out` to hold the values of `expected` (an
// object keyed by JSON pointers; "%ME%" for this computer's name) at their
// pointers; a pointer to nothing reads as null.
void ExpectJsonAt(const std::string& out, const std::string& expected);

}  // namespace orvtest

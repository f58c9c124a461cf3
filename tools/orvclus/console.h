#pragma once

#include <windows.h>

#include <string>

#include <nlohmann/json.hpp>

namespace orvclus {

// Exit codes of every command.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the operation itself failed
constexpr int kExitUsage = 2;    // the command line was wrong

std::string ToUtf8(const std::wstring& text);
std::wstring FromUtf8(const std::string& text);

// Writes text to standard output or standard error: UTF-8 into files and
// pipes, wide characters into a console. False when the handle refuses it.
bool WriteOut(const std::wstring& text);
bool WriteErr(const std::wstring& text);

// With --json a failure is also one JSON object on standard output,
// {"error": MESSAGE, "code": EXIT_CODE}, so that a script always has one to read.
void SetJsonFailures(bool on);

// Print "orvclus: message" as the one line on standard error and answer the
// exit code of a usage error or of a failed operation.
int UsageError(const std::wstring& message);
int Failure(const std::wstring& message);
// A failed operation whose JSON object carries more facts than the sentence
// (an object whose fields follow "error" and "code").
int Failure(const std::wstring& message, const nlohmann::ordered_json& facts);

// "cannot WHAT: the system's text for `error` (error N)"; the JSON object
// carries the number as "system_error" too. Answers the exit code of a
// failed operation.
int Win32Failure(const std::wstring& what, DWORD error);

// "orvclus: message" on standard error while the command goes on: what the
// library is waiting for.
void Progress(const std::wstring& message);

// A path or name inside a message, in double quotes.
std::wstring Quoted(const std::wstring& text);

}  // namespace orvclus

#pragma once

#include <string>

namespace orvclus {

// Exit codes of every command.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the operation itself failed
constexpr int kExitUsage = 2;    // the command line was wrong

std::string ToUtf8(const std::wstring& text);

// Writes text to standard output or standard error: UTF-8 into files and
// pipes, wide characters into a console. False when the handle refuses it.
bool WriteOut(const std::wstring& text);
bool WriteErr(const std::wstring& text);

// Print "orvclus: message" as the one line on standard error and answer the
// exit code of a usage error or of a failed operation.
int UsageError(const std::wstring& message);
int Failure(const std::wstring& message);

}  // namespace orvclus

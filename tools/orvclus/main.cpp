// orvclus: the command-line front end to orvcluster.dll.
//
//   orvclus COMMAND [OPTIONS]
//
// Every command prints plain text, or one JSON object with --json; every
// failure or bad argument gives one line on standard error and a non-zero
// exit code (see console.h). The options of every command, and --machine,
// may come before the command as well as after it.

#include <windows.h>

#include <new>
#include <set>
#include <string>
#include <vector>

#include "cluster_target.h"
#include "commands.h"
#include "console.h"
#include "trace_viewer.h"

namespace orvclus {

namespace {

const wchar_t kSeeHelp[] = L" (run 'orvclus help' for usage)";

// The options that take a value, of any command: the token after one of
// them (without '=') is its value, not the command.
std::set<std::wstring> ValueOptions() {
    std::set<std::wstring> names;
    for (const Command& command : Commands())
        for (const OptionSpec& option : command.options)
            if (!option.value.empty()) names.insert(option.name);
    return names;
}

// Where the command's name is among the tokens: the first operand.
size_t CommandPosition(const std::vector<std::wstring>& tokens) {
    const std::set<std::wstring> valueOptions = ValueOptions();
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i] == L"--") break;
        if (!IsOptionToken(tokens[i])) return i;
        if (valueOptions.count(tokens[i]) && i + 1 < tokens.size() && !IsOptionToken(tokens[i + 1])) ++i;
    }
    return tokens.size();
}

// The command line again, for the run under the trace viewer: without --trace.
std::vector<std::wstring> WithoutTrace(const std::vector<std::wstring>& tokens) {
    std::vector<std::wstring> arguments;
    bool operandsOnly = false;
    for (const std::wstring& token : tokens) {
        if (token == L"--") operandsOnly = true;
        if (operandsOnly || token != kTraceOption) arguments.push_back(token);
    }
    return arguments;
}

int Main(std::vector<std::wstring> tokens) {
    // --json anywhere asks for JSON, failures included, so it is known first.
    bool json = false;
    for (std::wstring& token : tokens) {
        if (token == L"--") break;
        if (token == L"-h") token = kHelpOption;
        json = json || token == kJsonOption;
    }
    SetJsonFailures(json);
    const Format format = json ? Format::Json : Format::Text;
    for (size_t i = 0; i < tokens.size(); ++i)
        if (tokens[i].empty()) return UsageError(L"argument " + std::to_wstring(i + 1) + L" is empty" + kSeeHelp);

    const size_t position = CommandPosition(tokens);
    const Command* command = position < tokens.size() ? FindCommand(tokens[position]) : nullptr;
    if (position < tokens.size() && !command)
        return UsageError(L"unknown command '" + tokens[position] + L"'" + kSeeHelp);
    std::vector<std::wstring> rest = tokens;
    if (command) rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(position));

    std::vector<OptionSpec> options = command ? command->options : std::vector<OptionSpec>{MachineOption()};
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    ParsedArguments arguments;
    std::wstring error;
    if (!ParseArguments(rest, options, command ? command->maxOperands : 0, command ? command->name : L"orvclus",
                        arguments, error))
        return UsageError(error + kSeeHelp);

    if (arguments.Has(kVersionOption)) return PrintVersion(format);
    if (arguments.Has(kHelpOption)) return PrintUsage(command, format);
    if (!command) return UsageError(std::wstring(L"no command given") + kSeeHelp);
    if (arguments.Has(kTraceOption) && !IsTracedRun()) return RunTraced(WithoutTrace(tokens));
    return command->run(arguments, format);
}

}  // namespace

}  // namespace orvclus

int wmain(int argc, wchar_t** argv) {
    try {
        return orvclus::Main(std::vector<std::wstring>(argv + 1, argv + argc));
    } catch (const std::bad_alloc&) {
        return orvclus::Failure(L"out of memory");
    }
}

// orvclus: the command-line front end to orvcluster.dll.
//
//   orvclus COMMAND [OPTIONS]
//
// Every command prints plain text, or one JSON object with --json; every
// failure or bad argument gives one line on standard error and a non-zero
// exit code (see console.h).

#include <windows.h>

#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "console.h"
#include "trace_viewer.h"

namespace orvclus {

namespace {

const wchar_t kSeeHelp[] = L" (run 'orvclus help' for usage)";

// The command line again, for the run under the trace viewer: without
// --trace, and marked so that it does not start a viewer itself.
std::vector<std::wstring> TracedRunArguments(const std::vector<std::wstring>& tokens) {
    std::vector<std::wstring> arguments = {tokens.front(), kTracedRunOption};
    bool operandsOnly = false;
    for (size_t i = 1; i < tokens.size(); ++i) {
        if (tokens[i] == L"--") operandsOnly = true;
        if (!operandsOnly && tokens[i] == kTraceOption) continue;
        arguments.push_back(tokens[i]);
    }
    return arguments;
}

int Main(const std::vector<std::wstring>& tokens) {
    if (tokens.empty()) return UsageError(std::wstring(L"no command given") + kSeeHelp);
    std::wstring name = tokens.front();
    if (name == kHelpOption || name == L"-h") name = L"help";
    const Command* command = FindCommand(name);
    if (!command) {
        if (name.size() > 1 && name[0] == L'-')
            return UsageError(L"a command must come before '" + name + L"'" + kSeeHelp);
        return UsageError(L"unknown command '" + name + L"'" + kSeeHelp);
    }

    std::vector<OptionSpec> options = command->options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    ParsedArguments arguments;
    std::wstring error;
    if (!ParseArguments(std::vector<std::wstring>(tokens.begin() + 1, tokens.end()), options,
                        command->maxOperands, arguments, error))
        return UsageError(error);

    if (arguments.Has(kHelpOption)) return WriteOut(CommandUsage(*command)) ? kExitOk : kExitFailure;
    if (arguments.Has(kTraceOption) && !arguments.Has(kTracedRunOption)) {
        std::vector<std::wstring> traced = TracedRunArguments(tokens);
        traced.front() = command->name;  // "--help" as the command becomes "help"
        return RunTraced(traced);
    }
    return command->run(arguments, arguments.Has(kJsonOption) ? Format::Json : Format::Text);
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

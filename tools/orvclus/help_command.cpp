// "help": the usage of orvclus and of each command, built from the command table.

#include "commands.h"
#include "console.h"

namespace orvclus {

namespace {

std::wstring OptionName(const OptionSpec& option) {
    return option.value.empty() ? option.name : option.name + L" " + option.value;
}

// "  name   text" lines with the texts in one column.
std::wstring TwoColumns(const std::vector<std::pair<std::wstring, std::wstring>>& rows) {
    size_t width = 0;
    for (const auto& row : rows)
        if (row.first.size() > width) width = row.first.size();
    std::wstring text;
    for (const auto& row : rows) {
        text += L"  " + row.first;
        text.append(width - row.first.size() + 3, L' ');
        text += row.second + L"\n";
    }
    return text;
}

std::wstring OptionTable(const std::vector<OptionSpec>& options) {
    std::vector<std::pair<std::wstring, std::wstring>> rows;
    for (const OptionSpec& option : options)
        if (!option.hidden) rows.emplace_back(OptionName(option), option.help);
    return TwoColumns(rows);
}

const wchar_t kExitCodes[] = L"Exit codes: 0 success, 1 the operation failed, 2 bad arguments.\n";

int RunHelp(const ParsedArguments& arguments, Format) {
    if (arguments.Operands().empty()) return WriteOut(GeneralUsage()) ? kExitOk : kExitFailure;
    const std::wstring& name = arguments.Operands().front();
    const Command* command = FindCommand(name);
    if (!command) return UsageError(L"unknown command '" + name + L"'");
    return WriteOut(CommandUsage(*command)) ? kExitOk : kExitFailure;
}

}  // namespace

std::wstring GeneralUsage() {
    std::vector<std::pair<std::wstring, std::wstring>> commands;
    for (const Command& command : Commands()) commands.emplace_back(command.name, command.summary);
    return L"Usage: orvclus COMMAND [OPTIONS]\n\nCommands:\n" + TwoColumns(commands) +
           L"\nOptions of every command:\n" + OptionTable(CommonOptions()) +
           L"\nRun 'orvclus help COMMAND' for the options of one command.\n" + kExitCodes;
}

std::wstring CommandUsage(const Command& command) {
    std::wstring usage = L"Usage: orvclus " + command.name;
    if (!command.operands.empty()) usage += L" " + command.operands;
    for (const OptionSpec& option : command.options) usage += L" [" + OptionName(option) + L"]";
    usage += L" [--json] [--trace]\n\n" + command.summary + L"\n";
    std::vector<OptionSpec> options = command.options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    return usage + L"\nOptions:\n" + OptionTable(options) + L"\n" + kExitCodes;
}

Command HelpCommand() {
    Command command;
    command.name = L"help";
    command.operands = L"[COMMAND]";
    command.maxOperands = 1;
    command.summary = L"Show this text, or how to use one command.";
    command.run = RunHelp;
    return command;
}

}  // namespace orvclus

// "help", "--help" and "--version": the usage of orvclus and of each command,
// built from the command table.

#include <windows.h>

#include "orvcluster.h"

#include "commands.h"
#include "console.h"

#ifndef ORVCLUS_VERSION
#define ORVCLUS_VERSION "0.0"
#endif

namespace orvclus {

namespace {

std::wstring OptionName(const OptionSpec& option) {
    if (option.value.empty()) return option.name;
    return option.name + L" " + option.value + (option.repeatable ? L" ..." : L"");
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
    for (const OptionSpec& option : options) rows.emplace_back(OptionName(option), option.help);
    return TwoColumns(rows);
}

Value OptionList(const std::vector<OptionSpec>& options) {
    std::vector<Value> items;
    for (const OptionSpec& option : options)
        items.push_back(Value::Object({L"name", L"value", L"help"},
                                      {Value::Text(option.name),
                                       option.value.empty() ? Value::None() : Value::Text(option.value),
                                       Value::Text(option.help)}));
    return Value::List(items);
}

const wchar_t* const kExitCodeMeanings[] = {L"success", L"the operation failed", L"bad arguments"};

std::wstring ExitCodesText() {
    std::wstring text = L"Exit codes:";
    for (int code = 0; code < 3; ++code)
        text += std::wstring(code ? L"," : L"") + L" " + std::to_wstring(code) + L" " + kExitCodeMeanings[code];
    return text + L".\n";
}

Value ExitCodes() {
    return Value::Object({L"0", L"1", L"2"}, {Value::Text(kExitCodeMeanings[0]), Value::Text(kExitCodeMeanings[1]),
                                              Value::Text(kExitCodeMeanings[2])});
}

std::wstring UsageLine(const Command& command) {
    std::wstring usage = L"orvclus " + command.name;
    if (!command.operands.empty()) usage += L" " + command.operands;
    for (const OptionSpec& option : command.options) usage += L" [" + OptionName(option) + L"]";
    return usage + L" [--json] [--trace]";
}

int PrintText(const std::wstring& text) {
    if (!WriteOut(text)) return Win32Failure(L"write to standard output", GetLastError());
    return kExitOk;
}

// What a failover-only command says of NRX, after its summary.
const wchar_t kFailoverOnly[] = L"Needs a failover cluster: on an NRX cluster it says so and fails.";

// The commands that need a failover cluster, as one line of the usage text.
std::wstring FailoverOnlyText() {
    std::wstring names;
    for (const Command& each : Commands())
        if (each.needs == Needs::FailoverCluster) names += (names.empty() ? L"" : L", ") + each.name;
    return L"The cluster is a Windows failover cluster or an NRX cluster. On an NRX cluster the nodes are its\n"
           L"systems, the groups its service groups, and states are shown per system (NRX keeps no single\n"
           L"owner). These commands need a failover cluster:\n  " + names + L".\n";
}

int RunHelp(const ParsedArguments& arguments, Format format) {
    if (arguments.Operands().empty()) return PrintUsage(nullptr, format);
    const std::wstring& name = arguments.Operands().front();
    const Command* command = FindCommand(name);
    if (!command) return UsageError(L"unknown command '" + name + L"' (run 'orvclus help' for the commands)");
    return PrintUsage(command, format);
}

}  // namespace

int PrintUsage(const Command* command, Format format) {
    if (!command) {
        if (format == Format::Json) {
            std::vector<Value> commands;
            for (const Command& each : Commands())
                commands.push_back(Value::Object(
                    {L"name", L"usage", L"summary", L"failover_only"},
                    {Value::Text(each.name), Value::Text(UsageLine(each)), Value::Text(each.summary),
                     Value::YesNo(each.needs == Needs::FailoverCluster)}));
            Report report;
            report.AddJsonOnly(L"usage", Value::Text(L"orvclus COMMAND [OPTIONS]"));
            report.AddJsonOnly(L"commands", Value::List(commands));
            report.AddJsonOnly(L"options", OptionList(CommonOptions()));
            report.AddJsonOnly(L"exit_codes", ExitCodes());
            return PrintReport(report, format);
        }
        std::vector<std::pair<std::wstring, std::wstring>> commands;
        for (const Command& each : Commands())
            commands.emplace_back(each.operands.empty() ? each.name : each.name + L" " + each.operands, each.summary);
        return PrintText(L"Usage: orvclus COMMAND [OPTIONS]\n\nCommands:\n" + TwoColumns(commands) + L"\n" +
                         FailoverOnlyText() + L"\nOptions of every command (before or after the command):\n" +
                         OptionTable(CommonOptions()) +
                         L"\nRun 'orvclus help COMMAND' for the options of one command; they too may come before the\n"
                         L"command.\n" + ExitCodesText());
    }
    std::vector<OptionSpec> options = command->options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    if (format == Format::Json) {
        Report report;
        report.AddJsonOnly(L"command", Value::Text(command->name));
        report.AddJsonOnly(L"usage", Value::Text(UsageLine(*command)));
        report.AddJsonOnly(L"summary", Value::Text(command->summary));
        report.AddJsonOnly(L"failover_only", Value::YesNo(command->needs == Needs::FailoverCluster));
        report.AddJsonOnly(L"details", command->details.empty() ? Value::None() : Value::Text(command->details));
        report.AddJsonOnly(L"options", OptionList(options));
        report.AddJsonOnly(L"exit_codes", ExitCodes());
        return PrintReport(report, format);
    }
    const bool failoverOnly = command->needs == Needs::FailoverCluster;
    return PrintText(L"Usage: " + UsageLine(*command) + L"\n\n" + command->summary + L"\n" +
                     (failoverOnly ? std::wstring(kFailoverOnly) + L"\n" : L"") +
                     (command->details.empty() ? L"" : L"\n" + command->details + L"\n") + L"\nOptions:\n" +
                     OptionTable(options) + L"\n" + ExitCodesText());
}

int PrintVersion(Format format) {
    // The library this run uses: the copy that the loader found.
    wchar_t library[MAX_PATH] = {};
    const HMODULE module = GetModuleHandleW(L"orvcluster.dll");
    if (!module || !GetModuleFileNameW(module, library, MAX_PATH)) library[0] = L'\0';
    const std::wstring version = FromUtf8(ORVCLUS_VERSION);
    Report report;
    report.SetHeadline(L"orvclus " + version);
    report.AddJsonOnly(L"version", Value::Text(version));
    report.Add(L"library", L"Library", library[0] ? Value::Text(library) : Value::None());
    return PrintReport(report, format);
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

// The table of commands and the options every command accepts.

#include "commands.h"

#include "orvcluster.h"

namespace orvclus {

const wchar_t kJsonOption[] = L"--json";
const wchar_t kTraceOption[] = L"--trace";
const wchar_t kHelpOption[] = L"--help";
const wchar_t kVersionOption[] = L"--version";

const std::vector<OptionSpec>& CommonOptions() {
    static const std::vector<OptionSpec> options = {
        {kJsonOption, L"", L"print the result as one JSON object"},
        {kTraceOption, L"", L"show the library's trace lines on standard error while the command runs"},
        {kHelpOption, L"", L"show how to use the command"},
        {kVersionOption, L"", L"show the version of orvclus and which orvcluster.dll it uses"},
    };
    return options;
}

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = [] {
        std::vector<Command> all = {StatusCommand()};
        for (const auto& family : {ClusterCommands(), StorageCommands(), IdentityCommands(), ApplicationCommands()})
            all.insert(all.end(), family.begin(), family.end());
        all.push_back(BackupDatabaseCommand());
        all.push_back(DefinitionCommand());
        all.push_back(WizardCommand());
        all.push_back(HelpCommand());
        return all;
    }();
    return commands;
}

const Command* FindCommand(const std::wstring& name) {
    for (const Command& command : Commands())
        if (orv::EqualsIgnoreCase(command.name, name)) return &command;
    return nullptr;
}

}  // namespace orvclus

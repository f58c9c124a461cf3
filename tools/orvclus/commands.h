#pragma once

#include <string>
#include <vector>

#include "arguments.h"
#include "report.h"

namespace orvclus {

// Which clusters a command can ask. Most questions have an answer on both
// kinds; what only the failover cluster API offers (its disks, networks,
// database, application resources, the wizard's steps) needs that kind.
enum class Needs { AnyCluster, FailoverCluster };

// One command of orvclus. Each family of commands lives in a file of its own
// and hands out its Command records; commands.cpp lists them all.
struct Command {
    std::wstring name;
    std::wstring operands;  // how the usage text shows its operands ("[COMMAND]")
    size_t maxOperands = 0;
    std::wstring summary;
    std::wstring details;  // more for "help COMMAND": what the operands are, what answers mean (lines of text)
    std::vector<OptionSpec> options;  // besides the options of every command
    Needs needs = Needs::AnyCluster;
    int (*run)(const ParsedArguments& arguments, Format format) = nullptr;
};

// Options that every command accepts.
extern const wchar_t kJsonOption[];
extern const wchar_t kTraceOption[];
extern const wchar_t kHelpOption[];
extern const wchar_t kVersionOption[];

const std::vector<OptionSpec>& CommonOptions();
const std::vector<Command>& Commands();
// The command of that name, in any letter case; null when there is none.
const Command* FindCommand(const std::wstring& name);

// The command families.
Command HelpCommand();
Command StatusCommand();
std::vector<Command> ClusterCommands();  // nodes, resources, groups, networks
std::vector<Command> StorageCommands();  // drives, disks, shared-volumes
std::vector<Command> IdentityCommands();     // whois, check-address
std::vector<Command> ApplicationCommands();  // sql, exchange, online, offline
Command BackupDatabaseCommand();
Command DefinitionCommand();
Command WizardCommand();  // the installation wizard's steps

// Usage, shared by "help" and "--help": of orvclus (null) or of one command.
int PrintUsage(const Command* command, Format format);

// "orvclus 1.0 (orvcluster.dll PATH)", or as JSON.
int PrintVersion(Format format);

}  // namespace orvclus

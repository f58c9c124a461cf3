#pragma once

#include <map>
#include <string>
#include <vector>

namespace orvclus {

// An option a command accepts. A switch has an empty `value`; an option with
// a value names it here ("NAME") for the usage text and takes it either as
// the next argument or after '=' ("--machine=NODE1"). A repeatable option
// with a value may be given more than once ("--without A --without B").
struct OptionSpec {
    std::wstring name;
    std::wstring value;
    std::wstring help;
    bool repeatable = false;
};

// The options and operands of a command line once they have been checked.
class ParsedArguments {
public:
    bool Has(const std::wstring& option) const { return options_.count(option) != 0; }
    // The value given to an option, or null when it was not given.
    const std::wstring* Value(const std::wstring& option) const;
    // Every value given to a repeatable option, in command-line order.
    std::vector<std::wstring> Values(const std::wstring& option) const;
    const std::vector<std::wstring>& Operands() const { return operands_; }

private:
    friend bool ParseArguments(const std::vector<std::wstring>&, const std::vector<OptionSpec>&,
                               size_t, const std::wstring&, ParsedArguments&, std::wstring&);
    std::map<std::wstring, std::vector<std::wstring>> options_;
    std::vector<std::wstring> operands_;
};

// Checks `tokens` against `options`, allowing at most `maxOperands` operands
// (after "--" every token is an operand). On the first bad token answers
// false with `error` set to a one-line explanation. `command` names the
// command in that explanation.
bool ParseArguments(const std::vector<std::wstring>& tokens, const std::vector<OptionSpec>& options,
                    size_t maxOperands, const std::wstring& command, ParsedArguments& result,
                    std::wstring& error);

// Whether the token names an option ("--json", "--machine=NODE1", "-h"),
// not an operand.
bool IsOptionToken(const std::wstring& token);

// The argument written so that CommandLineToArgvW and the C runtime read it
// back unchanged: quoted when needed, with quotes and the backslashes before
// them escaped.
std::wstring QuoteArgument(const std::wstring& argument);

}  // namespace orvclus

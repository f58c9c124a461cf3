// The command-line parser shared by every command.

#include "arguments.h"

namespace orvclus {

namespace {

const OptionSpec* FindOption(const std::vector<OptionSpec>& options, const std::wstring& name) {
    for (const OptionSpec& option : options)
        if (option.name == name) return &option;
    return nullptr;
}

}  // namespace

const std::wstring* ParsedArguments::Value(const std::wstring& option) const {
    auto found = options_.find(option);
    return found == options_.end() ? nullptr : &found->second.front();
}

std::vector<std::wstring> ParsedArguments::Values(const std::wstring& option) const {
    auto found = options_.find(option);
    return found == options_.end() ? std::vector<std::wstring>() : found->second;
}

bool IsOptionToken(const std::wstring& token) { return token.size() > 1 && token[0] == L'-'; }

bool ParseArguments(const std::vector<std::wstring>& tokens, const std::vector<OptionSpec>& options,
                    size_t maxOperands, const std::wstring& command, ParsedArguments& result,
                    std::wstring& error) {
    result = ParsedArguments();
    bool operandsOnly = false;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const std::wstring& token = tokens[i];
        if (!operandsOnly && token == L"--") {
            operandsOnly = true;
            continue;
        }
        if (operandsOnly || !IsOptionToken(token)) {
            if (result.operands_.size() >= maxOperands) {
                error = L"unexpected argument '" + token + L"' for '" + command + L"'";
                return false;
            }
            result.operands_.push_back(token);
            continue;
        }

        const size_t equals = token.find(L'=');
        const std::wstring name = token.substr(0, equals);
        const OptionSpec* option = FindOption(options, name);
        if (!option) {
            error = L"'" + command + L"' has no option '" + name + L"'";
            return false;
        }
        std::wstring value;
        if (option->value.empty()) {
            if (equals != std::wstring::npos) {
                error = L"option '" + name + L"' takes no value";
                return false;
            }
        } else {
            if (equals != std::wstring::npos) {
                value = token.substr(equals + 1);
            } else if (i + 1 < tokens.size() && !IsOptionToken(tokens[i + 1])) {
                // An option name where the value should be means the value is missing.
                value = tokens[++i];
            }
            if (value.empty()) {
                error = L"option '" + name + L"' needs a value (" + option->value + L")";
                return false;
            }
            if (result.Has(name) && !option->repeatable) {
                error = L"option '" + name + L"' given more than once";
                return false;
            }
        }
        result.options_[name].push_back(value);
    }
    return true;
}

std::wstring QuoteArgument(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) return argument;
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        // Backslashes count double only in front of a quote.
        quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        quoted.push_back(c);
        backslashes = 0;
    }
    // ... and in front of the closing quote.
    quoted.append(backslashes * 2, L'\\');
    quoted.push_back(L'"');
    return quoted;
}

}  // namespace orvclus

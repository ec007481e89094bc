// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <system_error>

#include <CLI/CLI.hpp>

#include "tools/check/Similar.h"
#include "tools/completion/Words.h"
#include "tools/help/Reason.h"
#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

std::vector<std::string> NamesOfCommands() {
    std::vector<std::string> names;
    for (const CommandRow& row : Commands())
        names.push_back(row.name);
    return names;
}

// "; did you mean "led"?", or what there is.
std::string Known(const std::string& word, const std::vector<std::string>& known) {
    const std::string similar = FindSimilar(word, known);
    return similar.empty() ? "; there are: " + Joined(known, ", ") : "; did you mean \"" + similar + "\"?";
}

std::string InQuotes(const std::string& word) {
    return "\"" + Escaped(word) + "\"";
}

std::string Lower(std::string description) {
    description.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(description.front())));
    return description;
}

[[noreturn]] void Refuse(const std::string& what, const std::string& command) {
    const std::string called = command.empty() ? "velrixctl --help" : "velrixctl help " + command;
    throw CommandError(what + "\n\"" + called + "\" says what can be given.");
}

bool IsOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

} // namespace

CommandLine::CommandLine(int argc, const char* const* argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    const std::string first = words.empty() ? "--help" : words.front();
    if (first == "--help" || first == "-h" || first == "--version") {
        command = FindCommand(first == "--version" ? "version" : "help");
        if (words.size() > 1)
            Refuse(InQuotes(words[1]) + " is one too many after " + first, "");
        return;
    }
    command = FindCommand(first);
    if (command == nullptr)
        Refuse(IsOption(first) ? "there is no option " + Escaped(first)
                               : "there is no command " + InQuotes(first) + Known(first, NamesOfCommands()),
               "");
    words.erase(words.begin());
    Parse(std::move(words));
    if (Has("--help")) {
        values = {{"COMMAND", {command->name}}};
        command = FindCommand("help");
    }
    CheckArguments();
}

void CommandLine::Parse(std::vector<std::string> words) {
    // Behind "--" are no options.
    const auto separator = std::find(words.begin(), words.end(), "--");
    const std::vector<std::string> last(separator == words.end() ? separator : separator + 1, words.end());
    words.erase(separator, words.end());

    std::vector<std::string> rest = TakeOptions(std::move(words));
    for (const std::string& word : rest)
        if (IsOption(word))
            Refuse("there is no option " + Escaped(word), command->name);
    rest.insert(rest.end(), last.begin(), last.end());
    std::size_t place = 0;
    for (const std::string& word : rest) {
        if (place == command->arguments.size())
            Refuse(InQuotes(word) + " is one too many", command->name);
        const ArgumentRow& argument = command->arguments[place];
        values[argument.name].push_back(word);
        place += argument.isRepeated ? 0 : 1;
    }
}

std::vector<std::string> CommandLine::TakeOptions(std::vector<std::string> words) {
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    std::map<std::string, std::string> found;
    std::map<std::string, bool> flags;
    std::vector<OptionRow> options = command->options;
    options.push_back(HelpOption());
    for (const OptionRow& option : options) {
        const std::string names = option.name == "--help" ? "-h,--help" : option.name;
        if (option.value.empty())
            app.add_flag(names, flags[option.name], option.description);
        else
            app.add_option(names, found[option.name], option.description)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    }
    std::reverse(words.begin(), words.end()); // as CLI11 takes them
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        const auto valueOf = [&](const std::string& name) {
            const auto row =
                std::find_if(options.begin(), options.end(), [&](const auto& each) { return each.name == name; });
            return row == options.end() ? std::string("a value") : row->value;
        };
        Refuse(ReasonOf(error.get_name(), error.what(), valueOf), command->name);
    }
    for (const auto& [name, isGiven] : flags)
        if (isGiven)
            values[name];
    for (const auto& [name, given] : found)
        if (app.get_option(name)->count() > 0)
            values[name] = {given};
    return app.remaining();
}

void CommandLine::CheckArguments() const {
    for (const ArgumentRow& argument : command->arguments) {
        if (argument.isRequired && !Has(argument.name))
            Refuse(argument.name + " is missing" +
                       (argument.choices.empty() ? "" : "; there are: " + Joined(argument.choices, ", ")),
                   command->name);
        for (const std::string& word : Values(argument.name))
            if (!argument.choices.empty() &&
                std::find(argument.choices.begin(), argument.choices.end(), word) == argument.choices.end())
                Refuse(argument.name + " (" + Lower(argument.description) + ") cannot be " + InQuotes(word) +
                           Known(word, argument.choices),
                       command->name);
    }
}

std::string CommandLine::Value(const std::string& name) const {
    const auto found = values.find(name);
    return found == values.end() || found->second.empty() ? "" : found->second.back();
}

std::vector<std::string> CommandLine::Values(const std::string& name) const {
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>() : found->second;
}

long long CommandLine::Number(const std::string& option, long long otherwise, long long least, long long most) const {
    if (!Has(option))
        return otherwise;
    const std::string text = Value(option);
    long long number = 0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || last != text.data() + text.size() || number < least || number > most)
        Refuse(option + " takes a number from " + std::to_string(least) + " to " + std::to_string(most) + ", not " +
                   InQuotes(text),
               command->name);
    return number;
}

} // namespace VelrixTools

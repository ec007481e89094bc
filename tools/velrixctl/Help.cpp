// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Help.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

// Two columns; a name that is too long for the first gets a line to itself.
std::string Columns(const Rows& rows, std::size_t width) {
    constexpr std::size_t WIDEST_NAME = 16;
    std::size_t names = 0;
    for (const auto& [name, description] : rows)
        names = std::max(names, std::min(name.size(), WIDEST_NAME));
    const std::size_t indentation = names + 4;
    std::string text;
    for (const auto& [name, description] : rows) {
        const std::string wrapped = Wrapped(description, width, indentation);
        const std::string begin = "  " + name;
        text += begin.size() + 2 <= indentation ? begin + wrapped.substr(begin.size()) : begin + "\n" + wrapped;
    }
    return text;
}

std::string WithChoices(const ArgumentRow& argument) {
    std::string text = argument.description + (argument.choices.empty() ? "" : ":");
    for (const std::string& choice : argument.choices)
        text += " " + choice + (choice == argument.choices.back() ? "" : ",");
    return text;
}

std::string NameOf(const OptionRow& option) {
    return option.name + (option.value.empty() ? "" : " " + option.value);
}

} // namespace

std::string UsageOf(const CommandRow& command) {
    std::string usage = "velrixctl " + command.name;
    for (const ArgumentRow& argument : command.arguments) {
        const std::string name = argument.name + (argument.isRepeated ? "..." : "");
        usage += argument.isRequired ? " " + name : " [" + name + "]";
    }
    return usage + " [OPTION]...";
}

std::string Help(std::size_t width) {
    Rows commands, exits;
    for (const CommandRow& command : Commands())
        commands.emplace_back(command.name, command.summary);
    for (const ExitRow& row : ExitCodes())
        exits.emplace_back(std::to_string(row.code), row.meaning);
    return "Usage: velrixctl COMMAND [ARGUMENT]... [OPTION]...\n\nCommands to " + std::string(ABOUT) + ":\n\n" +
           Columns(commands, width) + "\nExit codes:\n\n" + Columns(exits, width) + "\n" +
           Wrapped("\"velrixctl help COMMAND\" explains a command.", width, 0);
}

std::string HelpOf(const CommandRow& command, std::size_t width) {
    std::string text = "Usage: " + UsageOf(command) + "\n\n" + command.summary + ".\n";
    for (const std::string& paragraph : command.text)
        text += "\n" + Wrapped(paragraph, width, 0);
    Rows rows;
    for (const ArgumentRow& argument : command.arguments)
        rows.emplace_back(argument.name, WithChoices(argument));
    for (const OptionRow& option : command.options)
        rows.emplace_back(NameOf(option), option.description);
    rows.emplace_back(HelpOption().name, HelpOption().description);
    return text + "\n" + Columns(rows, width);
}

} // namespace VelrixTools

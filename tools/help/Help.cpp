// SPDX-License-Identifier: Apache-2.0
#include "tools/help/Help.h"

#include <algorithm>
#include <vector>

#include "tools/completion/Words.h"
#include "tools/help/Layout.h"

namespace VelrixTools {

namespace {

// The second line of a long usage begins below the tool's name.
std::string WrappedUsage(const std::string& usage, std::size_t width) {
    const std::string begin = "Usage: ";
    return begin + Wrapped(usage, width, begin.size()).substr(begin.size());
}

// "velrixctl led NAME PATTERN [OPTION]..."
std::string UsageOf(const Tool& tool, const CommandRow& command) {
    std::string usage = tool.name + " " + command.name;
    for (const ArgumentRow& argument : command.arguments) {
        const std::string name = argument.name + (argument.isRepeated ? "..." : "");
        usage += argument.isRequired ? " " + name : " [" + name + "]";
    }
    return usage + " [OPTION]..." + (command.runsProgram ? " -- PROGRAM [ARGUMENT]..." : "");
}

HelpRow RowOf(const ArgumentRow& argument) {
    const std::string choices = argument.choices.empty() ? "" : ": " + Joined(argument.choices, ", ");
    return {argument.name, argument.description + choices};
}

HelpRow RowOf(const OptionRow& option) {
    std::string name = (option.name == "--help" ? "-h, " : "") + option.name;
    name += option.value.empty() ? "" : " " + option.value;
    name += option.optionalValue.empty() ? "" : "[=" + option.optionalValue + "]";
    return {name, option.description};
}

// The section with the heading, made if it is missing.
HelpSection& SectionOf(std::vector<HelpSection>& sections, const std::string& heading) {
    const auto found =
        std::find_if(sections.begin(), sections.end(), [&](const auto& section) { return section.heading == heading; });
    return found != sections.end() ? *found : sections.emplace_back(HelpSection{heading, {}});
}

// Arguments first, then the groups in the order of their first options; options without a group are the last.
std::vector<HelpSection> SectionsOf(const CommandRow& command) {
    std::vector<HelpSection> sections(1);
    for (const ArgumentRow& argument : command.arguments)
        sections.front().rows.push_back(RowOf(argument));
    const bool hasGroups = std::any_of(command.options.begin(), command.options.end(),
                                       [](const auto& each) { return !each.group.empty(); });
    HelpSection others{hasGroups ? "Other options" : "", {}};
    for (const OptionRow& option : command.options)
        if (!option.group.empty())
            SectionOf(sections, option.group).rows.push_back(RowOf(option));
        else
            (hasGroups ? others : sections.front()).rows.push_back(RowOf(option));
    sections.push_back(std::move(others));
    return sections;
}

} // namespace

std::string Help(const Tool& tool, std::size_t width) {
    std::vector<HelpSection> sections = {{"Commands", {}}, {"Options", {}}, {"Exit codes", {}}};
    for (const CommandRow& command : tool.commands)
        sections[0].rows.push_back({command.name, command.summary});
    for (const OptionRow& option : tool.options)
        sections[1].rows.push_back(RowOf(option));
    for (const ExitRow& row : tool.exits)
        sections[2].rows.push_back({std::to_string(row.code), row.meaning});
    std::string text = WrappedUsage(tool.name + " COMMAND [ARGUMENT]... [OPTION]...", width) + "\n" +
                       Wrapped(tool.summary + ".", width, 0) + InColumns(sections, width);
    if (!tool.footer.empty())
        text += "\n" + Wrapped(tool.footer, width, 0);
    return text + "\n" + Wrapped("\"" + tool.name + " help COMMAND\" explains a command.", width, 0);
}

std::string HelpOf(const Tool& tool, const CommandRow& command, std::size_t width) {
    std::string text = WrappedUsage(UsageOf(tool, command), width) + "\n" + Wrapped(command.summary + ".", width, 0);
    for (const std::string& paragraph : command.text)
        text += "\n" + Wrapped(paragraph, width, 0);
    text += InColumns(SectionsOf(command), width);
    if (!command.footer.empty())
        text += "\n" + Wrapped(command.footer, width, 0);
    return text;
}

} // namespace VelrixTools

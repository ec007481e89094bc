// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Pages.h"

#include <algorithm>

#include "tools/completion/Completion.h"
#include "tools/completion/Words.h"
#include "tools/velrixctl/CommandTable.h"

namespace VelrixTools {

namespace {

// A hyphen is a minus, which can be copied into a shell; a line that begins with a dot would be a request.
std::string Troff(const std::string& text) {
    const std::string escaped = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string ManualTag(const std::string& bold, const std::string& italic, const std::string& text) {
    return ".TP\n.B " + Troff(bold) + (italic.empty() ? "" : " \\fI" + Troff(italic) + "\\fR") + "\n" + Troff(text) +
           "\n";
}

std::string ManualCommand(const CommandRow& command) {
    std::string page = ".SS velrixctl " + Troff(command.name);
    for (const ArgumentRow& argument : command.arguments)
        page +=
            argument.isRequired ? " " + argument.name : " [" + argument.name + (argument.isRepeated ? "..." : "") + "]";
    page += " [OPTION]...\n" + Troff(command.summary) + ".\n";
    for (const std::string& paragraph : command.text)
        page += ".PP\n" + Troff(paragraph) + "\n";
    for (const ArgumentRow& argument : command.arguments)
        page +=
            ManualTag(argument.name, "",
                      argument.description + (argument.choices.empty() ? "" : ": " + Joined(argument.choices)) + ".");
    std::vector<OptionRow> options = command.options;
    options.push_back(HelpOption());
    for (const OptionRow& option : options)
        page += ManualTag(option.name, option.value, option.description + ".");
    return page;
}

} // namespace

std::string ManualPage() {
    std::string page = ".\\\" SPDX-License-Identifier: Apache-2.0\n.TH VELRIXCTL 1 2026-11-22 \"Velrix " VELRIX_VERSION
                       "\" \"Velrix\"\n.SH NAME\nvelrixctl \\- " +
                       Troff(ABOUT) + "\n.SH SYNOPSIS\n";
    page += ".B velrixctl\n.I COMMAND\n.RI [ ARGUMENT ...]\n.RI [ OPTION ...]\n.SH DESCRIPTION\n";
    page += "Answers whether a settings file is right, what the board shows and why the library does not work here, "
            "and drives "
            "the board by hand. Uses the library as an application does.\n.SH COMMANDS\n";
    for (const CommandRow& command : Commands())
        page += ManualCommand(command);
    page += ".SH EXIT STATUS\n";
    for (const ExitRow& row : ExitCodes())
        page += ManualTag(std::to_string(row.code), "", row.meaning + ".");
    page += ".SH ENVIRONMENT\n" +
            ManualTag("NO_COLOR", "",
                      "If it is set and not empty, output has no colours. It has none either where it is no terminal.");
    page += ".SH FILES\n" + ManualTag("/etc/velrix.conf", "", "The settings file.");
    return page + ".SH SEE ALSO\n.BR velrix.conf (5),\n.BR velrix-board (1)\n";
}

std::string BashCompletion() {
    return BashCompletion(ThisTool());
}

std::string ZshCompletion() {
    return ZshCompletion(ThisTool());
}

std::string FishCompletion() {
    return FishCompletion(ThisTool());
}

} // namespace VelrixTools

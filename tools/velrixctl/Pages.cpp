// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Pages.h"

#include <algorithm>

#include "tools/velrixctl/CommandTable.h"

namespace VelrixTools {

namespace {

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

// A hyphen is a minus, which can be copied into a shell; a line that begins with a dot would be a request.
std::string Troff(const std::string& text) {
    const std::string escaped = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string InQuotes(const std::string& text) {
    return "'" + Replaced(text, "'", "'\\''") + "'";
}

std::string Words(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

std::vector<OptionRow> OptionsOf(const CommandRow& command) {
    std::vector<OptionRow> options = command.options;
    options.push_back(HelpOption());
    return options;
}

std::string NamesOf(const std::vector<OptionRow>& options, bool onlyWithValue) {
    std::vector<std::string> names;
    for (const OptionRow& option : options)
        if (!onlyWithValue || !option.value.empty())
            names.push_back(option.name);
    return Words(names);
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
                      argument.description + (argument.choices.empty() ? "" : ": " + Words(argument.choices)) + ".");
    for (const OptionRow& option : OptionsOf(command))
        page += ManualTag(option.name, option.value, option.description + ".");
    return page;
}

// The words that can be at a place of the command line: those of the last argument, if that is repeated.
std::string BashArguments(const CommandRow& command) {
    std::string cases;
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentRow& argument = command.arguments[i];
        cases += "                " + (argument.isRepeated ? std::string("*") : std::to_string(i)) + ") " +
                 (argument.choices.empty() ? "files=1" : "words=" + InQuotes(Words(argument.choices))) + " ;;\n";
    }
    return cases.empty() ? "" : "            case $place in\n" + cases + "            esac\n";
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
    return page + ".SH SEE ALSO\n.BR velrix-board (1)\n";
}

std::string BashCompletion() {
    std::vector<std::string> names;
    std::string cases;
    for (const CommandRow& command : Commands()) {
        names.push_back(command.name);
        cases += "        " + command.name + ")\n            options=" + InQuotes(NamesOf(OptionsOf(command), false)) +
                 "\n            valued=" + InQuotes(NamesOf(OptionsOf(command), true)) + "\n" + BashArguments(command) +
                 "            ;;\n";
    }
    return "# bash completion of velrixctl, made from its table of commands\n_velrixctl() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} options='' valued='' "
           "words='' files=''\n"
           "    local place=-1 i\n    COMPREPLY=()\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n        [[ ${COMP_WORDS[i]} == -* ]] || ((++place))\n    done\n"
           "    if ((COMP_CWORD == 1)); then\n        mapfile -t COMPREPLY < <(compgen -W " +
           InQuotes(Words(names) + " --help --version") +
           " -- \"$word\")\n        return\n    fi\n    case ${COMP_WORDS[1]} in\n" + cases +
           "    esac\n"
           "    if [[ \" $valued \" == *\" $before \"* ]]; then\n        compopt -o default 2>/dev/null\n        "
           "return\n    fi\n"
           "    [[ $word == -* ]] && words=$options\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           "    if [[ -n $files && $word != -* ]]; then\n        compopt -o default 2>/dev/null\n    fi\n}\n"
           "complete -F _velrixctl velrixctl\n";
}

std::string ZshCompletion() {
    // Within a specification of _arguments, brackets and colons are special.
    const auto plain = [](std::string text) {
        for (const char* special : {"[", "]", ":"})
            text = Replaced(text, special, std::string("\\") + special);
        return text;
    };
    std::string described, cases;
    for (const CommandRow& command : Commands()) {
        described += "        " + InQuotes(command.name + ":" + plain(command.summary)) + "\n";
        cases += "        " + command.name + ")\n            _arguments";
        for (const OptionRow& option : OptionsOf(command))
            cases += " \\\n                " + InQuotes(option.name + "[" + plain(option.description) + "]" +
                                                        (option.value.empty() ? "" : ":" + option.value + ":_files"));
        for (const ArgumentRow& argument : command.arguments)
            cases += " \\\n                " +
                     InQuotes(std::string(argument.isRepeated ? "*" : "") + ":" + argument.name + ":" +
                              (argument.choices.empty() ? "_files" : "(" + Words(argument.choices) + ")"));
        cases += "\n            ;;\n";
    }
    return "#compdef velrixctl\n# zsh completion of velrixctl, made from its table of commands\n"
           "local context state state_descr line\ntypeset -A opt_args\n_arguments -C '1:command:->command' "
           "'*::argument:->argument'\ncase $state "
           "in\ncommand)\n"
           "    local -a commands=(\n" +
           described + "    )\n    _describe command commands\n    ;;\nargument)\n    case $line[1] in\n" + cases +
           "    esac\n    ;;\nesac\n";
}

std::string FishCompletion() {
    std::string script = "# fish completion of velrixctl, made from its table of commands\ncomplete -c velrixctl -f\n";
    for (const CommandRow& command : Commands()) {
        const std::string within = "complete -c velrixctl -n '__fish_seen_subcommand_from " + command.name + "'";
        script += "complete -c velrixctl -n __fish_use_subcommand -a " + command.name + " -d " +
                  InQuotes(command.summary) + "\n";
        for (const OptionRow& option : OptionsOf(command))
            script += within + " -l " + option.name.substr(2) + (option.value.empty() ? "" : " -r -F") + " -d " +
                      InQuotes(option.description) + "\n";
        for (const ArgumentRow& argument : command.arguments)
            script += within + (argument.choices.empty() ? " -F" : " -a " + InQuotes(Words(argument.choices))) +
                      " -d " + InQuotes(argument.description) + "\n";
    }
    return script;
}

} // namespace VelrixTools

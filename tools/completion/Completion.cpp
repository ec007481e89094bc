// SPDX-License-Identifier: Apache-2.0
#include "tools/completion/Completion.h"

#include "tools/completion/Words.h"

namespace VelrixTools {

namespace {

std::string InQuotes(const std::string& text) {
    return "'" + Replaced(text, "'", "'\\''") + "'";
}

// The shell function of the tool: "_velrix_board".
std::string FunctionOf(const Tool& tool) {
    return "_" + Replaced(tool.name, "-", "_");
}

std::string NamesOf(const std::vector<OptionRow>& options, bool onlyWithValue) {
    std::vector<std::string> names;
    for (const OptionRow& option : options)
        if (!onlyWithValue || !option.value.empty())
            names.push_back(option.name);
    return Joined(names);
}

// The words that can be at a place of the command line: those of the last argument, if that is repeated.
std::string BashArguments(const CommandRow& command) {
    std::string cases;
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentRow& argument = command.arguments[i];
        cases += "                " + (argument.isRepeated ? std::string("*") : std::to_string(i)) + ") " +
                 (argument.choices.empty() ? "files=1" : "words=" + InQuotes(Joined(argument.choices))) + " ;;\n";
    }
    return cases.empty() ? "" : "            case $place in\n" + cases + "            esac\n";
}

// The values of the options that have a list of them.
std::string BashValues(const CommandRow& command) {
    std::string cases;
    for (const OptionRow& option : command.options)
        if (!option.choices.empty())
            cases += "                " + option.name + ") values=" + InQuotes(Joined(option.choices)) + " ;;\n";
    return cases.empty() ? "" : "            case $before in\n" + cases + "            esac\n";
}

std::string BashCases(const Tool& tool) {
    std::string cases;
    for (const CommandRow& command : tool.commands)
        cases += "        " + command.name + ")\n            options=" +
                 InQuotes(NamesOf(command.options, false) + (command.runsProgram ? " --" : "")) +
                 "\n            valued=" + InQuotes(NamesOf(command.options, true)) + "\n" + BashArguments(command) +
                 BashValues(command) + "            ;;\n";
    return cases;
}

// Within a specification of _arguments, brackets and colons are special.
std::string ZshText(std::string text) {
    for (const char* special : {"[", "]", ":"})
        text = Replaced(text, special, std::string("\\") + special);
    return text;
}

std::string ZshWords(const std::vector<std::string>& choices) {
    return choices.empty() ? "_files" : "(" + Joined(choices) + ")";
}

std::string ZshCase(const CommandRow& command) {
    const std::string next = " \\\n                ";
    std::string text = "        " + command.name + ")\n            _arguments";
    for (const OptionRow& option : command.options)
        text +=
            next + InQuotes(option.name + "[" + ZshText(option.description) + "]" +
                            (option.value.empty() ? "" : ":" + ZshText(option.value) + ":" + ZshWords(option.choices)));
    for (const ArgumentRow& argument : command.arguments)
        text += next + InQuotes(std::string(argument.isRepeated ? "*" : "") + ":" + argument.name + ":" +
                                ZshWords(argument.choices));
    if (command.runsProgram)
        text += next + "'*::program:_normal'";
    return text + "\n            ;;\n";
}

} // namespace

std::string BashCompletion(const Tool& tool) {
    std::vector<std::string> names;
    std::string afterDashes;
    for (const CommandRow& command : tool.commands) {
        names.push_back(command.name);
        if (command.runsProgram)
            // The program after "--" is completed as bash-completion completes a command, or as a file.
            afterDashes = "        if [[ ${COMP_WORDS[i]} == -- ]]; then\n"
                          "            declare -F _command_offset >/dev/null && _command_offset $((i + 1)) ||\n"
                          "                compopt -o default 2>/dev/null\n            return\n        fi\n";
    }
    const std::string function = FunctionOf(tool);
    return "# bash completion of " + tool.name + ", made from its commands\n" + function +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} options='' valued='' "
           "words='' files='' values=''\n"
           "    local place=-1 i\n    COMPREPLY=()\n"
           "    [[ $before == = ]] && before=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n" +
           afterDashes +
           "        [[ ${COMP_WORDS[i]} == -* ]] || ((++place))\n    done\n"
           "    if ((COMP_CWORD == 1)); then\n        mapfile -t COMPREPLY < <(compgen -W " +
           InQuotes(Joined(names) + " " + NamesOf(tool.options, false)) +
           " -- \"$word\")\n        return\n    fi\n    case ${COMP_WORDS[1]} in\n" + BashCases(tool) +
           "    esac\n"
           "    if [[ -n $values ]]; then\n        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$word\")\n"
           "        return\n    fi\n"
           "    if [[ \" $valued \" == *\" $before \"* ]]; then\n        compopt -o default 2>/dev/null\n        "
           "return\n    fi\n"
           "    [[ $word == -* ]] && words=$options\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           "    if [[ -n $files && $word != -* ]]; then\n        compopt -o default 2>/dev/null\n    fi\n}\n"
           "complete -F " +
           function + " " + tool.name + "\n";
}

std::string ZshCompletion(const Tool& tool) {
    std::string described, cases;
    for (const CommandRow& command : tool.commands) {
        described += "        " + InQuotes(command.name + ":" + ZshText(command.summary)) + "\n";
        cases += ZshCase(command);
    }
    std::string options;
    for (const OptionRow& option : tool.options)
        options += InQuotes("(- *)" + option.name + "[" + ZshText(option.description) + "]") + " ";
    return "#compdef " + tool.name + "\n# zsh completion of " + tool.name +
           ", made from its commands\n"
           "local context state state_descr line\ntypeset -A opt_args\n_arguments -C " +
           options +
           "'1:command:->command' '*::argument:->argument'\ncase $state "
           "in\ncommand)\n"
           "    local -a commands=(\n" +
           described + "    )\n    _describe command commands\n    ;;\nargument)\n    case $line[1] in\n" + cases +
           "    esac\n    ;;\nesac\n";
}

std::string FishCompletion(const Tool& tool) {
    const std::string complete = "complete -c " + tool.name;
    std::string script = "# fish completion of " + tool.name + ", made from its commands\n" + complete + " -f\n";
    for (const OptionRow& option : tool.options)
        script += complete + " -n __fish_use_subcommand -l " + option.name.substr(2) + " -d " +
                  InQuotes(option.description) + "\n";
    for (const CommandRow& command : tool.commands) {
        const std::string within = complete + " -n '__fish_seen_subcommand_from " + command.name + "'";
        script += complete + " -n __fish_use_subcommand -a " + command.name + " -d " + InQuotes(command.summary) + "\n";
        for (const OptionRow& option : command.options) {
            const std::string value = option.choices.empty() ? " -r -F" : " -x -a " + InQuotes(Joined(option.choices));
            script += within + " -l " + option.name.substr(2) + (option.value.empty() ? "" : value) + " -d " +
                      InQuotes(option.description) + "\n";
        }
        for (const ArgumentRow& argument : command.arguments)
            script += within + (argument.choices.empty() ? " -F" : " -a " + InQuotes(Joined(argument.choices))) +
                      " -d " + InQuotes(argument.description) + "\n";
        if (command.runsProgram)
            script += within + " -F\n";
    }
    return script;
}

} // namespace VelrixTools

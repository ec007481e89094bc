// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/CommandTable.h"

#include <algorithm>

#include "tools/check/SettingsKeys.h"
#include "tools/velrixctl/LedPatterns.h"

namespace VelrixTools {

namespace {

const OptionRow JSON = {"--json", "", "Print JSON for programs"};
const OptionRow WATCH_FOR = {"--for", "SECONDS", "End after this time, such as 2.5"};

template <class Wanted>
std::vector<std::string> Labels(const Wanted& wanted) {
    std::vector<std::string> labels;
    for (const SettingsKey& key : SettingsKeys())
        if (wanted(key) && std::find(labels.begin(), labels.end(), key.label) == labels.end())
            labels.emplace_back(key.label);
    return labels;
}

std::vector<std::string> Outputs() {
    return Labels([](const SettingsKey& key) { return key.kind == KeyKind::OUTPUT; });
}

std::vector<std::string> Leds() {
    return Labels([](const SettingsKey& key) { return key.kind == KeyKind::LED; });
}

std::vector<std::string> NamesOfPatterns() {
    std::vector<std::string> names;
    for (const LedPattern& pattern : LedPatterns())
        names.emplace_back(pattern.name);
    return names;
}

std::vector<std::string> NamesOfIndications() {
    std::vector<std::string> names;
    for (const Indication& indication : Indications())
        names.emplace_back(indication.name);
    return names;
}

std::vector<std::string> NamesOfKeys() {
    std::vector<std::string> names;
    for (const SettingsKey& key : SettingsKeys())
        if (std::find(names.begin(), names.end(), key.name) == names.end())
            names.emplace_back(key.name);
    return names;
}

std::vector<std::string> NamesOfSectionsAndKeys() {
    std::vector<std::string> names;
    for (const SettingsKey& key : SettingsKeys())
        if (*key.section != '\0' && (names.empty() || names.back() != key.section))
            names.emplace_back(key.section);
    const std::vector<std::string> keys = NamesOfKeys();
    names.insert(names.end(), keys.begin(), keys.end());
    return names;
}

std::vector<CommandRow> MakeCommands();

} // namespace

const std::vector<CommandRow>& Commands() {
    static const std::vector<CommandRow> commands = MakeCommands();
    return commands;
}

const CommandRow* FindCommand(std::string_view name) {
    const std::vector<CommandRow>& commands = Commands();
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const auto& row) { return row.name == name; });
    return found == commands.end() ? nullptr : &*found;
}

const OptionRow& HelpOption() {
    static const OptionRow help = {"--help", "", "Show this help"};
    return help;
}

const std::vector<ExitRow>& ExitCodes() {
    static const std::vector<ExitRow> codes = {
        {EXIT_GOOD, "everything is good, or the command did what it says"},
        {EXIT_WRONG, "something is wrong: an error in a file, a module that is not ready, a test that failed"},
        {EXIT_FAILED,
         "the command could not do its work: a wrong argument, a file that cannot be read, output that cannot be "
         "written"},
    };
    return codes;
}

namespace {

Tool MakeTool() {
    Tool tool{"velrixctl",
              Commands(),
              {HelpOption(), {"--version", "", "Show the versions"}},
              "Look at a Velrix board and drive it by hand",
              ExitCodes()};
    for (CommandRow& command : tool.commands)
        command.options.push_back(HelpOption());
    return tool;
}

} // namespace

const Tool& ThisTool() {
    static const Tool tool = MakeTool();
    return tool;
}

namespace {

const std::string CHANGES_NOTHING = "Changes nothing on the board.";

std::vector<CommandRow> MakeCommands() {
    std::vector<CommandRow> commands;

    commands.push_back(
        {"check",
         "Judge settings files",
         {"Says what is wrong in a settings file, where, and what was probably meant: all unknown names and wrong "
          "numbers in "
          "one run, up to the first syntax error. Accepts a file if, and only if, the library does. Warns of what the "
          "library accepts and nobody means. Needs neither privileges nor hardware.",
          CHANGES_NOTHING},
         {{"FILE", "Settings file; /etc/velrix.conf without one", false, true}},
         {{"--paths", "", "Also warn of paths in the file that do not exist here"},
          JSON,
          {"--sarif", "", "Print a SARIF 2.1.0 log, for editors and code-review services"}}});

    commands.push_back(
        {"settings",
         "Show every setting and where it comes from",
         {"Prints the values that applications on this device use, as a settings file, with the line that each value "
          "comes "
          "from or \"default\".",
          CHANGES_NOTHING},
         {},
         {JSON,
          {"--defaults", "", "Print a complete example file with the defaults and the meaning of every key"},
          {"--diff", "", "Print only what differs from the defaults"}}});

    commands.push_back(
        {"explain",
         "Explain sections and keys of the settings file",
         {"Prints meaning, default and an example of a key, or of all keys of a section; without a name, of all.",
          CHANGES_NOTHING},
         {{"NAME", "Section or key", false, false, NamesOfSectionsAndKeys()},
          {"KEY", "Key of the section", false, false, NamesOfKeys()}},
         {JSON}});

    commands.push_back(
        {"identity",
         "Show the identity of product and hardware",
         {"Reads the identity files as an application does. Names the file that is wrong and shows its text.",
          CHANGES_NOTHING},
         {},
         {JSON}});

    commands.push_back(
        {"pins",
         "Show the levels of the module lines",
         {"Reads the value file of every line. --watch shows the levels as they change, until Ctrl-C; it looks "
          "every 10 ms, so that it can miss shorter pulses.",
          CHANGES_NOTHING},
         {},
         {JSON, {"--watch", "", "Show changes, until Ctrl-C"}, WATCH_FOR}});

    commands.push_back(
        {"pin",
         "Drive an output",
         {"Writes the level to the line's value file.",
          "Leaves the line at that level. An application that runs may change it at any time."},
         {{"NAME", "Label of an output", true, false, Outputs()}, {"LEVEL", "Level", true, false, {"high", "low"}}},
         {}});

    commands.push_back(
        {"led",
         "Show a colour or a pattern on an LED",
         {"Shows a steady colour, or a pattern until Ctrl-C or for the time of --for.",
          "Leaves a steady colour lit when --for is not given. After a pattern, or at the end of --for, the LED "
          "is off. Does not touch other LEDs."},
         {{"NAME", "Label of an LED", true, false, Leds()},
          {"PATTERN", "Colour or pattern", true, false, NamesOfPatterns()}},
         {{"--ms", "N", "Duration of each colour of a pattern in milliseconds; 500 without it"}, WATCH_FOR}});

    commands.push_back(
        {"indicate",
         "Show a status as the library shows it",
         {"Shows a module status (ms-...) on MS, or a network status (ns-...) on NS.",
          "Leaves the LED as led does: a steady status lit, off after a flashing one or at the end of --for."},
         {{"STATE", "Status", true, false, NamesOfIndications()}},
         {WATCH_FOR}});

    commands.push_back(
        {"lamp-test",
         "Light every element of every LED",
         {"Runs the power-up test: every colour of every LED for a quarter of a second. --walk lights one element of "
          "one LED "
          "at a time and says which, to find LEDs that are swapped or bridged; on a terminal it asks after each "
          "whether just "
          "this one is lit.",
          "Leaves MS steady green and the other LEDs off, as the library's power-up test does; after --walk all are "
          "off."},
         {},
         {{"--walk", "", "Light one element at a time"},
          {"--ms", "N", "How long --walk lights each element when it does not ask, in milliseconds; 500 without it"},
          {"--json", "", "Print the results as JSON"},
          {"--junit", "FILE", "Write the results as a JUnit report"}}});

    commands.push_back(
        {"reset-oxbo",
         "Reset the Oxbo module and wait for it",
         {"Holds the module in reset for 1 ms and waits until it pulls its interrupt line low; says how long that "
          "took.",
          "Leaves the module out of reset and OXBO_RL low, or high with --ram-loader. Does not touch the LEDs and "
          "the Qor module."},
         {},
         {{"--ram-loader", "", "Start the module's ram loader: OXBO_RL is high when it leaves reset"},
          {"--timeout", "MS", "How long to wait, in milliseconds; 2000 without it, 0 not at all"}}});

    commands.push_back(
        {"weblog",
         "Show a web log",
         {"Prints the records of a web log in words, or in colour on a terminal, where the progress of an operation "
          "is one line. A last record without its line end is marked.",
          CHANGES_NOTHING},
         {{"FILE", "Web log; the one that the settings name without it", false, false}},
         {{"--follow", "",
           "Go on with what is appended, until Ctrl-C; of a truncated or replaced file, what it holds then"},
          WATCH_FOR,
          {"--json", "", "Print a JSON object per record and line"}}});

    commands.push_back(
        {"doctor",
         "Find out why the library does not work here",
         {"Looks at everything that the library needs: settings file, value files, LEDs, log directories, system "
          "log, identity files, libraries. Of each finding it says what it saw, what that means and what to do.",
          "Changes nothing on the board; opens value files without writing."},
         {},
         {JSON}});

    commands.push_back({"version", "Show the versions of command and libraries", {CHANGES_NOTHING}, {}, {JSON}});

    commands.push_back(
        {"help", "Show the help of a command", {CHANGES_NOTHING}, {{"COMMAND", "Name of a command"}}, {}});
    for (const CommandRow& command : commands)
        commands.back().arguments.front().choices.push_back(command.name);
    return commands;
}

} // namespace

} // namespace VelrixTools

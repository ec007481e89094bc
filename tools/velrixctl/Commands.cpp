// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Commands.h"

#include <algorithm>

#include <unistd.h>

#include "tools/help/Help.h"
#include "tools/help/Layout.h"
#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

struct RunRow {
    const char* command;
    int (*run)(const CommandLine& line);
};

constexpr RunRow RUNS[] = {
    {"check", &RunCheck},
    {"settings", &RunSettings},
    {"explain", &RunExplain},
    {"identity", &RunIdentity},
    {"pins", &RunPins},
    {"pin", &RunPin},
    {"led", &RunLed},
    {"indicate", &RunIndicate},
    {"lamp-test", &RunLampTest},
    {"reset-oxbo", &RunResetOxbo},
    {"weblog", &RunWebLog},
    {"doctor", &RunDoctor},
    {"version", &RunVersion},
    {"help", &RunHelp},
};

} // namespace

int RunHelp(const CommandLine& line) {
    const Tool& tool = ThisTool();
    const std::size_t width = OutputWidth(STDOUT_FILENO);
    const auto command = std::find_if(tool.commands.begin(), tool.commands.end(),
                                      [&](const auto& row) { return row.name == line.Value("COMMAND"); });
    Print(command == tool.commands.end() ? Help(tool, width) : HelpOf(tool, *command, width));
    return EXIT_GOOD;
}

int Run(const CommandLine& line) {
    for (const RunRow& row : RUNS)
        if (line.Command().name == row.command)
            return row.run(line);
    throw CommandError("\"" + line.Command().name + "\" cannot be run");
}

} // namespace VelrixTools

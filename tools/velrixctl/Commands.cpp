// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Commands.h"

#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/Help.h"

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
    const CommandRow* const command = FindCommand(line.Value("COMMAND"));
    Print(command == nullptr ? Help(OutputWidth()) : HelpOf(*command, OutputWidth()));
    return EXIT_GOOD;
}

int Run(const CommandLine& line) {
    for (const RunRow& row : RUNS)
        if (line.Command().name == row.command)
            return row.run(line);
    throw CommandError("\"" + line.Command().name + "\" cannot be run");
}

} // namespace VelrixTools

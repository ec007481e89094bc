// SPDX-License-Identifier: Apache-2.0
#include "tools/help/Help.h"

#include <gtest/gtest.h>

using namespace VelrixTools;

namespace {

Tool MakeTool() {
    CommandRow run{"run",
                   "Run a program",
                   {},
                   {{"FILE", "The record", true},
                    {"MORE", "Another one", false, true},
                    {"KIND", "Its kind", false, false, {"a", "b"}}},
                   {{"--set", "LABEL", "Level of an input", {}, "", "Inputs"},
                    {"--panel", "", "Show the board in a browser", {}, "PORT", "Views"},
                    {"--fault", "NAME", "What is wrong", {}, "", "Inputs"},
                    {"--help", "", "Show this help"}},
                   true,
                   "Ends as the program does."};
    CommandRow look{"look",
                    "Look at a board",
                    {"Changes nothing."},
                    {},
                    {{"--json", "", "Print JSON"}, {"--help", "", "Show this help"}}};
    return {
        "tool",           {run, look}, {{"--version", "", "Show the version"}}, "Do things", {{0, "good"}, {12, "bad"}},
        "The last words."};
}

} // namespace

TEST(Help, ListsCommandsOptionsAndExitCodes) {
    EXPECT_EQ(Help(MakeTool(), 60), R"(Usage: tool COMMAND [ARGUMENT]... [OPTION]...

Do things.

Commands:

  run        Run a program
  look       Look at a board

Options:

  --version  Show the version

Exit codes:

  0          good
  12         bad

The last words.

"tool help COMMAND" explains a command.
)");
}

TEST(Help, GroupsTheOptionsOfACommandAndHasItsHelpLast) {
    const Tool tool = MakeTool();

    EXPECT_EQ(HelpOf(tool, tool.commands[0], 60), R"(Usage: tool run FILE [MORE...] [KIND] [OPTION]... -- PROGRAM
       [ARGUMENT]...

Run a program.

  FILE            The record
  MORE            Another one
  KIND            Its kind: a, b

Inputs:

  --set LABEL     Level of an input
  --fault NAME    What is wrong

Views:

  --panel[=PORT]  Show the board in a browser

Other options:

  -h, --help      Show this help

Ends as the program does.
)");
}

TEST(Help, NeedsNoGroups) {
    const Tool tool = MakeTool();

    EXPECT_EQ(HelpOf(tool, tool.commands[1], 60), R"(Usage: tool look [OPTION]...

Look at a board.

Changes nothing.

  --json      Print JSON
  -h, --help  Show this help
)");
}

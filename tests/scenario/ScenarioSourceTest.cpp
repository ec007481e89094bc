// SPDX-License-Identifier: Apache-2.0
// What repeat and include write out, and where they end.
#include "board/scenario/ScenarioSource.h"

#include <gtest/gtest.h>

#include "board/scenario/ScenarioParser.h"
#include "tests/scenario/Names.h"
#include "tests/support/TemporaryFolder.h"

using namespace VelrixBoard;

namespace {

std::string Played(const std::string& path, const std::string& text) {
    std::string lines;
    for (const PlayedLine& line : WriteOut(path, text))
        lines += std::to_string(line.words.Number()) + " " + line.words.Text() +
                 (line.round.empty() ? "" : " (" + line.round + ")") + "\n";
    return lines;
}

std::string MistakeIn(const std::string& path, const std::string& text) {
    try {
        ParseScenario(path, text, NAMES);
        return "";
    } catch (const ScenarioError& error) {
        return error.what();
    }
}

TEST(ScenarioSource, PlaysARepeatsLinesInEachRound) {
    EXPECT_EQ(Played("x", "a\nrepeat 2 # twice\n  b\n\n  c\nend\nd"),
              "1 a\n3 b (1 of 2)\n5 c (1 of 2)\n3 b (2 of 2)\n5 c (2 of 2)\n7 d\n");
    EXPECT_EQ(Played("x", "repeat 1\nrepeat 2\na\nend\nb\nend"),
              "3 a (1 of 1, 1 of 2)\n3 a (1 of 1, 2 of 2)\n5 b (1 of 1)\n");
    EXPECT_EQ(Played("x", "repeat 3\nend"), "");
    EXPECT_EQ(Played("x", "\"repeat\" 2"), "1 \"repeat\" 2\n");
}

TEST(ScenarioSource, PlaysAnIncludedFilesLinesThere) {
    const TestSupport::TemporaryFolder folder;
    std::filesystem::create_directory(folder.Path("common"));
    folder.Write("common/up.scenario", "wait 1s\ninclude more");
    folder.Write("common/more", "wait 2s\n");
    const std::string path = folder.Path("main.scenario");

    const Scenario scenario = ParseScenario(path, "repeat 2\ninclude \"common/up.scenario\"\nend\nwait 3s", NAMES);

    std::string steps;
    for (const Step& step : scenario.steps)
        steps += step.file.substr(folder.Path().size() + 1) + ":" + std::to_string(step.line) + " " + step.round + "\n";
    EXPECT_EQ(steps, "common/up.scenario:1 1 of 2\ncommon/more:1 1 of 2\n"
                     "common/up.scenario:1 2 of 2\ncommon/more:1 2 of 2\nmain.scenario:4 \n");
}

TEST(ScenarioSource, SaysWhatIsWrongAndWhere) {
    const std::string absolute = "; write it outside of repeat";
    const struct {
        const char* text;
        std::string message;
    } rows[] = {
        {"wait 1s\n  repeat 2\nwait 1s", "x:2:3: this repeat has no end; write \"end\" after its last step"},
        {"wait 1s\nend", "x:2:1: this end has no repeat above it"},
        {"repeat 1\nwait 1s\nend here", "x:3:5: expected the end of the line, found 'here'"},
        {"repeat 0\nend", "x:1:8: expected a number of rounds from 1 to 100000, found '0'"},
        {"repeat 100001\nend", "x:1:8: expected a number of rounds from 1 to 100000, found '100001'"},
        {"repeat\nend", "x:1:7: expected a number of rounds from 1 to 100000, found the end of the line"},
        {"repeat 2 times\nend", "x:1:10: expected the end of the line, found 'times'"},
        {"repeat 2\nat 1s send TERM\nend", "x:2:1: a time since the start cannot be repeated; use wait"},
        {"repeat 2\nnever MS is red\nend", "x:2:1: it holds for the whole run" + absolute},
        {"repeat 2\nexpect OXBO_RL pulses low\nend", "x:2:1: it holds for the whole run" + absolute},
        {"repeat 2\nwhen MS is red send TERM\nend", "x:2:1: it holds for the whole run" + absolute},
        {"include", "x:1:8: expected the name of a file, found the end of the line"},
        {"include none", "x:1:1: cannot read none: No such file or directory"},
        {"repeat 2\nwiat 1s\nend", "x:2:1: expected within, at, set, fault, send, module, wait, when, expect, never, "
                                   "repeat or include, found 'wiat'"},
        {"repeat 100000\nwait 1s\nend", "x:2:1: the scenario has more than 100000 steps"},
        {"repeat 100000\nrepeat 100000\nend\nend", "x:2:1: the scenario has more than 100000 steps"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MistakeIn("x", row.text), row.message);
}

TEST(ScenarioSource, BoundsWhatItReads) {
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.Path("a.scenario"),
                      deeper = " are nested deeper than 16; does a file include itself?";
    folder.Write("a.scenario", "wait 1s\ninclude a.scenario\n");
    EXPECT_EQ(MistakeIn(path, "include a.scenario"), path + ":2:1: files and repeats" + deeper);
    std::string nested;
    for (int i = 0; i <= DEEPEST_NESTING; ++i)
        nested += "repeat 1\n";
    EXPECT_EQ(MistakeIn("x", nested), "x:1:1: this repeat has no end; write \"end\" after its last step");
    for (int i = 0; i <= DEEPEST_NESTING; ++i)
        nested += "end\n";
    EXPECT_EQ(MistakeIn("x", nested), "x:17:1: files and repeats" + deeper);

    folder.Write("large", "wait 1s\n" + std::string(LARGEST_SCENARIO, '#'));
    EXPECT_EQ(MistakeIn(path, "include large"),
              path + ":1:1: cannot read " + folder.Path("large") + ": it has more than 1048576 bytes");
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
// Searches on boards: by the command, for faults that were planted in copies of the gateway, and in other programs.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/CommandRun.h"
#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

class ExploreOnABoardTest : public testing::Test {
protected:
    // "velrix-board explore ... -- PROGRAM", with a corpus in the test's folder.
    CommandRun Explore(const std::vector<std::string>& options, const std::vector<std::string>& program) const {
        CommandRun run{{VELRIX_BOARD_COMMAND, "explore", "--corpus", folder.Path("corpus")}};
        run.command.insert(run.command.end(), options.begin(), options.end());
        run.command.emplace_back("--");
        run.command.insert(run.command.end(), program.begin(), program.end());
        // What a search leaves there would be seen.
        fs::create_directories(folder.Path("tmp"));
        run.environment["TMPDIR"] = folder.Path("tmp");
        return run;
    }

    CommandEnd Replay(const fs::path& failure, const std::vector<std::string>& program) const {
        CommandRun run{{VELRIX_BOARD_COMMAND, "run", "--time", "virtual", "--scenario", failure, "--"}};
        run.command.insert(run.command.end(), program.begin(), program.end());
        return run.Run();
    }

    std::vector<fs::path> Corpus() const {
        std::vector<fs::path> files;
        if (fs::exists(folder.Path("corpus")))
            for (const auto& entry : fs::directory_iterator(folder.Path("corpus")))
                files.push_back(entry.path());
        return files;
    }

    static std::vector<std::string> CircumstancesIn(const fs::path& failure) {
        std::ifstream file(failure);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            if (line.starts_with("when ") && !line.starts_with("when program starts after 30s send TERM"))
                lines.push_back(line);
        return lines;
    }

    const TestSupport::TemporaryFolder folder;
};

struct Planted {
    const char* name;
    const char* program;
    const char* bounds;
    const char* message; // of the failure
    const char* action;  // the circumstance that the fault needs
};

class PlantedFaultTest : public ExploreOnABoardTest, public testing::WithParamInterface<Planted> {};

TEST_P(PlantedFaultTest, IsFoundAndShrunkAndCanBeReplayed) {
    const Planted& fault = GetParam();
    const std::vector<std::string> program = {fault.program, "--seconds", "2"};
    folder.Write("bounds.json", fault.bounds);

    const CommandEnd end = Explore({"--seed", "7", "--runs", "24", "--scenario", GATEWAY_INVARIANTS, "--bounds",
                                    folder.Path("bounds.json"), "--quiet"},
                                   program)
                               .Run();

    ASSERT_EQ(end.ExitCode(), 1) << end.output << end.errors;
    EXPECT_EQ(end.errors, "");
    EXPECT_THAT(end.output, HasSubstr(fault.message));
    EXPECT_THAT(end.output, HasSubstr("24 runs with seed 7 and "));
    EXPECT_THAT(end.output, HasSubstr(", 1 failure\n"));
    ASSERT_EQ(Corpus().size(), 1U);
    EXPECT_THAT(CircumstancesIn(Corpus()[0]), testing::Contains(HasSubstr(fault.action)));
    EXPECT_LE(CircumstancesIn(Corpus()[0]).size(), 2U);

    const CommandEnd replayed = Replay(Corpus()[0], program);

    EXPECT_EQ(replayed.ExitCode(), 1);
    EXPECT_THAT(replayed.errors, HasSubstr(fault.message));
    EXPECT_EQ(Replay(Corpus()[0], {GATEWAY_PROGRAM, "--seconds", "2"}).ExitCode(), 0)
        << "the gateway without the fault";
}

constexpr const char* MODULE_ONLY =
    R"({"weights": {"level": 0, "glitch": 0, "fault": 0, "missing": 0, "disk": 0, "clock": 0, "signal": 0}})";
constexpr const char* PINS_ONLY =
    R"({"broken": ["OXBO_RESET1_N", "OXBO_IRQ_N", "OXBO_RL", "QOR_RESET0_N"], "weights": {"module": 0, "disk": 0, "clock": 0}})";

INSTANTIATE_TEST_SUITE_P(Gateway, PlantedFaultTest,
                         testing::Values(Planted{"MissedTimeOut", MISSED_TIME_OUT, MODULE_ONLY,
                                                 "within 15s program ends", "module ready never"},
                                         Planted{"WrongLastColour", WRONG_LAST_COLOUR, PINS_ONLY, "MS is not red",
                                                 "fault "},
                                         Planted{"UnhandledException", UNHANDLED_EXCEPTION, MODULE_ONLY,
                                                 "never program is killed by ABRT", "module ready "}),
                         [](const auto& row) { return row.param.name; });

// A program that hardly computes, also with sanitizers: processor time counts for the board's, and differs.
TEST_F(ExploreOnABoardTest, DoesTheSameWhateverTheNumberOfRunsAtATime) {
    const std::vector<std::string> program = {
        "sh", "-c",
        "for led in ledGwStsGrn ledEthStsGrn ledGwStsRed ledEthStsRed; do "
        "read level < /var/dev/gpio-inputs/oxboIrqN/value; echo $level > /sys/class/leds/$led/brightness; sleep 0.2; "
        "done; exit 0"};
    folder.Write("bounds.json", PINS_ONLY);
    const auto explore = [&](const char* jobs) {
        return Explore({"--runs", "20", "--jobs", jobs, "--bounds", folder.Path("bounds.json"), "--quiet"}, program)
            .Run();
    };

    const CommandEnd one = explore("1"), three = explore("3");

    EXPECT_EQ(one.ExitCode(), 0) << one.output;
    EXPECT_EQ(three.output, one.output);
    EXPECT_TRUE(fs::is_empty(folder.Path("tmp")));
}

TEST_F(ExploreOnABoardTest, FindsAProgramThatDoesNotEnd) {
    const std::vector<std::string> program = {"sh", "-c", "trap '' TERM; while :; do sleep 1; done"};

    const CommandEnd end = Explore({"--runs", "1"}, program).Run();

    EXPECT_EQ(end.ExitCode(), 1) << end.errors;
    EXPECT_THAT(end.output,
                HasSubstr("within 35s program ends: expected within 35.000 s: program ends; seen at 35.000 s: "
                          "the program is running\n    with no circumstances at all\n"));
}

TEST_F(ExploreOnABoardTest, EndsARunThatTakesTooLong) {
    const CommandEnd end =
        Explore({"--runs", "1", "--limit", "1", "--length", "1h"}, {"sh", "-c", "while :; do :; done"}).Run();

    EXPECT_EQ(end.ExitCode(), 1) << end.errors;
    EXPECT_THAT(end.output, HasSubstr("the run did not end within 1 s of the machine's time"));
    EXPECT_TRUE(fs::is_empty(folder.Path("tmp")));
}

TEST_F(ExploreOnABoardTest, FindsAProgramThatPrintsWithoutEnd) {
    for (const char* program : {"yes", "yes >&2"}) {
        const CommandEnd end = Explore({"--runs", "1"}, {"sh", "-c", program}).Run();

        EXPECT_EQ(end.ExitCode(), 1) << end.errors;
        EXPECT_THAT(end.output, HasSubstr(": the program printed more than 64 MiB\n"));
    }
}

TEST_F(ExploreOnABoardTest, PlaysWhatItKnowsFirst) {
    const std::string program = folder.Path("program");
    folder.Write("program", "test ! -e " + folder.Path("broken") + " || kill -SEGV $$\n");
    folder.Write("broken", "");
    const auto explore = [&] { return Explore({"--runs", "1", "--quiet"}, {"sh", program}).Run(); };

    const CommandEnd found = explore();
    EXPECT_EQ(found.ExitCode(), 1);
    EXPECT_THAT(found.output, HasSubstr("never program is killed by SEGV"));
    ASSERT_EQ(Corpus().size(), 1U);

    const CommandEnd known = explore();
    EXPECT_EQ(known.ExitCode(), 1);
    EXPECT_THAT(known.output, HasSubstr("    known before\n"));

    folder.Remove("broken");
    const CommandEnd mended = explore();
    EXPECT_EQ(mended.ExitCode(), 0);
    EXPECT_THAT(mended.output, StartsWith(Corpus()[0].string() + ": no longer fails\n"));
}

TEST_F(ExploreOnABoardTest, WritesAnotherFailureInTheCircumstancesOfAKnownOne) {
    const std::string program = folder.Path("program");
    folder.Write("program", "test ! -e " + folder.Path("broken") + " || kill -SEGV $$\nkill -ABRT $$\n");
    folder.Write("broken", "");
    const auto explore = [&] { return Explore({"--runs", "1", "--quiet"}, {"sh", program}).Run(); };
    EXPECT_THAT(explore().output, HasSubstr("never program is killed by SEGV"));
    ASSERT_EQ(Corpus().size(), 1U);

    folder.Remove("broken");
    const CommandEnd end = explore();

    EXPECT_EQ(end.ExitCode(), 1);
    EXPECT_THAT(end.output, HasSubstr("never program is killed by ABRT"));
    EXPECT_THAT(end.output, testing::Not(HasSubstr("known before")));
    EXPECT_EQ(Corpus().size(), 2U);
}

// The program puts a file where the folder would be.
TEST_F(ExploreOnABoardTest, ReportsAFailureThatItCannotWrite) {
    const std::string program = ": > " + folder.Path("corpus") + "; kill -SEGV $$";

    const CommandEnd end = Explore({"--runs", "1", "--quiet"}, {"sh", "-c", program}).Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_THAT(end.output, StartsWith("(not written): never program is killed by SEGV"));
    EXPECT_THAT(end.output, HasSubstr("\n1 run with seed 1 and 1 to play"));
    EXPECT_THAT(end.errors, HasSubstr("cannot write " + folder.Path("corpus")));

    const CommandEnd next = Explore({"--runs", "1", "--quiet"}, {"true"}).Run();
    EXPECT_EQ(next.ExitCode(), 125);
    EXPECT_THAT(next.errors, HasSubstr("cannot keep failures in " + folder.Path("corpus")));
}

TEST_F(ExploreOnABoardTest, LeavesNothingBehindAfterASignal) {
    CommandRun run = Explore({"--runs", "1000", "--length", "1h", "--quiet"}, {"sh", "-c", "while :; do :; done"});
    const pid_t process = run.Start(folder.Path("output"), folder.Path("errors"));
    EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor([this] {
        const fs::directory_iterator entries(folder.Path("tmp"));
        return std::any_of(begin(entries), end(entries),
                           [](const auto& entry) { return fs::exists(entry.path() / "run-1/board/changes"); });
    }));

    ::kill(process, SIGINT);
    int status = 0;
    ::waitpid(process, &status, 0);

    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 128 + SIGINT) << folder.Read("errors");
    EXPECT_THAT(folder.Read("output"), HasSubstr("stopped by a signal"));
    EXPECT_TRUE(fs::is_empty(folder.Path("tmp")));
    EXPECT_TRUE(Corpus().empty());
}

TEST_F(ExploreOnABoardTest, SaysWhyItCannotSearch) {
    folder.Write("bad.scenario", "within 1s MS is blue\n");
    folder.Write("bounds.json", R"({"broken": ["MS.blue"]})");
    const struct {
        std::vector<std::string> options;
        std::vector<std::string> program;
        std::string reason;
    } rows[] = {
        {{"--scenario", folder.Path("bad.scenario")}, {"true"}, "bad.scenario:1:17: expected steady"},
        {{"--scenario", folder.Path("none")}, {"true"}, "cannot read the scenario"},
        {{"--bounds", folder.Path("none")}, {"true"}, "cannot read " + folder.Path("none")},
        {{"--bounds", folder.Path("bounds.json")}, {"true"}, "the bounds name MS.blue"},
        {{"--length", "soon"}, {"true"}, "--length: takes a time such as 500ms or 30s, not soon"},
        {{"--set", "X=1"}, {"true"}, "X is no line of the board"},
        {{"--runs", "1.5"}, {"true"}, "--runs: expected a whole number from 1 to 1000000, not 1.5"},
        {{"--seed", "x"}, {"true"}, "--seed: expected a whole number from 0 to 18446744073709551615, not x"},
        {{"--seed", "-1"}, {"true"}, "--seed: expected a whole number from 0"},
        {{"--jobs", "0"}, {"true"}, "--jobs: expected a whole number from 1 to 64, not 0"},
        {{"--limit", "3601"}, {"true"}, "--limit: expected a whole number from 1 to 3600, not 3601"},
        {{}, {"/none/program"}, "/none/program cannot be run: cannot start /none/program: No such file or directory"},
        {{}, {"sh", "-c", "echo why >&2; exit 126"}, "sh cannot be run: why"},
        {{}, {}, "the program is missing"},
    };
    for (const auto& row : rows) {
        const CommandEnd end = Explore(row.options, row.program).Run();

        EXPECT_EQ(end.ExitCode(), 125) << row.reason;
        EXPECT_THAT(end.errors, HasSubstr(row.reason));
        EXPECT_EQ(end.output, "") << row.reason;
    }
    EXPECT_TRUE(Corpus().empty());
}

TEST_F(ExploreOnABoardTest, CanFillTheDiskOfTheWebLog) {
    const std::vector<std::string> program = {
        "sh", "-c", "echo a >> /mnt/share/logger || echo full >&2; sleep 1; echo b >> /mnt/share/logger"};
    folder.Write("full.scenario", "when program starts fault web log ENOSPC\n"
                                  "when program starts after 500ms fault web log none\n"
                                  "within 100ms stderr has full\nwithin 2s program exits with 0\n"
                                  "within 1s web log has b\nnever web log has a\n");

    const CommandEnd end = Replay(folder.Path("full.scenario"), program);

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
}

TEST_F(ExploreOnABoardTest, PrintsItsBoundsAndItsSum) {
    const CommandEnd bounds = Explore({"--print-bounds"}, {}).Run();
    EXPECT_EQ(bounds.ExitCode(), 0);
    EXPECT_THAT(bounds.output, HasSubstr("\"weights\": {"));

    const CommandEnd end = Explore({"--runs", "3"}, {"sleep", "1"}).Run();
    EXPECT_EQ(end.ExitCode(), 0) << end.output;
    EXPECT_THAT(end.output, StartsWith("3 runs with seed 1: "));
}

} // namespace
} // namespace VelrixBoard

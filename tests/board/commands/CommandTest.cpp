// SPDX-License-Identifier: Apache-2.0
// The command by its arguments; the real one in a process of its own.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/CommandRun.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;

TEST(CommandTest, RefusesWhatItDoesNotUnderstandBeforeAnythingRuns) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("file", "");
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } rows[] = {
        {{}, "a command is missing; there are: run, record, diff, help, completion\n\"velrix-board --help\""},
        {{"walk"}, "there is no command \"walk\"; there are: run, record, diff, help, completion\n"},
        {{"run"}, "the program is missing; give it after --, as in velrix-board run -- PROGRAM\n"},
        {{"run", "--"}, "the program is missing"},
        {{"run", "echo", "ran"}, "\"echo\" is no option; give the program after --, as in velrix-board run -- echo\n"},
        {{"run", "--panel", "8642", "--", "echo"}, "\"8642\" is no option; give the panel's port as --panel=8642\n"},
        {{"run", "--panel", "8642"}, "--panel=8642\n"},
        {{"run", "--panel", "./8642"}, "as in velrix-board run -- ./8642\n"},
        {{"run", "8642"}, "as in velrix-board run -- 8642\n"},
        {{"record", "--", "echo"}, "FILE is missing: the file for what is done to the board, as a scenario\n"},
        {{"help", "rum"}, "there is no command \"rum\"\n"},
        {{"completion"}, "SHELL is missing: name of the shell\n"},
        {{"completion", "ksh"}, "SHELL: ksh not in {bash,zsh,fish}\n"},
        {{"run", "--unknown", "--", "echo"},
         "there is no option --unknown\n\"velrix-board run --help\" says what can be given.\n"},
        {{"run", "--set", "OXBO_IRQ_N", "--", "echo"}, "LABEL=0 or LABEL=1"},
        {{"run", "--set", "OXBO_IRQ_N=2", "--", "echo"}, "LABEL=0 or LABEL=1"},
        {{"run", "--set", "OXBO_IRQ_N=", "--", "echo"}, "LABEL=0 or LABEL=1"},
        {{"run", "--set", "OXBO_RL=1", "--", "echo"}, "OXBO_RL is an output"},
        {{"run", "--set", "X=1", "--", "echo"}, "X is no line of the board"},
        {{"run", "--fault", "MS.red", "--", "echo"}, "takes NAME=FAULT"},
        {{"run", "--fault", "MS.red=2", "--", "echo"}, "\"2\" is no fault"},
        {{"run", "--fault", "MS.blue=EIO", "--", "echo"}, "MS.blue is no line or LED element"},
        {{"run", "--fault", "OXBO_IRQ_N=ENOSPC", "--", "echo"}, "OXBO_IRQ_N is an input"},
        {{"run", "--on-reboot", "ignore", "--", "echo"}, "--on-reboot"},
        {{"run", "--oxbo-ready-after", "soon", "--", "echo"}, "\"soon\" is no time for the module"},
        {{"run", "--oxbo-ready-after", "250us", "--", "echo"}, "give whole milliseconds"},
        {{"run", "--oxbo-ready-after", "-5", "--", "echo"}, "--oxbo-ready-after"},
        {{"run", "--without", "/etc/passwd", "--", "echo"}, "--without /etc/passwd names neither"},
        {{"run", "--settings", folder.Path("none"), "--", "echo"},
         "cannot read the settings file " + folder.Path("none")},
        {{"run", "--settings", folder.Path(), "--", "echo"},
         "cannot read " + folder.Path() + ": it is a directory, and only regular files can be read"},
        {{"run", "--settings", "", "--", "echo"}, "--settings: the value is empty\n"},
        {{"run", "--directory=", "--", "echo"}, "--directory: the value is empty\n"},
        {{"record", folder.Path("file"), "--", "echo"},
         folder.Path("file") + " exists; name another file, or replace it with --force\n"},
        {{"run", "--directory", folder.Path(), "--", "echo"}, folder.Path() + " is not empty"},
        {{"run", "--directory", folder.Path("file/x"), "--", "echo"}, "cannot make the run directory"},
    };
    for (const auto& row : rows) {
        CommandRun run{{VELRIX_BOARD_COMMAND}};
        run.command.insert(run.command.end(), row.arguments.begin(), row.arguments.end());

        const CommandEnd end = run.Run();

        EXPECT_EQ(end.ExitCode(), 125) << row.reason;
        EXPECT_EQ(end.output, "") << row.reason;
        EXPECT_THAT(end.errors, HasSubstr(row.reason));
    }
}

TEST(CommandTest, ExplainsItself) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"}, {"run", "--help"}}) {
        CommandRun run{{VELRIX_BOARD_COMMAND}};
        run.command.insert(run.command.end(), arguments.begin(), arguments.end());

        const CommandEnd end = run.Run();

        EXPECT_EQ(end.ExitCode(), 0);
        EXPECT_THAT(end.output, HasSubstr("velrix-board run [OPTIONS] -- PROGRAM [ARG...]"));
    }
}

TEST(CommandTest, HelpsWithACommand) {
    const std::vector<std::string> commands = {"run", "record", "diff", "help", "completion"};
    for (const std::string& command : commands) {
        const CommandEnd option = CommandRun{{VELRIX_BOARD_COMMAND, command, "--help"}}.Run();
        const CommandEnd help = CommandRun{{VELRIX_BOARD_COMMAND, "help", command}}.Run();

        EXPECT_EQ(help.ExitCode(), 0);
        EXPECT_EQ(help.output, option.output);
        EXPECT_THAT(help.output, HasSubstr("\nUsage: velrix-board " + command + " "));
    }
    EXPECT_EQ((CommandRun{{VELRIX_BOARD_COMMAND, "help"}}).Run().output,
              (CommandRun{{VELRIX_BOARD_COMMAND, "--help"}}).Run().output);
}

TEST(CommandTest, SaysItsVersion) {
    const CommandEnd end = CommandRun{{VELRIX_BOARD_COMMAND, "--version"}}.Run();

    EXPECT_EQ(end.output, "velrix-board " VELRIX_VERSION "\n");
    EXPECT_EQ(end.ExitCode(), 0);
}

TEST(CommandTest, FailsWhenItsOutputIsFullOrClosed) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.vcd", "$timescale 1 us $end\n$var wire 1 ! a $end\n$enddefinitions $end\n#0\n0!\n#5\n1!\n#9\n");
    folder.Write("b.vcd", "$timescale 1 us $end\n$var wire 1 ! a $end\n$enddefinitions $end\n#0\n0!\n#9\n");
    const std::string command = VELRIX_BOARD_COMMAND;
    const std::string rows[] = {
        command + " --help",          command + " run --help",
        command + " --version",       command + " help diff",
        command + " completion bash", command + " diff " + folder.Path("a.vcd") + " " + folder.Path("b.vcd")};
    for (const std::string& row : rows) {
        const CommandEnd full = CommandRun{{"sh", "-c", row + " > /dev/full"}}.Run();
        EXPECT_EQ(full.ExitCode(), 125) << row;
        EXPECT_EQ(full.errors, "velrix-board: cannot write the output: No space left on device\n") << row;

        const CommandEnd closed = CommandRun{{"sh", "-c", row + " >&-"}}.Run();
        EXPECT_EQ(closed.ExitCode(), 125) << row;
        EXPECT_EQ(closed.errors, "velrix-board: cannot write the output: standard output is closed\n") << row;
    }
}

TEST(CommandTest, LeavesTheProgramsArgumentsAlone) {
    const CommandEnd end = CommandRun{
        {VELRIX_BOARD_COMMAND, "run", "--", "printf", "<%s>", "--help", "--", "a b", "", "--set",
         "x"}}.Run();

    EXPECT_EQ(end.output, "<--help><--><a b><><--set><x>");
    EXPECT_EQ(end.ExitCode(), 0);
}

TEST(CommandTest, TakesOptionsMoreThanOnceWhereThatMakesSense) {
    const CommandEnd end =
        CommandRun{
            OnBoard("cat /var/dev/gpio-inputs/oxboIrqN/value /var/dev/gpio-inputs/oxboMod1/value; ls -d /mnt/share "
                    "/var/log/apps",
                    {"--set", "OXBO_IRQ_N=0", "--set", "OXBO_MOD_1=1", "--without", "/mnt/share", "--without",
                     "/var/log/apps/", "--oxbo-ready-after", "never"})}
            .Run();

    EXPECT_EQ(end.output, "0\n1\n");
}

TEST(CommandTest, ReplacesARecordingWhenItMay) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("file", "kept");

    EXPECT_EQ((CommandRun{{VELRIX_BOARD_COMMAND, "record", folder.Path("file"), "--", "true"}}).Run().ExitCode(), 125);
    EXPECT_EQ(folder.Read("file"), "kept");
    EXPECT_EQ(
        (CommandRun{{VELRIX_BOARD_COMMAND, "record", folder.Path("file"), "--force", "--", "true"}}).Run().ExitCode(),
        0);
    EXPECT_THAT(folder.Read("file"), testing::StartsWith("wait "));
}

TEST(CommandTest, ReportsAMistakeInAScenarioAndNamesTheRun) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "within 1s MS is blue\n");

    const CommandEnd end = CommandRun{OnBoard("true", {"--scenario", folder.Path("a.scenario"), "--junit",
                                                       folder.Path("a.xml"), "--name", "first"})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_THAT(end.errors, HasSubstr("a.scenario:1:17: expected "));
    EXPECT_THAT(folder.Read("a.xml"), HasSubstr("<testsuite name=\"first\" tests=\"1\" failures=\"0\" errors=\"1\""));
    EXPECT_THAT(folder.Read("a.xml"), HasSubstr("a.scenario:1:17: expected "));
}

TEST(CommandTest, KeepsADirectoryThatWasNamed) {
    const TestSupport::TemporaryFolder folder;

    CommandRun{OnBoard("printf 1 > /var/dev/gpio-outputs/oxboRamLoaderEnable/value; logger x; echo +x > "
                       "/mnt/share/logger; echo > /var/log/apps/a.log; /sbin/reboot",
                       {"--directory", folder.Path("b")})}
        .Run();

    EXPECT_EQ(folder.Read("b/reboot"), "/sbin/reboot\n");
    EXPECT_EQ(folder.Read("b/share/logger"), "+x\n");
    EXPECT_THAT(folder.Read("b/syslog"), HasSubstr("x\n"));
    EXPECT_THAT(folder.Read("b/changes"), HasSubstr(" OXBO_RL 1\n"));
    EXPECT_THAT(folder.Read("b/writes"), HasSubstr(" OXBO_RL 1\n"));
    EXPECT_TRUE(std::filesystem::exists(folder.Path("b/logs/a.log")));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("b/stage")));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("b/device")));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("b/control")));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("b/dev-log")));
}

} // namespace
} // namespace VelrixBoard

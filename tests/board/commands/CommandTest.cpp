// SPDX-License-Identifier: Apache-2.0
// The command by its arguments; the real one in a process of its own.
#include <algorithm>
#include <filesystem>
#include <sstream>

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
        {{}, "a command is missing; there are: run, record, diff, explore, help, completion\n\"velrix-board --help\""},
        {{"walk"}, "there is no command \"walk\"; there are: run, record, diff, explore, help, completion\n"},
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
        {{"completion", "ksh"}, "velrix-board: SHELL cannot be \"ksh\"; there are: bash, zsh, fish\n"},
        {{"run", "--isolation", "auto", "--set"},
         "velrix-board: --set takes LABEL=low|high\n\"velrix-board run --help\" says what can be given.\n"},
        {{"run", "--isolation", "auto", "--scenario", "--", "echo"}, "velrix-board: --scenario takes FILE\n"},
        {{"run", "--isolation", "--", "echo"}, "velrix-board: --isolation takes namespaces|preload|auto\n"},
        {{"run", "--settings", "--terminal", "--", "echo"}, "--settings: takes FILE, and --terminal is an option\n"},
        {{"run", "--isolation", "strong", "--", "echo"},
         "velrix-board: --isolation cannot be \"strong\"; there are: auto, namespaces, preload\n"},
        {{"run", "--name", "a", "--name", "b", "--", "echo"}, "velrix-board: --name is given more than once\n"},
        {{"run", "--terminal=maybe", "--", "echo"}, "velrix-board: --terminal takes no value\n"},
        {{"run", "--no-syslog=maybe", "--", "echo"}, "velrix-board: --no-syslog takes no value\n"},
        {{"run", "--junit", "a.xml", "--", "echo"}, "velrix-board: --junit requires --scenario\n"},
        {{"diff", "a"}, "velrix-board: B is missing: the recording to compare\n"},
        {{"diff", "a", "b", "c"}, "velrix-board: \"c\" is one too many\n"},
        {{"diff", "a", "b", "--glitch"}, "velrix-board: --glitch takes TIME\n"},
        {{"run", "--unknown", "--", "echo"},
         "there is no option --unknown\n\"velrix-board run --help\" says what can be given.\n"},
        {{"run", "--set", "OXBO_IRQ_N", "--", "echo"}, "takes LABEL=low or LABEL=high"},
        {{"run", "--set", "OXBO_IRQ_N=2", "--", "echo"}, "takes LABEL=low or LABEL=high"},
        {{"run", "--set", "OXBO_IRQ_N=", "--", "echo"}, "takes LABEL=low or LABEL=high"},
        {{"run", "--set", "OXBO_RL=1", "--", "echo"}, "OXBO_RL is an output"},
        {{"run", "--set", "X=1", "--", "echo"}, "X is no line of the board"},
        {{"run", "--fault", "MS.red", "--", "echo"}, "takes NAME=FAULT"},
        {{"run", "--fault", "MS.red=2", "--", "echo"}, "\"2\" is no fault"},
        {{"run", "--fault", "MS.blue=EIO", "--", "echo"}, "MS.blue is no line or LED element"},
        {{"run", "--fault", "OXBO_IRQ_N=ENOSPC", "--", "echo"}, "OXBO_IRQ_N is an input"},
        {{"run", "--on-reboot", "ignore", "--", "echo"},
         "--on-reboot cannot be \"ignore\"; there are: restart, exit\n"},
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
    const CommandEnd all = CommandRun{{VELRIX_BOARD_COMMAND, "--help"}}.Run();
    EXPECT_EQ(all.ExitCode(), 0);
    EXPECT_THAT(all.output,
                testing::StartsWith("Usage: velrix-board COMMAND [ARGUMENT]... [OPTION]...\n\nRun device "));
    EXPECT_THAT(all.output, HasSubstr("\nCommands:\n\n  run         Run a program on a private board\n"));
    EXPECT_THAT(all.output, HasSubstr("\n\"velrix-board help COMMAND\" explains a command.\n"));

    const CommandEnd run = CommandRun{{VELRIX_BOARD_COMMAND, "run", "--help"}, {{"COLUMNS", "80"}}}.Run();
    EXPECT_EQ(run.ExitCode(), 0);
    EXPECT_THAT(run.output,
                testing::StartsWith("Usage: velrix-board run [OPTION]... -- PROGRAM [ARGUMENT]...\n\nRun a "));
    EXPECT_THAT(run.output, HasSubstr("\n  --panel[=PORT]        Show the board in a browser"));
    const CommandEnd record = CommandRun{{VELRIX_BOARD_COMMAND, "record", "--help"}, {{"COLUMNS", "80"}}}.Run();
    EXPECT_THAT(record.output,
                testing::StartsWith("Usage: velrix-board record FILE [OPTION]... -- PROGRAM [ARGUMENT]...\n"));
}

std::vector<std::string> BoardCommands() {
    std::vector<std::string> commands = {VELRIX_BOARD_COMMAND};
#ifdef VELRIX_EMULATOR_COMMAND
    commands.emplace_back(VELRIX_EMULATOR_COMMAND);
#endif
    return commands;
}

TEST(CommandTest, GroupsTheOptionsOfARunWithItsHelpLast) {
    for (const std::string& command : BoardCommands()) {
        const std::string help = CommandRun{{command, "run", "--help"}}.Run().output;

        std::size_t place = 0;
        for (const char* each : {"\nThe program and its board:\n\n", "\n  --settings FILE ", "\nInputs and faults:\n\n",
                                 "\n  --set LABEL=low|high", "\nRecords and verdicts:\n\n", "\n  --scenario FILE ",
                                 "\n  --timeline FILE.vcd ", "\nOther options:\n\n  -h, --help "}) {
            place = help.find(each, place);
            ASSERT_NE(place, std::string::npos) << command << each << help;
        }
        EXPECT_EQ(help.find("\n  -", place + 17), std::string::npos) << "an option without a group:\n" << help;
    }
}

TEST(CommandTest, FitsTheWidth) {
    const std::vector<std::vector<std::string>> calls = {{"--help"}, {"help", "run"}, {"help", "help"}};
    for (const std::string& command : BoardCommands())
        for (const std::vector<std::string>& arguments : calls)
            for (const std::size_t width : {60U, 100U}) {
                CommandRun run{{command}, {{"COLUMNS", std::to_string(width)}}};
                run.command.insert(run.command.end(), arguments.begin(), arguments.end());

                const CommandEnd end = run.Run();

                std::istringstream lines(end.output);
                std::size_t longest = 0;
                for (std::string line; std::getline(lines, line);)
                    longest = std::max(longest, line.size());
                EXPECT_LE(longest, width) << end.output;
                EXPECT_GT(longest, width == 100 && arguments.back() != "help" ? 80U : 40U) << end.output;
            }
}

#ifdef VELRIX_EMULATOR_COMMAND
TEST(CommandTest, SaysHowToMakeTheEmulatorsImageAndMakesIt) {
    const TestSupport::TemporaryFolder folder;
    const std::string image = folder.Path("velrix/emulated-board");

    const CommandEnd none = CommandRun{{VELRIX_EMULATOR_COMMAND, "run", "--", "true"},
                                       {{"VELRIX_EMULATED_BOARD", ""}, {"XDG_CACHE_HOME", folder.Path()}}}
                                .Run();
    EXPECT_EQ(none.ExitCode(), 125);
    EXPECT_EQ(none.errors, "velrix-emulator: the emulated board's " + image +
                               "/kernel is missing; make it from Debian's packages with: velrix-emulator image " +
                               image + "\n");

    // It judges the program first: nobody should make an image for one that cannot be run.
    const CommandRun missing{{VELRIX_EMULATOR_COMMAND, "run", "--image", image, "--", folder.Path("program")}};
    EXPECT_EQ(missing.Run().ExitCode(), 127);
    EXPECT_THAT(missing.Run().errors, HasSubstr("/program does not exist; a name without a slash"));
    const CommandRun directory{{VELRIX_EMULATOR_COMMAND, "run", "--image", image, "--", folder.Path()}};
    EXPECT_EQ(directory.Run().ExitCode(), 126);

    // The script, on a machine without its programs.
    std::filesystem::create_directory(folder.Path("few"));
    for (const char* program : {"bash", "dirname"})
        std::filesystem::create_symlink(std::string("/usr/bin/") + program, folder.Path("few") + "/" + program);
    const CommandEnd made =
        CommandRun{{VELRIX_EMULATOR_COMMAND, "image", folder.Path("x")}, {{"PATH", folder.Path("few")}}}.Run();
    EXPECT_EQ(made.ExitCode(), 1);
    EXPECT_EQ(made.errors, "emulated-board-image: apt-get is missing; install Debian's package apt\n");
}
#endif

TEST(CommandTest, HelpsWithACommand) {
    const std::vector<std::string> commands = {"run", "record", "diff", "explore", "help", "completion"};
    for (const std::string& command : commands) {
        const CommandEnd option = CommandRun{{VELRIX_BOARD_COMMAND, command, "--help"}}.Run();
        const CommandEnd help = CommandRun{{VELRIX_BOARD_COMMAND, "help", command}}.Run();

        EXPECT_EQ(help.ExitCode(), 0);
        EXPECT_EQ(help.output, option.output);
        EXPECT_THAT(help.output, testing::StartsWith("Usage: velrix-board " + command + " "));
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
                    {"--set", "OXBO_IRQ_N=0", "--set", "OXBO_MOD_1=high", "--without", "/mnt/share", "--without",
                     "/var/log/apps/", "--oxbo-ready-after", "never"})}
            .Run();

    EXPECT_EQ(end.output, "0\n1\n");
}

TEST(CommandTest, SaysHowToRunTheProgramInThisDirectory) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("my-program", "#!/bin/sh\n");
    std::filesystem::create_directory(folder.Path("folder"));
    const std::string run = "cd " + folder.Path() + " && " + VELRIX_BOARD_COMMAND + " run -- ";

    const CommandEnd program = CommandRun{{"sh", "-c", run + "my-program"}}.Run();
    EXPECT_EQ(program.ExitCode(), 127);
    EXPECT_THAT(program.errors, testing::EndsWith("velrix-board: cannot start my-program: No such file or directory; "
                                                  "for the program in this directory, write ./my-program\n"));
    EXPECT_THAT((CommandRun{{"sh", "-c", run + "folder"}}).Run().errors,
                testing::EndsWith("velrix-board: cannot start folder: No such file or directory\n"));
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

// SPDX-License-Identifier: Apache-2.0
//
// The command velrix-emulator as people use it. Whatever needs a machine boots one; the rest fails before.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/timeline/VcdReader.h"
#include "tests/emulated/ArmTestPrograms.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// A run of the command in a folder of its own.
class EmulatorCommand : public testing::Test {
protected:
    void Start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VELRIX_EMULATOR_COMMAND);
        std::vector<char*> pointers;
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        process = ::fork();
        ASSERT_GE(process, 0);
        if (process == 0) {
            const int file = ::open(folder.Path("output").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            ::dup2(file, STDOUT_FILENO);
            ::dup2(::open(errorsFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600), STDERR_FILENO);
            ::execv(pointers[0], pointers.data());
            ::_exit(99);
        }
    }

    int Wait() {
        int status = 0;
        ::waitpid(process, &status, 0);
        output = folder.Read("output");
        errors = folder.Read("errors");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    int Run(const std::vector<std::string>& arguments) {
        Start(arguments);
        return Wait();
    }

    const std::string image = ArmTestPrograms::ImageFolder();
    const std::string scenes = ArmTestPrograms::Path("tests/emulated/board-scenes");
    TestSupport::TemporaryFolder folder;
    std::string errorsFile = folder.Path("errors");
    pid_t process = -1;
    std::string output;
    std::string errors;
};

TEST_F(EmulatorCommand, PassesOutputExitCodeSettingsAndLevelsAndRecordsTheTimeline) {
    folder.Write("settings", "log_dir=\"/tmp\"\n[oxbo_pin]\nreset_n=\"/opt/reset\"\n");
    const std::string script = "cat /etc/velrix.conf; cat /var/dev/gpio-inputs/oxboMod1/value; echo 'an error' >&2; "
                               "echo 1 > /opt/reset; until grep -q 0 /var/dev/gpio-inputs/oxboIrqN/value; do :; done; "
                               "printf 'a\\r\\tb%s' \"$1\"; exit 7";

    const int code = Run({"run", "--image", image, "--settings", folder.Path("settings"), "--set", "OXBO_MOD_1=1",
                          "--oxbo-ready-after", "10ms", "--timeline", folder.Path("run.vcd"), "--", "sh", "-c", script,
                          "sh", "it's\n\"two\" $lines"});

    EXPECT_EQ(code, 7) << errors;
    EXPECT_EQ(output, "log_dir=\"/tmp\"\n[oxbo_pin]\nreset_n=\"/opt/reset\"\n1\na\r\tbit's\n\"two\" $lines");
    EXPECT_EQ(errors, "an error\n");
    const auto timeline = VelrixBoard::ReadVcd(folder.Path("run.vcd"));
    const auto* reset = timeline.Find("OXBO_RESET1_N");
    const auto* irq = timeline.Find("OXBO_IRQ_N");
    ASSERT_TRUE(reset && irq);
    ASSERT_EQ(reset->changes.size(), 1U);
    ASSERT_EQ(irq->changes.size(), 1U);
    EXPECT_TRUE(reset->changes[0].level);
    EXPECT_FALSE(irq->changes[0].level);
    EXPECT_GE((irq->changes[0].time - reset->changes[0].time).count(), 10'000);
    EXPECT_GE(timeline.end, irq->changes[0].time);
}

TEST_F(EmulatorCommand, PassesSignalsToAProgramCopiedIntoTheMachine) {
    folder.Write("run.vcd", ""); // to be looked into before the command has made it
    Start({"run", "--image", image, "--timeline", folder.Path("run.vcd"), "--", scenes, "indications", "60000",
           "SetMsEnLedRunning"});
    // The timeline's first change says that the program is at work, once the machine has booted.
    EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor(
        [&] {
            const std::string timeline = folder.Read("run.vcd");
            return timeline.find("\n#", timeline.find("$dumpvars")) != std::string::npos;
        },
        std::chrono::seconds(120)));
    ::kill(process, SIGTERM);

    EXPECT_EQ(Wait(), 143) << errors;
    EXPECT_EQ(errors, "");
}

// As a terminal's Ctrl+C does. A shell that hears of it alone waits for its command, longer than this test may take.
TEST_F(EmulatorCommand, InterruptsTheProgramAndWhatItWaitsFor) {
    folder.Write("output", ""); // to be looked into before the command has made it
    Start({"run", "--image", image, "--", "sh", "-c", "echo started; sleep 100000; echo over"});
    EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor([&] { return folder.Read("output") == "started\n"; },
                                                   std::chrono::seconds(120)));
    ::kill(process, SIGINT);

    EXPECT_EQ(Wait(), 130) << errors;
    EXPECT_EQ(output, "started\n");
}

TEST_F(EmulatorCommand, JudgesAndReportsWhatTheProgramPrints) {
    folder.Write("a.scenario", "within 60s stdout has \"and out\"\nwithin 60s stderr has err\n"
                               "never stdout has err\nwithin 60s program exits with 0");

    EXPECT_EQ(Run({"run", "--image", image, "--scenario", folder.Path("a.scenario"), "--junit", folder.Path("a.xml"),
                   "--", "sh", "-c", "printf 'here and '; sleep 1; echo out; echo err >&2; sleep 1"}),
              0)
        << errors;
    EXPECT_EQ(output, "here and out\n");
    EXPECT_NE(folder.Read("a.xml").find("<system-out>here and out\n</system-out>\n  <system-err>err\n</system-err>"),
              std::string::npos);
}

TEST_F(EmulatorCommand, EndsWithAProgramThatKillsEveryProcess) {
    EXPECT_EQ(Run({"run", "--image", image, "--", "sh", "-c", "echo started; kill -9 -1; exit 3"}), 137) << errors;
    EXPECT_EQ(output, "started\n");
}

TEST_F(EmulatorCommand, SaysThatTheKernelGaveUp) {
    EXPECT_EQ(Run({"run", "--image", image, "--", "sh", "-c", "echo c > /proc/sysrq-trigger; sleep 100000"}), 125);
    EXPECT_TRUE(errors.starts_with("velrix-emulator: the emulated board's kernel gave up: "
                                   "Kernel panic - not syncing: sysrq triggered crash\n"))
        << errors;
}

TEST_F(EmulatorCommand, EndsWithAMachineThatIsSwitchedOff) {
    EXPECT_EQ(Run({"run", "--image", image, "--", "sh", "-c", "echo started; poweroff; sleep 100000"}), 0);
    EXPECT_EQ(output, "started\n");
    EXPECT_EQ(errors, "velrix-emulator: the machine halted\n");
}

TEST_F(EmulatorCommand, KeepsThePortOfItsOwnFromPrograms) {
    const std::string script = "for port in /dev/ttyS[1-3]; do echo 'exit 0' > $port; done 2> /dev/null; echo on >&2;"
                               "mknod /tmp/port c 4 66; echo 'exit 0' > /tmp/port; sleep 100000";

    EXPECT_EQ(Run({"run", "--image", image, "--", "sh", "-c", script}), 125);

    EXPECT_TRUE(errors.starts_with("exit 0\non\nvelrix-emulator: something in the machine writes to the port"))
        << errors;
    EXPECT_NE(errors.find("\"exit 0\""), std::string::npos) << errors;
}

TEST_F(EmulatorCommand, EndsByASignalThatTheMachineDoesNotAnswer) {
    folder.Write("output", ""); // to be looked into before the command has made it
    Start({"run", "--image", image, "--", "sh", "-c", "killall -STOP agent runner; echo started; sleep 100000"});
    EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor([&] { return folder.Read("output") == "started\n"; },
                                                   std::chrono::seconds(120)));
    ::kill(process, SIGTERM);

    EXPECT_EQ(Wait(), 143) << errors;
    EXPECT_EQ(errors, "velrix-emulator: kills the machine (5 s after SIGTERM, which the program did not get)\n");
}

TEST_F(EmulatorCommand, EndsByASignalWhileTheMachineBootsAndLeavesNothing) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const TestSupport::TemporaryFolder temporary;
        ::setenv("TMPDIR", temporary.Path().c_str(), 1);
        Start({"run", "--image", image, "--", "true"});
        ::unsetenv("TMPDIR");
        const auto boots = [&] {
            for (const auto& entry : std::filesystem::directory_iterator(temporary.Path()))
                if (std::filesystem::exists(entry.path() / "emulator"))
                    return true;
            return false;
        };
        ASSERT_TRUE(TestSupport::PrivateBoard::WaitFor(boots));

        ::kill(process, signal);

        EXPECT_EQ(Wait(), 128 + signal) << errors;
        EXPECT_TRUE(std::filesystem::is_empty(temporary.Path()));
    }
}

TEST_F(EmulatorCommand, SaysHowToNameAProgramOfThisDirectory) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    folder.Write("application", "");
    EXPECT_EQ(Run({"run", "--image", std::filesystem::absolute(before / image), "--", "application"}), 127);
    std::filesystem::current_path(before);
    EXPECT_NE(errors.find("velrix-emulator: for the program in this directory, write ./application\n"),
              std::string::npos)
        << errors;
}

TEST_F(EmulatorCommand, EndsByASecondSignalOfAProgramThatDoesNot) {
    folder.Write("output", ""); // to be looked into before the command has made it
    Start({"run", "--image", image, "--", "sh", "-c",
           "trap 'echo again' TERM; echo started; while :; do usleep 10000; done"});
    std::string expected = "started\n";
    for (const int signal : {SIGTERM, SIGINT}) {
        EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor([&] { return folder.Read("output") == expected; },
                                                       std::chrono::seconds(120)));
        ::kill(process, signal);
        expected += "again\n";
    }

    EXPECT_EQ(Wait(), 130) << errors;
    EXPECT_EQ(errors, "velrix-emulator: kills the machine (a second SIGINT)\n");
}

TEST_F(EmulatorCommand, SaysOnATerminalThatTheMachineBoots) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(::grantpt(terminal) | ::unlockpt(terminal), 0);
    errorsFile = ::ptsname(terminal);
    Start({"run", "--image", image, "--", "true"});

    std::string said;
    for (char c = 0; c != '\n' && ::read(terminal, &c, 1) == 1;)
        said += c;
    ::kill(process, SIGINT);

    EXPECT_EQ(said, "velrix-emulator: the machine boots, which takes about ten seconds\r\n");
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_EQ(WEXITSTATUS(status), 130);
    ::close(terminal);
}

TEST_F(EmulatorCommand, SaysWhatIsMissingAndWhatToDo) {
    EXPECT_EQ(Run({"run", "--image", folder.Path("none"), "--", "true"}), 125);
    EXPECT_EQ(errors, "velrix-emulator: the emulated board's " + folder.Path("none") +
                          "/kernel is missing; make it from Debian's packages with: velrix-emulator image " +
                          folder.Path("none") + "\n");

    std::filesystem::create_directory(folder.Path("half"));
    std::filesystem::copy(image + "/lines.txt", folder.Path("half"));
    EXPECT_EQ(Run({"run", "--image", folder.Path("half"), "--", "true"}), 125);
    EXPECT_EQ(errors, "velrix-emulator: the emulated board's " + folder.Path("half") +
                          "/kernel is missing; make it from Debian's packages with: velrix-emulator image " +
                          folder.Path("half") + "\n");

    const std::string path = Variable("PATH");
    ::setenv("PATH", "/nowhere", 1);
    EXPECT_EQ(Run({"run", "--image", image, "--", "true"}), 125);
    ::setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(errors,
              "velrix-emulator: qemu-system-arm cannot be started (No such file or directory); Debian has it in the "
              "package qemu-system-arm\n");
}

TEST_F(EmulatorCommand, RefusesProgramsThatItCannotRunBeforeItBoots) {
    EXPECT_EQ(Run({"run", "--image", image, "--", VELRIX_EMULATOR_COMMAND}), 126);
    EXPECT_NE(errors.find("is no 32-bit ARM program"), std::string::npos) << errors;
    EXPECT_EQ(Run({"run", "--image", image, "--", folder.Path()}), 126);
    EXPECT_NE(errors.find("is no 32-bit ARM program"), std::string::npos) << errors;
    EXPECT_EQ(Run({"run", "--image", image, "--", folder.Path("none")}), 127);
    EXPECT_EQ(errors, "velrix-emulator: " + folder.Path("none") +
                          " does not exist; a name without a slash is a command of the machine\n");
}

TEST_F(EmulatorCommand, RefusesWhatItCannotDoBeforeItBoots) {
    EXPECT_EQ(Run({"run", "--image", image, "--set", "OXBO_RL=1", "--", "true"}), 125);
    EXPECT_NE(errors.find("OXBO_RL is an output"), std::string::npos) << errors;
    EXPECT_EQ(Run({"run", "--set", "OXBO_IRQ_N=2", "--", "true"}), 125);
    EXPECT_EQ(Run({"run", "--oxbo-ready-after", "soon", "--", "true"}), 125);
    EXPECT_EQ(Run({"run"}), 125);
    folder.Write("settings", "[led]\nmodul_status_red=/x\n");
    EXPECT_EQ(Run({"run", "--image", image, "--settings", folder.Path("settings"), "--timeline",
                   folder.Path("none/run.vcd"), "--", "true"}),
              125);
    EXPECT_TRUE(errors.starts_with(folder.Path("settings") + ":2:1: error: there is no key \"modul_status_red\""))
        << errors;
    EXPECT_NE(errors.find("run.vcd"), std::string::npos) << errors;
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Whatever a program, the machine, or a reader of the output does, velrix-emulator serves writes to lines and ends on
// request. The machines of all behaviours boot together, since each takes seconds for that and for its end.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/loop/StopSignals.h"
#include "tests/board/RunningCommand.h"
#include "tests/emulated/ArmTestPrograms.h"

namespace {

using VelrixBoard::RunningCommand;
using Stream = RunningCommand::Stream;
using std::chrono::seconds;

// A line has a change for each write, while a colour of an LED has to last.
constexpr const char* WRITES = "while :; do for level in 1 0; do echo $level > "
                               "/var/dev/gpio-outputs/oxboRamLoaderEnable/value; done; done";

// The command with a script that ignores SIGTERM, does something, and writes to a line without end.
class RunningEmulator final : public RunningCommand {
public:
    RunningEmulator(Stream stream, bool isStreamRead, const std::string& does) : RunningCommand(stream, isStreamRead) {
        folder.Write("run.vcd", ""); // to be looked into before the command has made it
        Start({VELRIX_EMULATOR_COMMAND, "run", "--image", ArmTestPrograms::ImageFolder(), "--timeline",
               folder.Path("run.vcd"), "--", "sh", "-c",
               std::string("trap '' TERM USR1 USR2; ") + does + " " + WRITES});
    }

    // Changes of lines until now.
    long long Changes() const {
        const std::string timeline = folder.Read("run.vcd");
        return std::count(timeline.begin(), timeline.end(), '#');
    }

    // Processor time of the command.
    long long Microseconds() const {
        long long nanoseconds = -1;
        std::ifstream("/proc/" + std::to_string(process) + "/schedstat") >> nanoseconds;
        return nanoseconds / 1000;
    }

    // Stops the machine itself, as somebody does who means to stop the command.
    void StopMachine() const {
        std::ifstream children("/proc/" + std::to_string(process) + "/task/" + std::to_string(process) + "/children");
        if (pid_t machine = 0; children >> machine)
            ::kill(machine, SIGSTOP);
    }
};

using Nuisance = std::function<void(RunningEmulator&)>;

void SendSignals(RunningEmulator& emulator) {
    for (int i = 0; i < 10; ++i)
        emulator.Signal(i % 2 == 0 ? SIGUSR1 : SIGUSR2);
}

struct Behaviour {
    const char* name;
    Stream errors;
    bool isRead;
    std::string program;        // does this at the same time as it writes to a line
    Nuisance always = {};       // what happens from outside
    Nuisance beforeTheEnd = {}; // once
};

const Behaviour BEHAVIOURS[] = {
    {"OutputThatIsNotRead", Stream::PIPE, false, "yes &"},
    {"OutputToATerminalThatIsNotRead", Stream::TERMINAL, false, "yes &"},
    {"OutputWithoutALineEnd", Stream::PIPE, true, "tr '\\0' x < /dev/zero &"},
    {"ErrorsWithoutEnd", Stream::PIPE, true, "yes >&2 &"},
    {"AConsoleWithoutEnd", Stream::FILE, true, "yes > /dev/console &"},
    {"WritesOfAnotherProgram", Stream::FILE, true,
     "while :; do printf 1; printf 0; done > /sys/class/leds/ledNetStsRed/brightness &"},
    {"ProgramsWithoutEnd", Stream::FILE, true, "while :; do (:); done &"},
    {"SignalsWithoutEnd", Stream::FILE, true, "", SendSignals},
    {"AnAgentThatStands", Stream::FILE, true, "killall -STOP agent runner;"},
    {"AMachineThatStands", Stream::FILE, true, "", {}, [](RunningEmulator& emulator) { emulator.StopMachine(); }},
};

// How long the longest of its writes took the command, as far as the timeline tells them apart.
struct Cost {
    long long changes = 0;
    long long microseconds = 0;
    long long most = 0;

    // The timeline begins with the boot, and what the lines are then.
    bool IsAtWork() const { return changes > 10; }

    void Look(const RunningEmulator& emulator) {
        const long long now = emulator.Changes();
        if (now == changes)
            return;
        const long long spent = emulator.Microseconds();
        if (IsAtWork())
            most = std::max(most, (spent - microseconds) / (now - changes));
        changes = now;
        microseconds = spent;
    }
};

class EmulatorBounds : public testing::Test {
protected:
    void SetUp() override {
        for (const Behaviour& behaviour : BEHAVIOURS)
            emulators.push_back(
                std::make_unique<RunningEmulator>(behaviour.errors, behaviour.isRead, behaviour.program));
        const bool areAtWork = WaitForAll([this](std::size_t i) {
            costs[i].Look(*emulators[i]);
            return costs[i].changes >= CHANGES || emulators[i]->HasEnded();
        });
        for (std::size_t i = 0; i < COUNT; ++i)
            EXPECT_GE(costs[i].changes, CHANGES) << BEHAVIOURS[i].name << ": " << emulators[i]->Errors().substr(0, 500);
        ASSERT_TRUE(areAtWork);
    }

    // What happens from outside goes on meanwhile.
    bool WaitForAll(const std::function<bool(std::size_t)>& condition) {
        return emulators.front()->WaitFor(
            [&] {
                bool all = true;
                for (std::size_t i = 0; i < COUNT; ++i) {
                    if (BEHAVIOURS[i].always && costs[i].IsAtWork())
                        BEHAVIOURS[i].always(*emulators[i]);
                    all = emulators[i]->WaitFor([] { return true; }) && condition(i) && all;
                }
                return all;
            },
            seconds(240));
    }

    void Stop() {
        for (std::size_t i = 0; i < COUNT; ++i)
            if (BEHAVIOURS[i].beforeTheEnd)
                BEHAVIOURS[i].beforeTheEnd(*emulators[i]);
    }

    void ExpectEnd(std::chrono::milliseconds limit) {
        WaitForAll([this](std::size_t i) { return emulators[i]->HasEnded(); });
        for (std::size_t i = 0; i < COUNT; ++i) {
            ASSERT_TRUE(emulators[i]->HasEnded()) << BEHAVIOURS[i].name;
            const auto end = emulators[i]->HowItEnded();
            RecordProperty(BEHAVIOURS[i].name, std::to_string(end.after.count()));
            EXPECT_LE(end.after, limit) << BEHAVIOURS[i].name;
        }
    }

    static constexpr long long CHANGES = 200;
    static constexpr std::size_t COUNT = std::size(BEHAVIOURS);

    std::vector<std::unique_ptr<RunningEmulator>> emulators;
    Cost costs[COUNT];
};

TEST_F(EmulatorBounds, ServesWritesAndEndsByOneSigtermWithinTenSeconds) {
    for (std::size_t i = 0; i < COUNT; ++i) {
        RecordProperty(std::string(BEHAVIOURS[i].name) + "Write", std::to_string(costs[i].most));
        EXPECT_LE(costs[i].most, 100'000) << BEHAVIOURS[i].name;
    }
    Stop();
    for (const auto& emulator : emulators)
        emulator->Signal(SIGTERM);
    ExpectEnd(seconds(10));
}

TEST_F(EmulatorBounds, EndsByASecondSigtermWithinASecond) {
    Stop();
    for (const auto& emulator : emulators)
        emulator->Signal(SIGTERM);
    const auto begin = std::chrono::steady_clock::now();
    WaitForAll([&](std::size_t) {
        return std::chrono::steady_clock::now() - begin > VelrixBoard::StopSignals::SAME_REQUEST * 2;
    });
    for (const auto& emulator : emulators)
        emulator->Signal(SIGTERM);
    ExpectEnd(seconds(1));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/control/IBoardControl.h"
#include "board/control/ScenarioPlayer.h"
#include "board/model/Fault.h"
#include "board/model/OxboModule.h"
#include "board/sandbox/IBoardEntry.h"
#include "board/sandbox/Program.h"
#include "board/time/TimeOptions.h"

namespace VelrixBoard {

struct BoardOptions {
    // Becomes /etc/velrix.conf, unchanged. Without one the program finds no such file, even if the machine has it.
    std::optional<std::filesystem::path> settings;

    // The run directory, which stays. Without one the board makes a temporary one.
    std::optional<std::filesystem::path> directory;

    // The board reports on standard error if AUTO cannot use namespaces, and with saysIsolation always what it chose.
    Isolation isolation = Isolation::AUTO;
    bool saysIsolation = false;

    // The program sees user 0 as its user.
    bool asRoot = false;

    // Levels of inputs, by label. The simulated module does not drive these.
    std::map<std::string, bool> levels;

    // Faults of value files, by signal.
    std::map<std::string, Fault> faults;

    // Value files and directories of the board that are missing from the start.
    std::set<std::filesystem::path> without;

    // Nothing: the Oxbo module never becomes ready.
    std::optional<std::chrono::milliseconds> oxboReadyAfter = OxboModule::READY_AFTER;

    // After a call of the reboot command and the program's end: restart the program, or end the board.
    enum class OnReboot { RESTART, EXIT };
    OnReboot onReboot = OnReboot::EXIT;

    // Receive /dev/log; otherwise the name is free.
    bool syslog = true;

    // Show the board on standard error while it runs.
    bool terminal = false;

    // A VCD file for every change of every line and LED.
    std::optional<std::string> timeline;

    // A file for everything done to the board, as a scenario that repeats it.
    std::optional<std::string> recording;

    // Judges the run; the wait status is then an exit with the verdict.
    ScenarioOptions scenario;

    // How the board's time passes.
    TimeOptions time{};

    // Further observers and controls of the board.
    std::vector<AttachmentFactory> attachments;

    // The program in place of the reboot command, which calls RebootStub in main. Empty: this process's program.
    std::filesystem::path rebootStub;
};

// Runs the program on a private board and returns its wait status; 0 if a reboot that it called ended it. Forwards
// signals from other processes to the program. The calling process must have one thread. Throws BoardError,
// ScenarioError or TimelineError when the board cannot be made, before the program runs; and TimelineError when the
// timeline could not be completed.
int RunBoard(const BoardOptions& options, const Program& program);

// Ends this process with the same exit code, or by the same signal.
[[noreturn]] void EndAs(int waitStatus);

} // namespace VelrixBoard

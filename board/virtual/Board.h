// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/control/IBoardAttachment.h"
#include "board/control/ScenarioPlayer.h"
#include "board/model/Fault.h"
#include "board/model/OxboModule.h"
#include "board/sandbox/IBoardEntry.h"
#include "board/sandbox/Program.h"

namespace VelrixBoard {

struct BoardOptions {
    // Becomes /etc/velrix.conf, as it is. Without one the program finds no such file, even if the machine has it.
    std::optional<std::filesystem::path> settings;

    // Stays after the end. Without one the board has a directory of its own, which goes with it.
    std::optional<std::filesystem::path> directory;

    // How the board keeps its names apart from the machine's. Where AUTO cannot have namespaces, the board says so on
    // standard error in one line; with saysIsolation it says in any case what it chose.
    Isolation isolation = Isolation::AUTO;
    bool saysIsolation = false;

    // The program sees itself as user 0.
    bool asRoot = false;

    // Levels of inputs, by label. A line that is named here is the user's: the simulated module leaves it alone.
    std::map<std::string, bool> levels;

    // What is wrong with value files, by the names of their signals.
    std::map<std::string, Fault> faults;

    // Value files, and directories of the board, that are not there from the start.
    std::set<std::filesystem::path> without;

    // Nothing: the Oxbo module never becomes ready.
    std::optional<std::chrono::milliseconds> oxboReadyAfter = OxboModule::READY_AFTER;

    // What follows a call of the reboot command, once the program has ended: the program anew, or the board's end.
    enum class OnReboot { RESTART, EXIT };
    OnReboot onReboot = OnReboot::EXIT;

    // Take what is sent to /dev/log; otherwise the name is free.
    bool syslog = true;

    // Show the board on standard error while it runs.
    bool terminal = false;

    // Gets every change of every line and LED, as VCD.
    std::optional<std::string> timeline;

    // Gets what is done to the board, as a scenario that does it again.
    std::optional<std::string> recording;

    // Judges the run; the wait status is then that of a program that ended with the verdict's exit code.
    ScenarioOptions scenario;

    // What else watches and operates the board.
    std::vector<AttachmentFactory> attachments;

    // The file that stands in for the reboot command: a program whose main asks RebootStub. Empty: this process's
    // program.
    std::filesystem::path rebootStub;
};

// Runs the program on a board of its own and returns its wait status; 0 where a reboot that the program called for
// ended it. Signals that another process sends to this one while the program runs are passed on to it. The calling
// process must have one thread. Throws BoardError, ScenarioError or TimelineError when the board cannot be made; the
// program has not run then. Throws TimelineError as well when the timeline could not be written to its end.
int RunBoard(const BoardOptions& options, const Program& program);

// Ends this process as the status says: with the same exit code, or by the same signal.
[[noreturn]] void EndAs(int waitStatus);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

struct BoardResult {
    int exitCode; // 128 and the signal's number for a program that a signal ended
    std::string output;
    std::string errors;
};

// A private board of the test's own, which goes with it: runs one program at the device's paths by the command
// velrix-board, and shows from outside what the program left there.
class PrivateBoard final {
public:
    PrivateBoard();
    PrivateBoard(const PrivateBoard&) = delete;
    PrivateBoard& operator=(const PrivateBoard&) = delete;
    ~PrivateBoard();

    // The text of /etc/velrix.conf; without a call there is no such file.
    void SetSettings(const std::string& text);

    // A value file that is to be missing.
    void LeaveOut(const std::string& path);

    // Any other option of the command; an empty value is not handed over.
    void AddOption(const std::string& option, const std::string& value = {});

    // Runs the program and waits for its end; once a board.
    BoardResult Run(const std::vector<std::string>& command);

    // Starts the program without waiting; Signal sends to it, Wait gives its end.
    void Start(const std::vector<std::string>& command);
    void Signal(int number);
    BoardResult Wait();

    // What a file of the board, but for value files, holds now, by its path on the device; empty for one that is
    // missing.
    std::string Content(const std::string& path) const;

    // Where such a file lies on the machine.
    std::filesystem::path Outside(const std::string& path) const;

    // A command to the running board: "set OXBO_MOD_1=1", "fault MS.red=EIO".
    void Control(const std::string& command) const;

    // What was written to an output's value file, in order: "0110". By the path that the file has without settings.
    std::string Written(const std::string& path) const;

    // The level of an output that was written last, '0' or '1'; outputs begin low.
    char Level(const std::string& path) const;

    // Every change of a level in its order, "MS.green 1" a line.
    std::string Changes() const;

    // The calls of the reboot command, a line each.
    std::string Reboots() const;

    // What was sent to /dev/log, a line each.
    std::string Syslog() const;

    // Waits until the condition holds, for what a running program does some time; false when the limit is over,
    // which should be far more than it ever takes.
    static bool WaitFor(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(60));

    // The process of the command.
    int Process() const { return process; }

private:
    std::filesystem::path folder;
    std::vector<std::string> options;
    int process = -1;
};

} // namespace TestSupport

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

// A private board for one test: runs one program at the device's paths by the command velrix-board, and gives access to
// its files from outside.
class PrivateBoard final {
public:
    PrivateBoard();
    PrivateBoard(const PrivateBoard&) = delete;
    PrivateBoard& operator=(const PrivateBoard&) = delete;
    ~PrivateBoard();

    // The text of /etc/velrix.conf; without a call there is no such file.
    void SetSettings(const std::string& text);

    // Omits a value file.
    void LeaveOut(const std::string& path);

    // Any other option of the command; an empty value is omitted.
    void AddOption(const std::string& option, const std::string& value = {});

    // Runs the program and waits for its end; once per board. Nobody else acts on the board, so it has virtual time
    // where that exists and no option --time says otherwise.
    BoardResult Run(const std::vector<std::string>& command);

    // Starts the program without waiting, with the machine's time; Signal sends it a signal, Wait waits for its end.
    void Start(const std::vector<std::string>& command);
    void Signal(int number);
    BoardResult Wait();

    // The content of a file of the board, except value files, by its path on the device; empty if it is missing.
    std::string Content(const std::string& path) const;

    // The path of such a file on the machine.
    std::filesystem::path Outside(const std::string& path) const;

    // A command to the running board: "set OXBO_MOD_1=1", "fault MS.red=EIO".
    void Control(const std::string& command) const;

    // All writes to an output's value file, in order: "0110". By the default path of the file.
    std::string Written(const std::string& path) const;

    // The level of an output, '0' or '1'; outputs start low.
    char Level(const std::string& path) const;

    // All changes of levels, in order, one per line: "MS.green 1".
    std::string Changes() const;

    // The same with their times: "0.512031207 MS.green 1".
    std::string TimedChanges() const;

    // The calls of the reboot command, one per line.
    std::string Reboots() const;

    // The records sent to /dev/log, one per line.
    std::string Syslog() const;

    // Polls until the condition holds; false on a timeout, which should be far longer than it ever takes.
    static bool WaitFor(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(60));

    // The process of the command.
    int Process() const { return process; }

private:
    std::filesystem::path folder;
    std::vector<std::string> options;
    int process = -1;
};

} // namespace TestSupport

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "board/base/FileDescriptor.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {

// One of the commands as a user runs it. Its standard output and error are read or not. Killed with the object.
class RunningCommand {
public:
    enum class Stream { FILE, PIPE, TERMINAL };

    struct End {
        int status; // as wait gives it
        // The last SIGTERM, without the time in which the board had to wait for a processor of a busy machine.
        std::chrono::milliseconds after;
    };

    RunningCommand(const RunningCommand&) = delete;
    RunningCommand& operator=(const RunningCommand&) = delete;

    // The beginning of what was printed.
    const std::string& Errors() const { return printed; }

    void Signal(int number);

    // The second SIGTERM comes when it is no longer the same request.
    void SignalTwice(const std::function<void()>& meanwhile = [] {});

    // Whether it comes true in time; what is printed is read meanwhile where it is to be.
    bool WaitFor(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(60));

    bool HasEnded();

    // How it ended; nothing when it does not within a minute.
    std::optional<End> Wait(const std::function<void()>& meanwhile = [] {});

    // How it ended, once HasEnded.
    End HowItEnded() const;

protected:
    RunningCommand(Stream errors, bool isRead);
    ~RunningCommand();

    void Start(std::vector<std::string> command);

    const TestSupport::TemporaryFolder folder;
    int process = -1;

private:
    void OpenStream(Stream kind);
    [[noreturn]] void Exec(const std::vector<char*>& words) const;
    void Read();
    // The clock, less the time in which the board's main thread waited for a processor.
    std::chrono::nanoseconds BoardsClock() const;

    const bool isRead;
    FileDescriptor reading;
    FileDescriptor errors;
    std::string printed;
    int status = 0;
    std::chrono::nanoseconds signalled{};
    std::chrono::nanoseconds ended{};
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "board/base/FileDescriptor.h"
#include "board/sandbox/PreloadEntry.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {

// To be written to: every level of a line is shown, while a colour of an LED has to last.
constexpr const char* LINE = "/var/dev/gpio-outputs/oxboResetN/value";

// In which isolations boards can be bounded: those of this build.
inline std::vector<std::string> Isolations() {
    return PreloadLibrary().empty() ? std::vector<std::string>{"namespaces"}
                                    : std::vector<std::string>{"namespaces", "preload"};
}

// The command velrix-board as a user runs it, with a shell script for a program. Its standard output and error are read
// or not. Killed with the object.
class RunningBoard final {
public:
    enum class Stream { FILE, PIPE, TERMINAL };

    struct End {
        int status; // as wait gives it
        // The last SIGTERM, without the time in which the board had to wait for a processor of a busy machine.
        std::chrono::milliseconds after;
    };

    RunningBoard(Stream errors, bool isRead, const std::vector<std::string>& options, const std::string& script);
    RunningBoard(const RunningBoard&) = delete;
    RunningBoard& operator=(const RunningBoard&) = delete;
    ~RunningBoard();

    // Of a file in the run directory.
    std::string Path(const std::string& name) const { return folder.Path("board/" + name); }
    std::string Content(const std::string& name) const { return folder.Read("board/" + name); }

    // The beginning of what was printed.
    const std::string& Errors() const { return printed; }

    void Signal(int number);

    // The second SIGTERM comes when it is no longer the same request.
    void SignalTwice(const std::function<void()>& meanwhile = [] {});

    // Whether it comes true within a minute; what is printed is read meanwhile where it is to be.
    bool WaitFor(const std::function<bool()>& condition);

    bool HasEnded();

    // How it ended; nothing when it does not within a minute.
    std::optional<End> Wait(const std::function<void()>& meanwhile = [] {});

    // How it ended, once HasEnded.
    End HowItEnded() const;

private:
    void OpenStream(Stream kind);
    [[noreturn]] void Exec(const std::vector<char*>& words) const;
    void Read();
    // The clock, less the time in which the board's main thread waited for a processor.
    std::chrono::nanoseconds BoardsClock() const;

    const TestSupport::TemporaryFolder folder;
    const bool isRead;
    FileDescriptor reading;
    FileDescriptor errors;
    std::string printed;
    int process = -1;
    int status = 0;
    std::chrono::nanoseconds signalled{};
    std::chrono::nanoseconds ended{};
};

} // namespace VelrixBoard

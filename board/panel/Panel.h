// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "board/control/IBoardControl.h"
#include "board/panel/PanelCommand.h"
#include "board/panel/PanelFeed.h"
#include "board/panel/PanelQueue.h"
#include "board/panel/PanelServer.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

struct PanelOptions {
    std::string program;       // its name for the pages
    std::optional<int> port{}; // as for PanelServer
    bool holds = false;        // keeps the board after the program's end
};

// The board's panel in the browser: passes events to the pages' feed, and executes the pages' commands on the board's
// event loop.
class Panel final : public IBoardAttachment {
public:
    // Throws BoardError when the port is in use.
    Panel(const AttachedBoard& board, const PanelOptions& panelOptions);
    ~Panel() override;

    std::string Address() const { return server.Address(); }
    std::string Announcement() const override { return "the panel is at " + Address(); }
    bool Holds() const override { return options.holds && !isToldToEnd; }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSettled(BoardTime) override;
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view call, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnFault(std::size_t, BoardTime) override { TellFaults(); }
    void OnModule(BoardTime) override { TellModule(); }
    void OnProgramStarted(BoardTime time) override;
    void OnProgramEnded(int waitStatus, BoardTime time) override;
    void OnHeld(BoardTime) override;

    int Descriptor() const override { return queue.Descriptor(); }
    void Run(BoardTime now) override;

private:
    struct ProgramStatus {
        const char* state = "waiting"; // "running", "ended", "failed"
        std::string text = "not started";
        std::string end{};                  // the exit code, or the signal's name
        std::optional<BoardTime> askedAt{}; // when a page asked it to end
    };

    void Obey(const std::string& path, const std::string& body);
    void SignalProgram(int signal);
    void RestartProgram();
    void TellThatItIsAsked();
    void EndBoard();
    void TellModule();
    void TellFaults();
    void TellInputs();
    void TellProgram();
    std::string Picture();
    std::function<std::string()> Recording() const;

    const BoardState& state;
    IBoardControl& control;
    const Clock clock;
    const std::filesystem::path changes;
    const PanelOptions options;
    const std::vector<Signal> signals; // with the levels at the board's start
    const PanelTarget target;

    ProgramStatus program;
    int runs = 0; // of the program; a reboot restarts it
    bool isHeld = false;
    bool isToldToEnd = false;
    std::vector<InputDriver> drivers; // by signal, as the pages know them

    // For the recording, on the server's threads: the times from which and up to which it goes, or NONE.
    static constexpr BoardTime::rep NONE = -1;
    std::atomic<BoardTime::rep> began{NONE};
    std::atomic<BoardTime::rep> firstChange{NONE};
    std::atomic<BoardTime::rep> ended{NONE};

    PanelFeed feed;
    PanelQueue queue;
    PanelServer server; // last: its threads use all of the above
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "board/control/IBoardControl.h"
#include "board/panel/PanelFeed.h"
#include "board/panel/PanelQueue.h"
#include "board/panel/PanelServer.h"

namespace VelrixBoard {

// The board's panel in the browser: passes events to the pages' feed, and executes the pages' commands on the board's
// event loop.
class Panel final : public IBoardAttachment {
public:
    // The program's name for the pages; the port as for PanelServer. Throws BoardError when the port is in use.
    Panel(const BoardState& boardState, IBoardControl& boardControl, Clock clock, const std::string& program,
          std::optional<int> port);
    ~Panel() override;

    std::string Address() const { return server.Address(); }
    std::string Announcement() const override { return "the panel is at " + Address(); }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSettled(BoardTime) override { feed.Publish(); }
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view call, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnFault(std::size_t, BoardTime) override { TellFaults(); }
    void OnModule(BoardTime) override { TellModule(); }
    void OnProgramStarted(BoardTime time) override;
    void OnProgramEnded(int waitStatus, BoardTime time) override;

    int Descriptor() const override { return queue.Descriptor(); }
    void Run(BoardTime now) override;

private:
    void TellModule();
    void TellFaults();
    void TellProgram(const char* programState, const std::string& text);

    int runs = 0; // of the program; a reboot restarts it

    const BoardState& state;
    IBoardControl& control;
    PanelFeed feed;
    PanelQueue queue;
    PanelServer server; // last: its threads use all of the above
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "board/control/IBoardControl.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// Stands before a board's control and writes down what is done to the board, as steps of a scenario that does the same
// again at the same times: "at 1250000us set OXBO_MOD_1 high". A line a step, at once, so that the recording of a board
// that was killed is whole up to then; at the end the wait for the program's end, after which a scenario ends the
// program. Nothing is written of what the board refused, nor of the simulated module, which answers to the program
// anew.
class InputRecorder final : public BoardObserver, public IBoardControl {
public:
    // Throws BoardError when the file cannot be made.
    InputRecorder(std::string path, const BoardState& boardState, IBoardControl& boardControl,
                  std::function<BoardTime()> now);

    void OnProgramStarted(BoardTime time) override;
    void OnProgramEnded(int, BoardTime time) override { ended = time; }

    void DriveInput(std::size_t signal, bool level) override;
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override;
    std::optional<Fault> FaultOf(std::size_t signal) const override { return control.FaultOf(signal); }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override;
    ModuleState OxboState() const override { return control.OxboState(); }
    void SignalProgram(int signal) override;

    // The run is over. Throws BoardError when not all could be written.
    void Finish();

private:
    void Put(const std::string& action);

    const std::string path;
    const BoardState& state;
    IBoardControl& control;
    const std::function<BoardTime()> clock;
    std::ofstream file;
    std::optional<BoardTime> began;
    std::optional<BoardTime> ended;
    BoardTime last{}; // when the last step was
};

} // namespace VelrixBoard

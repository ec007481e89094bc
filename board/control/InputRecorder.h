// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <optional>
#include <string>

#include "board/control/IBoardControl.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// Records everything done through a board's control, as a scenario that repeats it at the same times: "at 1250000us set
// OXBO_MOD_1 high". Flushes each step, so that the recording of a killed board is complete; ends with a wait for the
// program's end. Does not record rejected actions, nor the simulated module, which reacts to the program again.
class InputRecorder final : public BoardObserver, public IBoardControl {
public:
    // Throws BoardError when the file cannot be made.
    InputRecorder(std::string path, const BoardState& boardState, IBoardControl& boardControl, Clock boardClock);

    void OnProgramStarted(BoardTime time) override {
        if (!began)
            began = last = time;
    }
    void OnProgramEnded(int, BoardTime time) override { ended = time; }

    void DriveInput(std::size_t signal, bool level, InputDriver driver) override;
    void ReleaseInput(std::size_t signal) override;
    InputDriver DriverOf(std::size_t signal) const override { return control.DriverOf(signal); }
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override;
    std::optional<Fault> FaultOf(std::size_t signal) const override { return control.FaultOf(signal); }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override;
    ModuleState OxboState() const override { return control.OxboState(); }
    void SignalProgram(int signal) override;
    void SetWebLogFull(bool isFull) override;
    void ChangeWallClock(const WallClockChange& change) override;
    void RestartProgram() override;

    // Completes the recording after the run. Throws BoardError when it could not be written.
    void Finish();

private:
    void PutLevel(std::size_t signal, bool level);
    void Put(const std::string& action);

    const std::string path;
    const BoardState& state;
    IBoardControl& control;
    const Clock clock;
    std::ofstream file;
    std::optional<BoardTime> began;
    std::optional<BoardTime> ended;
    BoardTime last{}; // the time of the last step
};

} // namespace VelrixBoard

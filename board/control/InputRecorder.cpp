// SPDX-License-Identifier: Apache-2.0
#include "board/control/InputRecorder.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "board/base/BoardError.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

namespace {

std::string Microseconds(BoardTime time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(time).count()) + "us";
}

} // namespace

InputRecorder::InputRecorder(std::string ownPath, const BoardState& boardState, IBoardControl& boardControl,
                             Clock boardClock)
    : path(std::move(ownPath)), state(boardState), control(boardControl), clock(std::move(boardClock)), file(path) {
    if (!file)
        throw BoardError("cannot write the recording " + path + ": " + std::strerror(errno));
}

void InputRecorder::DriveInput(std::size_t signal, bool level, InputDriver driver) {
    control.DriveInput(signal, level, driver);
    PutLevel(signal, level);
}

// A scenario cannot give a line back, but it can set the level that the line then has.
void InputRecorder::ReleaseInput(std::size_t signal) {
    control.ReleaseInput(signal);
    PutLevel(signal, state.Level(signal));
}

void InputRecorder::PutLevel(std::size_t signal, bool level) {
    Put("set " + state.Name(signal) + (level ? " high" : " low"));
}

void InputRecorder::SetFault(std::size_t signal, const std::optional<Fault>& fault) {
    control.SetFault(signal, fault);
    Put("fault " + state.Name(signal) + " " + (fault ? ToString(*fault) : "none"));
}

void InputRecorder::SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) {
    control.SetOxboReadyAfter(delay);
    Put(delay ? "module ready after " + std::to_string(delay->count()) + "ms" : "module ready never");
}

void InputRecorder::SignalProgram(int signal) {
    control.SignalProgram(signal);
    Put(std::string("send ") + ::sigabbrev_np(signal));
}

void InputRecorder::SetWebLogFull(bool isFull) {
    control.SetWebLogFull(isFull);
    Put(isFull ? "fault web log ENOSPC" : "fault web log none");
}

void InputRecorder::ChangeWallClock(const WallClockChange& change) {
    control.ChangeWallClock(change);
    if (change.isRelative)
        Put(change.time < change.time.zero() ? "set clock back " + Microseconds(-change.time)
                                             : "set clock forward " + Microseconds(change.time));
    else
        Put("set clock " + TextOfDate(change.time));
}

void InputRecorder::RestartProgram() {
    control.RestartProgram();
    file << "# here the program was started again, which a scenario cannot do" << std::endl;
}

void InputRecorder::Finish() {
    if (began && ended)
        file << "wait " << Microseconds(*ended - last) << std::endl;
    if (!file)
        throw BoardError("cannot write the recording " + path + ": is the disk full?");
}

void InputRecorder::Put(const std::string& action) {
    last = clock();
    file << "at " << Microseconds(last - began.value_or(last)) << " " << action << std::endl;
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TimelineRecorder.h"

namespace VelrixBoard {

namespace {

std::vector<Signal> Signals(const BoardState& state) {
    std::vector<Signal> signals;
    for (std::size_t i = 0; i < state.Count(); ++i)
        signals.push_back({state.Name(i), state.Level(i), {}});
    return signals;
}

} // namespace

TimelineRecorder::TimelineRecorder(const std::string& path, const BoardState& state) : writer(path, Signals(state)) {}

void TimelineRecorder::OnChange(std::size_t signal, bool level, BoardTime time) {
    try {
        writer.Write(signal, level, std::chrono::duration_cast<TimelineTime>(time));
    } catch (const TimelineError& error) {
        failure = error.what();
    }
}

void TimelineRecorder::Finish(BoardTime time) {
    if (!failure.empty())
        throw TimelineError(failure);
    writer.Finish(std::chrono::duration_cast<TimelineTime>(time));
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/records/TimelineRecorder.h"

#include <algorithm>

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
    const Event event{signal, level, time};
    if (began)
        Write(event);
    else
        early.push_back(event);
}

void TimelineRecorder::OnProgramStarted(BoardTime time) {
    if (began)
        return;
    began = early.empty() ? time : std::min(time, early.front().time);
    for (const Event& event : early)
        Write(event);
    early.clear();
}

void TimelineRecorder::Write(const Event& event) {
    try {
        writer.Write(event.signal, event.level, std::chrono::duration_cast<TimelineTime>(event.time - *began));
    } catch (const TimelineError& error) {
        failure = error.what();
    }
}

void TimelineRecorder::Finish(BoardTime time) {
    OnProgramStarted(BoardTime(0)); // the program never started
    if (!failure.empty())
        throw TimelineError(failure);
    writer.Finish(std::chrono::duration_cast<TimelineTime>(time - *began));
}

} // namespace VelrixBoard

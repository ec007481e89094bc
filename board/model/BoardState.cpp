// SPDX-License-Identifier: Apache-2.0
#include "board/model/BoardState.h"

#include "board/base/BoardError.h"

namespace VelrixBoard {

BoardState::BoardState(const BoardModel& boardModel) : model(boardModel) {
    for (const Line& line : model.Lines())
        levels.push_back(line.level);
    levels.resize(levels.size() + model.LedElements().size(), false);
}

const std::string& BoardState::Path(std::size_t signal) const {
    const std::size_t lines = model.Lines().size();
    return signal < lines ? model.Lines()[signal].path : model.LedElements()[signal - lines].path;
}

bool BoardState::IsInput(std::size_t signal) const {
    return signal < model.Lines().size() && model.Lines()[signal].direction == Direction::INPUT;
}

std::string BoardState::Name(std::size_t signal) const {
    const std::size_t lines = model.Lines().size();
    return signal < lines ? model.Lines()[signal].label : model.LedElements()[signal - lines].Name();
}

std::optional<std::size_t> BoardState::Find(std::string_view name) const {
    for (std::size_t signal = 0; signal < Count(); ++signal)
        if (Name(signal) == name)
            return signal;
    return std::nullopt;
}

std::string BoardState::LedColor(std::string_view led) const {
    const std::size_t lines = model.Lines().size();
    std::string color;
    for (std::size_t i = 0; i < model.LedElements().size(); ++i) {
        const LedElement& element = model.LedElements()[i];
        if (element.led != led || !levels[lines + i])
            continue;
        color += color.empty() ? "" : "+";
        color += ColorName(element.color);
    }
    return color.empty() ? "off" : color;
}

void BoardState::Write(std::size_t signal, bool level, BoardTime time) {
    Tell(&BoardObserver::OnWrite, signal, level, time);
    Set(signal, level, time);
}

void BoardState::Set(std::size_t signal, bool level, BoardTime time) {
    if (levels[signal] == level)
        return;
    levels[signal] = level;
    untold.push_back({signal, level, time});
    if (untold.size() > 1)
        return;
    for (; !untold.empty(); untold.pop_front()) {
        const Change change = untold.front();
        Tell(&BoardObserver::OnChange, change.signal, change.level, change.time);
    }
}

std::size_t FindSignal(const BoardState& state, std::string_view name) {
    if (const auto signal = state.Find(name))
        return *signal;
    std::string names;
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        names += " " + state.Name(signal);
    throw BoardError(std::string(name) + " is no line or LED element of the board; there are" + names);
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/model/OxboModule.h"

#include <string>

#include "board/base/BoardError.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

OxboModule::OxboModule(const BoardState& boardState, std::optional<std::chrono::milliseconds> readyAfter,
                       DriveInput driveInput)
    : state(boardState), drive(std::move(driveInput)), irq(state.Model().FindLine(BoardModel::OXBO_IRQ).value()),
      reset(state.Model().FindLine(BoardModel::OXBO_RESET).value()),
      ramLoader(state.Model().FindLine(BoardModel::OXBO_RAM_LOADER).value()) {
    module.readyAfter = readyAfter;
}

void OxboModule::SetReadyAfter(std::optional<std::chrono::milliseconds> readyAfter, BoardTime now) {
    module.readyAfter = readyAfter;
    module.due.reset();
    if (!module.inReset && !module.ready && readyAfter)
        module.due = released + *readyAfter;
    state.Tell(&BoardObserver::OnModule, now);
}

void OxboModule::PowerUp(BoardTime now) {
    module = {.readyAfter = module.readyAfter};
    state.Tell(&BoardObserver::OnModule, now);
}

void OxboModule::OnChange(std::size_t signal, bool level, BoardTime time) {
    if (signal != reset)
        return;
    module.inReset = !level;
    module.ready = false;
    module.due.reset();
    if (level) {
        released = time;
        module.ramLoaderAtRelease = state.Level(ramLoader);
        if (module.readyAfter)
            module.due = time + *module.readyAfter;
    } else if (!state.Level(irq)) {
        drive(irq, true);
    }
    state.Tell(&BoardObserver::OnModule, time);
}

void OxboModule::Run(BoardTime now) {
    if (!module.due || now < *module.due)
        return;
    module.due.reset();
    module.ready = true;
    drive(irq, false);
    state.Tell(&BoardObserver::OnModule, now);
}

std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text) {
    if (text == "never")
        return std::nullopt;
    auto time = ParseTime(text);
    if (!time) // no unit
        time = ParseTime(std::string(text) + "ms");
    if (!time || *time % std::chrono::milliseconds(1) != std::chrono::milliseconds(0))
        throw BoardError("\"" + std::string(text) +
                         "\" is no time for the module; give whole milliseconds, such as 40ms or 2s, or never");
    return std::chrono::duration_cast<std::chrono::milliseconds>(*time);
}

} // namespace VelrixBoard

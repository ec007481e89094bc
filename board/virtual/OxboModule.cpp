// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/OxboModule.h"

namespace VelrixBoard {

OxboModule::OxboModule(const BoardState& boardState, std::optional<std::chrono::milliseconds> readyAfter,
                       DriveInput driveInput)
    : state(boardState), delay(readyAfter), drive(std::move(driveInput)),
      irq(state.Model().FindLine(BoardModel::OXBO_IRQ).value()),
      reset(state.Model().FindLine(BoardModel::OXBO_RESET).value()) {}

void OxboModule::OnChange(std::size_t signal, bool level, BoardTime time) {
    if (signal != reset)
        return;
    due.reset();
    if (level && delay)
        due = time + *delay;
    if (!level && !state.Level(irq))
        drive(irq, true);
}

void OxboModule::Tick(BoardTime now) {
    if (!due || now < *due)
        return;
    due.reset();
    drive(irq, false);
}

} // namespace VelrixBoard

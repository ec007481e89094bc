// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "board/virtual/BoardState.h"

namespace VelrixBoard {

// The Oxbo module as the program sees it: it holds its interrupt line high while it is in reset, and pulls it low when
// it is ready, some time after reset was released. It observes the state and drives the line through the function it
// was given.
class OxboModule final : public BoardObserver {
public:
    using DriveInput = std::function<void(std::size_t signal, bool level)>;

    // Without readyAfter the module never becomes ready.
    OxboModule(const BoardState& boardState, std::optional<std::chrono::milliseconds> readyAfter,
               DriveInput driveInput);

    void OnChange(std::size_t signal, bool level, BoardTime time) override;

    // When Tick is due; nothing when the module waits for the program.
    std::optional<BoardTime> Due() const { return due; }
    void Tick(BoardTime now);

private:
    const BoardState& state;
    std::optional<std::chrono::milliseconds> delay;
    DriveInput drive;
    std::size_t irq;
    std::size_t reset;
    std::optional<BoardTime> due;
};

} // namespace VelrixBoard

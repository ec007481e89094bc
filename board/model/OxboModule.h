// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/model/ModuleState.h"

namespace VelrixBoard {

// The Oxbo module as the program sees it: it holds its interrupt line high while it is in reset, and pulls it low when
// it is ready, some time after reset was released. At the release it looks at the ram-loader line, and remembers it. It
// observes the state, tells its own changes to the state's observers, and drives the line through the function it was
// given.
class OxboModule final : public BoardObserver, public ILoopPart {
public:
    using DriveInput = std::function<void(std::size_t signal, bool level)>;

    // Without readyAfter the module never becomes ready.
    OxboModule(const BoardState& boardState, std::optional<std::chrono::milliseconds> readyAfter,
               DriveInput driveInput);

    // The new time holds for a reset that was released already, too, unless the module is ready.
    void SetReadyAfter(std::optional<std::chrono::milliseconds> readyAfter, BoardTime now);
    std::optional<std::chrono::milliseconds> ReadyAfter() const { return delay; }

    // The board's power comes anew: nothing is left of what the module remembered.
    void PowerUp(BoardTime now);

    const ModuleState& State() const { return module; }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;

    int Descriptor() const override { return -1; }
    std::optional<BoardTime> Due() const override { return module.due; }
    void Run(BoardTime now) override;

private:
    void Tell(BoardTime time) const;

    const BoardState& state;
    std::optional<std::chrono::milliseconds> delay;
    DriveInput drive;
    std::size_t irq;
    std::size_t reset;
    std::size_t ramLoader;
    ModuleState module;
    BoardTime released{};
};

} // namespace VelrixBoard

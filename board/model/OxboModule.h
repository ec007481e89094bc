// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string_view>

#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/model/ModuleState.h"

namespace VelrixBoard {

// Simulates the Oxbo module: holds its interrupt line high while in reset, and pulls it low when it is ready, some time
// after the release. Samples the ram-loader line at the release. Observes the state, notifies the state's observers of
// its changes, and drives the line through the given function.
class OxboModule final : public BoardObserver, public ILoopPart {
public:
    // After a reset, where nothing else is said.
    static constexpr std::chrono::milliseconds READY_AFTER{40};

    using DriveInput = std::function<void(std::size_t signal, bool level)>;

    // Without readyAfter the module never becomes ready.
    OxboModule(const BoardState& boardState, std::optional<std::chrono::milliseconds> readyAfter,
               DriveInput driveInput);

    // Also applies to a reset that has been released already, unless the module is ready.
    void SetReadyAfter(std::optional<std::chrono::milliseconds> readyAfter, BoardTime now);

    // Power cycle: resets the module's state.
    void PowerUp(BoardTime now);

    const ModuleState& State() const { return module; }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;

    std::optional<BoardTime> Due() const override { return module.due; }
    void Run(BoardTime now) override;

private:
    const BoardState& state;
    DriveInput drive;
    std::size_t irq;
    std::size_t reset;
    std::size_t ramLoader;
    ModuleState module;
    BoardTime released{};
};

// Parses when the Oxbo module becomes ready: a time as in ParseTime, in whole milliseconds, the default unit ("2s",
// "40ms", "40"); nothing for "never". Throws BoardError for other texts.
std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

#include "board/loop/ILoopPart.h"

namespace VelrixBoard {

// A part of a loop made of functions.
class FunctionPart final : public ILoopPart {
public:
    using Action = std::function<void(BoardTime now)>;

    // Runs when the descriptor is readable; asks for it in each round.
    FunctionPart(std::function<int()> ownDescriptor, Action ownAction)
        : descriptor(std::move(ownDescriptor)), action(std::move(ownAction)) {}

    // Runs in every round.
    explicit FunctionPart(Action ownAction) : action(std::move(ownAction)) {}

    int Descriptor() const override { return descriptor ? descriptor() : -1; }
    bool RunsInEveryRound() const override { return !descriptor; }
    void Run(BoardTime now) override { action(now); }

private:
    std::function<int()> descriptor;
    Action action;
};

} // namespace VelrixBoard

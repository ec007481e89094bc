// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

#include "board/loop/ILoopPart.h"

namespace VelrixBoard {

// A part of a loop made of functions, for what is too little for a class.
class FunctionPart final : public ILoopPart {
public:
    using Action = std::function<void(BoardTime now)>;

    // Has its turn when the descriptor, which is asked for in each round, is readable.
    FunctionPart(std::function<int()> ownDescriptor, Action ownAction)
        : descriptor(std::move(ownDescriptor)), action(std::move(ownAction)) {}

    // Has its turn in every round.
    explicit FunctionPart(Action ownAction) : action(std::move(ownAction)) {}

    int Descriptor() const override { return descriptor ? descriptor() : -1; }
    bool RunsInEveryRound() const override { return !descriptor; }
    void Run(BoardTime now) override { action(now); }

private:
    std::function<int()> descriptor;
    Action action;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "board/base/Clock.h"
#include "board/control/IBoardControl.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// What is attached to a running board from outside, to watch and operate it. It is made when all but the program is
// there, may start threads, and goes before the board does.
class IBoardAttachment : public BoardObserver, public ILoopPart {
public:
    // A line for the user when it is ready.
    virtual std::string Announcement() const = 0;
};

// Makes one, or throws BoardError; the program does not run then. State and control outlive the attachment; the clock
// may be read by any thread.
using AttachmentFactory =
    std::function<std::unique_ptr<IBoardAttachment>(const BoardState& state, IBoardControl& control, Clock clock)>;

} // namespace VelrixBoard

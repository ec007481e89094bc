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

// An external observer and control of a running board. Made just before the program starts, may start threads, and is
// destroyed before the board.
class IBoardAttachment : public BoardObserver, public ILoopPart {
public:
    // A message for the user when it is ready.
    virtual std::string Announcement() const = 0;
};

// Throws BoardError, and then the program does not run. State and control outlive the attachment; any thread may read
// the clock.
using AttachmentFactory =
    std::function<std::unique_ptr<IBoardAttachment>(const BoardState& state, IBoardControl& control, Clock clock)>;

} // namespace VelrixBoard

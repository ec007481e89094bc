// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The other end of the emulator's control connection, which speaks QMP: a JSON object a line, both ways.
class QmpClient final {
public:
    // Takes over a connected socket, made non-blocking, and greets.
    explicit QmpClient(FileDescriptor connectedSocket);

    int Descriptor() const { return socket.Get(); }

    // Sets the level of a line of the GPIO controller, as if something outside drove it.
    void SetLine(unsigned line, bool level);

    // Commands that have not been answered.
    int Pending() const { return pending; }

    // Reads what has come. The names of the events among it; throws BoardError when a command was refused.
    std::vector<std::string> Dispatch();

private:
    void Send(const std::string& command);

    FileDescriptor socket;
    std::string received;
    int pending = 0;
};

} // namespace VelrixBoard

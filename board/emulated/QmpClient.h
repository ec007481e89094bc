// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// A client of the emulator's control connection (QMP: one JSON object per line).
class QmpClient final {
public:
    // Takes over a connected, non-blocking socket.
    explicit QmpClient(FileDescriptor connectedSocket);

    int Descriptor() const { return socket.Get(); }

    // Drives a line of the GPIO controller from outside.
    void SetLine(unsigned line, bool level);

    // The number of unanswered commands.
    int Pending() const { return pending; }

    // Reads pending messages; returns the names of events. Throws BoardError when a command was refused.
    std::vector<std::string> Dispatch();

private:
    void Send(const std::string& command);

    FileDescriptor socket;
    std::string received;
    int pending = 0;
};

} // namespace VelrixBoard

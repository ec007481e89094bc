// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// A client of the emulator's debugger connection (GDB remote serial protocol). Stops the whole machine after each write
// to the watched device registers: until Continue nothing in the machine runs, and its clock stops.
//
// The emulator answers at once, so operations wait for it. All throw BoardError when it is gone or silent. One thread.
class GdbClient final {
public:
    // Takes over a connected socket, made non-blocking. The machine runs, or is about to.
    explicit GdbClient(FileDescriptor connectedSocket) : socket(std::move(connectedSocket)) {}

    // Readable when the machine has stopped, and sometimes spuriously.
    int Descriptor() const { return socket.Get(); }

    // Watches the words at these kernel addresses from now on, and no others.
    void Watch(const std::vector<std::uint32_t>& newAddresses);

    // Call it when the descriptor is readable: if the machine stopped at a write, completes the write and leaves the
    // machine stopped.
    void FinishWrite();

    bool IsStopped() const { return isStopped; }

    void Continue();

private:
    // The stopped processor, and the watched address that it was about to access.
    struct Stop {
        std::string thread;
        std::string address; // empty: another reason
    };

    void Send(const std::string& bytes) const;
    void Read();
    std::string Receive();
    Stop ReceiveStop();
    void Command(const std::string& text) const;
    std::string Ask(const std::string& text);
    void Order(const std::string& text);
    // Sets or removes the watchpoints at writes of the words at the addresses.
    void OrderWatches(char setOrRemove);

    FileDescriptor socket;
    std::string received;
    std::vector<std::uint32_t> addresses;
    bool isStopped = false;
};

} // namespace VelrixBoard

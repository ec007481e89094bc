// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The other end of the emulator's debugger connection, which speaks the GNU debugger's remote protocol. It stops the
// whole machine at each write into chosen registers of a device, as soon as the write is carried out: until Continue
// nothing in the machine runs, and its time stands still.
//
// The emulator answers at once, so operations wait for it. All throw BoardError when it is gone or silent. One thread.
class GdbClient final {
public:
    // Takes over a connected socket, made non-blocking. The machine runs, or is about to.
    explicit GdbClient(FileDescriptor connectedSocket) : socket(std::move(connectedSocket)) {}

    // Becomes readable when the machine has stopped, and now and then for nothing.
    int Descriptor() const { return socket.Get(); }

    // Stops at writes of the words at these addresses of the kernel from now on, and at no others.
    void Watch(const std::vector<std::uint32_t>& newAddresses);

    // After the descriptor has become readable: if the machine stopped, has the write carried out that it stopped for.
    // The machine stands then.
    void FinishWrite();

    bool Stands() const { return stands; }

    // Lets the machine run on.
    void Continue();

private:
    // Where the machine stopped, as the protocol has it: the processor, and the watched address that it was about to
    // access.
    struct Stop {
        std::string thread;
        std::string address; // empty: it stopped for another reason
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
    bool stands = false;
};

} // namespace VelrixBoard

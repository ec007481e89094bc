// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace VelrixBoard::Preload {

class Names;

// A lock-free pool of this process's connections to its board, also for signal handlers: as many as its threads need at
// a time. Their descriptors have high numbers, to keep low ones free.
namespace Connections {

// True for a descriptor of the pool, which the program must not touch.
bool IsOwn(int descriptor);

// Drops a connection whose descriptor is being reused.
void Forget(int descriptor);

// In a fork's child: the connections are its parent's.
void CloseAll();

// The lowest descriptor of the pool in the range, both ends included; -1 if there is none.
int LowestIn(unsigned first, unsigned last);

} // namespace Connections

// Takes a connection for one request; the destructor returns it to the pool.
class Connection final {
public:
    explicit Connection(const Names& names);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // -1, and errno, when the board cannot be reached.
    int Socket() const { return socket; }

    // Closes a broken connection.
    void Discard();

private:
    void TakeFromPool();
    void Connect(const Names& names);

    int socket = -1;
    int slot = -1;
};

} // namespace VelrixBoard::Preload

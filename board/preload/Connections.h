// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace VelrixBoard::Preload {

class Names;

// The connections of this process to its board: as many as its threads need at a time, kept for the next request. Taken
// and put back without a lock, also by signal handlers. They have high numbers, where they are in nobody's way.
namespace Connections {

// True for a descriptor that is one of them, which the program has no business with.
bool IsOwn(int descriptor);

// Forgets a connection whose number gets another meaning.
void Forget(int descriptor);

// In a fork's child: the connections are its parent's.
void CloseAll();

// The lowest own descriptor in the range, both ends included; -1 if there is none.
int LowestIn(unsigned first, unsigned last);

} // namespace Connections

// One of them, for one request at a time; goes back to the others at the end.
class Connection final {
public:
    explicit Connection(const Names& names);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // -1, and errno, when the board cannot be reached.
    int Socket() const { return socket; }

    // Closes it: it is of no more use.
    void Discard();

private:
    void TakeFromPool();
    void Connect(const Names& names);

    int socket = -1;
    int slot = -1;
};

} // namespace VelrixBoard::Preload

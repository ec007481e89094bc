// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace VelrixBoard::Preload {

class Names;

// An open value file, by the board's ids.
struct ValueFile {
    std::uint32_t file = 0;
    std::uint64_t open = 0;
};

// The table of this process's value file descriptors. Lock-free: threads, signal handlers and children of vfork call
// all of this.
//
// The C library closes and duplicates some descriptors without calling a hook, so an entry is valid only while the
// descriptor is still that socket. A child that shares this memory, as after vfork, does not write.
namespace Descriptors {

// False for other files, without a system call.
bool Find(int descriptor, ValueFile& file);

// Registers a new value file, identified by its socket's peer. False if it is not of this board.
bool Take(const Names& names, int descriptor);

// Descriptor to is now a duplicate of from.
void Copy(int from, int to);

void Clear(int descriptor);
void Clear(unsigned first, unsigned last);

// Registers inherited value files among all descriptors of this process.
void TakeInherited(const Names& names);

} // namespace Descriptors

} // namespace VelrixBoard::Preload

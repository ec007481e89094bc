// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace VelrixBoard::Preload {

class Names;

// An open value file, as the board knows it.
struct ValueFile {
    std::uint32_t file = 0;
    std::uint64_t open = 0;
};

// Which descriptors of this process are value files. Any number of them, without locks: threads, signal handlers and
// vfork's children call all of this.
//
// Libc closes and duplicates some descriptors past this library, so what is written down here is believed only while
// the descriptor is still that socket. A child that shares this memory, as after vfork, writes nothing down.
namespace Descriptors {

// False for what is no value file, as nearly all are; that costs no system call.
bool Find(int descriptor, ValueFile& file);

// Writes a new value file down: asks the socket which one it is. False if it is none of this board.
bool Take(const Names& names, int descriptor);

// Descriptor to is now the same as from.
void Copy(int from, int to);

void Clear(int descriptor);
void Clear(unsigned first, unsigned last);

// Looks at all descriptors of this process, which may have come from the program that executed it.
void TakeInherited(const Names& names);

} // namespace Descriptors

} // namespace VelrixBoard::Preload

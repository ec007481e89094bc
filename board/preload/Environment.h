// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/preload/Kernel.h"

namespace VelrixBoard::Preload {

// Saves the entry that names a file of this process's board, and the one that loads this library. Call it before any
// other thread runs, or after another thread did.
void RememberEnvironment(const char* variable, const char* path);

// The environment for a new program: the given one, with the board's entries restored. Keeps other libraries in
// LD_PRELOAD.
class BoardEnvironment final {
public:
    explicit BoardEnvironment(char* const* given);

    char* const* Get() const { return entries; }

private:
    void Complete(char* const* given, const char* preloaded);

    char* const* entries;
    Kernel::Memory memory;
};

} // namespace VelrixBoard::Preload

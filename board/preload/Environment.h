// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/preload/Kernel.h"

namespace VelrixBoard::Preload {

// Saves the environment entries of this process's board. Call it before any other thread runs, or after another thread
// did.
void RememberEnvironment(const char* listPath);

// The environment for a new program: the given one, with the board's entries restored. Keeps other libraries in
// LD_PRELOAD.
class BoardEnvironment final {
public:
    explicit BoardEnvironment(char* const* given);

    char* const* Get() const { return entries; }

private:
    void Complete(char* const* given, const char* preloaded, bool hasList);

    char* const* entries;
    Kernel::Memory memory;
};

} // namespace VelrixBoard::Preload

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/preload/Kernel.h"

namespace VelrixBoard::Preload {

// Remembers by which entries of the environment this process has its board. Before any other thread runs, or after
// others did the same.
void RememberEnvironment(const char* listPath);

// The environment for a program that is started: the given one, and put back into it what gives programs their board,
// where that was lost. A library that the program itself wants preloaded stays beside this one.
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

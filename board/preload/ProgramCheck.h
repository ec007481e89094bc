// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace VelrixBoard::Preload {

// Why preloading would not work for a program, which would then act on the machine.
enum class Refusal {
    NONE,
    STATIC,        // no dynamic loader
    OTHER_MACHINE, // another word size or processor
    OTHER_LOADER,  // another C library's loader
    PRIVILEGED     // its loader ignores LD_PRELOAD, since it gets the rights of another user
};

// Checks the program, or a script's interpreter, that execve would start for the path. Also NONE for unreadable files
// and non-programs: the kernel rejects them, or the C library runs the shell.
//
// what gets the text after the program's name in a message, such as "is statically linked; ...".
//
// Direct system calls, no heap: safe after vfork.
Refusal CheckProgram(const char* path, char* what, std::size_t size);

} // namespace VelrixBoard::Preload

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace VelrixBoard::Preload {

// Why a program could not have its board by preloading. Such a program would act on the machine.
enum class Refusal {
    NONE,
    STATIC,        // nothing is loaded into it
    OTHER_MACHINE, // of another word size or processor than this process
    OTHER_LOADER,  // its loader is another C library's
    PRIVILEGED     // its loader ignores what is to be preloaded, since it gets the rights of another user
};

// Looks at the program, a script's interpreter in its place, that execve would start for the path. NONE also for what
// cannot be read or is no program: the kernel refuses it, or the C library takes it for a script.
//
// what gets the text to put after the program's name in a message, such as "is statically linked; ...".
//
// Plain system calls, no heap: it may run after vfork.
Refusal CheckProgram(const char* path, char* what, std::size_t size);

} // namespace VelrixBoard::Preload

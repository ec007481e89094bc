// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "board/sandbox/Program.h"

namespace VelrixBoard {

// What process 1 of a board has to do.
struct InitPlan {
    // Process numbers begin at 1 on the board: process 1 is that by number, and its end is that of all others.
    bool hasOwnNumbers = true;

    // Makes the board, with the socket to the board's process; throws BoardError.
    std::function<void(int socket)> makeBoard = [](int) {};

    // In each program's process, before it does anything: gives what executes commands there.
    std::function<Execute()> beginProgram = [] { return Execute(::execvp); };

    // In each program's process: undoes what the board changed about signals.
    std::function<void()> restoreSignals = [] {};
};

// What process 1 tells the board, one packet each: the value files are to be served (with a descriptor of their
// connection); the program runs (with a descriptor of its process); it has ended with a wait status; all that it left
// running has ended too; or the board could not be made, and why.
struct InitMessage {
    enum class Kind { MOUNTED, STARTED, ENDED, DOWN, FAILED };

    Kind kind;
    int status;
    char text[1024];
};

// What the board tells process 1, one packet each: to make the board and run the program; to end all that runs, as a
// reboot does; to kill all that runs, as the system call of that name does; and, in answer to DOWN, to run the program
// again or to leave.
enum class InitOrder : char { BEGIN, END_ALL, KILL_ALL, RUN_ANEW, LEAVE };

// False when process 1 is gone.
bool SendInitOrder(int socket, InitOrder order);

// Tells the board that it is made so far that its value files can be served through the descriptor.
void SendMounted(int socket, int descriptor);

// Receives one message and the descriptor that comes with it. False at the end: process 1 is gone.
bool ReceiveInitMessage(int socket, InitMessage& message, FileDescriptor& attached);

// The life of process 1, in a child of the board's process: waits for the order to begin, makes the board, runs the
// program, reaps everything, and ends soon after the program what that left running. Then the board orders it to run
// the program again or to leave. When the board dies, by whatever signal, all processes on it are killed: with process
// numbers of its own by the kernel, which kills process 1; otherwise by process 1.
[[noreturn]] void RunInit(const InitPlan& plan, const Program& program, FileDescriptor socket);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "board/sandbox/Program.h"

namespace VelrixBoard {

// The tasks of process 1 of a board.
struct InitPlan {
    // The board has a pid namespace: process 1 has that id, and its end kills all others.
    bool hasOwnNumbers = true;

    // The programs have the library of board/preload anyway.
    bool preloadsLibrary = false;

    // Sets up the board, with the socket to the board's process; throws BoardError.
    std::function<void(int socket)> makeBoard = [](int) {};

    // Called first in each program's process: returns the function that executes commands there.
    std::function<Execute()> beginProgram = [] { return Execute(ExecuteProgram); };

    // In each program's process: restores the signal mask and dispositions.
    std::function<void()> restoreSignals = [] {};
};

// Messages of process 1 to the board, one packet each: serve the value files (with their connection); the program runs
// (with its pidfd); it ended with a wait status; all leftover processes have ended; or setting up the board failed, and
// why.
struct InitMessage {
    enum class Kind { MOUNTED, STARTED, ENDED, DOWN, FAILED };

    Kind kind;
    int status;
    char text[1024];
};

// Orders of the board to process 1, one packet each: set up the board and run the program; end everything, like a
// reboot; kill everything, like the reboot system call; and, in answer to DOWN, restart the program or exit.
enum class InitOrder : char { BEGIN, END_ALL, KILL_ALL, RUN_AGAIN, LEAVE };

// False when process 1 is gone.
bool SendInitOrder(int socket, InitOrder order);

// Sends the board the connection to serve its value files.
void SendMounted(int socket, int descriptor);

// Receives one message and the descriptor that comes with it. False at the end: process 1 is gone.
bool ReceiveInitMessage(int socket, InitMessage& message, FileDescriptor& attached);

// The main function of process 1, in a child of the board's process: waits for the order to begin, sets up the board,
// runs the program, reaps everything, and kills leftover processes after a grace period. Then the board orders it to
// restart the program or to exit. When the board dies, by any signal, all processes on it are killed: with a pid
// namespace by the kernel, which kills process 1; otherwise by process 1.
[[noreturn]] void RunInit(const InitPlan& plan, const Program& program, FileDescriptor socket);

} // namespace VelrixBoard

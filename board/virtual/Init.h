// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <vector>

#include <csignal>
#include <sys/types.h>

#include "board/virtual/FileDescriptor.h"
#include "board/virtual/Placement.h"
#include "board/virtual/Program.h"

namespace VelrixBoard {

// What process 1 of a board has to do.
struct InitPlan {
    uid_t user;
    gid_t group;
    bool asRoot;
    std::filesystem::path stage;
    std::filesystem::path device; // where the value files are mounted while the board is made
    std::vector<Placement> placements;
    sigset_t signalMask; // the one to give to the program
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
// reboot does; and, in answer to DOWN, to run the program anew or to leave.
enum class InitOrder : char { BEGIN, END_ALL, RUN_ANEW, LEAVE };

// False when process 1 is gone.
bool SendInitOrder(int socket, InitOrder order);

// Receives one message and the descriptor that comes with it. False at the end: process 1 is gone.
bool ReceiveInitMessage(int socket, InitMessage& message, FileDescriptor& attached);

// The life of process 1, in the child of ForkIntoNamespaces: waits for the order to begin, makes the board, runs the
// program, reaps everything, and ends soon after the program what that left running. Then it does as it is told, and
// runs the program anew or leaves. When the board dies, by whatever signal, process 1 is killed by the kernel and all
// others with it.
[[noreturn]] void RunInit(const InitPlan& plan, const Program& program, FileDescriptor socket);

} // namespace VelrixBoard

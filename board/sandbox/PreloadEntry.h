// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/resource.h>

#include "board/base/BoardLayout.h"
#include "board/sandbox/IBoardEntry.h"
#include "board/sandbox/PreloadFiles.h"

namespace VelrixBoard {

// Isolation by a library that is preloaded into the board's programs and redirects their calls: for machines without
// namespaces or FUSE. Works for programs that are dynamically linked to the machine's C library.
class PreloadEntry final : public IBoardEntry {
public:
    // onReboot is called when a program makes the reboot system call. Throws BoardError.
    PreloadEntry(BoardState& boardState, ValueFiles& valueFiles, BoardLayout boardLayout, bool asRoot,
                 PreloadFiles::Action beforeRequest, PreloadFiles::RebootAction onReboot);
    ~PreloadEntry() override;

    // Whether this process runs on a board with a preloaded library. The kernel does not know that board's names, so a
    // nested board in namespaces is not possible.
    static bool IsOnSuchABoard();

    InitPlan Plan(const std::vector<Placement>& placements) override;
    pid_t Fork() override;
    void Serve(FileDescriptor) override {}

    void ServeOneAtATime() override { files.ServeOneAtATime(); }

    int Descriptor() const override { return files.Descriptor(); }
    void Run(BoardTime now) override { files.Run(now); }

private:
    const BoardState& state;
    const ValueFiles& values;
    BoardLayout layout;
    bool isRoot;
    rlimit descriptors{}; // the original limit, for the program
    PreloadFiles files;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/base/BoardLayout.h"
#include "board/files/FuseFiles.h"
#include "board/files/ValueFiles.h"
#include "board/sandbox/IBoardEntry.h"

namespace VelrixBoard {

// Isolation by namespaces: the names are mounts in the board's mount namespace, the value files a FUSE file system.
// Works for every program; needs a kernel that allows it to this user.
class NamespaceEntry final : public IBoardEntry {
public:
    // ownNumbers: a pid namespace, which needs a new /proc. asRoot: the program sees user 0 as its user.
    NamespaceEntry(ValueFiles& files, BoardLayout boardLayout, bool ownNumbers, bool asRoot,
                   FuseFiles::BeforeRequest beforeRequest);

    InitPlan Plan(const std::vector<Placement>& placements) override;
    pid_t Fork() override;
    void Serve(FileDescriptor connection) override { fuse.Serve(std::move(connection)); }

    void ServeOneAtATime() override { fuse.ServeOneAtATime(); }

    int Descriptor() const override { return fuse.Descriptor(); }
    void Run(BoardTime now) override { fuse.Run(now); }

    // The capabilities of this machine, found out by setting up a board without a program.
    struct Trial {
        bool isAllowed = false;
        bool canHaveOwnNumbers = false; // false where /proc is partly masked, so that no new one can be mounted
        char reason[1024] = {};         // why it is not allowed, and the remedy
    };
    static Trial Try(const BoardLayout& layout);

private:
    BoardLayout layout;
    bool hasOwnNumbers;
    bool isRoot;
    FuseFiles fuse;
};

} // namespace VelrixBoard

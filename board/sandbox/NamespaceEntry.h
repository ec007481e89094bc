// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/files/FuseFiles.h"
#include "board/files/ValueFiles.h"
#include "board/sandbox/IBoardEntry.h"

namespace VelrixBoard {

// Isolation by namespaces: the names are mounts in the board's mount namespace, the value files a FUSE file system.
// Works for every program; needs a kernel that allows it to this user.
class NamespaceEntry final : public IBoardEntry {
public:
    struct Place {
        std::filesystem::path stage;  // an empty directory to build skeletons in
        std::filesystem::path device; // an empty directory for the temporary mount of the value files
    };

    // ownNumbers: a pid namespace, which needs a new /proc. asRoot: the program sees user 0 as its user.
    NamespaceEntry(ValueFiles& files, Place directories, bool ownNumbers, bool asRoot,
                   FuseFiles::BeforeRequest beforeRequest);

    InitPlan Plan(const std::vector<Placement>& placements) override;
    pid_t Fork() override;
    void Serve(FileDescriptor connection) override { fuse.Serve(std::move(connection)); }

    int Descriptor() const override { return fuse.Descriptor(); }
    void Run(BoardTime now) override { fuse.Run(now); }

    // The capabilities of this machine, found out by setting up a board without a program.
    struct Trial {
        bool isAllowed = false;
        bool canHaveOwnNumbers = false; // false where /proc is partly masked, so that no new one can be mounted
        char reason[1024] = {};         // why it is not allowed, and the remedy
    };
    static Trial Try(const Place& directories);

private:
    Place place;
    bool hasOwnNumbers;
    bool isRoot;
    FuseFiles fuse;
};

} // namespace VelrixBoard

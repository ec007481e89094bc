// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>

#include "board/files/FuseFiles.h"
#include "board/files/ValueFiles.h"
#include "board/sandbox/IBoardEntry.h"

namespace VelrixBoard {

// Namespaces of the kernel: the names are mounts that only the board's processes see, the value files a file system. It
// holds for every program, and needs a kernel that lets this user have it.
class NamespaceEntry final : public IBoardEntry {
public:
    struct Place {
        std::filesystem::path stage;  // an empty directory, where the names are put together
        std::filesystem::path device; // an empty directory, where the value files are mounted meanwhile
    };

    // ownNumbers: with process numbers of the board's, which need a /proc of the board's. asRoot: the program sees
    // itself as user 0.
    NamespaceEntry(ValueFiles& files, Place directories, bool ownNumbers, bool asRoot,
                   FuseFiles::BeforeRequest beforeRequest);

    InitPlan Plan(const std::vector<Placement>& placements) override;
    pid_t Fork() override;
    void Serve(FileDescriptor connection) override { fuse.Serve(std::move(connection)); }

    int Descriptor() const override { return fuse.Descriptor(); }
    std::optional<BoardTime> Due() const override { return fuse.Due(); }
    void Run(BoardTime now) override { fuse.Run(now); }

    // What a board in namespaces can be on this machine, found out by making one without a program.
    struct Trial {
        bool isAllowed;
        bool canHaveOwnNumbers; // where /proc is partly masked, no other can be mounted
        std::string reason;     // why it is not allowed, and what to do
    };
    static Trial Try(const Place& directories);

private:
    Place place;
    bool hasOwnNumbers;
    bool isRoot;
    FuseFiles fuse;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include <sys/types.h>

#include "board/base/FileDescriptor.h"
#include "board/files/ValueFiles.h"
#include "board/loop/ILoopPart.h"

struct fuse_req;
struct fuse_session;

namespace VelrixBoard {

// The value files of a board as a file system: the kernel's requests and their answers, by libfuse.
//
// One connection carries the requests of all files, so all writes have one order.
class FuseFiles final : public ILoopPart {
public:
    // The owner that the files show, by its numbers on the board.
    struct Owner {
        uid_t user;
        gid_t group;
    };

    // Called before each request is carried out: what the program did before, by other ways, can be told first.
    using BeforeRequest = std::function<void()>;

    FuseFiles(ValueFiles& valueFiles, Owner fileOwner, BeforeRequest beforeRequest);
    FuseFiles(const FuseFiles&) = delete;
    FuseFiles& operator=(const FuseFiles&) = delete;
    ~FuseFiles() override;

    // Begins to serve the connection, a descriptor of /dev/fuse that was mounted. Throws BoardError when the library
    // cannot.
    void Serve(FileDescriptor connection);

    // The connection; -1 before and after it.
    int Descriptor() const override;
    std::optional<BoardTime> Due() const override { return std::nullopt; }
    void Run(BoardTime now) override;

private:
    struct Buffer;
    struct OpenFile; // one open
    struct LateRequest;
    struct Operations;

    void Wake(ValueFiles::Number file);

    ValueFiles& values;
    Owner owner;
    BeforeRequest before;
    std::unique_ptr<Buffer> buffer;
    fuse_session* session = nullptr;
    bool ended = false;
    std::map<std::uint64_t, std::unique_ptr<OpenFile>> openFiles;
    std::uint64_t nextOpenFile = 1;
    std::map<fuse_req*, LateRequest> late;
};

// In process 1 of a board, as it makes the board: mounts the file system at the directory and gives the connection,
// for another process to serve. Throws BoardError that says what to do where the machine does not let it.
FileDescriptor MountFuse(const std::filesystem::path& mountPoint, FuseFiles::Owner owner);

} // namespace VelrixBoard

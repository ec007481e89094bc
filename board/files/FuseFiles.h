// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>

#include <sys/types.h>

#include "board/base/FileDescriptor.h"
#include "board/files/ValueFiles.h"
#include "board/loop/ILoopPart.h"

struct fuse_req;
struct fuse_session;

namespace VelrixBoard {

// The value files of a board as a FUSE file system, by libfuse.
//
// All files share one connection, so all writes have a total order.
class FuseFiles final : public ILoopPart {
public:
    // The files' owner, by its ids on the board.
    struct Owner {
        uid_t user;
        gid_t group;
    };

    // Called before each request, to dispatch first what the program did before by other ways, such as logging.
    using BeforeRequest = std::function<void()>;

    FuseFiles(ValueFiles& valueFiles, Owner fileOwner, BeforeRequest beforeRequest);
    ~FuseFiles() override;

    // Starts to serve the connection, a mounted descriptor of /dev/fuse. Throws BoardError when the library cannot.
    void Serve(FileDescriptor connection);

    // Gives the other parts of the loop their turn after each request, so that what they do depends on no race.
    void ServeOneAtATime() { requestsPerTurn = 1; }

    // The connection; -1 before and after it.
    int Descriptor() const override;
    void Run(BoardTime now) override;

private:
    struct Buffer;
    struct OpenFile; // one open file description
    struct LateRequest;
    struct Operations;

    void Wake(ValueFiles::Number file);

    ValueFiles& values;
    Owner owner;
    BeforeRequest before;
    std::unique_ptr<Buffer> buffer;
    fuse_session* session = nullptr;
    bool ended = false;
    int requestsPerTurn = 64; // one system call less for each, and the other parts still have theirs soon
    std::map<std::uint64_t, std::unique_ptr<OpenFile>> openFiles;
    std::uint64_t nextOpenFile = 1;
    std::map<fuse_req*, LateRequest> late;
};

// In process 1 of a board: mounts the file system at the directory and returns the connection, for another process to
// serve. Throws BoardError with a remedy where the machine forbids it.
FileDescriptor MountFuse(const std::filesystem::path& mountPoint, FuseFiles::Owner owner);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include <sys/types.h>

#include "board/scenario/Fault.h"
#include "board/virtual/BoardState.h"
#include "board/virtual/Clock.h"
#include "board/virtual/DeviceTree.h"
#include "board/virtual/FileDescriptor.h"
#include "board/virtual/ILoopPart.h"

struct fuse_req;
struct fuse_session;

namespace VelrixBoard {

// The value files of a board as a file system of its own, served by the board's loop, with the semantics that these
// files have on the device:
//
// - every write is one new value, wherever in the file it is written; O_TRUNC and truncate do nothing;
// - a read gives "0\n" or "1\n", always as it is at that time;
// - what is no number fails with EINVAL; inputs cannot be opened for writing; nothing can be made, renamed or removed;
// - poll gives POLLPRI and POLLERR until the latest level of an input was read, and once for a file just opened.
//
// One connection carries the requests of all files, so all writes have one order. What the program writes goes into the
// BoardState. A request is never waited for: the answer of a slow file is kept until its time.
class FuseFiles final : public ILoopPart {
public:
    // The owner that the files show, by its numbers on the board.
    struct Owner {
        uid_t user;
        gid_t group;
    };

    // Called before each request is carried out: what the program did before, by other ways, can be told first.
    using BeforeRequest = std::function<void()>;

    // Files whose path is in without are missing from the start.
    FuseFiles(BoardState& boardState, Clock boardClock, Owner fileOwner, const std::set<std::filesystem::path>& without,
              BeforeRequest beforeRequest);
    FuseFiles(const FuseFiles&) = delete;
    FuseFiles& operator=(const FuseFiles&) = delete;
    ~FuseFiles() override;

    const DeviceTree& Tree() const { return tree; }

    // Begins to serve the connection, a descriptor of /dev/fuse that was mounted. Throws BoardError when the library
    // cannot.
    void Serve(FileDescriptor connection);

    // The connection; -1 before and after it.
    int Descriptor() const override;
    std::optional<BoardTime> Due() const override;
    void Run(BoardTime now) override;

    // Gives an input another level; who waits for it by poll is woken.
    void DriveInput(std::size_t signal, bool level);

    // Breaks the signal's file or makes it whole again, also for who has it open. Throws BoardError for a signal
    // without a file, and for a full device below an input.
    void SetFault(std::size_t signal, const std::optional<Fault>& fault);
    std::optional<Fault> FaultOf(std::size_t signal) const { return faults[signal]; }

private:
    struct Buffer;
    struct OpenFile; // one open
    struct Request;  // a read or a write
    struct Operations;

    void Answer(const Request& request);
    void AnswerRead(const Request& request);
    void AnswerWrite(const Request& request);
    void AnswerLateRequests(BoardTime now);
    const Fault* FaultOfFile(const DeviceTree::Node& node) const;
    bool IsWritable(const DeviceTree::Node& node) const;

    BoardState& state;
    Clock clock;
    Owner owner;
    BeforeRequest before;
    DeviceTree tree;
    std::vector<std::optional<Fault>> faults; // by signal
    std::unique_ptr<Buffer> buffer;
    fuse_session* session = nullptr;
    bool ended = false;
    std::map<std::uint64_t, std::unique_ptr<OpenFile>> openFiles;
    std::uint64_t nextOpenFile = 1;
    std::map<DeviceTree::Number, std::uint64_t> events; // how often each input's level changed from outside
    std::list<Request> late;                            // of slow files; in no order
};

// In process 1 of a board, as it makes the board: mounts the file system at the directory and gives the connection,
// for another process to serve. Throws BoardError that says what to do where the machine does not let it.
FileDescriptor MountFuse(const std::filesystem::path& mountPoint, FuseFiles::Owner owner);

} // namespace VelrixBoard

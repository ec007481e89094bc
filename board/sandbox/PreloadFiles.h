// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "board/base/FileDescriptor.h"
#include "board/files/ValueFiles.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard {

// The value files of a board without FUSE: the server side of the protocol with the preloaded library
// (board/preload/Protocol.h).
//
// Each file has an empty one on the machine, for directory listings and stat; a missing file has none. Each open file
// is a socket pair. Executes requests in the order received and answers at once, except for slow files, so all writes
// have a total order.
class PreloadFiles final : public BoardObserver, public ILoopPart {
public:
    using Action = std::function<void()>;
    using RebootAction = std::function<void(bool restart)>;

    // Maps a name of the board to a path on the machine.
    using Places = std::function<std::filesystem::path(const std::filesystem::path& inside)>;

    // Creates the empty files and listens. beforeRequest is called before each request, to dispatch first what the
    // program did before by other ways, such as logging; onReboot when a program makes the reboot system call. Throws
    // BoardError.
    PreloadFiles(const BoardState& boardState, ValueFiles& valueFiles, Places placesOfNames, Action beforeRequest,
                 RebootAction onReboot);
    ~PreloadFiles() override;

    // The name of the abstract socket that programs connect to.
    const std::string& Name() const { return name; }

    void OnFault(std::size_t signal, BoardTime time) override;

    // Gives the other parts of the loop their turn after each request, so that what they do depends on no race.
    void ServeOneAtATime() { roundsPerTurn = 1; }

    // An epoll descriptor of all sockets.
    int Descriptor() const override { return queue.Get(); }
    void Run(BoardTime now) override;

private:
    using Number = ValueFiles::Number;

    // A program's connection, with one pending request at a time.
    struct Connection {
        FileDescriptor socket;
        ValueFiles::Ticket waiting = 0;
    };

    // The board's end of an open value file: the state of an open file description.
    struct OpenFile {
        FileDescriptor socket;
        Number file;
        std::uint32_t flags;
        std::int64_t position = 0;
        std::uint64_t seen = 0; // the last event that was read
        bool isEventSent = false;
    };

    void Listen();
    void MakeName(Number file) const;
    bool RunOnce();
    void Accept();
    void Dispatch(std::uint64_t source, std::uint32_t happened);
    void ReceiveWrites(std::uint64_t source);
    void ReceiveRequest(std::uint64_t source);
    void Carry(std::uint64_t source, const Preload::Request& request, std::string_view text);
    void Open(std::uint64_t source, const Preload::Request& request);
    void Read(std::uint64_t source, OpenFile& openFile, const Preload::Request& request);
    void Write(std::uint64_t source, OpenFile& openFile, const Preload::Request& request, std::string_view text);
    static std::int64_t Seek(OpenFile& openFile, const Preload::Request& request);
    void Reply(std::uint64_t source, std::int64_t result, std::string_view text = {}, std::uint64_t event = 0,
               int descriptor = -1);
    void Close(std::uint64_t source);
    void TellEvent(OpenFile& openFile);
    void Wake(Number file);
    bool Watch(int socket, std::uint64_t source) const;

    const BoardState& state;
    ValueFiles& values;
    Places places;
    Action before;
    RebootAction reboot;
    std::string name;
    FileDescriptor queue;
    FileDescriptor listener;
    std::map<std::uint64_t, Connection> connections; // by source, as are the open files: unique numbers
    std::map<std::uint64_t, OpenFile> openFiles;
    std::uint64_t nextSource;
    int roundsPerTurn = 64;
};

} // namespace VelrixBoard

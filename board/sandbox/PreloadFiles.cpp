// SPDX-License-Identifier: Apache-2.0
// One file: all operations work on the same open files and connections.
#include "board/sandbox/PreloadFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace fs = std::filesystem;
using Preload::Answer;
using Preload::Event;
using Preload::Operation;
using Preload::Request;

namespace {

constexpr std::uint64_t LISTENER = 1;

// Limits per turn of the event loop: rounds, sources per round, and values per round that one program wrote around the
// library.
constexpr int SOURCES = 64;
constexpr int WRITES = 16;

constexpr int BACKLOG = 256;

// An abstract address: begins with a zero byte and is delimited by its length.
struct Address {
    sockaddr_un content{};
    socklen_t length;

    explicit Address(const std::string& name)
        : length(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())) {
        content.sun_family = AF_UNIX;
        name.copy(content.sun_path + 1, sizeof content.sun_path - 1);
    }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&content); }
};

// Abstract socket names are global, so the name must be unique.
std::string NewName() {
    std::random_device random;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random());
    return std::string("velrix-board-") + digits.data();
}

// A program of another user does not belong to the board.
bool IsOfThisUser(int socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
           (peer.uid == ::geteuid() || peer.uid == 0);
}

bool MayRead(std::uint32_t flags) {
    return (flags & O_ACCMODE) != O_WRONLY;
}

bool MayWrite(std::uint32_t flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

void Send(int socket, const Answer& answer, std::string_view text, int descriptor) {
    Answer copy = answer;
    std::array<iovec, 2> parts = {iovec{&copy, sizeof copy}, iovec{const_cast<char*>(text.data()), text.size()}};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
    msghdr header{};
    header.msg_iov = parts.data();
    header.msg_iovlen = text.empty() ? 1 : 2;
    if (descriptor >= 0) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr* attached = CMSG_FIRSTHDR(&header);
        attached->cmsg_level = SOL_SOCKET;
        attached->cmsg_type = SCM_RIGHTS;
        attached->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(attached), &descriptor, sizeof descriptor);
    }
    // The buffer has room for one answer. If the program is gone, its connection ends next.
    (void)::sendmsg(socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace

PreloadFiles::PreloadFiles(const BoardState& boardState, ValueFiles& valueFiles, Places placesOfNames,
                           Action beforeRequest, RebootAction onReboot)
    : state(boardState), values(valueFiles), places(std::move(placesOfNames)), before(std::move(beforeRequest)),
      reboot(std::move(onReboot)), name(NewName()), queue(::epoll_create1(EPOLL_CLOEXEC)), nextSource(LISTENER + 1) {
    if (!queue)
        ThrowSystemError("cannot make a queue for the value files");
    for (const fs::path& directory : DeviceTree::Directories())
        fs::create_directories(places(directory));
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (const auto file = values.Tree().FileOf(signal))
            MakeName(*file);
    Listen();
    values.OnEvent([this](Number file) { Wake(file); });
}

PreloadFiles::~PreloadFiles() {
    values.OnEvent([](Number) {});
    for (const auto& [source, connection] : connections)
        values.Drop(connection.waiting);
}

void PreloadFiles::OnFault(std::size_t signal, BoardTime) {
    if (const auto file = values.Tree().FileOf(signal))
        MakeName(*file);
}

void PreloadFiles::Run(BoardTime) {
    for (int i = 0; i < roundsPerTurn && RunOnce(); ++i) {
    }
}

void PreloadFiles::Listen() {
    const Address address(name);
    listener = FileDescriptor(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener || ::bind(listener.Get(), address.Get(), address.length) != 0 ||
        ::listen(listener.Get(), BACKLOG) != 0 || !Watch(listener.Get(), LISTENER))
        ThrowSystemError("cannot make the board's socket for the value files");
}

// Creates the file's name, or removes it for a missing file.
void PreloadFiles::MakeName(Number file) const {
    const std::size_t signal = values.Tree().Find(file)->signals.front();
    const fs::path path = places(fs::path(state.Path(signal)).lexically_normal());
    std::error_code error;
    if (values.IsMissing(file)) {
        fs::remove(path, error);
        return;
    }
    if (fs::exists(path, error))
        return;
    fs::create_directories(path.parent_path(), error);
    std::ofstream(path).close();
    fs::permissions(path, fs::perms(values.IsWritable(file) ? 0644 : 0444), error);
    if (error)
        throw BoardError("cannot make " + path.string() + ": " + error.message());
}

// One round. False when nothing is pending.
bool PreloadFiles::RunOnce() {
    std::array<epoll_event, SOURCES> events;
    const int count = ::epoll_wait(queue.Get(), events.data(), SOURCES, 0);
    if (count <= 0)
        return false;
    const auto end = events.begin() + count;
    // Writes around the library come before a later program's request. Copies the number, since the kernel's struct is
    // packed.
    std::stable_partition(events.begin(), end, [this](const epoll_event& event) {
        const std::uint64_t source = event.data.u64;
        return openFiles.count(source) != 0;
    });
    std::for_each(events.begin(), end, [this](const epoll_event& event) { Dispatch(event.data.u64, event.events); });
    return true;
}

void PreloadFiles::Accept() {
    FileDescriptor socket(::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket || !IsOfThisUser(socket.Get()))
        return;
    const std::uint64_t source = nextSource++;
    if (!Watch(socket.Get(), source))
        return;
    connections.emplace(source, Connection{std::move(socket)});
}

void PreloadFiles::Dispatch(std::uint64_t source, std::uint32_t happened) {
    if (source == LISTENER)
        return Accept();
    if (openFiles.count(source) != 0)
        ReceiveWrites(source);
    else if (connections.count(source) != 0 && (happened & EPOLLIN) != 0)
        ReceiveRequest(source);
    else
        Close(source);
}

// Values written around the library. Nobody waits for an answer.
void PreloadFiles::ReceiveWrites(std::uint64_t source) {
    std::array<char, ValueFiles::PAGE> text;
    const OpenFile& openFile = openFiles.at(source);
    for (int i = 0; i < WRITES; ++i) {
        const ssize_t length = ::recv(openFile.socket.Get(), text.data(), text.size(), MSG_DONTWAIT);
        if (length < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        // Reported once, before the pending data, when the file was closed with an unread event.
        if (length < 0 && errno == ECONNRESET)
            continue;
        if (length <= 0)
            return Close(source);
        before();
        if (MayWrite(openFile.flags))
            values.Write(openFile.file, {text.data(), static_cast<std::size_t>(length)}, [](int, bool) {});
    }
}

void PreloadFiles::ReceiveRequest(std::uint64_t source) {
    struct {
        Request request;
        std::array<char, ValueFiles::PAGE> text;
    } packet;
    const ssize_t length = ::recv(connections.at(source).socket.Get(), &packet, sizeof packet, MSG_DONTWAIT);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    const auto size = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    if (size < sizeof packet.request || packet.request.mark != Request::MARK)
        return Close(source);
    before();
    Carry(source, packet.request, {packet.text.data(), size - sizeof packet.request});
}

void PreloadFiles::Carry(std::uint64_t source, const Request& request, std::string_view text) {
    const auto openFile = openFiles.find(request.open);
    switch (request.operation) {
    case Operation::OPEN:
        return Open(source, request);
    case Operation::CANCEL:
        return values.Interrupt(connections.at(source).waiting);
    case Operation::REBOOT:
        return reboot(request.flags != 0);
    default:
        break;
    }
    if (openFile == openFiles.end())
        return Reply(source, -EBADF);
    switch (request.operation) {
    case Operation::READ:
        return Read(source, openFile->second, request);
    case Operation::WRITE:
        return Write(source, openFile->second, request, text);
    case Operation::SEEK:
        return Reply(source, Seek(openFile->second, request));
    case Operation::STATUS:
        return Reply(source, openFile->second.flags);
    case Operation::FLAGS:
        openFile->second.flags = (openFile->second.flags & ~std::uint32_t{O_APPEND}) | (request.flags & O_APPEND);
        return Reply(source, 0);
    default:
        return Reply(source, -ENOSYS);
    }
}

void PreloadFiles::Open(std::uint64_t source, const Request& request) {
    const DeviceTree::Node* node = values.Tree().Find(request.file);
    if (node == nullptr || !node->isFile)
        return Reply(source, -ENOENT);
    if (const int error = values.OpenError(request.file, MayWrite(request.flags)))
        return Reply(source, -error);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return Reply(source, -ENFILE);
    const std::uint64_t number = nextSource++;
    OpenFile openFile{FileDescriptor(ends[0]), request.file, request.flags & (O_ACCMODE | O_APPEND)};
    const FileDescriptor ofProgram(ends[1]);
    const Address address(name + "/" + std::to_string(request.file) + "/" + std::to_string(number));
    if (::bind(ends[0], address.Get(), address.length) != 0 || !Watch(ends[0], number))
        return Reply(source, -ENFILE);
    TellEvent(openFile);
    openFiles.emplace(number, std::move(openFile));
    Reply(source, 0, {}, 0, ofProgram.Get());
}

void PreloadFiles::Read(std::uint64_t source, OpenFile& openFile, const Request& request) {
    if (!MayRead(openFile.flags))
        return Reply(source, -EBADF);
    const auto answer = [this, source, open = request.open, offset = request.offset, size = request.size](int error,
                                                                                                          bool level) {
        const auto found = openFiles.find(open);
        if (error != 0 || found == openFiles.end())
            return Reply(source, error != 0 ? -error : -EBADF);
        OpenFile& file = found->second;
        const std::string_view text = level ? "1\n" : "0\n";
        const std::int64_t at = offset == Preload::AT_POSITION ? file.position : offset;
        const std::string_view part =
            text.substr(std::min(static_cast<std::size_t>(std::max<std::int64_t>(at, 0)), text.size()), size);
        if (offset == Preload::AT_POSITION)
            file.position += static_cast<std::int64_t>(part.size());
        file.seen = values.LatestEvent(file.file);
        file.isEventSent = false;
        Reply(source, static_cast<std::int64_t>(part.size()), part, file.seen);
    };
    connections.at(source).waiting = values.Read(openFile.file, answer);
}

void PreloadFiles::Write(std::uint64_t source, OpenFile& openFile, const Request& request, std::string_view text) {
    if (!MayWrite(openFile.flags))
        return Reply(source, -EBADF);
    const auto size = static_cast<std::int64_t>(text.size());
    const auto answer = [this, source, size, open = request.open, offset = request.offset](int error, bool) {
        if (const auto found = openFiles.find(open);
            error == 0 && found != openFiles.end() && offset == Preload::AT_POSITION) {
            OpenFile& file = found->second;
            file.position = ((file.flags & O_APPEND) != 0 ? std::int64_t{ValueFiles::PAGE} : file.position) + size;
        }
        Reply(source, error != 0 ? -error : size);
    };
    connections.at(source).waiting = values.Write(openFile.file, text, answer);
}

std::int64_t PreloadFiles::Seek(OpenFile& openFile, const Request& request) {
    // By SEEK_SET, SEEK_CUR and SEEK_END.
    const std::array<std::int64_t, 3> bases = {0, openFile.position, ValueFiles::PAGE};
    std::int64_t position = 0;
    if (request.flags >= bases.size() || __builtin_add_overflow(bases[request.flags], request.offset, &position) ||
        position < 0)
        return -EINVAL;
    return openFile.position = position;
}

void PreloadFiles::Reply(std::uint64_t source, std::int64_t result, std::string_view text, std::uint64_t event,
                         int descriptor) {
    const auto found = connections.find(source);
    if (found == connections.end())
        return;
    found->second.waiting = 0;
    Send(found->second.socket.Get(), {result, event}, text, descriptor);
}

void PreloadFiles::Close(std::uint64_t source) {
    if (const auto found = connections.find(source); found != connections.end()) {
        values.Drop(found->second.waiting);
        connections.erase(found);
    }
    openFiles.erase(source);
}

void PreloadFiles::TellEvent(OpenFile& openFile) {
    const Event event{values.LatestEvent(openFile.file)};
    openFile.isEventSent = true;
    (void)::send(openFile.socket.Get(), &event, sizeof event, MSG_NOSIGNAL | MSG_DONTWAIT);
}

void PreloadFiles::Wake(Number file) {
    for (auto& [number, openFile] : openFiles)
        if (openFile.file == file && !openFile.isEventSent)
            TellEvent(openFile);
}

bool PreloadFiles::Watch(int socket, std::uint64_t source) const {
    epoll_event event{EPOLLIN, {}};
    event.data.u64 = source;
    return ::epoll_ctl(queue.Get(), EPOLL_CTL_ADD, socket, &event) == 0;
}

} // namespace VelrixBoard

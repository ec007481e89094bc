// SPDX-License-Identifier: Apache-2.0
// One file, the only one with libfuse: its callbacks and the session that calls them.
#include "board/files/FuseFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#define FUSE_USE_VERSION 34
#include <fuse3/fuse_lowlevel.h>

#include "board/base/BoardError.h"
#include "board/base/Refusal.h"

namespace VelrixBoard {

namespace {

using Node = DeviceTree::Node;
using Number = DeviceTree::Number;

// Cache timeouts. Names of value files are never cached, since a file may vanish; invalidating an entry could deadlock
// with a program that waits for the board.
constexpr double FOR_EVER_S = 86400;

} // namespace

struct FuseFiles::OpenFile {
    std::uint64_t seen = 0; // the last event that was read
    fuse_pollhandle* waiting = nullptr;

    ~OpenFile() { Wait(nullptr); }

    void Wait(fuse_pollhandle* handle) {
        if (waiting != nullptr)
            fuse_pollhandle_destroy(waiting);
        waiting = handle;
    }
    Number file = 0;
};

// Allocated by the library at the first request, for the largest one.
struct FuseFiles::Buffer {
    fuse_buf content{};

    ~Buffer() { std::free(content.mem); }
};

// A request that waits for a slow file.
struct FuseFiles::LateRequest {
    ValueFiles& files;
    ValueFiles::Ticket ticket;
};

// libfuse's callbacks, one per request of the kernel.
struct FuseFiles::Operations {
    static FuseFiles& Files(fuse_req_t request) { return *static_cast<FuseFiles*>(fuse_req_userdata(request)); }

    static void Fail(fuse_req_t request, int error) { fuse_reply_err(request, error); }

    static struct stat Attributes(const FuseFiles& files, Number number) {
        const Node& node = *files.values.Tree().Find(number);
        struct stat status {};
        status.st_ino = number;
        status.st_uid = files.owner.user;
        status.st_gid = files.owner.group;
        status.st_blksize = ValueFiles::PAGE;
        if (node.isFile) {
            status.st_mode = S_IFREG | (files.values.IsWritable(number) ? 0644 : 0444);
            status.st_nlink = 1;
            status.st_size = ValueFiles::PAGE;
        } else {
            status.st_mode = S_IFDIR | 0755;
            status.st_nlink = 2;
        }
        return status;
    }

    // An individually placed file is never looked up by name; only its attributes show that it is missing.
    static double Validity(const Node& node) { return node.isPlaced ? 0 : FOR_EVER_S; }

    static bool IsMissing(const FuseFiles& files, Number number) {
        return files.values.Tree().Find(number)->isFile && files.values.IsMissing(number);
    }

    static void Lookup(fuse_req_t request, fuse_ino_t parent, const char* name) {
        const FuseFiles& files = Files(request);
        const DeviceTree& tree = files.values.Tree();
        const Node* directory = tree.Find(parent);
        const auto child =
            directory != nullptr ? directory->children.find(name) : std::map<std::string, Number>::const_iterator{};
        if (directory == nullptr || child == directory->children.end())
            return Fail(request, ENOENT);
        const Node& node = *tree.Find(child->second);
        // An individually placed file is looked up once, to bind-mount it.
        if (IsMissing(files, child->second) && !node.isPlaced)
            return Fail(request, ENOENT);
        fuse_entry_param entry{};
        entry.ino = child->second;
        entry.attr = Attributes(files, child->second);
        entry.attr_timeout = Validity(node);
        entry.entry_timeout = node.isFile ? 0 : FOR_EVER_S;
        fuse_reply_entry(request, &entry);
    }

    static void GetAttributes(fuse_req_t request, fuse_ino_t number, fuse_file_info*) {
        const FuseFiles& files = Files(request);
        const Node* node = files.values.Tree().Find(number);
        if (node == nullptr || IsMissing(files, number))
            return Fail(request, ENOENT);
        const struct stat status = Attributes(files, number);
        fuse_reply_attr(request, &status, Validity(*node));
    }

    static void SetAttributes(fuse_req_t request, fuse_ino_t number, struct stat*, int which, fuse_file_info* info) {
        if ((which & (FUSE_SET_ATTR_MODE | FUSE_SET_ATTR_UID | FUSE_SET_ATTR_GID)) != 0)
            fuse_reply_err(request, EPERM);
        else
            GetAttributes(request, number, info);
    }

    static void ReadDirectory(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info*) {
        const FuseFiles& files = Files(request);
        const Node& directory = *files.values.Tree().Find(number);
        std::vector<std::pair<std::string, Number>> entries = {{".", number}, {"..", directory.parent}};
        for (const auto& [name, child] : directory.children)
            if (!IsMissing(files, child))
                entries.emplace_back(name, child);
        std::vector<char> buffer(size);
        std::size_t used = 0;
        for (auto i = static_cast<std::size_t>(offset); i < entries.size(); ++i) {
            const struct stat status = Attributes(files, entries[i].second);
            const std::size_t needed = fuse_add_direntry(request, buffer.data() + used, size - used,
                                                         entries[i].first.c_str(), &status, static_cast<off_t>(i) + 1);
            if (needed > size - used)
                break;
            used += needed;
        }
        fuse_reply_buf(request, buffer.data(), used);
    }

    static void Open(fuse_req_t request, fuse_ino_t number, fuse_file_info* info) {
        FuseFiles& files = Files(request);
        // A program that is root on its board would bypass the file's mode.
        if (const int error = files.values.OpenError(number, (info->flags & O_ACCMODE) != O_RDONLY))
            return Fail(request, error);
        // Bypasses the page cache, where writes would serialise and reads would be stale.
        info->direct_io = 1;
        // A close waits for nothing: a program that executes another one closes files while the kernel holds a lock
        // that a look at the program in /proc waits for, and the look would wait for ever, since who looks is who
        // answers.
        info->noflush = 1;
        info->fh = files.nextOpenFile++;
        auto openFile = std::make_unique<OpenFile>();
        openFile->file = number;
        files.openFiles[info->fh] = std::move(openFile);
        // An interrupted open has no open file.
        if (fuse_reply_open(request, info) == -ENOENT)
            files.openFiles.erase(info->fh);
    }

    static void Release(fuse_req_t request, fuse_ino_t, fuse_file_info* info) {
        Files(request).openFiles.erase(info->fh);
        fuse_reply_err(request, 0);
    }

    static void Read(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info* info) {
        FuseFiles& files = Files(request);
        OpenFile& openFile = *files.openFiles.at(info->fh); // stays open during the request
        auto answer = [&files, &openFile, request, size, offset](int error, bool level) {
            Forget(files, request);
            if (error != 0)
                return Fail(request, error);
            const std::string_view text = level ? "1\n" : "0\n";
            openFile.seen = files.values.LatestEvent(openFile.file);
            const std::string_view part = text.substr(std::min(static_cast<std::size_t>(offset), text.size()), size);
            fuse_reply_buf(request, part.data(), part.size());
        };
        LetWait(files, request, files.values.Read(number, std::move(answer)));
    }

    static void Write(fuse_req_t request, fuse_ino_t number, const char* text, std::size_t size, off_t,
                      fuse_file_info*) {
        FuseFiles& files = Files(request);
        const std::size_t taken = std::min(size, ValueFiles::PAGE);
        auto answer = [&files, request, taken](int error, bool) {
            Forget(files, request);
            if (error != 0)
                fuse_reply_err(request, error);
            else
                fuse_reply_write(request, taken);
        };
        LetWait(files, request, files.values.Write(number, {text, taken}, std::move(answer)));
    }

    // Before the reply, since the library may deliver an interrupt until then.
    static void Forget(FuseFiles& files, fuse_req_t request) {
        if (files.late.count(request) == 0)
            return;
        fuse_req_interrupt_func(request, nullptr, nullptr);
        files.late.erase(request);
    }

    // A signal interrupts the wait for a slow file.
    static void LetWait(FuseFiles& files, fuse_req_t request, ValueFiles::Ticket ticket) {
        if (ticket == 0)
            return;
        LateRequest& late = files.late.emplace(request, LateRequest{files.values, ticket}).first->second;
        fuse_req_interrupt_func(
            request,
            [](fuse_req_t, void* data) {
                const auto& interrupted = *static_cast<LateRequest*>(data);
                interrupted.files.Interrupt(interrupted.ticket);
            },
            &late);
    }

    static void Poll(fuse_req_t request, fuse_ino_t number, fuse_file_info* info, fuse_pollhandle* handle) {
        FuseFiles& files = Files(request);
        OpenFile& openFile = *files.openFiles.at(info->fh);
        if (handle != nullptr)
            openFile.Wait(handle);
        const bool unseen = openFile.seen != files.values.LatestEvent(number);
        const unsigned ready = POLLIN | POLLOUT | (unseen ? POLLPRI | POLLERR : 0);
        fuse_reply_poll(request, ready);
    }

    // Like the device's kernel: EACCES for names that do not exist, EPERM for changes of those that do.
    template <int ERROR_NUMBER, class... Arguments>
    static void Refuse(fuse_req_t request, Arguments...) {
        Fail(request, ERROR_NUMBER);
    }

    // The kernel handles the omitted operations itself or rejects them after the first request.
    static fuse_lowlevel_ops Table() {
        fuse_lowlevel_ops table{};
        table.lookup = Lookup;
        table.getattr = GetAttributes;
        table.setattr = SetAttributes;
        table.readdir = ReadDirectory;
        table.open = Open;
        table.release = Release;
        table.read = Read;
        table.write = Write;
        table.poll = Poll;
        table.create = Refuse<EACCES>;
        table.mknod = Refuse<EACCES>;
        table.mkdir = Refuse<EPERM>;
        table.unlink = Refuse<EPERM>;
        table.rmdir = Refuse<EPERM>;
        table.symlink = Refuse<EPERM>;
        table.link = Refuse<EPERM>;
        table.rename = Refuse<EPERM>;
        return table;
    }
};

FuseFiles::FuseFiles(ValueFiles& valueFiles, Owner fileOwner, BeforeRequest beforeRequest)
    : values(valueFiles), owner(fileOwner), before(std::move(beforeRequest)), buffer(std::make_unique<Buffer>()) {
    values.OnEvent([this](Number file) { Wake(file); });
}

FuseFiles::~FuseFiles() {
    values.OnEvent([](Number) {});
    // Nobody waits for these, but the library has memory for them.
    for (const auto& [request, waiting] : late) {
        values.Drop(waiting.ticket);
        fuse_reply_err(request, ENODEV);
    }
    openFiles.clear();
    if (session != nullptr)
        fuse_session_destroy(session);
}

void FuseFiles::Serve(FileDescriptor connection) {
    std::string name = "velrix-board";
    std::array<char*, 2> words = {name.data(), nullptr};
    fuse_args arguments = FUSE_ARGS_INIT(1, words.data());
    const fuse_lowlevel_ops table = Operations::Table();
    session = fuse_session_new(&arguments, &table, sizeof table, this);
    fuse_opt_free_args(&arguments); // the session has put a copy into it
    ::fcntl(connection.Get(), F_SETFL, O_NONBLOCK);
    // The library adopts a mounted connection by this path.
    const std::string descriptor = "/dev/fd/" + std::to_string(connection.Get());
    if (session == nullptr || fuse_session_mount(session, descriptor.c_str()) != 0)
        throw BoardError("libfuse cannot serve the value files; see its message above");
    (void)connection.Release();
}

int FuseFiles::Descriptor() const {
    return session != nullptr && !ended ? fuse_session_fd(session) : -1;
}

void FuseFiles::Run(BoardTime) {
    for (int i = 0; i < requestsPerTurn && Descriptor() >= 0; ++i) {
        const int length = fuse_session_receive_buf(session, &buffer->content);
        if (length == -EINTR)
            continue;
        if (length == -EAGAIN)
            break;
        // The last process of the board is gone, and its mounts with it.
        if (length <= 0) {
            ended = true;
            break;
        }
        before();
        fuse_session_process_buf(session, &buffer->content);
    }
}

void FuseFiles::Wake(Number file) {
    for (const auto& [number, openFile] : openFiles)
        if (openFile->file == file && openFile->waiting != nullptr) {
            fuse_lowlevel_notify_poll(openFile->waiting);
            openFile->Wait(nullptr);
        }
}

FileDescriptor MountFuse(const std::filesystem::path& mountPoint, FuseFiles::Owner owner) {
    constexpr const char* DEVICE = "/dev/fuse";
    FileDescriptor connection(::open(DEVICE, O_RDWR | O_CLOEXEC));
    if (!connection) {
        const int error = errno;
        const std::string what =
            "cannot open /dev/fuse for the value files (" + std::string(std::strerror(error)) + "). ";
        if (error == EACCES)
            throw BoardError(what + "Let every user use it, as root, with \"chmod 0666 /dev/fuse\", and for good by "
                                    "the udev rule KERNEL==\"fuse\", MODE=\"0666\".");
        throw BoardError(what +
                         "Load it, as root, with \"modprobe fuse\"; start a container with \"--device /dev/fuse\".");
    }
    struct stat status {};
    if (::fstat(connection.Get(), &status) != 0 || !S_ISCHR(status.st_mode) || status.st_rdev != ::makedev(10, 229))
        throw BoardError("/dev/fuse is not the kernel's device. Make it, as root, with \"rm /dev/fuse; mknod -m 0666 "
                         "/dev/fuse c 10 229\"; start a container with \"--device /dev/fuse\".");
    const std::string options = "fd=" + std::to_string(connection.Get()) +
                                ",rootmode=40000,user_id=" + std::to_string(owner.user) +
                                ",group_id=" + std::to_string(owner.group) + ",default_permissions";
    if (::mount("velrix-board", mountPoint.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) != 0)
        throw BoardError(DescribeRefusal("mounting the value files", errno, ::geteuid()));
    return connection;
}

} // namespace VelrixBoard

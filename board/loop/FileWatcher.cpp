// SPDX-License-Identifier: Apache-2.0
#include "board/loop/FileWatcher.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include <sys/eventfd.h>
#include <sys/inotify.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

// More than the kernel queues (fs.inotify.max_queued_events, 16384 events of 16 bytes and a name), so that one turn
// takes all earlier events; but a limit, so that a fast writer does not keep the board in this loop.
constexpr int EVENT_READS_PER_TURN = 64;

} // namespace

FileWatcher::FileWatcher() : inotify(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), readable(::eventfd(1, EFD_CLOEXEC)) {
    if (inotify && readable)
        return;
    const int error = errno;
    ThrowSystemError(std::string("cannot watch the board's files") +
                         (error == EMFILE ? " (raise fs.inotify.max_user_instances)" : ""),
                     error);
}

void FileWatcher::WatchFile(const std::filesystem::path& file, Action action) {
    Add(file, IN_MODIFY, {"", std::move(action)});
}

void FileWatcher::WatchName(const std::filesystem::path& file, Action action) {
    Add(file.parent_path(), IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_ONLYDIR,
        {file.filename().string(), std::move(action)});
}

void FileWatcher::Add(const std::filesystem::path& path, unsigned mask, Watch watch) {
    const int descriptor = ::inotify_add_watch(inotify.Get(), path.c_str(), mask | IN_MASK_ADD);
    if (descriptor < 0) {
        const int error = errno;
        ThrowSystemError(
            "cannot watch " + path.string() + (error == ENOSPC ? " (raise fs.inotify.max_user_watches)" : ""), error);
    }
    watches.emplace(descriptor, std::move(watch));
}

void FileWatcher::Dispatch() {
    Watches written = std::exchange(again, {});
    alignas(inotify_event) std::array<char, 16384> buffer;
    for (int reads = 0; reads < EVENT_READS_PER_TURN; ++reads) {
        const ssize_t length = ::read(inotify.Get(), buffer.data(), buffer.size());
        if (length <= 0)
            break;
        AddWritten({buffer.data(), static_cast<std::size_t>(length)}, written);
    }
    for (const Watch* watch : written) {
        current = watch;
        watch->action();
    }
}

void FileWatcher::AddWritten(std::string_view events, Watches& written) const {
    while (!events.empty()) {
        inotify_event event;
        std::memcpy(&event, events.data(), sizeof event);
        const std::string name(event.len > 0 ? events.data() + sizeof event : "");
        events.remove_prefix(sizeof event + event.len);
        // Events were lost: anything may have been written.
        const bool all = (event.mask & IN_Q_OVERFLOW) != 0;
        for (const auto& [descriptor, watch] : watches)
            if ((all || (descriptor == event.wd && watch.name == name)) &&
                std::find(written.begin(), written.end(), &watch) == written.end())
                written.push_back(&watch);
    }
}

} // namespace VelrixBoard

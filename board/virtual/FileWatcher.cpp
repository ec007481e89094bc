// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/FileWatcher.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/inotify.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

FileWatcher::FileWatcher() : inotify(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (inotify)
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
    alignas(inotify_event) std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t length = ::read(inotify.Get(), buffer.data(), buffer.size());
        if (length <= 0)
            return;
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const std::string name(event.len > 0 ? buffer.data() + at + sizeof event : "");
            at += sizeof event + event.len;
            // Events were lost: anything may have been written.
            const bool all = (event.mask & IN_Q_OVERFLOW) != 0;
            for (const auto& [descriptor, watch] : watches)
                if (all || (descriptor == event.wd && watch.name == name))
                    watch.action();
        }
    }
}

} // namespace VelrixBoard

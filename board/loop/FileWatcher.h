// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// Says when files are written. One inotify instance for a board, since a user may have only so many.
//
// Several changes of one file may be told as one, and the order between files is the order of their first untold
// change.
class FileWatcher final {
public:
    using Action = std::function<void()>;

    FileWatcher();

    // Calls action after the file, which must exist, was written or truncated.
    void WatchFile(const std::filesystem::path& file, Action action);

    // The same for a file that need not exist yet in a directory that does.
    void WatchName(const std::filesystem::path& file, Action action);

    // Readable when there is something to dispatch. May change with every Dispatch.
    int Descriptor() const { return again.empty() ? inotify.Get() : readable.Get(); }

    // Calls the actions of everything that was written up to now, each once, in the order of the first writes.
    void Dispatch();

    // For an action that leaves some of its work: the next Dispatch calls it again, and Descriptor is readable until
    // then.
    void CallAgain() { again.push_back(current); }

private:
    struct Watch {
        std::string name; // empty: the watched file itself
        Action action;
    };

    using Watches = std::vector<const Watch*>;

    void Add(const std::filesystem::path& path, unsigned mask, Watch watch);
    void AddWritten(std::string_view events, Watches& written) const;

    FileDescriptor inotify;
    FileDescriptor readable; // always
    std::multimap<int, Watch> watches;
    Watches again;
    const Watch* current = nullptr;
};

} // namespace VelrixBoard

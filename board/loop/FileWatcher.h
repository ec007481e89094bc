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

// Reports writes to files. One inotify instance per board, since their number per user is limited.
//
// Merges several changes of one file; files are reported in the order of their first unreported change.
class FileWatcher final {
public:
    using Action = std::function<void()>;

    FileWatcher();

    // Calls action after the file, which must exist, was written or truncated.
    void WatchFile(const std::filesystem::path& file, Action action);

    // The same for a file that need not exist yet in a directory that does.
    void WatchName(const std::filesystem::path& file, Action action);

    // Readable when events are pending. May change with every Dispatch.
    int Descriptor() const { return again.empty() ? inotify.Get() : readable.Get(); }

    // Calls the action of each file written since, once, in the order of the first writes.
    void Dispatch();

    // For an action with work left: the next Dispatch calls it again, and Descriptor is readable until then.
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

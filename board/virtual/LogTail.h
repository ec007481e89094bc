// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "board/virtual/FileDescriptor.h"

namespace VelrixBoard {

// Reads a file that others append lines to, line by line, as far as lines are complete. Another file of the same name,
// and a file that was truncated or overwritten, is read from its beginning; an unfinished line that came before counts
// as complete then.
//
// The file is held open: so nothing is missed that was written to it before it was removed, and a new one cannot be
// taken for it. That a file was overwritten shows in its length, and in the end of what was read before. Not seen: the
// same bytes overwritten by the same, unless it was read in between.
class LogTail final {
public:
    using Action = std::function<void(std::string_view line)>;

    LogTail(std::filesystem::path logFile, Action onLine) : path(std::move(logFile)), action(std::move(onLine)) {}

    // Tells the lines that are new.
    void Read();

    // The same when nobody writes any more: an unfinished line counts as complete.
    void Finish();

private:
    void Open();
    bool IsReplaced() const;
    bool IsOverwritten() const;
    void ReadOn();
    void TellRest();
    void Tell(std::string_view added);

    std::filesystem::path path;
    Action action;
    FileDescriptor file; // none: there is no such file yet, or no longer
    std::size_t read = 0;
    std::string last; // of what was read from the file
    std::string rest; // the unfinished line
};

} // namespace VelrixBoard

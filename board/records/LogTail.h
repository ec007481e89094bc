// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// Reads a file that others append lines to, line by line, as far as lines are complete. Another file of the same name,
// and a file that was truncated or overwritten, is read from its beginning; an unfinished line that came before counts
// as complete then.
//
// The file is held open: so nothing is missed that was written to it before it was removed, and a new one cannot be
// taken for it. That a file was overwritten shows in its length, and in the end of what was read before. Not seen: the
// same bytes overwritten by the same, unless it was read in between.
//
// A program can write faster than its lines can be shown, and lines without end. So a turn has a bound, and so has a
// line: behind CUT comes no more of it.
class LogTail final {
public:
    using Action = std::function<void(std::string_view line)>;

    // Of one call of Read, so that its caller comes to its other work: about a millisecond, as much for long lines as
    // for empty ones, which cost all who hear of them the same as others.
    static constexpr std::size_t BYTES_PER_TURN = 65536;
    static constexpr std::size_t LINES_PER_TURN = 256;
    // The longest line that is passed on whole; of a longer one its first bytes and CUT. As long as the longest record
    // that SyslogSocket takes, for somebody reads either.
    static constexpr std::size_t LONGEST_LINE = 65536;
    static constexpr std::string_view CUT = " ... (cut: longer than 65536 bytes)";
    // What Finish still reads: 64 MiB or 262144 lines, about a second. A file can be of any length, as a sparse one
    // shows.
    static constexpr int TURNS_AT_END = 1024;

    LogTail(std::filesystem::path logFile, Action onLine) : path(std::move(logFile)), action(std::move(onLine)) {}

    // Passes on the lines that are new. True when the turn's bound came before the end: call it again soon, nothing
    // else announces the rest.
    bool Read();

    // The same when nobody writes any more: an unfinished line counts as complete. False when more than
    // TURNS_AT_END was left, or goesOn, which is asked after each turn, had enough; what is behind that is not read.
    bool Finish(const std::function<bool()>& goesOn = [] { return true; });

private:
    void Open();
    bool IsReplaced() const;
    bool IsOverwritten() const;
    bool ReadOn();
    void EndLine();
    std::size_t Pass(std::string_view added);
    void Collect(std::string_view part);

    std::filesystem::path path;
    Action action;
    FileDescriptor file; // none: there is no such file yet, or no longer
    std::size_t read = 0;
    std::size_t bytesLeft = 0; // of this turn
    std::size_t linesLeft = 0;
    std::string last; // of what was read from the file
    std::string rest; // the unfinished line, as far as it is passed on
    bool cut = false; // the unfinished line is longer than that
};

} // namespace VelrixBoard

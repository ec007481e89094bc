// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// Follows a file like tail -F, line by line, complete lines only. Restarts at the beginning of a new file at the path
// and of a truncated or overwritten file; an unfinished line before that counts as complete.
//
// Keeps the file open: so it misses nothing that was written before the file was removed, and inode reuse cannot
// confuse it. Detects overwriting by the length and by the bytes read last. Undetected: overwriting with the same bytes
// between two reads.
//
// A program can write faster than its lines can be shown, and endless lines. Therefore each turn and each line has a
// limit; CUT marks a truncated line.
class LogTail final {
public:
    using Action = std::function<void(std::string_view line)>;

    // Limits of one Read, so that the event loop stays responsive: about a millisecond, in bytes for long lines and in
    // lines for empty ones, since each line costs its observers time.
    static constexpr std::size_t BYTES_PER_TURN = 65536;
    static constexpr std::size_t LINES_PER_TURN = 256;
    // The longest line; a longer one is truncated and marked by CUT. The limit of SyslogSocket too.
    static constexpr std::size_t LONGEST_LINE = 65536;
    static constexpr std::string_view CUT = " ... (cut: longer than 65536 bytes)";
    // The limits of Finish: 64 MiB or 262144 lines, about a second. A sparse file, for example, can have any length.
    static constexpr int TURNS_AT_END = 1024;

    LogTail(std::filesystem::path logFile, Action onLine) : path(std::move(logFile)), action(std::move(onLine)) {}

    // Passes on new lines. True when the turn's limit came before the end: call it again soon, no event announces the
    // rest.
    bool Read();

    // The same after the last writer: an unfinished line counts as complete. False when more than TURNS_AT_END was left
    // or goesOn, called after each turn, returned false; the rest is not read.
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
    FileDescriptor file; // empty: no such file
    std::size_t read = 0;
    std::size_t bytesLeft = 0; // of this turn
    std::size_t linesLeft = 0;
    std::string last; // of what was read from the file
    std::string rest; // the unfinished line, up to the limit
    bool cut = false; // the unfinished line exceeds the limit
};

} // namespace VelrixBoard

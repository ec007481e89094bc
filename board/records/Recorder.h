// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "board/base/BoardLayout.h"
#include "board/base/FileDescriptor.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// Writes what happens on the board into the run directory, a line each, at once: "changes" gets "SECONDS NAME LEVEL"
// for every new level, "syslog" the records of /dev/log, with "\n" for a line feed inside of one. On request, "writes"
// gets a line of the same form for every write of the program, be the level new or not. Lines go out when what was
// waiting has been told, since a program may write faster than a line at a time can be recorded. A file that cannot
// grow, on a full disk or at the limit for files, ends there; the user is told once, and the program runs on.
class Recorder final : public BoardObserver {
public:
    using TellUser = std::function<void(const std::string& text)>;

    // Throws BoardError when a file cannot be made.
    Recorder(const BoardLayout& layout, const BoardState& boardState, bool withWrites, TellUser tellUser);

    void OnWrite(std::size_t signal, bool level, BoardTime time) override;
    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnSettled(BoardTime time) override;

private:
    // Not a stream, which the program would inherit.
    struct Record {
        std::filesystem::path path{};
        FileDescriptor file{}; // none where it ends
        std::string waiting{};
    };

    void Flush(Record& record) const;
    std::string Line(std::size_t signal, bool level, BoardTime time) const;

    const BoardState& state;
    const bool recordsWrites;
    const TellUser tell;
    Record changes;
    Record writes;
    Record syslog;
};

} // namespace VelrixBoard

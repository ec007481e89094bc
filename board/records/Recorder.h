// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "board/base/BoardLayout.h"
#include "board/base/FileDescriptor.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// Writes logs into the run directory, one line per event: "changes" gets "SECONDS NAME LEVEL" for every new level,
// "syslog" the records of /dev/log, with "\n" for a line feed inside of one. Optionally, "writes" gets the same for
// every write of the program, even if the level stays. Flushes in OnSettled, since a program may write faster than one
// system call per line allows. A file that cannot grow, on a full disk or at the file size limit, ends there, with one
// message to the user; the program runs on.
class Recorder final : public BoardObserver {
public:
    using TellUser = std::function<void(const std::string& text)>;

    // Throws BoardError when a file cannot be made.
    Recorder(const BoardLayout& layout, const BoardState& boardState, bool withWrites, TellUser tellUser);

    void OnWrite(std::size_t signal, bool level, BoardTime time) override {
        if (recordsWrites)
            writes.waiting += Line(signal, level, time);
    }
    void OnChange(std::size_t signal, bool level, BoardTime time) override {
        changes.waiting += Line(signal, level, time);
    }
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnSettled(BoardTime time) override;

private:
    // A descriptor, not a std::ofstream, which the program would inherit.
    struct Record {
        std::filesystem::path path{};
        FileDescriptor file{}; // empty after a failed write
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

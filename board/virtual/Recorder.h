// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/virtual/BoardLayout.h"
#include "board/virtual/BoardState.h"
#include "board/virtual/FileDescriptor.h"

namespace VelrixBoard {

// Writes what happens on the board into the run directory, a line each, at once: "changes" gets "SECONDS NAME LEVEL"
// for every new level, "syslog" the records of /dev/log, with "\n" for a line feed inside of one.
class Recorder final : public BoardObserver {
public:
    // Throws BoardError when a file cannot be made.
    explicit Recorder(const BoardLayout& layout, const BoardState& boardState);

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;

private:
    const BoardState& state;
    // Not streams, which the program would inherit.
    FileDescriptor changes;
    FileDescriptor syslog;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/virtual/Backlog.h"
#include "board/virtual/FileDescriptor.h"
#include "board/virtual/ILoopPart.h"
#include "board/virtual/ITextOutput.h"

namespace VelrixBoard {

// Writes to an open stream, such as the terminal on standard error, without ever waiting for its reader: text that
// finds no room is kept and written by the loop when there is some. The stream itself stays as it is, since the program
// and the shell share it. What a stream refuses for good, as a pipe without a reader does, is dropped.
class StreamWriter final : public ITextOutput, public ILoopPart {
public:
    // What is kept for a reader that does not read: some ten thousand lines, for one that only is slower now and then
    // than a program that changes lines and writes logs without end.
    static constexpr std::size_t MOST_WAITING = std::size_t{4} * 1024 * 1024;

    explicit StreamWriter(int openStream);

    void Write(std::string_view text) override;
    bool IsWritten() const override { return waiting.IsEmpty(); }

    int Descriptor() const override;
    bool AwaitsRoom() const override { return true; }
    std::optional<BoardTime> Due() const override { return std::nullopt; }

    // Writes once.
    void Run(BoardTime now) override;

private:
    ssize_t WriteSome() const;

    const int stream;
    FileDescriptor own; // the same stream as an open file that does not block; none where that is not possible
    bool isSocket = false;
    bool canBlock = false; // and there is no other way to it
    Backlog waiting{MOST_WAITING};
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "board/base/FileDescriptor.h"
#include "board/loop/Backlog.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/ITextOutput.h"

namespace VelrixBoard {

// Writes to an open stream, such as the terminal on standard error, without ever waiting for its reader: text that
// finds no room is kept and written by the loop when there is some. The stream itself stays as it is, since the program
// and the shell share it. What a stream refuses for good, as a pipe without a reader does, is dropped.
class StreamWriter final : public ITextOutput, public ILoopPart {
public:
    // What is kept for a reader that does not read: some ten thousand lines, for one that only is slower now and then
    // than a program that changes lines and writes logs without end.
    static constexpr std::size_t MOST_WAITING = std::size_t{4} * 1024 * 1024;

    // How long Finish waits for a reader that takes nothing at all: time to read a page and to come back to a terminal
    // that was stopped, but not for ever.
    static constexpr std::chrono::minutes READER_LIMIT{10};

    explicit StreamWriter(int openStream);

    void Write(std::string_view text) override;
    bool IsWritten() const override { return waiting.IsEmpty(); }

    int Descriptor() const override;
    bool AwaitsRoom() const override { return true; }

    // Writes once.
    void Run(BoardTime now) override;

    // Whoever may end the waiting for a reader. isStopped is asked before each wait and when one of the descriptors is
    // readable; once it says yes, only what finds room is written.
    struct Patience {
        std::vector<int> descriptors;
        std::function<bool()> isStopped;
    };

    // Waits until all is written. False when the reader had READER_LIMIT, or the user has no patience.
    bool Finish(const Patience& patience);

private:
    ssize_t WriteSome() const;

    const int stream;
    FileDescriptor own; // the same stream as an open file that does not block; none where that is not possible
    bool isSocket = false;
    bool canBlock = false; // and there is no other way to it
    Backlog waiting{MOST_WAITING};
};

} // namespace VelrixBoard

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

// Writes to an open stream, such as the terminal on standard error, without waiting for its reader: the loop writes the
// rest when there is room. Does not change the stream's flags, which the program and the shell share. Drops the text
// when the stream fails, like a pipe without a reader.
class StreamWriter final : public ITextOutput, public ILoopPart {
public:
    // Buffer limit: some ten thousand lines, for a reader that is sometimes slower than the program.
    static constexpr std::size_t MOST_WAITING = std::size_t{4} * 1024 * 1024;

    // Timeout of Finish for a reader that takes nothing: enough to read a page, or to come back to a stopped terminal.
    static constexpr std::chrono::minutes READER_LIMIT{10};

    explicit StreamWriter(int openStream);

    void Write(std::string_view text) override;
    bool IsWritten() const override { return waiting.IsEmpty(); }

    int Descriptor() const override;
    bool AwaitsRoom() const override { return true; }

    void Run(BoardTime now) override;

    // Ends the wait for a reader. Finish calls isStopped before each wait and when one of the descriptors is readable;
    // once it returns true, Finish writes only what finds room.
    struct Patience {
        std::vector<int> descriptors;
        std::function<bool()> isStopped;
    };

    // Waits until all is written. False on a timeout, or when stopped.
    bool Finish(const Patience& patience);

private:
    ssize_t WriteSome() const;

    const int stream;
    FileDescriptor own; // the stream opened again without blocking, if possible
    bool isSocket = false;
    bool canBlock = false; // and cannot be opened again
    Backlog waiting{MOST_WAITING};
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "board/base/FileDescriptor.h"
#include "board/loop/ILoopPart.h"

namespace VelrixBoard {

// A pipe that takes what the program prints. Back pressure: while the reader takes nothing, the pipe is not read, and
// the program blocks in its prints, as on a terminal.
class ProgramOutput final : public ILoopPart {
public:
    // Large enough for throughput, small enough for the event loop's latency.
    static constexpr std::size_t BYTES_PER_TURN = std::size_t{16} * 1024;

    // Where the output goes, and whether it takes more now.
    struct Reader {
        std::function<void(std::string_view piece, BoardTime now)> print;
        std::function<bool()> takes;
    };

    // Throws BoardError when the pipe cannot be created.
    explicit ProgramOutput(Reader outputReader);

    // The program's end of the pipe; closed here after process 1 has inherited it.
    int WritingEnd() const { return writing.Get(); }
    void CloseWritingEnd() { writing.Close(); }

    int Descriptor() const override { return reader.takes() ? reading.Get() : -1; }
    void Run(BoardTime now) override { (void)ReadSome(now); }

    // Prints once. False when there is nothing to print, or the reader takes nothing.
    bool ReadSome(BoardTime now);

private:
    const Reader reader;
    FileDescriptor reading;
    FileDescriptor writing;
};

} // namespace VelrixBoard

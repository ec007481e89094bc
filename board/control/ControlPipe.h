// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "board/base/FileDescriptor.h"
#include "board/control/IBoardControl.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// A named pipe for scripts that control a running board, one command per line:
//
//     set OXBO_MOD_1=high
//     fault MS.red=EIO
//     fault MS.red=none
//     oxbo-ready-after 40ms          or "never"
//
// Reports an invalid line to the user and skips it.
class ControlPipe final : public ILoopPart {
public:
    using TellUser = std::function<void(const std::string& text)>;

    // Makes the pipe. Throws BoardError.
    ControlPipe(const std::filesystem::path& path, const BoardState& boardState, IBoardControl& boardControl,
                TellUser tellUser);

    int Descriptor() const override { return pipe.Get(); }
    void Run(BoardTime now) override;

private:
    void Take(std::string_view text);
    void Collect(std::string_view part);
    void EndLine();
    void Obey(std::string_view line);

    const BoardState& state;
    IBoardControl& control;
    TellUser tell;
    FileDescriptor pipe;
    std::string unfinished;
    bool tooLong = false; // the unfinished line
};

} // namespace VelrixBoard

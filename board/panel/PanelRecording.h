// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Clock.h"
#include "board/base/FileDescriptor.h"
#include "board/timeline/VcdText.h"

namespace VelrixBoard {

// The run so far as a VCD file, piece by piece, made from the file "changes" of the run directory, while the board
// writes that. Ends with the changes that the file has at the beginning, so that a fast program cannot make it endless.
class PanelRecording final {
public:
    // Of "changes", read at once.
    static constexpr std::size_t PIECE = std::size_t{64} * 1024;

    // signals: names and levels at the board's start. Times are from began, as in --timeline. Throws BoardError when
    // the file cannot be read.
    PanelRecording(const std::filesystem::path& changes, const std::vector<Signal>& signals, BoardTime beganAt,
                   BoardTime endTime);

    // The next piece; empty at the end. Throws BoardError when the file cannot be read.
    std::string Next();

private:
    std::string ReadLine(std::string_view line);
    TimelineTime TimeOf(BoardTime time) const;

    const std::string path;
    const BoardTime began;
    const BoardTime end;
    FileDescriptor file;
    std::size_t left = 0; // bytes of the file
    std::map<std::string, std::size_t, std::less<>> numbers;
    VcdText text;
    std::string header;
    std::string unfinished; // the beginning of a line
    bool isOver = false;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "board/emulated/CpioArchive.h"
#include "board/model/BoardModel.h"

namespace VelrixBoard {

// Which line of the emulated GPIO controller each signal of a board is: the lines of lines.txt, met with the paths of a
// model. Signals are numbered as in BoardState.
class GpioLines final {
public:
    // Reads the image's lines.txt. A signal whose path is the device's own is that line. One that the settings file
    // puts elsewhere keeps the line it has by default and is linked to, except below /dev, where it is none of the
    // machine's lines. Throws BoardError when the file cannot be read or lacks a line of the board.
    GpioLines(const std::filesystem::path& file, const BoardModel& model);

    // The number of the GPIO line; nothing for a signal that is wired elsewhere.
    std::optional<unsigned> Line(std::size_t signal) const { return lines[signal]; }

    // Links for the paths that the machine does not have by itself.
    void AddLinks(CpioArchive& archive) const;

private:
    struct Link {
        std::string path;
        std::string target;
    };

    std::vector<std::optional<unsigned>> lines;
    std::vector<Link> links;
};

} // namespace VelrixBoard

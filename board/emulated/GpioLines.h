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

// The line of the emulated GPIO controller for each signal of a board, from lines.txt and the model's paths. Signals
// are numbered as in BoardState.
class GpioLines final {
public:
    // Reads the image's lines.txt. A signal that the settings file moves to another path of the device has the line
    // there. At any other path it keeps its default line and gets a link, except below /dev, where it has no line.
    // Throws BoardError when the file cannot be read or lacks a line of the board.
    GpioLines(const std::filesystem::path& file, const BoardModel& model);

    // The number of the GPIO line; nothing for a signal without one.
    std::optional<unsigned> Line(std::size_t signal) const { return lines[signal]; }

    // Adds the links for moved signals.
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

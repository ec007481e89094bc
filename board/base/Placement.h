// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace VelrixBoard {

// One name that the program on the board finds in place of what the machine has there.
struct Placement {
    enum class Kind {
        BIND,  // the file, directory or socket outside, itself
        COPY,  // a file of its own with the content of the one outside, which the program may replace or remove
        ABSENT // no such name, even if the machine has one
    };

    Kind kind;
    std::filesystem::path inside;
    std::filesystem::path outside;
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace VelrixBoard {

// One path of the board that replaces the machine's.
struct Placement {
    enum class Kind {
        BIND,  // a bind mount of the file, directory or socket outside
        COPY,  // a private copy of the file outside, which the program may replace or remove
        ABSENT // no such name, even if the machine has one
    };

    Kind kind;
    std::filesystem::path inside;
    std::filesystem::path outside;
};

} // namespace VelrixBoard

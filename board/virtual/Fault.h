// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace VelrixBoard {

// What is wrong with a value file, as people write it: "EIO", "ENOSPC", "EACCES", "slow:2s" or "missing". A value.
struct Fault {
    enum class Kind {
        IO_ERROR,  // reads and writes fail with EIO
        NO_SPACE,  // writes fail with ENOSPC; outputs only
        NO_ACCESS, // nobody may open, read or write it: EACCES
        SLOW,      // every read and write takes as long as delay
        MISSING    // there is no such file; what was opened before fails with ENODEV
    };

    Kind kind;
    std::chrono::milliseconds delay{0};

    friend bool operator==(const Fault&, const Fault&) = default;
};

// Reads a fault; delays are whole milliseconds or seconds up to an hour, "slow:500ms" or "slow:2s". Throws BoardError
// that names what there is.
Fault ParseFault(std::string_view text);

std::string ToString(const Fault& fault);

} // namespace VelrixBoard

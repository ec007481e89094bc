// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

namespace VelrixBoard {

// A fault of a value file, written as "EIO", "ENOSPC", "EACCES", "slow:2s" or "missing". A value.
struct Fault {
    enum class Kind {
        IO_ERROR,  // reads and writes fail with EIO
        NO_SPACE,  // writes fail with ENOSPC; outputs only
        NO_ACCESS, // nobody may open, read or write it: EACCES
        SLOW,      // every read and write takes as long as delay
        MISSING    // no such file; descriptors opened before fail with ENODEV
    };

    Kind kind;
    std::chrono::microseconds delay{0};

    friend bool operator==(const Fault&, const Fault&) = default;
};

// The text is not a fault. The message lists the valid ones.
class FaultError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Parses a fault; a delay is a time as in ParseTime, from 1us to 60min. Throws FaultError.
Fault ParseFault(std::string_view text);

// The inverse of ParseFault.
std::string ToString(const Fault& fault);

} // namespace VelrixBoard

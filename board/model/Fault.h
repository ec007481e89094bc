// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <stdexcept>
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
    std::chrono::microseconds delay{0};

    friend bool operator==(const Fault&, const Fault&) = default;
};

// A text is no fault. The message names what there is.
class FaultError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads a fault; a delay is a time as ParseTime takes it, from 1us to 60min. Throws FaultError.
Fault ParseFault(std::string_view text);

// As ParseFault reads it.
std::string ToString(const Fault& fault);

} // namespace VelrixBoard

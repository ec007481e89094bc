// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace VelrixBoard {

// The board could not be made or run. The message says what failed, where, and what to do about it.
class BoardError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws "WHAT: TEXT OF ERRNO". Reads errno first, so it may be called with freshly built text.
[[noreturn]] void ThrowSystemError(const std::string& what);
[[noreturn]] void ThrowSystemError(const std::string& what, int error);

} // namespace VelrixBoard

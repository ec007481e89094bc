// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>

namespace VelrixBoard {

// The board could not be set up or run. The message says what failed, where, and what to do about it.
class BoardError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws "WHAT: TEXT OF ERROR". Pass the error number if anything but building the text comes after the failed call.
[[noreturn]] void ThrowSystemError(const std::string& what, int error = errno);

} // namespace VelrixBoard

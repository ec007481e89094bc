// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace VelrixBoard {

// The board could not be set up or run. The message says what failed, where, and what to do about it.
class BoardError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws "WHAT: TEXT OF ERRNO". Building what may allocate, which keeps errno unless memory runs out; pass the error
// number where it matters even then.
[[noreturn]] void ThrowSystemError(const std::string& what);
[[noreturn]] void ThrowSystemError(const std::string& what, int error);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/base/BoardError.h"

#include <cerrno>
#include <cstring>

namespace VelrixBoard {

void ThrowSystemError(const std::string& what) {
    // Building the argument may have allocated, which keeps errno as it is unless memory ran out.
    ThrowSystemError(what, errno);
}

void ThrowSystemError(const std::string& what, int error) {
    throw BoardError(what + ": " + std::strerror(error));
}

} // namespace VelrixBoard

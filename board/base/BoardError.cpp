// SPDX-License-Identifier: Apache-2.0
#include "board/base/BoardError.h"

#include <cstring>

namespace VelrixBoard {

void ThrowSystemError(const std::string& what, int error) {
    throw BoardError(what + ": " + std::strerror(error));
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdlib>

namespace TestSupport {

// Of how many repetitions of a long test one is done: 1, which is all of them, unless VELRIX_TEST_SHARE says otherwise,
// as on the emulated board, whose processor is a hundred times slower than the one that emulates it.
inline int Share() {
    const char* share = std::getenv("VELRIX_TEST_SHARE");
    return share ? std::max(1, std::atoi(share)) : 1;
}

} // namespace TestSupport

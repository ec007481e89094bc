// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdlib>

namespace TestSupport {

// The divisor of a long test's repetitions: VELRIX_TEST_SHARE, or 1. The emulated board sets it, whose processor is a
// hundred times slower than the host's.
inline int Share() {
    const char* share = std::getenv("VELRIX_TEST_SHARE");
    return share ? std::max(1, std::atoi(share)) : 1;
}

} // namespace TestSupport

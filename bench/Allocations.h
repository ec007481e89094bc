// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Bench {

// How often operator new was called in this process. Programs that link bench/Allocations.cpp count.
extern long long allocations;

} // namespace Bench

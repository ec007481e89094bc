// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// How a board isolates its paths from the machine's.
enum class Isolation {
    AUTO,       // the strongest that the machine allows
    NAMESPACES, // mount namespaces; needs the kernel's permission, and FUSE
    PRELOAD     // a preloaded library redirects paths; for dynamically linked programs, needs no permission
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// How a board keeps its names apart from the machine's.
enum class Isolation {
    AUTO,       // the strongest that the machine allows
    NAMESPACES, // the kernel shows the board's processes other names; needs its leave, and FUSE
    PRELOAD // a library in front of the C library's leads the names; for dynamically linked programs, needs no leave
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// For loops that look at memory which another processor is about to change: a microsecond or less, without a system
// call, which leaves the core to its other processor.
inline void Relax() {
    constexpr int TURNS = 16;
    for (int i = 0; i < TURNS; ++i) {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
        asm volatile("yield" ::: "memory");
#else
        asm volatile("" ::: "memory");
#endif
    }
}

} // namespace VelrixBoard::Preload

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <new>

namespace System {

// A piece of memory that short texts share; it begins with this. Goes with the last of its holders, which are its texts
// and the maker that fills it; the texts may die on any threads.
struct alignas(std::max_align_t) TextBlock {
    std::atomic<int> holders;

    static void Release(void* block, int count = 1) noexcept {
        if (static_cast<TextBlock*>(block)->holders.fetch_sub(count, std::memory_order_acq_rel) == count)
            ::operator delete(block);
    }
};

} // namespace System

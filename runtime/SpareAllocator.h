// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>

namespace System {

// A free list of one block per type, for objects that are made and freed over and over, such as timestamps and trace
// events. Any thread. For std::allocate_shared, which asks for one block at a time.
template <class T>
struct SpareAllocator {
    using value_type = T;

    SpareAllocator() noexcept = default;
    template <class Other>
    SpareAllocator(const SpareAllocator<Other>&) noexcept {}

    T* allocate(std::size_t count) {
        void* const block = spare.exchange(nullptr, std::memory_order_acquire);
        return static_cast<T*>(block ? block : ::operator new(count * sizeof(T)));
    }

    void deallocate(T* block, std::size_t) noexcept {
        void* none = nullptr;
        if (!spare.compare_exchange_strong(none, block, std::memory_order_release, std::memory_order_relaxed))
            ::operator delete(block);
    }

    template <class Other>
    friend bool operator==(const SpareAllocator&, const SpareAllocator<Other>&) noexcept {
        return true;
    }

private:
    // Constant-initialised and never destroyed: objects are made before and after every other static's life.
    static constinit inline std::atomic<void*> spare{nullptr};
};

} // namespace System

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>

namespace System {

// A piece of memory that texts are cut from, one behind the other.
//
// It is held by every text in it and by the builder that cuts, and goes with the last of them; the texts may die on any
// threads. Nothing is cut again that was given back: the texts of a block are expected to die together.
class TextBlock final {
public:
    // What a text takes at most beside its code units.
    static constexpr std::size_t TEXT_OVERHEAD = 20 * sizeof(void*);

    // A block with room for size bytes, held once.
    static TextBlock* Create(std::size_t size) {
        return ::new (::operator new(sizeof(TextBlock) + size)) TextBlock(size);
    }

    // Puts in place of block, which may be null, one with room for a text of unitCount code units; false, and nothing
    // changes, for a text so long that it would waste a block. Blocks grow, so that few texts hold little memory.
    static bool MakeRoom(TextBlock*& block, std::size_t unitCount) {
        if (unitCount > LONGEST_TEXT)
            return false;
        const std::size_t needed = TEXT_OVERHEAD + unitCount * sizeof(char16_t);
        if (block && static_cast<std::size_t>(block->end - block->next) >= needed)
            return true;
        TextBlock* const larger = Create(block ? std::min(2 * block->size, LARGEST_SIZE) : FIRST_SIZE);
        if (block)
            block->Release();
        block = larger;
        return true;
    }

    // The next size bytes, held once more; there must be room for them.
    void* Cut(std::size_t cutSize) noexcept {
        char* const piece = next;
        next += (cutSize + alignof(std::max_align_t) - 1) / alignof(std::max_align_t) * alignof(std::max_align_t);
        holders.fetch_add(1, std::memory_order_relaxed);
        return piece;
    }

    void Release() noexcept {
        if (holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(this);
    }

private:
    static constexpr std::size_t FIRST_SIZE = 1024;
    static constexpr std::size_t LARGEST_SIZE = 16 * FIRST_SIZE;
    static constexpr std::size_t LONGEST_TEXT = FIRST_SIZE / 4;
    static_assert(TEXT_OVERHEAD + LONGEST_TEXT * sizeof(char16_t) <= FIRST_SIZE);

    explicit TextBlock(std::size_t ownSize) noexcept
        : size(ownSize), next(reinterpret_cast<char*>(this + 1)), end(next + size) {}

    alignas(std::max_align_t) const std::size_t size;
    char* next; // from here to end nothing was cut yet
    char* const end;
    std::atomic<int> holders{1};
};

} // namespace System

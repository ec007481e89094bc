// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include <System/Export.h>

namespace System::Collections::Generic {

// Room for the small nodes of a collection, cut from blocks that grow with it, so that a node costs no trip to the heap
// of its own.
//
// A node that is given back serves the next request of its size; the blocks go when the store does. Alignment is that
// of a pointer. Belongs to one collection, and is as thread-safe as that: not at all.
class NodeStore final {
public:
    static constexpr std::size_t LARGEST_NODE = 16 * sizeof(void*);

    NodeStore() = default;
    NodeStore(const NodeStore&) = delete;
    NodeStore& operator=(const NodeStore&) = delete;
    ~NodeStore() {
        while (blocks) {
            Link* const block = blocks;
            blocks = block->next;
            ::operator delete(block);
        }
    }

    // size: a multiple of a pointer's, up to LARGEST_NODE.
    void* Allocate(std::size_t size) {
        Link*& unused = UnusedOf(size);
        if (unused) {
            Link* const node = unused;
            unused = node->next;
            return node;
        }
        if (static_cast<std::size_t>(end - free) < size)
            AddBlock();
        char* const node = free;
        free += size;
        return node;
    }

    void Deallocate(void* node, std::size_t size) noexcept {
        Link*& unused = UnusedOf(size);
        unused = ::new (node) Link{unused};
    }

private:
    struct Link {
        Link* next;
    };

    static constexpr std::size_t FIRST_BLOCK = 4 * LARGEST_NODE;
    static constexpr std::size_t LAST_BLOCK = 64 * FIRST_BLOCK;

    Link*& UnusedOf(std::size_t size) { return unusedNodes[size / sizeof(void*) - 1]; }

    // What is left of the block before is too small for a node and is given up.
    void AddBlock() {
        char* const block = static_cast<char*>(::operator new(nextBlock));
        blocks = ::new (block) Link{blocks};
        free = block + sizeof(Link);
        end = block + nextBlock;
        nextBlock = std::min(2 * nextBlock, LAST_BLOCK);
    }

    char* free = nullptr; // from here to end the newest block has not been cut yet
    char* end = nullptr;
    Link* blocks = nullptr; // each begins with its link
    std::size_t nextBlock = FIRST_BLOCK;
    Link* unusedNodes[LARGEST_NODE / sizeof(void*)] = {}; // given back, by size
};

// The standard library's way to a NodeStore: single nodes come from the store, everything else (the table of a hash
// index, nodes of unusual size or alignment) from the heap.
template <class T>
class NodeAllocator {
public:
    using value_type = T;

    NodeAllocator(NodeStore* ownStore) noexcept : store(ownStore) {}
    template <class Other>
    NodeAllocator(const NodeAllocator<Other>& other) noexcept : store(other.store) {}

    T* allocate(std::size_t count) {
        if (IS_NODE && count == 1)
            return static_cast<T*>(store->Allocate(sizeof(T)));
        return std::allocator<T>().allocate(count);
    }

    void deallocate(T* memory, std::size_t count) noexcept {
        if (IS_NODE && count == 1)
            store->Deallocate(memory, sizeof(T));
        else
            std::allocator<T>().deallocate(memory, count);
    }

    template <class Other>
    bool operator==(const NodeAllocator<Other>& other) const noexcept {
        return store == other.store;
    }
    template <class Other>
    bool operator!=(const NodeAllocator<Other>& other) const noexcept {
        return store != other.store;
    }

private:
    template <class Other>
    friend class NodeAllocator;

    static constexpr bool IS_NODE =
        alignof(T) <= alignof(void*) && sizeof(T) % sizeof(void*) == 0 && sizeof(T) <= NodeStore::LARGEST_NODE;

    NodeStore* store;
};

} // namespace System::Collections::Generic

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include <System/Export.h>

namespace System::Detail {

// What a table knows of an entry; the pair is behind it.
struct Entry {
    std::uint32_t hash;
    std::uint32_t place; // in its block, in the order of adding
};

// How a dictionary lays out its entries and compares their keys.
struct EntryKind {
    std::size_t size; // of an entry with its pair, a multiple of the alignment
    std::size_t alignment;
    // Whether the entry has the key. Find lets its exceptions pass.
    bool (*hasKey)(const Entry* entry, const void* key);
};

// The storage of a dictionary, without the types of its keys and values, so that all dictionaries share its code.
//
// Entries are in blocks, in insertion order, and never move. A single block is searched linearly; more blocks have an
// index, a hash table of pointers to the entries (open addressing). A block without live entries is freed. Concurrent
// reads.
class SYSTEM_EXPORT EntryTable final {
public:
    explicit EntryTable(const EntryKind& ownKind) noexcept;
    EntryTable(const EntryTable&) = delete;
    EntryTable& operator=(const EntryTable&) = delete;
    // The pairs must be gone by then.
    ~EntryTable();

    int Count() const noexcept { return static_cast<int>(count); }

    // The entry with the key; null where there is none.
    Entry* Find(std::size_t hash, const void* key) const;

    // The entry behind the given one, the first one for null, and null behind the last one.
    Entry* Next(const Entry* entry) const noexcept;

    // The room for the next entry's pair; the same room until an entry is added. Out of memory: std::bad_alloc, nothing
    // changed.
    Entry* MakeRoom();

    // Turns that room, in which the caller has built the pair, into the last entry. No other entry may have its key.
    void Add(std::size_t hash) noexcept;

    // Removes the entry; its pair stays usable until Release frees its room.
    void Remove(Entry* entry) noexcept;
    void Release(const Entry* entry) noexcept;

private:
    struct Block;

    std::size_t OffsetOf(std::uint32_t place) const noexcept;
    Block* BlockOf(const Entry* entry) const noexcept;
    Entry* EntryAt(Block* block, std::uint32_t place) const noexcept;
    std::size_t HomeOf(std::uint32_t hash) const noexcept;
    void Enter(Entry* entry) noexcept;
    void Forget(const Entry* entry) noexcept;
    void GrowIndex();
    void AddBlock();

    const EntryKind& kind;
    Block* oldest = nullptr;
    Block* newest = nullptr;
    Entry** index = nullptr; // null: none yet
    std::size_t mask = 0;    // the index has one slot more than this, a power of two
    std::uint32_t count = 0;
};

} // namespace System::Detail

// SPDX-License-Identifier: Apache-2.0
#include <System/Detail/EntryTable.h>

#include <algorithm>
#include <new>

namespace System::Detail {

namespace {

// Blocks double: each has room for as many entries as there are already.
constexpr std::uint32_t SMALLEST_BLOCK = 12;
constexpr std::uint32_t LARGEST_BLOCK = 512;

constexpr std::size_t SMALLEST_INDEX = 32;

constexpr std::uint32_t REMOVED = std::uint32_t{1} << 31; // in an entry's place

std::uint32_t Fold(std::size_t hash) noexcept {
    return static_cast<std::uint32_t>(hash ^ static_cast<std::uint64_t>(hash) >> 32);
}

} // namespace

struct EntryTable::Block {
    Block* older;
    Block* newer;
    std::uint32_t room; // in entries
    std::uint32_t used = 0;
    std::uint32_t live = 0;
};

EntryTable::EntryTable(const EntryKind& ownKind) noexcept : kind(ownKind) {}

EntryTable::~EntryTable() {
    while (oldest) {
        Block* const block = oldest;
        oldest = block->newer;
        ::operator delete(block, std::align_val_t(kind.alignment));
    }
    delete[] index;
}

// The offset of an entry in its block. Alignments are powers of two.
inline std::size_t EntryTable::OffsetOf(std::uint32_t place) const noexcept {
    constexpr std::size_t HEAD = 32;
    static_assert(sizeof(Block) <= HEAD);
    return std::max(HEAD, kind.alignment) + place * kind.size;
}

inline Entry* EntryTable::EntryAt(Block* block, std::uint32_t place) const noexcept {
    return reinterpret_cast<Entry*>(reinterpret_cast<std::size_t>(block) + OffsetOf(place));
}

inline EntryTable::Block* EntryTable::BlockOf(const Entry* entry) const noexcept {
    return reinterpret_cast<Block*>(reinterpret_cast<std::size_t>(entry) - OffsetOf(entry->place & ~REMOVED));
}

// Fibonacci hashing (times 2^32 over the golden ratio), since the hash may be a plain number: the upper half of the
// product depends on all of its bits.
inline std::size_t EntryTable::HomeOf(std::uint32_t hash) const noexcept {
    const std::uint32_t mixed = hash * std::uint32_t{0x9E3779B9};
    return (mixed ^ mixed >> 16) & mask;
}

Entry* EntryTable::Find(std::size_t hash, const void* key) const {
    const std::uint32_t folded = Fold(hash);
    if (!index) { // nor more than one block
        for (std::uint32_t place = 0; newest && place < newest->used; ++place)
            if (Entry* const entry = EntryAt(newest, place);
                entry->hash == folded && entry->place == place && kind.hasKey(entry, key))
                return entry;
        return nullptr;
    }
    std::size_t slot = HomeOf(folded);
    while (index[slot] && !(index[slot]->hash == folded && kind.hasKey(index[slot], key)))
        slot = (slot + 1) & mask;
    return index[slot];
}

Entry* EntryTable::Next(const Entry* entry) const noexcept {
    Block* block = entry ? BlockOf(entry) : oldest;
    for (std::uint32_t place = entry ? entry->place + 1 : 0; block; block = block->newer, place = 0)
        for (; place < block->used; ++place)
            if (Entry* const next = EntryAt(block, place); (next->place & REMOVED) == 0)
                return next;
    return nullptr;
}

Entry* EntryTable::MakeRoom() {
    if (!newest || newest->used == newest->room) {
        if (!index && count >= SMALLEST_BLOCK)
            GrowIndex();
        AddBlock();
    }
    if (index && count > mask / 4 * 3)
        GrowIndex();
    return EntryAt(newest, newest->used);
}

void EntryTable::Add(std::size_t hash) noexcept {
    Entry* const entry = EntryAt(newest, newest->used);
    *entry = {Fold(hash), newest->used};
    ++newest->used;
    ++newest->live;
    ++count;
    if (index)
        Enter(entry);
}

void EntryTable::Remove(Entry* entry) noexcept {
    if (index)
        Forget(entry);
    entry->place |= REMOVED;
    --count;
}

void EntryTable::Release(const Entry* entry) noexcept {
    Block* const block = BlockOf(entry);
    if (--block->live != 0)
        return;
    block->used = 0;
    if (block == newest)
        return;
    (block->older ? block->older->newer : oldest) = block->newer;
    block->newer->older = block->older;
    ::operator delete(block, std::align_val_t(kind.alignment));
}

void EntryTable::Enter(Entry* entry) noexcept {
    std::size_t slot = HomeOf(entry->hash);
    while (index[slot])
        slot = (slot + 1) & mask;
    index[slot] = entry;
}

// Backward-shift deletion: later entries move up, but not before their home slot.
void EntryTable::Forget(const Entry* entry) noexcept {
    std::size_t hole = HomeOf(entry->hash);
    while (index[hole] != entry)
        hole = (hole + 1) & mask;
    for (std::size_t slot = (hole + 1) & mask; index[slot]; slot = (slot + 1) & mask)
        if (((slot - HomeOf(index[slot]->hash)) & mask) >= ((slot - hole) & mask)) {
            index[hole] = index[slot];
            hole = slot;
        }
    index[hole] = nullptr;
}

void EntryTable::GrowIndex() {
    const std::size_t size = index ? 2 * (mask + 1) : SMALLEST_INDEX;
    Entry** const larger = new Entry*[size]();
    delete[] index;
    index = larger;
    mask = size - 1;
    for (Block* block = oldest; block; block = block->newer)
        for (std::uint32_t place = 0; place < block->used; ++place)
            if (Entry* const entry = EntryAt(block, place); (entry->place & REMOVED) == 0)
                Enter(entry);
}

void EntryTable::AddBlock() {
    const std::uint32_t room = std::clamp(count, SMALLEST_BLOCK, LARGEST_BLOCK);
    void* const memory = ::operator new(OffsetOf(room), std::align_val_t(kind.alignment));
    Block* const block = ::new (memory) Block{newest, nullptr, room};
    (newest ? newest->newer : oldest) = block;
    newest = block;
}

} // namespace System::Detail

// SPDX-License-Identifier: Apache-2.0
#include <System/Detail/EntryTable.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <malloc.h>

#include <gtest/gtest.h>

namespace {

using System::Detail::Entry;
using System::Detail::EntryKind;
using System::Detail::EntryTable;

struct Item {
    Entry entry;
    int key;
};

bool HasKey(const Entry* entry, const void* key) {
    return reinterpret_cast<const Item*>(entry)->key == *static_cast<const int*>(key);
}

constexpr EntryKind KIND{sizeof(Item), alignof(Item), &HasKey};

class EntryTableTest : public testing::Test {
protected:
    Entry* Add(int key, std::size_t hash) {
        Entry* const entry = table.MakeRoom();
        reinterpret_cast<Item*>(entry)->key = key;
        table.Add(hash);
        return entry;
    }
    Entry* Add(int key) { return Add(key, static_cast<std::size_t>(key)); }

    void Remove(Entry* entry) {
        table.Remove(entry);
        table.Release(entry);
    }

    std::string Order() const {
        std::string order;
        for (const Entry* entry = table.Next(nullptr); entry; entry = table.Next(entry))
            order += std::to_string(reinterpret_cast<const Item*>(entry)->key) + " ";
        return order;
    }

    EntryTable table{KIND};
};

TEST_F(EntryTableTest, FindsWhatHasTheHashAndTheKey) {
    for (const int count : {3, 100}) { // without and with an index
        for (int key = table.Count(); key < count; ++key)
            Add(key, static_cast<std::size_t>(key % 7));

        for (int key = 0; key < count; ++key) {
            Entry* const found = table.Find(static_cast<std::size_t>(key % 7), &key);
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(reinterpret_cast<Item*>(found)->key, key);
            EXPECT_EQ(table.Find(7, &key), nullptr);
        }
        EXPECT_EQ(table.Find(0, &count), nullptr);
    }
}

TEST_F(EntryTableTest, PutsEntriesOneBehindTheOther) {
    Item* before = reinterpret_cast<Item*>(Add(0));
    int gaps = 0;

    for (int key = 1; key < 1000; ++key) {
        Item* const item = reinterpret_cast<Item*>(Add(key));
        gaps += item != before + 1;
        before = item;
    }

    EXPECT_LT(gaps, 10);
}

TEST_F(EntryTableTest, GivesTheSameRoomUntilItIsUsed) {
    Entry* const room = table.MakeRoom();

    EXPECT_EQ(table.MakeRoom(), room);
    EXPECT_EQ(table.Count(), 0);
    EXPECT_EQ(Add(1), room);
}

TEST_F(EntryTableTest, KeepsTheOrderThroughRemovals) {
    std::vector<Entry*> entries;
    for (int key = 0; key < 40; ++key)
        entries.push_back(Add(key));

    for (std::size_t key = 1; key < 38; ++key)
        Remove(entries[key]);
    Add(40);

    EXPECT_EQ(Order(), "0 38 39 40 ");
    EXPECT_EQ(table.Count(), 4);
}

TEST_F(EntryTableTest, LeavesARemovedPairAloneUntilItIsReleased) {
    Entry* const first = Add(1);

    table.Remove(first);
    Entry* const second = Add(2);

    EXPECT_NE(second, first);
    EXPECT_EQ(reinterpret_cast<Item*>(first)->key, 1);
    EXPECT_EQ(Order(), "2 ");
    table.Release(first);
    EXPECT_EQ(Order(), "2 ");
}

TEST_F(EntryTableTest, TakesTheRoomOfABlockAgainWhoseEntriesAreGone) {
    Entry* const first = Add(1);

    Remove(first);

    EXPECT_EQ(Add(2), first);
}

// With a tenth of the memory of all former pairs, and one old pair that stays.
TEST_F(EntryTableTest, GivesBlocksBackWhosePairsHaveComeAndGone) {
    Entry* const kept = Add(0);
    std::deque<Entry*> queue;
    const auto before = ::mallinfo2().uordblks;

    for (int key = 1; key < 5000; ++key) {
        queue.push_back(Add(key));
        if (queue.size() < 50)
            continue;
        Remove(queue.front());
        queue.pop_front();
    }

    EXPECT_EQ(table.Count(), 50);
    EXPECT_EQ(table.Next(nullptr), kept);
    const int last = 4999;
    EXPECT_EQ(table.Find(4999, &last), queue.back());
    if (before != 0) { // a sanitizer's heap has no statistics
        EXPECT_LT(::mallinfo2().uordblks - before, 500 * sizeof(Item));
    }
}

// Covers every arrangement of neighbouring slots and home slots; each removal closes its gap.
TEST_F(EntryTableTest, FindsAllOthersAfterEachRemoval) {
    for (std::size_t spread = 1; spread <= 5; ++spread) {
        std::vector<Entry*> entries;
        for (int key = 0; key < 40; ++key)
            entries.push_back(Add(key, static_cast<std::size_t>(key) / spread));
        for (int step = 0; step < 40; ++step) {
            const auto removed = static_cast<std::size_t>(step * 17 % 40);
            Remove(entries[removed]);
            entries[removed] = nullptr;
            for (int key = 0; key < 40; ++key)
                ASSERT_EQ(table.Find(static_cast<std::size_t>(key) / spread, &key),
                          entries[static_cast<std::size_t>(key)]);
        }
    }
}

TEST(EntryTable, AlignsEntriesAsTheyNeed) {
    struct alignas(64) AlignedItem {
        Entry entry;
        int key;
    };
    constexpr EntryKind ALIGNED_KIND{sizeof(AlignedItem), alignof(AlignedItem), &HasKey};
    EntryTable table(ALIGNED_KIND);

    for (int key = 0; key < 20; ++key) {
        Entry* const entry = table.MakeRoom();
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(entry) % alignof(AlignedItem), 0u);
        reinterpret_cast<AlignedItem*>(entry)->key = key;
        table.Add(0);
    }
}

} // namespace

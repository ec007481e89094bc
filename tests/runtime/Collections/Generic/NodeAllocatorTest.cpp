// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/NodeAllocator.h>

#include <cstdint>
#include <cstring>
#include <list>
#include <set>
#include <vector>

#include <gtest/gtest.h>

using System::Collections::Generic::NodeAllocator;
using System::Collections::Generic::NodeStore;

namespace {

constexpr std::size_t WORD = sizeof(void*);

struct Node {
    void* first;
    void* second;
};

} // namespace

TEST(NodeAllocator, GivesEveryNodeRoomOfItsOwn) {
    NodeStore store;
    std::vector<std::pair<unsigned char*, std::size_t>> nodes;

    for (int i = 0; i < 5000; ++i) {
        const std::size_t size = WORD * (1 + static_cast<std::size_t>(i) % (NodeStore::LARGEST_NODE / WORD));
        auto* const node = static_cast<unsigned char*>(store.Allocate(size));
        std::memset(node, i % 251, size);
        nodes.emplace_back(node, size);
    }

    for (std::size_t i = 0; i < nodes.size(); ++i) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(nodes[i].first) % WORD, 0u) << i;
        for (std::size_t k = 0; k < nodes[i].second; ++k)
            ASSERT_EQ(nodes[i].first[k], i % 251) << i;
    }
}

TEST(NodeAllocator, ServesWhatWasGivenBackFirst) {
    NodeStore store;
    void* const first = store.Allocate(2 * WORD);
    void* const second = store.Allocate(2 * WORD);

    store.Deallocate(first, 2 * WORD);
    store.Deallocate(second, 2 * WORD);

    EXPECT_NE(store.Allocate(3 * WORD), first);
    EXPECT_EQ(store.Allocate(2 * WORD), second);
    EXPECT_EQ(store.Allocate(2 * WORD), first);
    EXPECT_NE(store.Allocate(2 * WORD), first);
}

TEST(NodeAllocator, TakesSingleNodesFromItsStore) {
    NodeStore store;
    NodeAllocator<Node> allocator(&store);

    Node* const node = allocator.allocate(1);
    allocator.deallocate(node, 1);

    EXPECT_EQ(store.Allocate(sizeof(Node)), node);
}

TEST(NodeAllocator, TakesRowsAndLargeOrOddNodesFromTheHeap) {
    struct Large {
        char bytes[NodeStore::LARGEST_NODE + WORD];
    };
    struct Odd {
        char bytes[WORD + 1];
    };
    struct alignas(4 * WORD) Aligned {
        char bytes[4 * WORD];
    };
    NodeStore store;
    void* const mark = store.Allocate(WORD);

    Node* const row = NodeAllocator<Node>(&store).allocate(2);
    Large* const large = NodeAllocator<Large>(&store).allocate(1);
    Odd* const odd = NodeAllocator<Odd>(&store).allocate(1);
    Aligned* const aligned = NodeAllocator<Aligned>(&store).allocate(1);

    // The store has cut nothing since: the next word is the one behind the mark.
    EXPECT_EQ(store.Allocate(WORD), static_cast<char*>(mark) + WORD);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % alignof(Aligned), 0u);
    NodeAllocator<Node>(&store).deallocate(row, 2);
    NodeAllocator<Large>(&store).deallocate(large, 1);
    NodeAllocator<Odd>(&store).deallocate(odd, 1);
    NodeAllocator<Aligned>(&store).deallocate(aligned, 1);
}

TEST(NodeAllocator, IsEqualToAllocatorsOfTheSameStoreAlone) {
    NodeStore store, other;
    const NodeAllocator<Node> allocator(&store);

    EXPECT_TRUE(allocator == NodeAllocator<int>(allocator));
    EXPECT_FALSE(allocator == NodeAllocator<Node>(&other));
}

TEST(NodeAllocator, ReusesNodesOfACollectionThatShrinksAndGrows) {
    NodeStore store;
    std::list<Node, NodeAllocator<Node>> list(&store);
    std::set<const void*> places;

    for (int round = 0; round < 100; ++round) {
        for (int i = 0; i < 10; ++i)
            places.insert(&list.emplace_back());
        list.clear();
    }

    EXPECT_EQ(places.size(), 10u);
}

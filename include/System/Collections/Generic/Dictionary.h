// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <unordered_set>
#include <utility>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Collections/Generic/IDictionary.h>
#include <System/Collections/Generic/NodeAllocator.h>
#include <System/Collections/Generic/TextOf.h>
#include <System/Exceptions.h>

namespace System::Collections::Generic {

// The dictionary of the runtime: constant time by key, pairs in the order of adding.
//
// Keys need std::hash and ==. The pairs stand in a list, which keeps their order and their places; an index of hashes
// leads to them. Not for use by several threads at once while one of them changes it; reading is free.
template <class K, class V>
class Dictionary final : public IDictionary<K, V> {
public:
    using typename IDictionary<K, V>::Iterator;

    static std::shared_ptr<Dictionary> Create() { return std::shared_ptr<Dictionary>(new Dictionary); }

    int Count() override { return static_cast<int>(pairs.size()); }

    void Add(K key, V value) override {
        if (!AddNew(std::move(key), std::move(value)))
            throw ArgumentException("Key already exists");
    }

    V& operator[](const K& key) override {
        const auto found = index.find(key);
        if (found == index.end())
            throw KeyNotFoundException(TextOf(key));
        return (*found)->Value;
    }

    void Set(K key, V value) override {
        const auto found = index.find(key);
        if (found == index.end())
            AddNew(std::move(key), std::move(value));
        else
            (*found)->Value = std::move(value);
    }

    bool ContainsKey(const K& key) override { return index.find(key) != index.end(); }

    bool TryGetValue(const K& key, V& value) override {
        const auto found = index.find(key);
        if (found == index.end())
            return false;
        value = (*found)->Value;
        return true;
    }

    bool Remove(const K& key) override {
        const auto found = index.find(key);
        if (found == index.end())
            return false;
        const Place place = *found;
        index.erase(found);
        pairs.erase(place);
        return true;
    }

    Iterator begin() override { return pairs.begin(); }
    Iterator end() override { return pairs.end(); }

private:
    using Pairs = std::list<KeyValuePair<K, V>, NodeAllocator<KeyValuePair<K, V>>>;
    using Place = typename Pairs::iterator;

    // The index compares places by the keys that stand there, and can be asked with a bare key.
    static const K& KeyOf(const K& key) { return key; }
    static const K& KeyOf(Place place) { return place->Key; }
    struct Hash {
        using is_transparent = void;
        template <class Item>
        std::size_t operator()(const Item& item) const {
            return std::hash<K>()(KeyOf(item));
        }
    };
    struct Equal {
        using is_transparent = void;
        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const {
            return KeyOf(left) == KeyOf(right);
        }
    };

    Dictionary() = default;

    bool AddNew(K&& key, V&& value) {
        pairs.push_back({std::move(key), std::move(value)});
        const Place place = std::prev(pairs.end());
        try {
            if (index.insert(place).second)
                return true;
        } catch (...) {
            pairs.pop_back();
            throw;
        }
        pairs.pop_back();
        return false;
    }

    // The small nodes of list and index come from blocks, not one by one from the heap. Declared first: it outlives
    // both.
    NodeStore nodes;
    Pairs pairs{&nodes};
    std::unordered_set<Place, Hash, Equal, NodeAllocator<Place>> index{&nodes};
};

} // namespace System::Collections::Generic

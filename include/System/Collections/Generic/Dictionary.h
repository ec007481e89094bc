// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Collections/Generic/IDictionary.h>
#include <System/Collections/Generic/TextOf.h>
#include <System/Detail/EntryTable.h>
#include <System/Exceptions.h>

namespace System::Collections::Generic {

// The dictionary of the runtime: constant time by key, pairs in insertion order.
//
// Keys need std::hash and ==. Keys and values need to be movable. Concurrent reads.
template <class K, class V>
class Dictionary final : public IDictionary<K, V> {
public:
    using typename IDictionary<K, V>::Pair;

    static std::shared_ptr<Dictionary> Create() { return Object::Own(new Dictionary); }

    ~Dictionary() override;

    int Count() override { return entries.Count(); }

    void Add(K key, V value) override {
        const std::size_t hash = std::hash<K>()(key);
        if (entries.Find(hash, std::addressof(key)))
            _throw_key_exists_exception();
        AddNew(hash, key, value);
    }

    V& operator[](const K& key) override {
        Entry* const entry = Find(key);
        if (!entry)
            _throw_key_not_found_exception(TextOf(key));
        return PairOf(entry)->Value;
    }

    // A value that cannot be assigned is replaced by another object in its place; if moving it there throws, the pair
    // is gone.
    void Set(K key, V value) override {
        const std::size_t hash = std::hash<K>()(key);
        Entry* const entry = entries.Find(hash, std::addressof(key));
        if (!entry)
            AddNew(hash, key, value);
        else if constexpr (std::is_move_assignable_v<V>)
            PairOf(entry)->Value = std::move(value);
        else
            Replace(entry, key, value);
    }

    bool ContainsKey(const K& key) override { return Find(key); }

    bool TryGetValue(const K& key, V& value) override {
        Entry* const entry = Find(key);
        if (!entry)
            return false;
        if constexpr (std::is_copy_assignable_v<V>)
            value = PairOf(entry)->Value;
        else
            throw NotSupportedException("Values of this dictionary cannot be copied");
        return true;
    }

    bool Remove(const K& key) override {
        Entry* const entry = Find(key);
        if (!entry)
            return false;
        entries.Remove(entry);
        PairOf(entry)->~Pair();
        entries.Release(entry);
        return true;
    }

    const Pair* Next(const Pair* pair) override {
        const Entry* const entry = entries.Next(pair ? EntryOf(pair) : nullptr);
        return entry ? PairOf(entry) : nullptr;
    }

private:
    using Entry = Detail::Entry;

    // An entry and its pair, as one structure with both has them.
    static constexpr std::size_t ALIGNMENT = alignof(Pair) > alignof(Entry) ? alignof(Pair) : alignof(Entry);
    static constexpr std::size_t Aligned(std::size_t size) { return (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT; }
    static constexpr std::size_t PAIR_OFFSET = (sizeof(Entry) + alignof(Pair) - 1) / alignof(Pair) * alignof(Pair);

    Dictionary() = default;

    static Pair* PairOf(const Entry* entry) {
        return reinterpret_cast<Pair*>(reinterpret_cast<std::size_t>(entry) + PAIR_OFFSET);
    }
    static const Entry* EntryOf(const Pair* pair) {
        return reinterpret_cast<const Entry*>(reinterpret_cast<std::size_t>(pair) - PAIR_OFFSET);
    }
    static bool HasKey(const Entry* entry, const void* key) {
        return PairOf(entry)->Key == *static_cast<const K*>(key);
    }

    Entry* Find(const K& key) const { return entries.Find(std::hash<K>()(key), std::addressof(key)); }

    void AddNew(std::size_t hash, K& key, V& value) {
        ::new (static_cast<void*>(PairOf(entries.MakeRoom()))) Pair{std::move(key), std::move(value)};
        entries.Add(hash);
    }

    void Replace(Entry* entry, K& key, V& value) {
        Pair* const pair = PairOf(entry);
        pair->~Pair();
        try {
            ::new (static_cast<void*>(pair)) Pair{std::move(key), std::move(value)};
        } catch (...) {
            entries.Remove(entry);
            entries.Release(entry);
            throw;
        }
    }

    static constexpr Detail::EntryKind KIND{Aligned(PAIR_OFFSET + sizeof(Pair)), ALIGNMENT, &HasKey};

    Detail::EntryTable entries{KIND};
};

// Outlined to keep callers small.
template <class K, class V>
[[gnu::noinline]] Dictionary<K, V>::~Dictionary() {
    for (const Entry* entry = entries.Next(nullptr); entry; entry = entries.Next(entry))
        PairOf(entry)->~Pair();
}

// The library holds the most common instance.
extern template class SYSTEM_EXPORT Dictionary<string_ptr, string_ptr>;

} // namespace System::Collections::Generic

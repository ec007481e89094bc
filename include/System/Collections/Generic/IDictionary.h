// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Collections/Generic/Exceptions.h>
#include <System/Collections/Generic/KeyValuePair.h>
#include <System/Object.h>

namespace System::Collections::Generic {

// Values under unique keys. A range-based for loop yields the pairs (Key, Value) in insertion order; its body must not
// add or remove. Concurrent reads.
template <class K, class V>
class IDictionary : public Object {
public:
    using Pair = KeyValuePair<K, V>;

    // Iterates by Next, so that it works on any implementation.
    class Iterator final {
    public:
        Iterator(IDictionary& ownDictionary, const Pair* ownPair) noexcept
            : dictionary(&ownDictionary), pair(ownPair) {}
        const Pair& operator*() const noexcept { return *pair; }
        const Pair* operator->() const noexcept { return pair; }
        Iterator& operator++() {
            pair = dictionary->Next(pair);
            return *this;
        }
        bool operator==(const Iterator& other) const noexcept { return pair == other.pair; }
        bool operator!=(const Iterator& other) const noexcept { return pair != other.pair; }

    private:
        IDictionary* dictionary;
        const Pair* pair; // null: the end
    };

    // The number of pairs.
    virtual int Count() = 0;

    // Puts value under a new key, behind the pairs that are there. A key that is there already: ArgumentException
    // "Key already exists", nothing changed.
    virtual void Add(K key, V value) = 0;

    // The value under key; it stays where it is until the pair is removed. An absent key: KeyNotFoundException with
    // the key's text.
    virtual V& operator[](const K& key) = 0;

    // Puts value under key, in the place of the one that is there, or as Add does.
    virtual void Set(K key, V value) = 0;

    virtual bool ContainsKey(const K& key) = 0;

    // Copies the value under key into value; for an absent key false, and value stays as it was. Where values cannot
    // be copied by =: NotSupportedException.
    virtual bool TryGetValue(const K& key, V& value) = 0;

    // Removes the pair with the key; false if there is none.
    virtual bool Remove(const K& key) = 0;

    // The pair after the given one in insertion order, the first one for null, and null after the last one.
    virtual const Pair* Next(const Pair* pair) = 0;

    Iterator begin() { return {*this, Next(nullptr)}; }
    Iterator end() { return {*this, nullptr}; }
};

} // namespace System::Collections::Generic

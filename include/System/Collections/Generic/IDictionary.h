// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <utility>

#include <System/Collections/Generic/KeyIndex.h>
#include <System/Collections/Generic/KeyValuePair.h>
#include <System/Object.h>

namespace System::Collections::Generic {

// Values under keys that differ from one another. A range for gives the pairs (Key, Value) in the order in which they
// were added; it must not add or remove meanwhile.
template <class K, class V>
class IDictionary : public Object {
public:
    // A pair in its place, as the dictionary keeps it.
    struct Element : KeyEntry<K>, KeyValuePair<K, V> {
        Element(K&& newKey, V&& newValue)
            : KeyEntry<K>{&this->Key}, KeyValuePair<K, V>{std::move(newKey), std::move(newValue)} {}

        typename std::list<Element>::const_iterator place;
    };

    // Goes through the pairs, forward or back, and shows them as KeyValuePair.
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = KeyValuePair<K, V>;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = const value_type&;

        Iterator() = default;
        explicit Iterator(typename std::list<Element>::const_iterator ownPlace) : place(ownPlace) {}

        reference operator*() const { return *place; }
        pointer operator->() const { return &**this; }
        Iterator& operator++() {
            ++place;
            return *this;
        }
        Iterator operator++(int) { return Iterator(place++); }
        Iterator& operator--() {
            --place;
            return *this;
        }
        Iterator operator--(int) { return Iterator(place--); }
        bool operator==(const Iterator& other) const { return place == other.place; }
        bool operator!=(const Iterator& other) const { return place != other.place; }

    private:
        typename std::list<Element>::const_iterator place;
    };

    // The number of pairs.
    virtual int Count() = 0;

    // Puts value under a new key, behind the pairs that are there. A key that is there already: ArgumentException
    // "Key already exists", nothing changed.
    virtual void Add(K key, V value) = 0;

    // What stands under key; it stays where it is until the pair is removed. An absent key: KeyNotFoundException with
    // the key's text.
    virtual V& operator[](const K& key) = 0;

    // Puts value under key, in the place of the one that is there, or as Add does.
    virtual void Set(K key, V value) = 0;

    virtual bool ContainsKey(const K& key) = 0;

    // Copies what stands under key into value; for an absent key false, and value stays as it was.
    virtual bool TryGetValue(const K& key, V& value) = 0;

    // Takes the pair with the key out; false where there was none.
    virtual bool Remove(const K& key) = 0;

    virtual Iterator begin() = 0;
    virtual Iterator end() = 0;
};

} // namespace System::Collections::Generic

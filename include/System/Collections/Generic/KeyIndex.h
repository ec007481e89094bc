// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <unordered_set>

#include <System/Collections/Generic/NodeAllocator.h>
#include <System/Export.h>
#include <System/String.h>

namespace System::Collections::Generic {

// What an index holds of a pair: where its key is. To derive from.
template <class K>
struct KeyEntry {
    const K* key;
};

// Leads from a key to the entry that has it, in constant time; the entries are elsewhere and must stay where they are.
// Keys need std::hash and ==. It knows nothing of the values, so all dictionaries with one type of key share its code,
// which for texts is in the library. As thread-safe as its dictionary: not at all.
template <class K>
class KeyIndex final {
public:
    // The nodes of the index come from the store, which must outlive it.
    explicit KeyIndex(NodeStore* store);

    // The entry with this key; null where there is none. What the key's hash throws passes out, here and below.
    KeyEntry<K>* Find(const K& key) const;

    // Takes the entry in; false, and nothing changed, when another one has its key already. When memory is short,
    // std::bad_alloc passes out and nothing is changed.
    bool Add(KeyEntry<K>* entry);

    // Forgets the entry with this key, and gives it back; null where there was none.
    KeyEntry<K>* Remove(const K& key);

private:
    // Entries are compared by the keys that they have.
    struct Hash {
        std::size_t operator()(const KeyEntry<K>* entry) const { return std::hash<K>()(*entry->key); }
    };
    struct Equal {
        bool operator()(const KeyEntry<K>* left, const KeyEntry<K>* right) const { return *left->key == *right->key; }
    };

    std::unordered_set<KeyEntry<K>*, Hash, Equal, NodeAllocator<KeyEntry<K>*>> entries;
};

// Two entries a bucket: hashes are kept, so a second look is cheap, and growing costs half.
template <class K>
KeyIndex<K>::KeyIndex(NodeStore* store) : entries(store) {
    entries.max_load_factor(2);
}

template <class K>
KeyEntry<K>* KeyIndex<K>::Find(const K& key) const {
    KeyEntry<K> wanted{&key};
    const auto found = entries.find(&wanted);
    return found == entries.end() ? nullptr : *found;
}

template <class K>
bool KeyIndex<K>::Add(KeyEntry<K>* entry) {
    return entries.insert(entry).second;
}

template <class K>
KeyEntry<K>* KeyIndex<K>::Remove(const K& key) {
    KeyEntry<K> wanted{&key};
    const auto found = entries.find(&wanted);
    if (found == entries.end())
        return nullptr;
    KeyEntry<K>* const entry = *found;
    entries.erase(found);
    return entry;
}

extern template class SYSTEM_EXPORT KeyIndex<string_ptr>;

} // namespace System::Collections::Generic

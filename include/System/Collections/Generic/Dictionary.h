// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <memory>
#include <utility>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Collections/Generic/IDictionary.h>
#include <System/Collections/Generic/KeyIndex.h>
#include <System/Collections/Generic/NodeAllocator.h>
#include <System/Collections/Generic/TextOf.h>

namespace System::Collections::Generic {

// The dictionary of the runtime: constant time by key, pairs in the order of adding.
//
// Keys need std::hash and ==. The pairs stand in a list, which keeps their order and their places; an index of the keys
// leads to them. Not for use by several threads at once while one of them changes it; reading is free.
template <class K, class V>
class Dictionary final : public IDictionary<K, V> {
public:
    using typename IDictionary<K, V>::Iterator;

    static std::shared_ptr<Dictionary> Create() { return Object::Own(new Dictionary); }

    ~Dictionary() override;

    int Count() override { return static_cast<int>(pairs.size()); }

    void Add(K key, V value) override {
        pairs.emplace_back(std::move(key), std::move(value));
        Element& element = pairs.back();
        element.place = std::prev(pairs.end());
        try {
            if (!index.Add(&element))
                _throw_key_exists_exception();
        } catch (...) {
            pairs.pop_back();
            throw;
        }
    }

    V& operator[](const K& key) override {
        Element* const element = Find(key);
        if (!element)
            _throw_key_not_found_exception(TextOf(key));
        return element->Value;
    }

    void Set(K key, V value) override {
        Element* const element = Find(key);
        if (element)
            element->Value = std::move(value);
        else
            Add(std::move(key), std::move(value));
    }

    bool ContainsKey(const K& key) override { return Find(key); }

    bool TryGetValue(const K& key, V& value) override {
        Element* const element = Find(key);
        if (element)
            value = element->Value;
        return element;
    }

    bool Remove(const K& key) override {
        auto* const element = static_cast<Element*>(index.Remove(key));
        if (element)
            pairs.erase(element->place);
        return element;
    }

    Iterator begin() override { return Iterator(pairs.begin()); }
    Iterator end() override { return Iterator(pairs.end()); }

private:
    using typename IDictionary<K, V>::Element;

    Dictionary() = default;

    Element* Find(const K& key) const { return static_cast<Element*>(index.Find(key)); }

    // The small nodes of list and index come from blocks, not one by one from the heap. Declared first: it outlives
    // both.
    NodeStore nodes;
    std::list<Element, NodeAllocator<Element>> pairs{&nodes};
    KeyIndex<K> index{&nodes};
};

// Written once, rather than wherever a dictionary goes.
template <class K, class V>
[[gnu::noinline]] Dictionary<K, V>::~Dictionary() = default;

// The commonest one is in the library.
extern template class SYSTEM_EXPORT Dictionary<string_ptr, string_ptr>;

} // namespace System::Collections::Generic

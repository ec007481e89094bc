// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <System/Collections/Generic/IList.h>
#include <System/Exceptions.h>

namespace System::Collections::Generic {

// The list of the runtime: elements in one piece of memory. Not for use by several threads at once while one of them
// changes it.
template <class T>
class List final : public IList<T> {
public:
    static std::shared_ptr<List> Create() { return Object::Own(new List); }

    // A list of copies of the given elements.
    static std::shared_ptr<List> Create(std::initializer_list<T> elements) { return Object::Own(new List(elements)); }

    int Count() override { return static_cast<int>(elements.size()); }

    T& operator[](int index) override {
        CheckIndex(index, Count() - 1);
        return *At(index);
    }

    void Add(T element) override { elements.push_back(std::move(element)); }

    void Insert(int index, T element) override {
        CheckIndex(index, Count());
        elements.insert(At(index), std::move(element));
    }

    void RemoveAt(int index) override {
        CheckIndex(index, Count() - 1);
        elements.erase(At(index));
    }

    void Clear() override { elements.clear(); }

private:
    // A vector of bool has no elements with an address; a deque of bool has.
    using Elements = std::conditional_t<std::is_same_v<T, bool>, std::deque<T>, std::vector<T>>;

    List() = default;
    explicit List(std::initializer_list<T> ownElements) : elements(ownElements) {}

    auto At(int index) { return elements.begin() + index; }

    static void CheckIndex(int index, int last) {
        if (index < 0 || index > last)
            throw ArgumentOutOfRangeException("index");
    }

    Elements elements;
};

} // namespace System::Collections::Generic

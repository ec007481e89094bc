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

// The list of the runtime: contiguous elements. Concurrent reads.
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
        if constexpr (std::is_move_assignable_v<T>)
            elements.insert(At(index), std::move(element));
        else
            Replace(index, 0, &element);
    }

    void RemoveAt(int index) override {
        CheckIndex(index, Count() - 1);
        if constexpr (std::is_move_assignable_v<T>)
            elements.erase(At(index));
        else
            Replace(index, 1, nullptr);
    }

    void Clear() override { elements.clear(); }

private:
    // Elements of a vector of bool have no address; those of a deque have one.
    using Elements = std::conditional_t<std::is_same_v<T, bool>, std::deque<T>, std::vector<T>>;

    List() = default;
    explicit List(std::initializer_list<T> ownElements) : elements(ownElements) {}

    auto At(int index) { return elements.begin() + index; }

    // Elements that cannot be assigned move to other memory: those before index, the inserted one, if there is one, and
    // those behind the removed ones.
    void Replace(int index, int removed, T* inserted) {
        Elements others;
        others.reserve(elements.size() + 1);
        const auto move = [&](int from, int to) {
            for (; from < to; ++from)
                others.push_back(std::move_if_noexcept(*At(from)));
        };
        move(0, index);
        if (inserted)
            others.push_back(std::move(*inserted));
        move(index + removed, Count());
        elements.swap(others);
    }

    static void CheckIndex(int index, int last) {
        if (index < 0 || index > last)
            throw ArgumentOutOfRangeException("index");
    }

    Elements elements;
};

} // namespace System::Collections::Generic

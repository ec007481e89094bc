// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System::Collections::Generic {

// A sequence that grows and shrinks. A range-based for loop sees changes that its body makes. Concurrent reads.
template <class T>
class IList : public Object {
public:
    // Iterates by index, so that it works on any implementation.
    class Iterator final {
    public:
        Iterator(IList& ownList, int ownIndex) noexcept : list(&ownList), index(ownIndex) {}
        T& operator*() const { return (*list)[index]; }
        Iterator& operator++() {
            ++index;
            return *this;
        }
        bool operator!=(const Iterator& other) const noexcept { return index != other.index; }

    private:
        IList* list;
        int index;
    };

    // The number of elements.
    virtual int Count() = 0;

    // The element at index, 0 to Count() - 1; elsewhere ArgumentOutOfRangeException "index".
    virtual T& operator[](int index) = 0;

    // Appends element.
    virtual void Add(T element) = 0;

    // Inserts element before the one at index, 0 to Count(); elsewhere ArgumentOutOfRangeException "index", nothing
    // changed.
    virtual void Insert(int index, T element) = 0;

    // Removes the element at index, 0 to Count() - 1; elsewhere ArgumentOutOfRangeException "index", nothing changed.
    virtual void RemoveAt(int index) = 0;

    // Removes all elements.
    virtual void Clear() = 0;

    Iterator begin() { return {*this, 0}; }
    Iterator end() { return {*this, Count()}; }
};

} // namespace System::Collections::Generic

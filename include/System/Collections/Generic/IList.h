// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System::Collections::Generic {

// A row of elements that grows and shrinks. Works in a range for; a change meanwhile is seen by the rest of it.
template <class T>
class IList : public Object {
public:
    // Walks a list by index, so that any implementation can be walked.
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

    // Puts element behind the last one.
    virtual void Add(T element) = 0;

    // Puts element before the one at index, 0 to Count(); elsewhere ArgumentOutOfRangeException "index", nothing
    // changed.
    virtual void Insert(int index, T element) = 0;

    // Takes the element at index out, 0 to Count() - 1; elsewhere ArgumentOutOfRangeException "index", nothing changed.
    virtual void RemoveAt(int index) = 0;

    // Takes all elements out.
    virtual void Clear() = 0;

    Iterator begin() { return {*this, 0}; }
    Iterator end() { return {*this, Count()}; }
};

} // namespace System::Collections::Generic

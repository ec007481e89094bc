// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System::Collections::Generic {

// A sequence of fixed length, for use in a range-based for loop too. Concurrent reads.
template <class T>
class IArray : public Object {
public:
    // The number of elements.
    virtual int Length() = 0;

    // The element at index, 0 to Length() - 1; elsewhere ArgumentOutOfRangeException "index".
    virtual T& operator[](int index) = 0;

    // The first of the elements, which are contiguous in memory.
    virtual T* Data() = 0;

    T* begin() { return Data(); }
    T* end() { return Data() + Length(); }
};

} // namespace System::Collections::Generic

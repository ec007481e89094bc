// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>

#include <System/Collections/Generic/IArray.h>
#include <System/Collections/Generic/TextOf.h>
#include <System/Exceptions.h>
#include <System/Raisers.h>
#include <System/Text/StringBuilder.h>

namespace System::Collections::Generic {

// The array of the runtime: a fixed number of contiguous elements, real elements for bool too. Concurrent reads;
// different elements may be written at once.
template <class T>
class Array final : public IArray<T> {
public:
    // length elements, each as T() makes it (numbers are 0). A negative length: ArgumentOutOfRangeException "length".
    static std::shared_ptr<Array> Create(int length) {
        if (length < 0)
            _throw_not_less_exception(length, 0, "length", "zero");
        auto array = Allocate(length);
        std::uninitialized_value_construct_n(array->elements, length);
        array->length = length;
        return array;
    }

    // A copy of the given elements.
    static std::shared_ptr<Array> Create(std::initializer_list<T> elements) {
        auto array = Allocate(static_cast<int>(elements.size()));
        std::uninitialized_copy(elements.begin(), elements.end(), array->elements);
        array->length = static_cast<int>(elements.size());
        return array;
    }

    ~Array() override {
        std::destroy_n(elements, length);
        std::allocator<T>().deallocate(elements, static_cast<std::size_t>(capacity));
    }

    int Length() override { return length; }

    T& operator[](int index) override {
        if (index < 0 || index >= length)
            throw ArgumentOutOfRangeException("index");
        return elements[index];
    }

    T* Data() override { return elements; }

    // "[a, b, c]".
    string_ptr ToString() override {
        auto builder = Text::StringBuilder::Create();
        for (int i = 0; i < length; ++i)
            builder->Append(i == 0 ? "[" : ", ").Append(TextOf(elements[i]));
        return builder->Append(length == 0 ? "[]" : "]").ToString();
    }

private:
    explicit Array(int ownCapacity)
        : elements(std::allocator<T>().allocate(static_cast<std::size_t>(ownCapacity))), capacity(ownCapacity) {}

    // Uninitialised room; length stays 0 until the elements are constructed, so that a throwing constructor leaves
    // nothing to destroy.
    static std::shared_ptr<Array> Allocate(int capacity) { return Object::Own(new Array(capacity)); }

    T* const elements;
    const int capacity;
    int length = 0;
};

// The library holds the most common instances.
extern template class SYSTEM_EXPORT Array<unsigned char>;
extern template class SYSTEM_EXPORT Array<string_ptr>;

} // namespace System::Collections::Generic

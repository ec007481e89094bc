// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include <System/Export.h>

namespace System {

class string_ptr;

// The root of every class whose instances live on the heap.
//
// An object is made by the static Create of its class, is held by std::shared_ptr, and is neither copied nor moved. It
// knows its owner: Self() gives a shared pointer to the object itself. The virtual operations are not const, so that a
// test double can be written from a table of names and arguments alone. Object's operations: any thread; a derived
// class names the word for its own.
class SYSTEM_EXPORT Object : public std::enable_shared_from_this<Object> {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    // Whether other means the same as this object; here: whether it is this very object. A null other is equal to
    // nothing.
    virtual bool Equals(const std::shared_ptr<Object>& other);

    // The same number for objects that are equal; here: taken from the object's address.
    virtual int GetHashCode();

    // A text for people; here: the full name of the object's class, such as "System::String".
    virtual string_ptr ToString();

    virtual ~Object();

protected:
    Object() noexcept = default;

    // Gives a new object its owner; every Create ends with it. All classes share one type of control block, to save
    // code. Out of memory: deletes the object and throws std::bad_alloc.
    template <class T>
    static std::shared_ptr<T> Own(T* object) {
        return std::shared_ptr<T>(OwnObject(object), object);
    }

    // The owner of this object as a pointer to the class T that it is known to be. Throws std::bad_weak_ptr for an
    // object that no shared pointer owns, which includes one whose constructor or destructor is running.
    template <class T>
    std::shared_ptr<T> Self() {
        if constexpr (decltype(IsPlainBaseOf<T>(0))::value)
            return std::static_pointer_cast<T>(shared_from_this());
        else // from a virtual base only a dynamic cast leads down
            return std::dynamic_pointer_cast<T>(shared_from_this());
    }

private:
    // Never defined: only which of the two fits is asked. The first one does unless this class is a virtual base of T.
    template <class T, class = decltype(static_cast<T*>(std::declval<Object*>()))>
    static std::true_type IsPlainBaseOf(int);
    template <class T>
    static std::false_type IsPlainBaseOf(long);

    static std::shared_ptr<Object> OwnObject(Object* object);
};

} // namespace System

// A caller of ToString needs the whole string_ptr; String.h in turn needs the class above.
#include <System/String.h>

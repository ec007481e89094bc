// SPDX-License-Identifier: Apache-2.0
#include <System/Object.h>

#include <functional>
#include <typeinfo>

#include "runtime/TypeName.h"

namespace System {

Object::~Object() = default;

std::shared_ptr<Object> Object::OwnObject(Object* object) {
    return std::shared_ptr<Object>(object);
}

bool Object::Equals(const std::shared_ptr<Object>& other) {
    return other.get() == this;
}

int Object::GetHashCode() {
    // Objects are aligned to 16, so the lowest bits of an address carry no information.
    return static_cast<int>(std::hash<const Object*>()(this) >> 4);
}

string_ptr Object::ToString() {
    return TypeName(typeid(*this).name());
}

} // namespace System

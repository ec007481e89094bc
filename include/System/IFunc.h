// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System {

// A function without arguments that returns an R, such as the factory of a Lazy. Any thread, if the implementation
// allows it.
template <class R>
class IFunc : public Object {
public:
    virtual R Invoke() = 0;
};

} // namespace System

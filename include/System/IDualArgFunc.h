// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System {

// A function of an A and a B that returns an R. Any thread, if the implementation allows it.
template <class A, class B, class R>
class IDualArgFunc : public Object {
public:
    virtual R Invoke(A first, B second) = 0;
};

} // namespace System

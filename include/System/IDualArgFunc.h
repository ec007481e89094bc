// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System {

// Something that can be invoked with an A and a B and yields an R.
template <class A, class B, class R>
class IDualArgFunc : public Object {
public:
    virtual R Invoke(A first, B second) = 0;
};

} // namespace System

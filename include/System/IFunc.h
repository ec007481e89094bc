// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Object.h>

namespace System {

// Something that can be invoked without arguments and yields an R, such as the factory of a Lazy.
template <class R>
class IFunc : public Object {
public:
    virtual R Invoke() = 0;
};

} // namespace System

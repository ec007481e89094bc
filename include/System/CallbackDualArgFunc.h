// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <utility>

#include <System/IDualArgFunc.h>
#include <System/Raisers.h>

namespace System {

// A plain function of two arguments as an object. Immutable: any thread, if the function allows it.
template <class A, class B, class R>
class CallbackDualArgFunc final : public IDualArgFunc<A, B, R> {
public:
    // A null callback: ArgumentNullException "callback".
    static std::shared_ptr<CallbackDualArgFunc> Create(R (*callback)(A, B)) {
        if (!callback)
            _throw_argument_null_exception("callback");
        return Object::Own(new CallbackDualArgFunc(callback));
    }

    R Invoke(A first, B second) override { return callback(std::forward<A>(first), std::forward<B>(second)); }

private:
    explicit CallbackDualArgFunc(R (*ownCallback)(A, B)) noexcept : callback(ownCallback) {}

    R (*const callback)(A, B);
};

} // namespace System

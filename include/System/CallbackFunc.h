// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/IFunc.h>
#include <System/Raisers.h>

namespace System {

// A plain function without arguments as an object. Immutable: any thread, if the function allows it.
template <class R>
class CallbackFunc final : public IFunc<R> {
public:
    // A null callback: ArgumentNullException "callback".
    static std::shared_ptr<CallbackFunc> Create(R (*callback)()) {
        if (!callback)
            _throw_argument_null_exception("callback");
        return Object::Own(new CallbackFunc(callback));
    }

    R Invoke() override { return callback(); }

private:
    explicit CallbackFunc(R (*ownCallback)()) noexcept : callback(ownCallback) {}

    R (*const callback)();
};

} // namespace System

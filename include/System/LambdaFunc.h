// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <System/IFunc.h>
#include <System/Raisers.h>

namespace System {

// Any callable without arguments, captures included, as an object. Any thread, if the callable allows it.
template <class R>
class LambdaFunc final : public IFunc<R> {
public:
    // An empty function: ArgumentNullException "function".
    static std::shared_ptr<LambdaFunc> Create(std::function<R()> function) {
        if (!function)
            _throw_argument_null_exception("function");
        return Object::Own(new LambdaFunc(std::move(function)));
    }

    R Invoke() override { return function(); }

private:
    explicit LambdaFunc(std::function<R()> ownFunction) noexcept : function(std::move(ownFunction)) {}

    const std::function<R()> function;
};

} // namespace System

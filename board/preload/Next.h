// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace VelrixBoard::Preload {

// The address of a function's next definition, after this library's: the C library's, as a rule. Found at the first
// use, without a lock; several threads may be the first.
class NextAddress {
public:
    constexpr explicit NextAddress(const char* functionName) : name(functionName) {}

    void* Get() {
        void* address = found.load(std::memory_order_relaxed);
        return address != nullptr ? address : Find();
    }

private:
    void* Find();

    const char* name;
    std::atomic<void*> found{nullptr};
};

// The next definition of a function, to be called like it: Next<int(const char*)> nextChdir{"chdir"}.
template <class Function>
class Next final {
public:
    constexpr explicit Next(const char* functionName) : address(functionName) {}

    template <class... Arguments>
    auto operator()(Arguments... arguments) {
        return Get()(arguments...);
    }
    Function* Get() { return reinterpret_cast<Function*>(address.Get()); }

private:
    NextAddress address;
};

} // namespace VelrixBoard::Preload

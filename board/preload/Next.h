// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace VelrixBoard::Preload {

// The function's next definition after this library's (RTLD_NEXT), usually the C library's. Looked up lazily and
// lock-free.
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

// A callable for the next definition of a function: Next<int(const char*)> nextChdir{"chdir"}.
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

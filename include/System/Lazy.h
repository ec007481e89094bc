// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <System/Exceptions.h>
#include <System/IFunc.h>
#include <System/Raisers.h>
#include <System/Threading/Mutex.h>

namespace System {

// A value that is made on first use, once, whichever thread comes first.
//
// Not an object: a static or a member, or shared through Create. A factory that throws leaves the holder empty, and the
// next Value() tries again. Once the value is there, Value() is one load and takes no lock. The value dies with the
// holder.
//
//     static Lazy<std::shared_ptr<Board>> INSTANCE{CallbackFunc<std::shared_ptr<Board>>::Create(&Board::Create)};
template <class T>
class Lazy final {
public:
    // A null factory: ArgumentNullException "factory".
    explicit Lazy(std::shared_ptr<IFunc<T>> ownFactory) : factory(std::move(ownFactory)) {
        if (!factory)
            _throw_argument_null_exception("factory");
    }
    Lazy(const Lazy&) = delete;
    Lazy& operator=(const Lazy&) = delete;

    static std::shared_ptr<Lazy> Create(std::shared_ptr<IFunc<T>> factory) {
        return std::make_shared<Lazy>(std::move(factory));
    }

    // The value, the same at every call. The first call runs the factory, others wait for it meanwhile; what the
    // factory throws passes out. A factory that asks its own holder: InvalidOperationException.
    const T& Value() {
        const T* made = ready.load(std::memory_order_acquire);
        return made ? *made : Make();
    }

    bool IsValueCreated() const noexcept { return ready.load(std::memory_order_acquire) != nullptr; }

private:
    [[gnu::noinline]] const T& Make() {
        if (maker.load(std::memory_order_relaxed) == std::this_thread::get_id())
            throw InvalidOperationException("The factory of a lazy value asked for the value that it is making");
        Turn turn(*this);
        if (!value) {
            value.emplace(factory->Invoke());
            ready.store(&*value, std::memory_order_release);
        }
        return *value;
    }

    // The right to make the value, held from construction to destruction.
    struct Turn {
        explicit Turn(Lazy& ownHolder) : holder(ownHolder) {
            holder.mutex.Acquire();
            holder.maker.store(std::this_thread::get_id(), std::memory_order_relaxed);
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() {
            holder.maker.store(std::thread::id(), std::memory_order_relaxed);
            holder.mutex.Release();
        }
        Lazy& holder;
    };

    const std::shared_ptr<IFunc<T>> factory;
    std::atomic<const T*> ready{nullptr}; // set last, when value is complete
    Threading::Mutex mutex;
    std::atomic<std::thread::id> maker{}; // the thread whose turn it is; compared only with the asking thread's own
    std::optional<T> value;
};

} // namespace System

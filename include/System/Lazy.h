// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include <System/Export.h>
#include <System/IFunc.h>
#include <System/Raisers.h>
#include <System/Threading/Mutex.h>

namespace System {

namespace Detail {

// Who may make a lazy value: one thread at a time.
class SYSTEM_EXPORT LazyMaker final {
public:
    // The right to make the value, held from construction to destruction; waits for the thread that has it. The thread
    // that has it already: InvalidOperationException.
    class SYSTEM_EXPORT Turn final {
    public:
        explicit Turn(LazyMaker& ownMaker);
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

    private:
        LazyMaker& maker;
    };

private:
    Threading::Mutex mutex;
    std::atomic<std::thread::id> thread{}; // the one that runs the factory; compared only with the calling thread's id
};

} // namespace Detail

// A value that is made on first use, once. Any thread.
//
// Not an object: a static or a member, or shared through Create. A factory that throws leaves the holder empty, and the
// next Value() tries again. Once the value is there, Value() is one load and takes no lock. The value dies with the
// holder.
//
//     static Lazy<std::shared_ptr<Engine>> ENGINE{CallbackFunc<std::shared_ptr<Engine>>::Create(&Engine::Create)};
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
        const Detail::LazyMaker::Turn turn(maker);
        if (!value) {
            value.emplace(factory->Invoke());
            ready.store(&*value, std::memory_order_release);
        }
        return *value;
    }

    const std::shared_ptr<IFunc<T>> factory;
    std::atomic<const T*> ready{nullptr}; // set last, when value is complete
    Detail::LazyMaker maker;
    std::optional<T> value;
};

} // namespace System

// SPDX-License-Identifier: Apache-2.0
#include <System/Lazy.h>

#include <System/Exceptions.h>

namespace System::Detail {

LazyMaker::Turn::Turn(LazyMaker& ownMaker) : maker(ownMaker) {
    if (maker.thread.load(std::memory_order_relaxed) == std::this_thread::get_id())
        throw InvalidOperationException("The factory of a lazy value asked for the value that it is making");
    maker.mutex.Acquire();
    maker.thread.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

LazyMaker::Turn::~Turn() {
    maker.thread.store(std::thread::id(), std::memory_order_relaxed);
    maker.mutex.Release();
}

} // namespace System::Detail

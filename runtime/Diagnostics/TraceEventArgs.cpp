// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventArgs.h>

#include <pthread.h>
#include <unistd.h>

#include "runtime/SpareAllocator.h"
#include "runtime/WallClock.h"

namespace System::Diagnostics {

namespace {

// Caches the ids of the calling thread, which cost a system call each.
struct Ids {
    int process = 0; // 0: not cached yet
    int thread = 0;
};
[[gnu::tls_model("initial-exec")]] thread_local constinit Ids ids;

// A fork changes both ids, and the child has only the thread that forked. Nothing is cached before the handler is
// registered, or if there is no memory for it. Registered at load, since a child must not inherit a half-initialised
// static.
struct ForkHandler {
    const bool isSet = ::pthread_atfork(nullptr, nullptr, [] { ids = {}; }) == 0;
};
[[gnu::init_priority(200)]] const ForkHandler forkHandler;

const Ids& CurrentIds() noexcept {
    if (ids.process == 0 || !forkHandler.isSet)
        ids = {::getpid(), ::gettid()};
    return ids;
}

} // namespace

std::shared_ptr<TraceEventArgs> TraceEventArgs::Create() {
    const Ids& own = CurrentIds();
    return std::allocate_shared<TraceEventArgs>(SpareAllocator<TraceEventArgs>(), Passkey(), own.process, own.thread);
}

TraceEventArgs::TraceEventArgs(Passkey, int ownProcessId, int ownThreadId) noexcept
    : timestamp(DateTime::Passkey(), ReadWallClock()), processId(ownProcessId), threadId(ownThreadId) {}

TraceEventArgs::~TraceEventArgs() = default;

} // namespace System::Diagnostics

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>

namespace TestSupport {

// Runs the work in a thread with a pending cancellation, which acts at the first cancellation point. Returns whether
// the work completed; fails the test if the thread was not cancelled.
inline bool RunCancelled(const std::function<void()>& work) {
    struct Run {
        const std::function<void()>& work;
        bool isDone = false;
    } run{work};
    pthread_t thread{};
    EXPECT_EQ(::pthread_create(
                  &thread, nullptr,
                  [](void* given) -> void* {
                      ::pthread_cancel(::pthread_self());
                      auto& own = *static_cast<Run*>(given);
                      own.work();
                      own.isDone = true;
                      ::pthread_testcancel();
                      return nullptr;
                  },
                  &run),
              0);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    return run.isDone;
}

} // namespace TestSupport

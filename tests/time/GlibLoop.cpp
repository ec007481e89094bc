// SPDX-License-Identifier: Apache-2.0
// A helper program around GLib's main loop, which waits in poll.
#include <chrono>
#include <thread>

#include <glib.h>

#include "tests/time/LoopProgram.h"

using VelrixBoard::Timed::LoopRun;

int main() {
    LoopRun run;
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    const auto tick = [](void* data) -> gboolean {
        static_cast<LoopRun*>(data)->Tick();
        return G_SOURCE_CONTINUE;
    };
    const auto message = [](void* data) -> gboolean {
        static_cast<LoopRun*>(data)->TakeMessage();
        return G_SOURCE_REMOVE;
    };
    const auto end = [](void* data) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(data));
        return G_SOURCE_REMOVE;
    };
    g_timeout_add(100, tick, &run);
    g_timeout_add(10'000, end, loop);
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::seconds(4));
        g_idle_add(message, &run);
    });
    g_main_loop_run(loop);
    other.join();
    g_main_loop_unref(loop);
    return run.Finish();
}

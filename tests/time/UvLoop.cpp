// SPDX-License-Identifier: Apache-2.0
// A helper program around libuv's event loop, which waits in epoll.
#include <chrono>
#include <thread>

#include <uv.h>

#include "tests/time/LoopProgram.h"

using VelrixBoard::Timed::LoopRun;

int main() {
    LoopRun run;
    uv_loop_t loop;
    uv_loop_init(&loop);
    loop.data = &run;
    uv_timer_t ticks, end;
    uv_async_t message;
    uv_timer_init(&loop, &ticks);
    uv_timer_init(&loop, &end);
    uv_async_init(&loop, &message,
                  [](uv_async_t* handle) { static_cast<LoopRun*>(handle->loop->data)->TakeMessage(); });
    uv_timer_start(
        &ticks, [](uv_timer_t* handle) { static_cast<LoopRun*>(handle->loop->data)->Tick(); }, 100, 100);
    uv_timer_start(
        &end, [](uv_timer_t* handle) { uv_stop(handle->loop); }, 10'000, 0);
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::seconds(4));
        uv_async_send(&message);
    });
    uv_run(&loop, UV_RUN_DEFAULT);
    other.join();
    for (uv_handle_t* const handle : {reinterpret_cast<uv_handle_t*>(&ticks), reinterpret_cast<uv_handle_t*>(&end),
                                      reinterpret_cast<uv_handle_t*>(&message)})
        uv_close(handle, nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
    return run.Finish();
}

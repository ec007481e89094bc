// SPDX-License-Identifier: Apache-2.0
// A helper program around Asio's event loop, which waits in epoll with a timer descriptor.
#include <functional>
#include <thread>

#include <asio.hpp>

#include "tests/time/LoopProgram.h"

using namespace std::chrono_literals;

int main() {
    VelrixBoard::Timed::LoopRun run;
    asio::io_context context;
    asio::steady_timer ticks(context), end(context, 10s);
    std::function<void()> tick = [&] {
        ticks.expires_at(ticks.expiry() + 100ms);
        ticks.async_wait([&](const asio::error_code& error) {
            if (error)
                return;
            run.Tick();
            tick();
        });
    };
    ticks.expires_after(0ms);
    tick();
    end.async_wait([&](const asio::error_code&) { context.stop(); });
    std::thread other([&] {
        std::this_thread::sleep_for(4s);
        asio::post(context, [&] { run.TakeMessage(); });
    });
    context.run();
    other.join();
    return run.Finish();
}

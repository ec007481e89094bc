// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/StopSignal.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <csignal>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};
constexpr double LONGEST_SECONDS = 1e6; // twelve days

volatile std::sig_atomic_t hasCome = 0;
int wake[2] = {-1, -1}; // a pipe: a signal that comes right before the wait ends it, too

void OnSignal(int) {
    const int error = errno;
    hasCome = 1;
    (void)!::write(wake[1], "", 1);
    errno = error;
}

} // namespace

StopSignal::StopSignal() {
    hasCome = 0;
    if (::pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0)
        throw CommandError("cannot make a pipe for signals");
    struct sigaction action {};
    action.sa_handler = OnSignal;
    for (const int signal : SIGNALS) {
        struct sigaction before {};
        // nohup and the shell's background ask to ignore some.
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

StopSignal::~StopSignal() {
    for (const int signal : SIGNALS) {
        struct sigaction before {};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::signal(signal, SIG_DFL);
    }
    for (int& end : wake) {
        ::close(end);
        end = -1;
    }
}

bool StopSignal::HasCome() const {
    return hasCome != 0;
}

bool StopSignal::Wait(milliseconds time) const {
    return WaitFor(time, false);
}

bool StopSignal::WaitForInput(milliseconds time) const {
    return WaitFor(time, true);
}

bool StopSignal::WaitFor(milliseconds time, bool forInput) const {
    pollfd events[] = {{wake[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    ::poll(events, forInput ? 2 : 1, static_cast<int>(std::max<milliseconds::rep>(time.count(), 0)));
    return HasCome();
}

Deadline::Deadline(const std::string& seconds) {
    if (seconds.empty())
        return;
    double value = 0;
    const auto [last, error] = std::from_chars(seconds.data(), seconds.data() + seconds.size(), value);
    if (error != std::errc() || last != seconds.data() + seconds.size() || !(value >= 0 && value <= LONGEST_SECONDS))
        throw CommandError("--for takes seconds such as 2.5, not \"" + Escaped(seconds) + "\"");
    end = steady_clock::now() + milliseconds(std::llround(value * 1000));
}

milliseconds Deadline::Left(milliseconds most) const {
    const steady_clock::time_point now = steady_clock::now();
    if (now >= end)
        return milliseconds(0);
    // Rounded up, so that the deadline has passed after it.
    return end - now > most ? most : std::chrono::ceil<milliseconds>(end - now);
}

} // namespace VelrixTools

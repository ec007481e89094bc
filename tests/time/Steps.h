// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

namespace VelrixBoard::Timed {

// One way of waiting. Each step takes ten seconds by the program's clock.
struct Step {
    const char* name;
    std::string (*run)(); // gives what its calls gave
};

std::vector<Step> SleepSteps();
std::vector<Step> DescriptorSteps();
std::vector<Step> ThreadSteps();
std::vector<Step> SignalSteps();
std::vector<Step> ProcessSteps();
std::vector<Step> UnservedSteps();

inline timespec Now(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return now;
}

inline timespec In(clockid_t clock, time_t afterS) {
    timespec then = Now(clock);
    then.tv_sec += afterS;
    return then;
}

// The result of a call: a number, or the error's name.
inline std::string Of(long result) {
    return result < 0 ? ::strerrorname_np(errno) : std::to_string(result);
}
inline std::string OfError(int error) {
    return error != 0 ? ::strerrorname_np(error) : "0";
}

// Calls a function in a thread after that time.
template <class Action>
std::thread After(std::chrono::milliseconds time, Action action) {
    return std::thread([=] {
        std::this_thread::sleep_for(time);
        action();
    });
}

} // namespace VelrixBoard::Timed

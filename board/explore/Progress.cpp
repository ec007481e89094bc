// SPDX-License-Identifier: Apache-2.0
#include "board/explore/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <unistd.h>

namespace VelrixBoard {

namespace {

constexpr auto TERMINAL_INTERVAL = std::chrono::milliseconds(200);
constexpr auto PIPE_INTERVAL = std::chrono::seconds(5);

constexpr const char* CLEAR_LINE = "\r\033[K";

std::string TextOfLeft(double seconds) {
    constexpr double MOST = 99 * 3600.0; // more is a guess
    const auto whole = static_cast<long>(std::ceil(std::min(seconds, MOST)));
    if (whole < 60)
        return std::to_string(whole) + " s";
    if (whole < 3600)
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

} // namespace

std::string TextOf(const Progress& progress, int planned, int trials, std::chrono::duration<double> passed) {
    const double rate = trials / std::max(passed.count(), 0.001);
    const double left = rate > 0 ? std::max(planned - progress.runs, 0) / rate : 0;
    char shown[32];
    std::snprintf(shown, sizeof shown, "%.1f", rate);
    return std::to_string(progress.runs) + " of " + std::to_string(planned) + " runs, " + shown + " a second, " +
           TextOfLeft(left) + " left, " + std::to_string(progress.behaviours) + " behaviours, " +
           std::to_string(progress.failures) + (progress.failures == 1 ? " failure" : " failures") +
           (progress.isShrinking ? ", shrinking" : "");
}

ProgressLine::ProgressLine(int plannedRuns) : planned(plannedRuns), isTerminal(::isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
    Clear();
}

void ProgressLine::Clear() const {
    if (isTerminal)
        (void)std::fputs(CLEAR_LINE, stderr);
}

void ProgressLine::OnTrial() {
    ++trials;
    const SteadyClock::time_point now = SteadyClock::now();
    if (now - last < (isTerminal ? SteadyClock::duration(TERMINAL_INTERVAL) : SteadyClock::duration(PIPE_INTERVAL)))
        return;
    last = now;
    const std::string text = TextOf(progress, planned, trials, now - begin);
    (void)std::fprintf(stderr, "%s%s%s", isTerminal ? CLEAR_LINE : "", text.c_str(), isTerminal ? "" : "\n");
}

} // namespace VelrixBoard

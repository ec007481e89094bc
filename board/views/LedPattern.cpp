// SPDX-License-Identifier: Apache-2.0
#include "board/views/LedPattern.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace VelrixBoard {

namespace {

// An application calls Update every 10 to 50 ms, and a busy machine delays it.
BoardTime Tolerance(BoardTime length) {
    return std::max<BoardTime>(std::chrono::milliseconds(15), length / 5);
}

bool AreEqual(BoardTime expected, BoardTime length) {
    return std::chrono::abs(length - expected) <= Tolerance(expected);
}

std::string Milliseconds(BoardTime time) {
    const double milliseconds = std::chrono::duration<double, std::milli>(time).count();
    char text[32];
    // A pulse of a few microseconds would be "0".
    std::snprintf(text, sizeof text, milliseconds < 10 ? "%.3g ms" : "%.0f ms", milliseconds);
    return text;
}

} // namespace

std::string LedPattern::Take(const std::string& color, BoardTime since) {
    if (!steps.empty() && GoesOn(color, since)) {
        step = (step + 1) % steps.size();
        current = color;
        begin = since;
        return "";
    }
    if (!steps.empty()) {
        steps.clear();
        history.clear();
    }
    if (begin)
        history.push_back({current, since - *begin});
    if (history.size() > 2 * MOST_COLORS)
        history.pop_front();
    current = color;
    begin = since;
    for (std::size_t period = 2; period <= MOST_COLORS; ++period)
        if (Repeats(period)) {
            steps.assign(history.end() - static_cast<std::ptrdiff_t>(period), history.end());
            step = 0;
            return Text();
        }
    return color;
}

bool LedPattern::GoesOn(const std::string& color, BoardTime since) const {
    return color == steps[(step + 1) % steps.size()].color && AreEqual(steps[step].length, since - *begin);
}

// The current colour begins a third period.
bool LedPattern::Repeats(std::size_t period) const {
    if (history.size() < 2 * period || history[history.size() - period].color != current)
        return false;
    for (std::size_t i = history.size() - period; i < history.size(); ++i)
        if (history[i].color != history[i - period].color || !AreEqual(history[i - period].length, history[i].length))
            return false;
    return true;
}

std::string LedPattern::Text() const {
    if (steps.size() > 2) {
        std::string text = "repeating";
        for (const Step& each : steps)
            text += (&each == &steps.front() ? " " : ", ") + each.color + " " + Milliseconds(each.length);
        return text;
    }
    const bool isEven = AreEqual(steps[0].length, steps[1].length);
    const std::size_t lit = steps[0].color == "off" ? 1 : 0;
    const Step& on = steps[lit];
    const Step& off = steps[1 - lit];
    if (off.color != "off")
        return "alternating " + on.color + (isEven ? "" : " " + Milliseconds(on.length)) + " and " + off.color +
               (isEven ? ", " : " ") + Milliseconds(off.length);
    return "flashing " + on.color + ", " + Milliseconds(on.length) +
           (isEven ? "" : " on, " + Milliseconds(off.length) + " off");
}

std::optional<BoardTime> LedPattern::Due() const {
    if (steps.empty())
        return std::nullopt;
    return *begin + steps[step].length + Tolerance(steps[step].length);
}

std::string LedPattern::Stop() {
    steps.clear();
    history.clear();
    char since[32];
    std::snprintf(since, sizeof since, " since %.3f s", std::chrono::duration<double>(*begin).count());
    return current + since;
}

} // namespace VelrixBoard

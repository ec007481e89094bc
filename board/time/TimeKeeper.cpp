// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimeKeeper.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "board/base/BoardError.h"
#include "board/preload/Relax.h"

namespace VelrixBoard {

namespace {

using std::chrono::nanoseconds;

// The short waits between two looks at programs that run: a tick of a program takes some 20 us, and a busy one should
// not be looked at all the time.
constexpr nanoseconds SHORTEST_PATIENCE = std::chrono::microseconds(20);
constexpr nanoseconds LONGEST_USUAL_PATIENCE = std::chrono::microseconds(100);
constexpr nanoseconds LONGEST_PATIENCE = std::chrono::milliseconds(1);

// A thread that was woken and has not come back by then may wait in a way that the board does not see.
constexpr nanoseconds LONG_PATIENCE = std::chrono::microseconds(150);

// A look-out for a thread that was woken: some 30 us. The first tries after one in vain are left out, at most so many.
constexpr int LOOKS = 8;
constexpr int RELAXATIONS = 4;
constexpr int LONGEST_LOOK_OUT_PAUSE = 255;

// How long the board sleeps at most before it looks whether something outside has woken a program.
constexpr nanoseconds OUTSIDE_PATIENCE = std::chrono::milliseconds(5);

// How often the processor time is looked at beside other work.
constexpr nanoseconds COUNTING_INTERVAL = std::chrono::milliseconds(5);

// Wakes of one wait without a pause.
constexpr int QUICK_WAKES = 3;

// Different messages about what is not served.
constexpr std::size_t MOST_SAID = 16;

} // namespace

TimeKeeper::TimeKeeper(const TimeOptions& timeOptions, Preload::TimePage& page, IProgramThreads& programThreads,
                       Say sayToUser, Machine ownMachine)
    : options(timeOptions), threads(programThreads), waits(page, programThreads), say(std::move(sayToUser)),
      machine(std::move(ownMachine)), usualPatience(SHORTEST_PATIENCE), patience(usualPatience) {}

void TimeKeeper::OnProgramStarted() {
    state = State::RUNS;
    SetPace(options.pace);
    lastMove = machine.time();
    waits.LetBegin(true);
}

void TimeKeeper::OnProgramEnded() {
    waits.LetBegin(false);
    waits.LetBeQuick(false);
    state = State::ENDED;
    SetPace(1.0);
}

// A turn ends with a result for the loop, or has waited, woken a thread or moved the clock.
int TimeKeeper::WaitForBoard(Descriptors& descriptors, const std::optional<BoardTime>& longest) {
    const std::optional<BoardTime> due = longest ? std::optional(Now() + *longest) : std::nullopt;
    const int ready = machine.wait(descriptors, BoardTime::zero());
    if (ready != 0) {
        CountProcessorTime();
        return ready;
    }
    while (!due || Now() < *due)
        if (const std::optional<int> result = Turn(descriptors, due))
            return *result;
    return 0;
}

std::optional<int> TimeKeeper::Turn(Descriptors& descriptors, const std::optional<BoardTime>& due) {
    if (state == State::NOT_STARTED)
        return WaitForStart(descriptors, due);
    if (state == State::ENDED)
        return FollowMachine(descriptors, due);
    const bool isSingle = waits.MatchSingle();
    if (!isSingle && ((patience < LONG_PATIENCE && !waits.HasWokenReturned()) || !threads.AreAsleep()))
        return LetRun(descriptors);
    // What programs did before they slept comes first.
    const int ready = machine.wait(descriptors, BoardTime::zero());
    if (ready != 0)
        return ready;
    patience = usualPatience;
    if (!isSingle) {
        waits.Match();
        waits.LetBeQuick(machine.processors > 1 && !pace);
    }
    CheckUnserved();
    if (waits.WakeRetries() || WakeOne(descriptors))
        return LetRun(descriptors);
    return Pass(descriptors, due);
}

std::optional<int> TimeKeeper::WaitForStart(Descriptors& descriptors, const std::optional<BoardTime>& due) {
    const int ready =
        machine.wait(descriptors, due ? std::optional(std::max(*due - Now(), BoardTime::zero())) : std::nullopt);
    if (ready == 0 && due)
        waits.Advance(*due);
    return ready;
}

std::optional<int> TimeKeeper::FollowMachine(Descriptors& descriptors, const std::optional<BoardTime>& due) {
    const nanoseconds longest = due ? std::min<nanoseconds>(*due - Now(), OUTSIDE_PATIENCE) : OUTSIDE_PATIENCE;
    const int ready = machine.wait(descriptors, std::max(longest, nanoseconds::zero()));
    waits.Advance(PacedNow());
    (void)threads.AreAsleep(); // finds those that get the signals of timers
    waits.WakeAllDue();
    return ready != 0 ? std::optional(ready) : std::nullopt;
}

// Programs run: waits a little, longer each time, for what they do.
std::optional<int> TimeKeeper::LetRun(Descriptors& descriptors) {
    if (waits.IsQuick() && patience == usualPatience && !waits.HasWokenReturned()) {
        const int ready = LookOut(descriptors);
        if (ready != 0)
            return ready;
        if (waits.HasWokenReturned())
            return std::nullopt;
    }
    const int ready = machine.wait(descriptors, patience);
    if (ready != 0)
        return ready;
    LearnPatience();
    if (patience >= LONGEST_PATIENCE) {
        waits.Account();
        lastCount = machine.time();
        if (pace && !options.pace)
            waits.Advance(PacedNow());
        waits.WakeAllDue();
        Watch();
    }
    patience = std::min(2 * patience, LONGEST_PATIENCE);
    return std::nullopt;
}

// Looks, without falling asleep, whether the thread that was woken waits again or something is ready. In vain less and
// less often: then its tick is long, or the machine is busy.
int TimeKeeper::LookOut(Descriptors& descriptors) {
    if (lookOutsLeft > 0) {
        --lookOutsLeft;
        return 0;
    }
    for (int i = 0; i < LOOKS; ++i) {
        for (int j = 0; j < RELAXATIONS && !waits.HasWokenReturned(); ++j)
            Preload::Relax();
        const bool hasReturned = waits.HasWokenReturned();
        const int ready = hasReturned ? 0 : machine.wait(descriptors, BoardTime::zero());
        if (hasReturned || ready != 0) {
            lookOutPause = 0;
            return ready;
        }
    }
    lookOutPause = std::min(2 * lookOutPause + 1, LONGEST_LOOK_OUT_PAUSE);
    lookOutsLeft = lookOutPause;
    return 0;
}

// Long enough for a program's usual tick: each short wait costs the board more than that takes longer.
void TimeKeeper::LearnPatience() {
    if (patience == usualPatience)
        usualPatience = waits.HasWokenReturned() ? std::max(usualPatience * 31 / 32, SHORTEST_PATIENCE)
                                                 : std::min(usualPatience * 5 / 4, LONGEST_USUAL_PATIENCE);
}

// Of programs that keep the board busy, so that it never comes to wait for them.
void TimeKeeper::CountProcessorTime() {
    if (state != State::RUNS || machine.time() - lastCount < COUNTING_INTERVAL)
        return;
    lastCount = machine.time();
    if (!threads.AreAsleep())
        waits.Account();
}

// One at a time, so that threads with the same deadline run in the same order each time.
bool TimeKeeper::WakeOne(Descriptors& descriptors) {
    const std::optional<std::uint64_t> ticket = waits.WakeFirst();
    if (!ticket)
        return false;
    if (*ticket == 0 || ticket != woken) {
        woken = ticket;
        wakes = 0;
        firstWake = machine.time();
    }
    if (++wakes <= QUICK_WAKES)
        return true;
    if (machine.time() - firstWake > WATCHDOG)
        throw BoardError("a program does not wake up at its time: " + waits.Describe(ticket));
    (void)machine.wait(descriptors, LONGEST_PATIENCE);
    return true;
}

// Nothing on the board runs: the time goes on to the next thing that happens by it.
std::optional<int> TimeKeeper::Pass(Descriptors& descriptors, const std::optional<BoardTime>& due) {
    std::optional<BoardTime> target = waits.Soonest();
    if (due && (!target || *due < *target))
        target = due;
    lastMove = machine.time();
    if (!target)
        return AwaitOutside(descriptors);
    outsideSince.reset();
    if (pace && PacedNow() < *target)
        return PassPaced(descriptors, *target);
    waits.Advance(*target);
    // The board's parts come first.
    if (due && *due <= Now())
        return 0;
    return WakeOne(descriptors) ? LetRun(descriptors) : std::nullopt;
}

std::optional<int> TimeKeeper::PassPaced(Descriptors& descriptors, BoardTime target) {
    const double left = static_cast<double>((target - PacedNow()).count()) / *pace;
    const auto longest = nanoseconds(
        static_cast<std::int64_t>(std::min(std::ceil(left), static_cast<double>(OUTSIDE_PATIENCE.count()))));
    const int ready = machine.wait(descriptors, longest);
    waits.Advance(std::min(target, PacedNow()));
    WakeUnmatched();
    return ready != 0 ? std::optional(ready) : std::nullopt;
}

// Whoever waits for no time waits for something outside of the board, which may come or not.
std::optional<int> TimeKeeper::AwaitOutside(Descriptors& descriptors) {
    const nanoseconds now = machine.time();
    if (!outsideSince)
        outsideSince = now;
    if (now - *outsideSince >= WATCHDOG)
        SayOnce("nobody on the board waits for a time, so it stands still until something outside happens: " +
                waits.Describe());
    const int ready = machine.wait(descriptors, OUTSIDE_PATIENCE);
    if (pace)
        waits.Advance(PacedNow());
    WakeUnmatched();
    return ready != 0 ? std::optional(ready) : std::nullopt;
}

// A thread that is not served may wait in an entry that is not its own, as the child of vfork in that of its parent.
void TimeKeeper::WakeUnmatched() {
    if (pace && !options.pace)
        waits.WakeAllDue();
}

void TimeKeeper::CheckUnserved() {
    const std::optional<std::string> what = waits.FindUnserved();
    if (!what) {
        if (pace != options.pace)
            SetPace(options.pace);
        return;
    }
    hasMissed = true;
    if (options.unserved == TimeOptions::Unserved::FAIL)
        throw BoardError("virtual time does not reach the program: " + *what);
    SayOnce("time passes as on the machine for now, since virtual time does not reach the program: " + *what);
    if (pace != std::optional(1.0))
        SetPace(1.0);
}

void TimeKeeper::SetPace(const std::optional<double>& newPace) {
    pace = newPace;
    paceBegin = machine.time();
    paceBeginOnBoard = Now();
}

BoardTime TimeKeeper::PacedNow() const {
    const auto passed = static_cast<double>((machine.time() - paceBegin).count());
    return paceBeginOnBoard + BoardTime(static_cast<std::int64_t>(passed * pace.value_or(1.0)));
}

// Something keeps the board from going on: a stopped program, one that waits for a disk.
void TimeKeeper::Watch() {
    const nanoseconds now = machine.time();
    if (Now() != lastNow) {
        lastNow = Now();
        lastMove = now;
        isStandingSaid = false;
    }
    if (isStandingSaid || now - lastMove < WATCHDOG)
        return;
    isStandingSaid = true;
    std::string names;
    constexpr std::size_t SHOWN = 5;
    for (std::size_t i = 0; i < std::min(threads.Threads().size(), SHOWN); ++i)
        names += (i == 0 ? "" : ", ") + threads.Describe(threads.Threads()[i]);
    say("the board's time has stood still for " + std::to_string(WATCHDOG.count()) +
        " s, since a program neither sleeps nor uses the processor (does a debugger hold it?): " + names);
}

void TimeKeeper::SayOnce(const std::string& text) {
    if (said.size() < MOST_SAID && said.insert(text).second)
        say(text);
}

} // namespace VelrixBoard

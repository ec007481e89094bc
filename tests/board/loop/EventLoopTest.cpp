// SPDX-License-Identifier: Apache-2.0
#include "board/loop/EventLoop.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"

namespace VelrixBoard {
namespace {

using std::chrono::milliseconds;

// Writes its name into a log when it has its turn, and then does what the test wants.
struct FakePart final : public ILoopPart {
    FakePart(std::string& ownLog, std::string ownName) : log(ownLog), name(std::move(ownName)) {}

    int Descriptor() const override { return descriptor; }
    bool AwaitsRoom() const override { return awaitsRoom; }
    std::optional<BoardTime> Due() const override { return due; }
    bool RunsInEveryRound() const override { return always; }
    void Run(BoardTime now) override {
        log += name + " ";
        lastRun = now;
        act();
    }

    std::string& log;
    std::string name;
    int descriptor = -1;
    bool awaitsRoom = false;
    std::optional<BoardTime> due;
    bool always = false;
    BoardTime lastRun{};
    std::function<void()> act = [] {};
};

// A loop whose time is the test's, and whose waiting ends at once with the descriptors ready that the test names.
class EventLoopTest : public testing::Test {
protected:
    int Wait(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& limit) {
        waits = descriptors;
        longest = limit;
        for (pollfd& each : descriptors)
            each.revents = std::count(ready.begin(), ready.end(), each.fd) > 0 ? each.events : short{0};
        whileWaiting();
        errno = error;
        return error != 0 ? -1 : static_cast<int>(ready.size());
    }

    // The turns of one round: "a b ".
    std::string Round(std::optional<BoardTime> limit = std::nullopt) {
        log.clear();
        loop.Round(limit);
        return log;
    }

    std::string log;
    BoardTime now = milliseconds(100);
    std::vector<int> ready;
    int error = 0;
    std::vector<pollfd> waits;
    std::optional<BoardTime> longest;
    std::function<void()> whileWaiting = [] {};
    EventLoop loop{[this] { return now; },
                   [this](auto& descriptors, const auto& limit) { return Wait(descriptors, limit); }};
    FakePart a{log, "a"};
    FakePart b{log, "b"};
    FakePart c{log, "c"};
};

TEST_F(EventLoopTest, GivesEachReadyPartATurnInTheOrderOfAdding) {
    a.descriptor = 10;
    b.descriptor = 11;
    c.descriptor = 12;
    for (FakePart* part : {&b, &c, &a})
        loop.Add(*part);

    EXPECT_EQ(Round(), "");
    ready = {10, 11, 12};
    EXPECT_EQ(Round(), "b c a ");
    ready = {10, 12};
    EXPECT_EQ(Round(), "c a ");
}

// One that the kernel finds ready was so after all that it finds ready behind it.
TEST_F(EventLoopTest, LooksAtTheDescriptorsFromTheLastPartsToTheFirstParts) {
    a.descriptor = 10;
    b.descriptor = 11;
    b.awaitsRoom = true;
    for (FakePart* part : {&a, &b, &c})
        loop.Add(*part);

    Round();

    ASSERT_EQ(waits.size(), 3U);
    EXPECT_EQ(waits[0].fd, -1);
    EXPECT_EQ(waits[1].fd, 11);
    EXPECT_EQ(waits[1].events, POLLOUT);
    EXPECT_EQ(waits[2].fd, 10);
    EXPECT_EQ(waits[2].events, POLLIN);
}

TEST_F(EventLoopTest, WaitsForTheEarliestTime) {
    for (FakePart* part : {&a, &b, &c})
        loop.Add(*part);

    struct Row {
        std::optional<BoardTime> a, b, limit, expected;
    };
    const std::vector<Row> rows = {
        {{}, {}, {}, {}},
        {{}, {}, milliseconds(7), milliseconds(7)},
        {milliseconds(130), milliseconds(120), {}, milliseconds(20)},
        {milliseconds(120), milliseconds(130), {}, milliseconds(20)},
        {milliseconds(120), {}, milliseconds(7), milliseconds(7)},
        {milliseconds(120), {}, milliseconds(70), milliseconds(20)},
        {milliseconds(100), milliseconds(500), {}, milliseconds(0)},
        {milliseconds(30), {}, milliseconds(7), milliseconds(0)}, // long ago
    };
    for (const Row& row : rows) {
        a.due = row.a;
        b.due = row.b;
        Round(row.limit);
        EXPECT_EQ(longest, row.expected) << &row - rows.data();
    }
}

TEST_F(EventLoopTest, GivesAPartItsTurnWhenItsTimeHasCome) {
    a.due = milliseconds(120);
    b.due = milliseconds(120) + BoardTime(1);
    loop.Add(a);
    loop.Add(b);

    EXPECT_EQ(Round(), "");
    whileWaiting = [this] { now = milliseconds(120); };
    EXPECT_EQ(Round(), "a ");
    EXPECT_EQ(a.lastRun, milliseconds(120));
}

// The simulated module's answer to a line that the program has just written does not wait for another round.
TEST_F(EventLoopTest, AsksForThePartsTimeAgainAtItsTurn) {
    a.descriptor = 10;
    a.act = [this] { b.due = now; };
    b.act = [this] { a.due = now; };
    loop.Add(a);
    loop.Add(b);
    ready = {10};

    EXPECT_EQ(Round(), "a b ");
}

TEST_F(EventLoopTest, PassesTheTimeThatItIsAtThePartsTurn) {
    a.always = b.always = true;
    a.act = [this] { now += milliseconds(5); };
    loop.Add(a);
    loop.Add(b);

    Round();

    EXPECT_EQ(a.lastRun, milliseconds(100));
    EXPECT_EQ(b.lastRun, milliseconds(105));
    EXPECT_EQ(loop.Now(), milliseconds(105));
}

TEST_F(EventLoopTest, GivesOneThatIsAlwaysReadyOneTurnARound) {
    a.descriptor = 10;
    a.due = now;
    b.descriptor = 11;
    loop.Add(a);
    loop.Add(b);
    ready = {10, 11};

    EXPECT_EQ(Round(), "a b ");
    EXPECT_EQ(Round(), "a b ");
}

TEST_F(EventLoopTest, RunsAPartOfEveryRoundAtItsPlaceWithoutWaitingLessForIt) {
    a.descriptor = 10;
    b.always = true;
    c.descriptor = 12;
    for (FakePart* part : {&a, &b, &c})
        loop.Add(*part);

    EXPECT_EQ(Round(), "b ");
    EXPECT_EQ(longest, std::nullopt);
    ready = {10, 12};
    EXPECT_EQ(Round(), "a b c ");
}

TEST_F(EventLoopTest, LetsAPartChangeWhatItWaitsFor) {
    a.descriptor = 10;
    a.act = [this] { a.descriptor = 11; };
    loop.Add(a);
    ready = {10};

    EXPECT_EQ(Round(), "a ");
    EXPECT_EQ(Round(), "");
    EXPECT_EQ(waits.at(0).fd, 11);
}

TEST_F(EventLoopTest, GivesAPartThatWasAddedInARoundItsTurnInTheNext) {
    a.descriptor = 10;
    b.always = true;
    a.act = [this] {
        loop.Add(b);
        a.act = [] {};
    };
    loop.Add(a);
    ready = {10};

    EXPECT_EQ(Round(), "a ");
    EXPECT_EQ(Round(), "a b ");
}

TEST_F(EventLoopTest, GivesAPartThatWasRemovedInARoundNoFurtherTurn) {
    for (FakePart* part : {&a, &b, &c}) {
        part->always = true;
        loop.Add(*part);
    }
    b.act = [this] {
        loop.Remove(b); // itself
        loop.Remove(c);
        loop.Remove(a); // had its turn
    };

    EXPECT_EQ(Round(), "a b ");
    EXPECT_EQ(Round(), "");
    EXPECT_EQ(waits.size(), 0U);
}

// What poll leaves in the descriptors then means nothing.
TEST_F(EventLoopTest, GoesOnAfterASignal) {
    a.descriptor = 10;
    b.due = milliseconds(100);
    c.always = true;
    for (FakePart* part : {&a, &b, &c})
        loop.Add(*part);
    ready = {10};
    error = EINTR;

    EXPECT_EQ(Round(), "b c ");
}

TEST_F(EventLoopTest, RefusesToGoOnWhenItCannotWait) {
    error = ENOMEM;
    try {
        loop.Round();
        FAIL();
    } catch (const BoardError& thrown) {
        EXPECT_STREQ(thrown.what(), "the board cannot wait for its program: Cannot allocate memory");
    }
}

// With the kernel's waiting from here on.
class EventLoopOnDescriptorsTest : public testing::Test {
protected:
    EventLoopOnDescriptorsTest() {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
        part.descriptor = reading.Get();
        loop.Add(part);
    }

    std::string Round() {
        log.clear();
        loop.Round(BoardTime::zero());
        return log;
    }

    std::string log;
    FileDescriptor reading;
    FileDescriptor writing;
    FakePart part{log, "part"};
    EventLoop loop{[] { return BoardTime::zero(); }};
};

TEST_F(EventLoopOnDescriptorsTest, FindsWhatIsReadable) {
    EXPECT_EQ(Round(), "");
    ASSERT_EQ(::write(writing.Get(), "x", 1), 1);
    EXPECT_EQ(Round(), "part ");
}

// Who has to read the end of a connection learns of it.
TEST_F(EventLoopOnDescriptorsTest, FindsWhatHasHungUp) {
    writing.Close();
    EXPECT_EQ(Round(), "part ");
}

TEST_F(EventLoopOnDescriptorsTest, FindsRoom) {
    part.descriptor = writing.Get();
    part.awaitsRoom = true;
    EXPECT_EQ(Round(), "part ");

    while (::write(writing.Get(), "x", 1) == 1) {
    }
    EXPECT_EQ(Round(), "");
}

TEST_F(EventLoopOnDescriptorsTest, WaitsUntilAPartsTime) {
    const auto begin = std::chrono::steady_clock::now();
    EventLoop timed([begin] { return std::chrono::steady_clock::now() - begin; });
    FakePart late{log, "late"};
    late.due = milliseconds(3);
    timed.Add(late);

    timed.Round();

    EXPECT_EQ(log, "late ");
    EXPECT_GE(late.lastRun, milliseconds(3));
}

} // namespace
} // namespace VelrixBoard

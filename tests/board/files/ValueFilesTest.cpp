// SPDX-License-Identifier: Apache-2.0
#include "board/files/ValueFiles.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* OUTPUT = "OXBO_RESET1_N";
constexpr const char* INPUT = "OXBO_MOD_1";
constexpr const char* LED = "MS.red";

class ValueFilesTest : public testing::Test {
protected:
    ValueFiles::Number File(const std::string& signal) const { return *files.Tree().FileOf(FindSignal(state, signal)); }

    // Logs answers: "0", "1", or the error's name.
    ValueFiles::Answer Keep() {
        return [this](int error, bool level) {
            answers += (error != 0 ? strerrorname_np(error) : level ? "1" : "0") + std::string(" ");
        };
    }
    ValueFiles::Ticket Read(const std::string& signal) { return files.Read(File(signal), Keep()); }
    ValueFiles::Ticket Write(const std::string& signal, const std::string& text) {
        return files.Write(File(signal), text, Keep());
    }

    BoardTime now{};
    BoardModel model;
    BoardState state{model};
    ValueFiles files{state, [this] { return now; }, {}};
    std::string answers;
};

TEST_F(ValueFilesTest, ReadsAndWritesLevels) {
    EXPECT_EQ(Read(OUTPUT), 0u);
    Write(OUTPUT, "0x10\n");
    Read(OUTPUT);
    Write(LED, "0x10\n"); // only decimal numbers
    Write(LED, "7");
    Read(LED);
    Write(OUTPUT, "99999999999");

    EXPECT_EQ(answers, "0 1 1 EINVAL 1 1 ERANGE ");
    EXPECT_TRUE(state.Level(FindSignal(state, OUTPUT)));
}

TEST_F(ValueFilesTest, TakesOnePageOfAWrite) {
    std::string text(ValueFiles::PAGE, '\0');
    text[0] = '1';
    text.append("x");
    Write(LED, text);
    // The bytes after the page would make it invalid.
    text.assign(ValueFiles::PAGE, '0');
    text.append("junk");
    Write(LED, text);

    EXPECT_EQ(answers, "1 0 ");
}

TEST_F(ValueFilesTest, OpensWhatMayBeOpened) {
    const struct {
        const char* signal;
        std::optional<Fault> fault;
        int reading;
        int writing;
    } rows[] = {{OUTPUT, {}, 0, 0},
                {INPUT, {}, 0, EACCES},
                {OUTPUT, Fault{Fault::Kind::MISSING}, ENOENT, ENOENT},
                {OUTPUT, Fault{Fault::Kind::NO_ACCESS}, EACCES, EACCES},
                {OUTPUT, Fault{Fault::Kind::IO_ERROR}, 0, 0}};
    for (const auto& row : rows) {
        files.SetFault(FindSignal(state, row.signal), row.fault);

        EXPECT_EQ(files.OpenError(File(row.signal), false), row.reading) << row.signal;
        EXPECT_EQ(files.OpenError(File(row.signal), true), row.writing) << row.signal;
        files.SetFault(FindSignal(state, row.signal), {});
    }
}

TEST_F(ValueFilesTest, AnswersAsTheFaultSays) {
    const struct {
        Fault::Kind kind;
        const char* answers; // to a read and a write
    } rows[] = {{Fault::Kind::IO_ERROR, "EIO EIO "},
                {Fault::Kind::NO_SPACE, "0 ENOSPC "},
                {Fault::Kind::NO_ACCESS, "EACCES EACCES "},
                {Fault::Kind::MISSING, "ENODEV ENODEV "}};
    for (const auto& row : rows) {
        answers.clear();
        files.SetFault(FindSignal(state, LED), Fault{row.kind});

        Read(LED);
        Write(LED, "1");

        EXPECT_EQ(answers, row.answers);
        EXPECT_FALSE(state.Level(FindSignal(state, LED)));
    }
}

TEST_F(ValueFilesTest, AnswersForASlowFileWhenItsTimeHasCome) {
    files.SetFault(FindSignal(state, LED), Fault{Fault::Kind::SLOW, 10ms});
    now = 5ms;

    EXPECT_NE(Write(LED, "1"), 0u);
    Write(OUTPUT, "1");

    EXPECT_EQ(answers, "1 ");
    EXPECT_EQ(files.Due(), 15ms);
    files.Run(15ms - 1ns);
    EXPECT_FALSE(state.Level(FindSignal(state, LED)));
    files.Run(15ms);
    EXPECT_EQ(answers, "1 1 ");
    EXPECT_EQ(files.Due(), std::nullopt);
}

TEST_F(ValueFilesTest, InterruptsAndDropsRequestsToASlowFile) {
    files.SetFault(FindSignal(state, LED), Fault{Fault::Kind::SLOW, 10ms});
    const ValueFiles::Ticket interrupted = Write(LED, "1"), dropped = Write(LED, "1");
    Read(LED);

    files.Interrupt(interrupted);
    files.Drop(dropped);
    files.Interrupt(dropped);
    files.Interrupt(0);
    EXPECT_LE(files.Due(), 0ms);
    files.Run(0ms);

    EXPECT_EQ(answers, "EINTR ");
    files.Run(10ms);
    EXPECT_EQ(answers, "EINTR 0 ");
}

TEST_F(ValueFilesTest, AnswersMayAskForMore) {
    files.SetFault(FindSignal(state, LED), Fault{Fault::Kind::SLOW, 10ms});
    ValueFiles::Ticket other = 0;
    files.Read(File(LED), [&](int, bool) {
        files.Drop(other);
        Read(LED);
    });
    other = Read(LED);

    files.Run(5ms);
    now = 10ms;
    files.Run(10ms);

    // Both were due, and the one requested in between is not yet.
    EXPECT_EQ(answers, "0 ");
    EXPECT_EQ(files.Due(), 20ms);
}

TEST_F(ValueFilesTest, CountsNewLevelsOfInputsAsEvents) {
    std::vector<ValueFiles::Number> told;
    files.OnEvent([&](ValueFiles::Number file) { told.push_back(file); });
    const std::size_t input = FindSignal(state, INPUT);
    EXPECT_EQ(files.LatestEvent(File(INPUT)), 1u);

    files.DriveInput(input, true);
    files.DriveInput(input, true);
    files.DriveInput(input, false);

    EXPECT_EQ(files.LatestEvent(File(INPUT)), 3u);
    EXPECT_EQ(files.LatestEvent(File(OUTPUT)), 1u);
    EXPECT_THAT(told, testing::ElementsAre(File(INPUT), File(INPUT)));
}

TEST_F(ValueFilesTest, LeavesOutFilesFromTheStart) {
    const ValueFiles without(state, [] { return BoardTime(0); }, {"/sys/class/leds/ledGwStsRed/brightness"});

    EXPECT_TRUE(without.IsMissing(File(LED)));
    EXPECT_FALSE(without.IsMissing(File(OUTPUT)));
}

TEST_F(ValueFilesTest, RefusesFaultsThatASignalCannotHave) {
    BoardModel other;
    other.Apply("led", "module_status_red", "/dev/null");
    BoardState otherState(other);
    ValueFiles otherFiles(otherState, [] { return BoardTime(0); }, {});
    const struct {
        const char* name;
        Fault fault;
        const char* text;
    } rows[] = {{LED, {Fault::Kind::IO_ERROR}, "MS.red has no value file"},
                {"OXBO_IRQ_N", {Fault::Kind::NO_SPACE}, "OXBO_IRQ_N is an input"}};
    for (const auto& row : rows) {
        const std::size_t signal = FindSignal(otherState, row.name);
        try {
            otherFiles.SetFault(signal, row.fault);
            ADD_FAILURE() << row.name;
        } catch (const BoardError& error) {
            EXPECT_THAT(error.what(), HasSubstr(row.text));
        }
        EXPECT_EQ(otherFiles.FaultOf(signal), std::nullopt);
    }
}

} // namespace
} // namespace VelrixBoard

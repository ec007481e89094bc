// SPDX-License-Identifier: Apache-2.0
#include "board/model/BoardState.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

class RecordingObserver final : public BoardObserver {
public:
    RecordingObserver(const BoardState& boardState, std::string observerName, std::string& sharedLog)
        : state(boardState), name(std::move(observerName)), log(sharedLog) {}
    void OnChange(std::size_t signal, bool level, BoardTime time) override {
        log += name + " " + state.Name(signal) + (level ? " 1" : " 0") + (state.Level(signal) == level ? "" : "?") +
               " at " + std::to_string(time.count()) + "\n";
    }

private:
    const BoardState& state;
    std::string name;
    std::string& log;
};

TEST(BoardStateTest, BeginsWithTheModelsLevelsAndDarkLeds) {
    BoardModel model;
    model.SetInitialLevel("OXBO_MOD_1", true);

    const BoardState state(model);

    std::string high;
    for (std::size_t i = 0; i < state.Count(); ++i)
        high += state.Level(i) ? state.Name(i) + " " : "";
    EXPECT_EQ(high, "OXBO_IRQ_N OXBO_MOD_1 QOR_DPRAM_BUSY_N QOR_DPRAM_IRQ_N ");
    EXPECT_EQ(state.Count(), 17U);
}

TEST(BoardStateTest, NumbersLinesFirstAndLedElementsNext) {
    const BoardModel model;
    const BoardState state(model);

    EXPECT_EQ(state.Name(8), "QOR_RESET0_N");
    EXPECT_EQ(state.Path(8), "/var/dev/gpio-outputs/qorResetN/value");
    EXPECT_EQ(state.Name(9), "MS.green");
    EXPECT_EQ(state.Path(16), "/sys/class/leds/ledLinkAct2Yel/brightness");
    EXPECT_TRUE(state.IsInput(0));
    EXPECT_FALSE(state.IsInput(3));
    EXPECT_FALSE(state.IsInput(9));
}

TEST(BoardStateTest, TellsObserversInOrderOfNewLevelsOnly) {
    const BoardModel model;
    BoardState state(model);
    std::string log;
    RecordingObserver first(state, "first", log), second(state, "second", log);
    state.Add(first);
    state.Add(second);

    state.Set(9, true, 7ns);
    state.Set(9, true, 8ns);
    state.Set(0, false, 9ns);
    state.Set(9, false, 10ns);

    EXPECT_EQ(log, "first MS.green 1 at 7\nsecond MS.green 1 at 7\n"
                   "first OXBO_IRQ_N 0 at 9\nsecond OXBO_IRQ_N 0 at 9\n"
                   "first MS.green 0 at 10\nsecond MS.green 0 at 10\n");
}

TEST(BoardStateTest, TellsACauseToAllObserversBeforeItsEffect) {
    struct Module final : BoardObserver {
        explicit Module(BoardState& boardState) : state(boardState) {}
        void OnChange(std::size_t signal, bool level, BoardTime) override {
            if (signal == 4 && !level)
                state.Set(0, true, 2ns);
        }
        BoardState& state;
    };
    BoardModel model;
    model.SetInitialLevel("OXBO_IRQ_N", false);
    BoardState state(model);
    state.Set(4, true, 0ns);
    std::string log;
    RecordingObserver first(state, "first", log), second(state, "second", log);
    Module module(state);
    state.Add(first);
    state.Add(module);
    state.Add(second);

    state.Set(4, false, 1ns);
    state.Set(4, true, 3ns);

    EXPECT_EQ(log, "first OXBO_RESET1_N 0 at 1\nsecond OXBO_RESET1_N 0 at 1\n"
                   "first OXBO_IRQ_N 1 at 2\nsecond OXBO_IRQ_N 1 at 2\n"
                   "first OXBO_RESET1_N 1 at 3\nsecond OXBO_RESET1_N 1 at 3\n");
}

TEST(BoardStateTest, TellsEveryWriteAndItsChange) {
    struct Writes final : BoardObserver {
        void OnWrite(std::size_t signal, bool level, BoardTime time) override {
            log += "write " + std::to_string(signal) + (level ? " 1" : " 0") + " at " + std::to_string(time.count()) +
                   "\n";
        }
        void OnChange(std::size_t signal, bool level, BoardTime) override {
            log += "change " + std::to_string(signal) + (level ? " 1\n" : " 0\n");
        }
        std::string log;
    };
    const BoardModel model;
    BoardState state(model);
    Writes observer;
    state.Add(observer);

    state.Write(9, false, 1ns);
    state.Write(9, true, 2ns);
    state.Write(9, true, 3ns);

    EXPECT_EQ(observer.log, "write 9 0 at 1\nwrite 9 1 at 2\nchange 9 1\nwrite 9 1 at 3\n");
}

TEST(BoardStateTest, FindsSignalsByTheirNames) {
    const BoardModel model;
    const BoardState state(model);

    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        EXPECT_EQ(state.Find(state.Name(signal)), signal);
    for (const char* name : {"", "MS", "MS.yellow", "oxbo_rl", "OXBO_RL "})
        EXPECT_EQ(state.Find(name), std::nullopt) << name;
}

TEST(BoardStateTest, NamesTheColourOfAnLed) {
    const BoardModel model;
    BoardState state(model);
    const struct {
        std::vector<std::size_t> lit;
        const char* led;
        const char* color;
    } rows[] = {{{}, "MS", "off"},      {{9}, "MS", "green"},         {{10}, "MS", "red"}, {{9, 10}, "MS", "green+red"},
                {{9, 10}, "NS", "off"}, {{14}, "LINK_ACT1", "yellow"}};
    for (const auto& row : rows) {
        for (std::size_t i = 9; i < state.Count(); ++i)
            state.Set(i, std::find(row.lit.begin(), row.lit.end(), i) != row.lit.end(), 0us);

        EXPECT_EQ(state.LedColor(row.led), row.color);
    }
}

} // namespace
} // namespace VelrixBoard

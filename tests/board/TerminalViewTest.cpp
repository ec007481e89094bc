// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TerminalView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class TerminalViewTest : public testing::Test {
protected:
    TerminalView& Make(TerminalView::Style style, int columns = 200) {
        view.emplace(state, style, columns, [this](std::string_view text) { written += text; });
        state.Add(*view);
        return *view;
    }
    std::string Written() { return std::exchange(written, ""); }

    BoardModel model;
    BoardState state{model};
    std::optional<TerminalView> view;
    std::string written;
    static constexpr std::size_t MS_GREEN = 9, MS_RED = 10;
};

TEST_F(TerminalViewTest, PrintsALineForEachThingThatChanged) {
    Make(TerminalView::Style::LINES);

    state.Set(MS_GREEN, true, 512ms);
    state.Set(4, true, 512ms);
    state.Set(0, false, 512ms);
    view->OnSettled(512ms);
    view->OnSettled(513ms);
    view->OnWebLog(">start", 1600ms);
    view->OnReboot("/sbin/reboot -f", 12s);
    view->Finish(13s);

    EXPECT_EQ(written, "   0.512 s  MS green\n   0.512 s  OXBO_IRQ_N low\n   0.512 s  OXBO_RESET1_N high\n"
                       "   1.600 s  web log >start\n  12.000 s  reboot called: /sbin/reboot -f\n");
}

TEST_F(TerminalViewTest, DoesNotShowWhatLastedForAnInstantOnly) {
    Make(TerminalView::Style::LINES);
    state.Set(MS_GREEN, true, 1ms);
    view->OnSettled(1ms);
    Written();

    state.Set(MS_RED, true, 2ms);
    state.Set(MS_GREEN, false, 2ms);
    view->OnSettled(2ms);

    EXPECT_EQ(written, "   0.002 s  MS red\n");
}

TEST_F(TerminalViewTest, DrawsABlockInColourAndRedrawsItInPlace) {
    Make(TerminalView::Style::BLOCK);

    view->OnSettled(0ms);
    const std::string dark = "\033[2m\u25CF off\033[0m   ";
    EXPECT_EQ(Written(), "   0.000 s  MS " + dark + "NS " + dark + "LINK_ACT1 " + dark + "LINK_ACT2 " + dark +
                             "\n  outputs   OXBO_RL \033[1m0\033[0m  OXBO_RESET1_N \033[1m0\033[0m  QOR_BL_N "
                             "\033[1m0\033[0m  QOR_RESET0_N \033[1m0\033[0m  \n"
                             "  inputs    OXBO_IRQ_N \033[1m1\033[0m  OXBO_MOD_ID0_SYNC \033[1m0\033[0m  OXBO_MOD_1 "
                             "\033[1m0\033[0m  QOR_DPRAM_BUSY_N \033[1m1\033[0m  QOR_DPRAM_IRQ_N \033[1m1\033[0m  \n");
    view->OnSettled(1ms);
    EXPECT_EQ(Written(), "");

    state.Set(MS_RED, true, 2ms);
    view->OnSettled(2ms);
    EXPECT_THAT(written, StartsWith("\033[3A\r\033[J   0.002 s  MS \033[1;31m\u25CF red\033[0m   NS "));
    Written();

    view->OnWebLog("+hello", 3ms);
    view->OnSettled(3ms);
    EXPECT_THAT(Written(), HasSubstr("  web log   +hello\n"));
    state.Set(14, true, 4ms);
    view->OnSettled(4ms);
    EXPECT_THAT(written, StartsWith("\033[4A"));
    EXPECT_THAT(written, HasSubstr("LINK_ACT1 \033[1;33m\u25CF yellow\033[0m"));
    Written();
    state.Set(11, true, 5ms);
    view->OnSettled(5ms);
    EXPECT_THAT(written, HasSubstr("NS \033[1;32m\u25CF green\033[0m"));
}

TEST_F(TerminalViewTest, ShowsTheEndOfTheWebLogOnly) {
    Make(TerminalView::Style::BLOCK);
    for (const char* record : {"a1", "a2", "a3", "a4", "a5"})
        view->OnWebLog(record, 1ms);
    view->OnReboot("/sbin/reboot", 1ms);

    view->OnSettled(1ms);

    EXPECT_THAT(written, Not(HasSubstr("a2\n")));
    EXPECT_THAT(written, HasSubstr("web log   a3\n  web log   a4\n  web log   a5\n  reboot called: /sbin/reboot\n"));
}

TEST_F(TerminalViewTest, KeepsTheBlockWithinTheWidth) {
    Make(TerminalView::Style::BLOCK, 16);
    view->OnWebLog("\u00E4\u00E4\tlong", 0ms);

    view->OnSettled(0ms);

    EXPECT_THAT(written, StartsWith("   0.000 s  MS \033[2m\u25CF\033[0m"));
    EXPECT_THAT(written, HasSubstr("\n  outputs   OXBO\n"));
    EXPECT_THAT(written, HasSubstr("\n  web log   \u00E4\u00E4 l\n"));
}

TEST_F(TerminalViewTest, PutsTheProgramsOutputAboveTheBlock) {
    Make(TerminalView::Style::BLOCK);
    view->OnSettled(7ms);
    Written();

    view->Print("par");
    EXPECT_EQ(Written(), "");
    view->Print("tial\nnext\nrest");
    EXPECT_THAT(Written(), StartsWith("\033[3A\r\033[Jpartial\nnext\n   0.007 s  MS "));
    view->Finish(9ms);
    EXPECT_THAT(written, StartsWith("\033[3A\r\033[Jrest\n   0.007 s  MS "));
    EXPECT_THAT(written, HasSubstr("\033[3A\r\033[J   0.009 s  MS "));
}

} // namespace
} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/views/TerminalView.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/panel/FakeControl.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A model of a terminal that rewraps its rows when its width changes.
class WrappingScreen final {
public:
    int columns = 0;

    // Handles text and the view's escape sequences: colours, and erasing rows above the cursor.
    void Write(std::string_view text) {
        for (; !text.empty(); text.remove_prefix(1)) {
            if (text.starts_with("\033[")) {
                const std::size_t end = text.find_first_not_of("0123456789;", 2);
                if (text[end] == 'A')
                    EraseRows(std::stoi(std::string(text.substr(2, end - 2))));
                text.remove_prefix(end);
            } else if (text[0] == '\n') {
                lines.emplace_back();
            } else if (text[0] != '\r' && (text[0] & 0xC0) != 0x80) {
                lines.back() += text[0];
            }
        }
    }

    std::string Text() const {
        std::string text;
        for (const std::string& line : lines)
            text += (&line == &lines.front() ? "" : "\n") + line;
        return text;
    }

private:
    // Up from the cursor, which is in an empty row.
    void EraseRows(int count) {
        lines.pop_back();
        const auto width = static_cast<std::size_t>(columns);
        for (; count > 0 && !lines.empty(); --count)
            if (lines.back().size() > width)
                lines.back().resize((lines.back().size() - 1) / width * width);
            else
                lines.pop_back();
        lines.emplace_back();
    }

    std::vector<std::string> lines{""}; // unwrapped, one byte for a column
};

// Accepts text at once, or blocks until it is read.
class FakeOutput final : public ITextOutput {
public:
    std::string text;
    bool isRead = true;

    void Write(std::string_view part) override { text += part; }
    bool IsWritten() const override { return isRead; }
};

class TerminalViewTest : public testing::Test {
protected:
    TerminalView& Make(TerminalView::Style style, TerminalView::Size initialSize = {200, 24}) {
        size = initialSize;
        view.emplace(
            state, control, style, [this] { return size; }, output);
        state.Add(*view);
        return *view;
    }
    std::string Written() { return std::exchange(output.text, ""); }

    BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    TerminalView::Size size{};
    FakeOutput output;
    std::string& written = output.text;
    std::optional<TerminalView> view;
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
    view->OnSyslog("<11>Nov 21 10:00:00 gateway[7]: too hot", 12s);
    control.SetFault(MS_RED, ParseFault("EIO"));
    view->OnFault(MS_RED, 12s);
    control.SetFault(MS_RED, {});
    view->OnFault(MS_RED, 12s);
    view->OnModule(12s);
    view->Finish(13s);

    EXPECT_EQ(written, "   0.512 s  MS green\n   0.512 s  OXBO_RESET1_N high\n   0.512 s  OXBO_IRQ_N low\n"
                       "   1.600 s  web log >start\n  12.000 s  reboot called: /sbin/reboot -f\n"
                       "  12.000 s  trace error gateway: too hot\n"
                       "  12.000 s  fault MS.red EIO\n  12.000 s  fault MS.red none\n");
}

TEST_F(TerminalViewTest, SaysHowFastTheBoardsTimePasses) {
    BoardTime machine{0};
    Make(TerminalView::Style::PLAIN_BLOCK).ShowPace([&machine] { return machine; });

    view->OnSettled(1s);
    EXPECT_THAT(written, HasSubstr("1.000 s  MS"));
    machine += 1s;
    state.Set(4, true, 5s);
    view->OnSettled(5s);
    EXPECT_THAT(written, HasSubstr("5.000 s  5.0x   MS"));
}

TEST_F(TerminalViewTest, PrintsEveryChangeInItsOrder) {
    Make(TerminalView::Style::LINES);

    view->OnWebLog("before", 1ms);
    for (int i = 0; i < 3; ++i)
        state.Set(4, i % 2 == 0, 2ms + i * 15us);
    state.Set(0, false, 2ms);
    state.Set(MS_GREEN, true, 3ms);
    state.Set(4, false, 3ms);
    view->OnSettled(4ms);
    EXPECT_EQ(Written(), "   0.001 s  web log before\n"
                         "   0.002 s  OXBO_RESET1_N high\n   0.002 s  OXBO_RESET1_N low\n"
                         "   0.002 s  OXBO_RESET1_N high\n   0.002 s  OXBO_IRQ_N low\n");
    EXPECT_EQ(view->Due(), 8ms);

    view->OnSettled(8ms);
    EXPECT_EQ(Written(), "   0.003 s  MS green\n   0.003 s  OXBO_RESET1_N low\n");
    state.Set(MS_GREEN, false, 9ms);
    view->Finish(10ms);
    EXPECT_EQ(written, "   0.009 s  MS off\n");
}

TEST_F(TerminalViewTest, DoesNotDrawColorsThatLastedForAnInstantOnly) {
    Make(TerminalView::Style::BLOCK);
    view->OnSettled(0ms);
    Written();

    state.Set(MS_GREEN, true, 1ms);
    view->OnSettled(1ms);
    EXPECT_EQ(view->Due(), 6ms);
    state.Set(MS_GREEN, false, 2ms);
    view->OnSettled(8ms);

    EXPECT_EQ(Written(), "");
    EXPECT_EQ(view->Due(), std::nullopt);
}

TEST_F(TerminalViewTest, DrawsABlockInColourAndRedrawsItInPlace) {
    Make(TerminalView::Style::BLOCK);

    view->OnSettled(0ms);
    const std::string dark = "\033[2m\u25CF off\033[0m   ";
    EXPECT_EQ(Written(), "   0.000 s  MS " + dark + "NS " + dark + "LINK_ACT1 " + dark + "LINK_ACT2 " +
                             dark.substr(0, dark.size() - 3) +
                             "\n  outputs   OXBO_RL \033[1mlow\033[0m  OXBO_RESET1_N \033[1mlow\033[0m  QOR_BL_N "
                             "\033[1mlow\033[0m  QOR_RESET0_N \033[1mlow\033[0m\n"
                             "  inputs    OXBO_IRQ_N \033[1mhigh\033[0m  OXBO_MOD_ID0_SYNC \033[1mlow\033[0m  "
                             "OXBO_MOD_1 \033[1mlow\033[0m  QOR_DPRAM_BUSY_N \033[1mhigh\033[0m  QOR_DPRAM_IRQ_N "
                             "\033[1mhigh\033[0m\n"
                             "  module    \033[1mheld in reset\033[0m\n");
    view->OnSettled(1ms);
    EXPECT_EQ(Written(), "");

    state.Set(MS_RED, true, 2ms);
    view->OnSettled(2ms);
    EXPECT_EQ(Written(), "");
    view->OnSettled(7ms);
    EXPECT_THAT(written, StartsWith("\033[4A\r\033[J   0.007 s  MS \033[1;31m\u25CF red\033[0m   NS "));
    Written();

    view->OnWebLog("+hello", 8ms);
    view->OnSettled(8ms);
    EXPECT_THAT(Written(), HasSubstr("  web log   hello\n"));
    state.Set(14, true, 10ms);
    view->OnSettled(15ms);
    EXPECT_THAT(written, StartsWith("\033[5A"));
    EXPECT_THAT(written, HasSubstr("LINK_ACT1 \033[1;33m\u25CF yellow\033[0m"));
    Written();
    state.Set(11, true, 20ms);
    view->OnSettled(25ms);
    EXPECT_THAT(written, HasSubstr("NS \033[1;32m\u25CF green\033[0m"));
}

TEST_F(TerminalViewTest, DrawsABlockWithoutColours) {
    Make(TerminalView::Style::PLAIN_BLOCK);
    state.Set(MS_RED, true, 1ms);
    view->OnWebLog("@whot", 2ms);

    view->OnSettled(10ms);

    EXPECT_THAT(written, StartsWith("   0.010 s  MS \u25CF red   NS \u25CF off   "));
    EXPECT_THAT(written, testing::EndsWith("  module    held in reset\n  web log   Warning: hot\n"));
    EXPECT_THAT(written, Not(HasSubstr("\033")));
}

TEST_F(TerminalViewTest, ShowsTheEndOfTheLogsInTheOrderOfTheirRecords) {
    Make(TerminalView::Style::BLOCK);
    for (const char* record : {"a1", "a2", "@whot", "@ehotter", ">end", ">br"})
        view->OnWebLog(record, 1ms);
    view->OnSyslog("<12>gateway: warm", 1ms);
    view->OnReboot("/sbin/reboot", 1ms);

    view->OnSettled(1ms);

    EXPECT_THAT(written, Not(HasSubstr("a1")));
    EXPECT_THAT(written, HasSubstr("\n  web log   a2\n"
                                   "  web log   \033[1;33mWarning: hot\033[0m\n"
                                   "  web log   \033[1;31mError: hotter\033[0m\n"
                                   "  web log   \033[2mOperation ended\033[0m\n"
                                   "  trace     \033[1;33mwarning gateway: warm\033[0m\n"
                                   "  reboot    \033[1;33mcalled: /sbin/reboot\033[0m\n"));
}

TEST_F(TerminalViewTest, MovesAProgressBarInItsRow) {
    Make(TerminalView::Style::BLOCK);
    view->OnWebLog("%Loading", 1ms);
    view->OnWebLog("note", 1ms);
    view->OnWebLog("%25", 1ms);
    view->OnSettled(1ms);
    EXPECT_THAT(Written(), testing::EndsWith("\n  web log   Loading \u2588\u2588\u2588\u2588\u2588"
                                             "\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591"
                                             "\u2591\u2591\u2591\u2591\u2591 25 %\n  web log   note\n"));

    for (int i = 0; i < 6; ++i)
        view->OnWebLog("note", 1ms);
    view->OnWebLog("%100", 2ms);
    view->OnSettled(2ms);

    EXPECT_THAT(Written(), testing::EndsWith("\u2588 100 %\n"));
}

TEST_F(TerminalViewTest, ShowsThatTheProgramRunsAnew) {
    Make(TerminalView::Style::BLOCK);
    view->OnProgramStarted(1ms);
    view->OnWebLog("%40", 2ms);
    view->OnProgramStarted(3ms);
    view->OnWebLog("%60", 4ms);
    view->OnSettled(4ms);

    EXPECT_THAT(written, testing::ContainsRegex(" 40 %\n  board     came up again: run 2\n.*60 %\n"));
}

TEST_F(TerminalViewTest, PrintsThatTheProgramRunsAnew) {
    Make(TerminalView::Style::LINES);
    view->OnProgramStarted(1ms);
    view->OnProgramStarted(3ms);
    view->OnSettled(4ms);

    EXPECT_EQ(written, "   0.003 s  board came up again: run 2\n");
}

TEST_F(TerminalViewTest, ShowsTheModuleAndTheFaults) {
    Make(TerminalView::Style::BLOCK);
    const auto shown = [this] {
        view->OnModule(1ms);
        view->OnSettled(1ms);
        return Written();
    };
    control.module = {false, false, true, 5ms};
    EXPECT_THAT(shown(), HasSubstr("  module    \033[1mstarting\033[0m\n"));
    control.module = {false, true, true, {}};
    EXPECT_THAT(shown(), HasSubstr("  module    \033[1mready\033[0m\n"));
    control.module = {false, false, true, {}};
    EXPECT_THAT(shown(), HasSubstr("  module    \033[1mnever ready\033[0m\n"));

    control.SetFault(0, ParseFault("slow:2s"));
    control.SetFault(MS_RED, ParseFault("EIO"));
    view->OnFault(MS_RED, 2ms);
    view->OnSettled(2ms);

    EXPECT_THAT(written, HasSubstr("never ready\033[0m   faults  \033[1;31mOXBO_IRQ_N slow:2s\033[0m  "
                                   "\033[1;31mMS.red EIO\033[0m\n"));
}

TEST_F(TerminalViewTest, KeepsTheBlockWithinTheTerminal) {
    Make(TerminalView::Style::BLOCK, {16, 24});
    view->OnWebLog("\u00E4\u00E4\tlong", 0ms);
    view->OnWebLog("next", 0ms);

    view->OnSettled(0ms);

    EXPECT_THAT(written, StartsWith("   0.000 s  MS \u2026\n"));
    EXPECT_THAT(written, HasSubstr("\n  outputs   OXB\u2026\n"));
    EXPECT_THAT(written, HasSubstr("\n  web log   \u00E4\u00E4 \u2026\n"));
    Written();

    size = {20, 6};
    view->OnModule(1ms);
    view->OnSettled(1ms);
    EXPECT_THAT(written, HasSubstr("\n  outputs   OXBO_RL\u2026\n"));
    EXPECT_THAT(written, testing::EndsWith("\n  module    \033[1mheld in\033[0m\u2026\n  web log   next\n"));
    EXPECT_THAT(written, Not(HasSubstr("\u00E4")));
}

TEST_F(TerminalViewTest, NeverObeysWhatTheProgramRecorded) {
    using namespace std::string_view_literals;
    const std::string_view record = "+20 \xB0\0C\t\x1B[2J"sv;
    Make(TerminalView::Style::LINES);
    view->OnWebLog(record, 1ms);
    view->OnSyslog("<14>two\nlines", 1ms);
    view->OnReboot("/sbin/reboot \x1B", 1ms);
    view->OnSettled(1ms);
    EXPECT_EQ(Written(), "   0.001 s  web log +20 \\xB0\\x00C\t\\x1B[2J\n   0.001 s  trace info two\\nlines\n"
                         "   0.001 s  reboot called: /sbin/reboot \\x1B\n");

    Make(TerminalView::Style::BLOCK);
    view->OnWebLog(record, 1ms);
    view->OnSettled(1ms);

    EXPECT_THAT(written, HasSubstr("  web log   20 \\xB0\\x00C \\x1B[2J\n"));
}

TEST_F(TerminalViewTest, FollowsTheTerminalsSize) {
    Make(TerminalView::Style::BLOCK);
    view->OnSettled(0ms);
    Written();

    size = {16, 24};
    view->OnResize(1ms);

    // The rows are 67, 74, 111 and 25 columns long.
    EXPECT_THAT(written, StartsWith("\033[19A\r\033[J   0.001 s  MS "));
    EXPECT_THAT(written, HasSubstr("\n  outputs   OXB\u2026\n"));
}

TEST_F(TerminalViewTest, LeavesNothingBehindOnATerminalThatWrapsItsRowsAnew) {
    WrappingScreen screen;
    const auto resize = [&](int columns) { size.columns = screen.columns = columns; };
    const auto fresh = [&] {
        FakeOutput drawing;
        TerminalView other(
            state, control, TerminalView::Style::BLOCK, [&] { return size; }, drawing);
        other.OnSettled(1ms);
        WrappingScreen drawn;
        drawn.Write(drawing.text);
        return drawn.Text();
    };
    Make(TerminalView::Style::BLOCK, {110, 24});
    resize(110);
    std::string printed = "printed by the program, and longer than the terminal will be\n";
    view->OnSettled(1ms);
    view->Print(printed);
    screen.Write(Written());
    ASSERT_EQ(screen.Text(), printed + fresh());

    for (const int columns : {60, 40, 110, 98, 97, 16, 200}) {
        resize(columns);
        view->OnResize(1ms);
        screen.Write(Written());
        EXPECT_EQ(screen.Text(), printed + fresh()) << columns;
    }
    // Narrower twice before the board notices it, when the program prints.
    resize(60);
    resize(50);
    view->Print("next\n");
    printed += "next\n";
    screen.Write(Written());
    EXPECT_EQ(screen.Text(), printed + fresh());
}

TEST_F(TerminalViewTest, PrintsNothingAboutTheSizeWhereLinesArePrinted) {
    Make(TerminalView::Style::LINES);

    view->OnResize(1ms);

    EXPECT_EQ(written, "");
}

TEST_F(TerminalViewTest, PutsTheProgramsOutputAboveTheBlock) {
    Make(TerminalView::Style::BLOCK);
    view->OnSettled(7ms);
    Written();

    view->Print("one\nnext\n");

    EXPECT_THAT(Written(), StartsWith("\033[4A\r\033[Jone\nnext\n   0.007 s  MS "));
    view->Finish(9ms);
    EXPECT_THAT(written, StartsWith("\033[4A\r\033[J   0.009 s  MS "));
}

TEST_F(TerminalViewTest, ShowsALineThatComesInParts) {
    Make(TerminalView::Style::BLOCK, {10, 24});
    view->OnSettled(7ms);
    Written();
    const struct {
        const char* printed;
        const char* drawn; // before the block, whose rows are erased from below
    } rows[] = {
        {"par", "par\n"},
        {"tial", "\033[A\033[3Ctial\n"},
        {"\r50 %", "\033[A\033[7C\r50 %\n"},
        {" to the", "\033[A\033[4C to the\n"},
        {"end\nnext", "\033[A\033[1Cend\nnext\n"},
        {" row\n", "\033[A\033[4C row\n"},
        {"0123456789", "0123456789\n"},
        {"abc", "abc\n"}, // the row above is full
        {"\n", "\033[A\033[3C\n"},
        {"\xC3", nullptr},
        {"\xA4\033[3", "\xC3\xA4\n"},
        {"1mred\n", "\033[A\033[1C\033[31mred\n"},
    };
    for (const auto& row : rows) {
        view->Print(row.printed);

        const std::string drawing = Written();
        EXPECT_EQ(drawing.substr(0, drawing.find("   0.007 ")),
                  row.drawn == nullptr ? "" : "\033[4A\r\033[J" + std::string(row.drawn))
            << row.printed;
    }
}

TEST_F(TerminalViewTest, KeepsRoomForALineThatIsNotEnded) {
    Make(TerminalView::Style::BLOCK, {200, 7});
    view->OnWebLog("a1", 1ms);
    view->OnWebLog("a2", 1ms);
    view->OnSettled(1ms);
    EXPECT_THAT(Written(), HasSubstr("a1"));

    view->Print("waits");

    EXPECT_THAT(written, testing::AllOf(Not(HasSubstr("a1")), HasSubstr("a2")));
}

TEST_F(TerminalViewTest, ShowsTheLatestPictureAloneOnATerminalThatWasNotRead) {
    Make(TerminalView::Style::BLOCK);
    output.isRead = false;
    for (int i = 0; i < 1000; ++i) {
        state.Set(MS_RED, i % 2 == 0, 10ms * i);
        view->OnSettled(10ms * i);
        view->OnResize(10ms * i);
    }
    state.Set(MS_GREEN, true, 20s);
    view->OnSettled(21s);
    EXPECT_EQ(Written(), "");
    EXPECT_EQ(view->Due(), std::nullopt);
    EXPECT_FALSE(view->TakesOutput());

    output.isRead = true;
    view->OnSettled(22s);

    EXPECT_THAT(written, StartsWith("  22.000 s  MS \033[1;32m\u25CF green"));
    EXPECT_THAT(written, Not(HasSubstr("red")));
    EXPECT_TRUE(view->TakesOutput());
}

TEST_F(TerminalViewTest, SaysWhatTheBoardHasToSayAboveTheBlock) {
    Make(TerminalView::Style::BLOCK);
    view->OnSettled(7ms);
    Written();
    view->Print("asks: ");
    Written();
    output.isRead = false;
    view->Say("one\n");
    view->Say("two\n");
    EXPECT_EQ(Written(), "");
    EXPECT_FALSE(view->TakesOutput());

    output.isRead = true;
    view->OnSettled(8ms);

    EXPECT_THAT(Written(), StartsWith("\033[4A\r\033[Jone\ntwo\n   0.008 s"));
    EXPECT_TRUE(view->TakesOutput());
    // A message of the board ended the line.
    view->Print("answer\n");
    EXPECT_THAT(written, StartsWith("\033[4A\r\033[Janswer\n   "));
}

TEST_F(TerminalViewTest, BoundsWhatTheBoardSaysToATerminalThatIsNotRead) {
    Make(TerminalView::Style::BLOCK);
    output.isRead = false;
    const std::string line = std::string(99, 'x') + "\n";
    for (std::size_t i = 0; i < TerminalView::MOST_SAID / line.size() + 5; ++i)
        view->Say(line);
    output.isRead = true;

    view->OnSettled(8ms);
    const std::string drawing = Written();
    EXPECT_EQ(std::count(drawing.begin(), drawing.end(), 'x') / 99, TerminalView::MOST_SAID / line.size());
    view->OnSettled(9ms);

    EXPECT_THAT(written, HasSubstr("velrix-board: 5 lines are left out here, which nobody read in time\n"));
}

} // namespace
} // namespace VelrixBoard

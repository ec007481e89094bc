// SPDX-License-Identifier: Apache-2.0
// The command by its arguments, in a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/timeline/VcdWriter.h"
#include "tests/board/CommandRun.h"

namespace VelrixBoard {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using testing::HasSubstr;

class DiffCommandTest : public testing::Test {
protected:
    // A recording of one LED element that goes on and off.
    std::string Recording(const std::string& name, microseconds on, microseconds off) const {
        VcdWriter writer(folder.Path(name), {{"MS.red", false, {}}});
        writer.Write(0, true, on);
        writer.Write(0, false, off);
        writer.Finish(milliseconds(900));
        return folder.Path(name);
    }

    static CommandEnd Diff(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {VELRIX_BOARD_COMMAND, "diff"});
        return CommandRun{std::move(arguments)}.Run();
    }

    const TestSupport::TemporaryFolder folder;
};

TEST_F(DiffCommandTest, SaysInWordsWhatIsOtherwise) {
    const std::string a = Recording("a.vcd", milliseconds(100), milliseconds(600));
    const std::string b = Recording("b.vcd", milliseconds(138), milliseconds(590));

    const CommandEnd end = Diff({a, b});

    EXPECT_EQ(end.output, "MS red 38 ms later: 138 ms instead of 100 ms\n"
                          "MS red off 10 ms earlier: 590 ms instead of 600 ms\n");
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ(end.ExitCode(), 1);
}

TEST_F(DiffCommandTest, EndsWithZeroWhereTheRunsAgree) {
    const std::string a = Recording("a.vcd", milliseconds(100), milliseconds(600));
    const std::string b = Recording("b.vcd", milliseconds(120), milliseconds(600));
    const std::string later = Recording("later.vcd", milliseconds(300), milliseconds(800));
    const std::string dark = folder.Path("dark.vcd");
    VcdWriter(dark, {{"MS.red", false, {}}}).Finish(milliseconds(900));
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
    } rows[] = {
        {{a, a}, 0},
        {{a, b, "--tolerance", "20ms"}, 0},
        {{a, b, "--tolerance", "19.999ms"}, 1},
        {{"--tolerance", "20ms", a, b}, 0},
        {{a, later, "--from-first-change"}, 0},
        {{a, later}, 1},
        {{a, dark, "--glitch", "500ms"}, 0},
        {{a, dark, "--glitch", "499ms"}, 1},
    };
    for (const auto& row : rows) {
        const CommandEnd end = Diff(row.arguments);

        EXPECT_EQ(end.ExitCode(), row.exitCode) << testing::PrintToString(row.arguments);
        EXPECT_EQ(end.output.empty(), row.exitCode == 0) << testing::PrintToString(row.arguments);
    }
}

TEST_F(DiffCommandTest, SaysWhyItCannotCompare) {
    const std::string a = Recording("a.vcd", milliseconds(100), milliseconds(600));
    folder.Write("text.vcd", "hello\n");
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } rows[] = {
        {{a}, "B is missing: the recording to compare"},
        {{a, folder.Path("none.vcd")}, folder.Path("none.vcd")},
        {{a, folder.Path("text.vcd")}, folder.Path("text.vcd") + ":1"},
        {{a, a, "--tolerance", "20"}, "takes a time such as 500us, 20ms or 1.5s, not 20"},
        {{a, a, a}, "a.vcd\" is one too many\n"},
    };
    for (const auto& row : rows) {
        const CommandEnd end = Diff(row.arguments);

        EXPECT_EQ(end.ExitCode(), 125) << row.reason;
        EXPECT_EQ(end.output, "") << row.reason;
        EXPECT_THAT(end.errors, HasSubstr(row.reason));
    }
}

} // namespace
} // namespace VelrixBoard

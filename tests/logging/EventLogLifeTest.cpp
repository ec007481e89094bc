// SPDX-License-Identifier: Apache-2.0
// What becomes of the event log's records when a process forks, executes another program or ends; docs/tracing.md has
// the table. On a private board, whose /dev/log takes them.
#include <csignal>
#include <ostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"

namespace {

using TestSupport::PrivateBoard;

struct Way {
    const char* way;
    const char* argument;
    int exitCode;
    const char* records;
};

constexpr Way WAYS[] = {
    {"fork", "_exit", 0, "parent before\nchild\nparent after\n"},
    {"fork", "exit", 0, "parent before\nchild\nparent after\n"},
    {"exec", "", 0, "before\nafter\n"},
    {"return", "", 0, "last\n"},
    {"exit", "", 0, "last\n"},
    {"_exit", "", 0, "last\n"},
    {"abort", "", 128 + SIGABRT, "last\n"},
    {"static", "", 0, "last of main\nfrom the destructor of a static\n"},
};

std::ostream& operator<<(std::ostream& stream, const Way& way) {
    return stream << way.way << " " << way.argument;
}

class EventLogLife : public testing::TestWithParam<Way> {};

TEST_P(EventLogLife, KeepsEveryRecord) {
    const Way& way = GetParam();
    PrivateBoard board;

    const auto result = board.Run({TRACE_LIFE_PROGRAM, "log:136", way.way, way.argument});

    EXPECT_EQ(result.exitCode, way.exitCode) << result.errors;
    std::istringstream lines(board.Syslog());
    std::string records;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t text = line.find("]: ");
        records += text == std::string::npos ? "BROKEN: " + line : line.substr(text + 3);
        records += '\n';
    }
    EXPECT_EQ(records, way.records);
}

// The id is asked for with each record, not kept from the time of the fork.
TEST(EventLogLifeIds, NamesTheChildByItsOwnId) {
    PrivateBoard board;

    const auto result = board.Run({TRACE_LIFE_PROGRAM, "log:136", "fork", "_exit"});

    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::istringstream lines(board.Syslog());
    std::string ids[3];
    for (std::string& id : ids) {
        std::string line;
        std::getline(lines, line);
        const std::size_t begin = line.find('[') + 1;
        id = line.substr(begin, line.find(']') - begin);
    }
    EXPECT_NE(ids[0], "");
    EXPECT_NE(ids[1], ids[0]);
    EXPECT_EQ(ids[2], ids[0]);
}

INSTANTIATE_TEST_SUITE_P(Ways, EventLogLife, testing::ValuesIn(WAYS));

} // namespace

// SPDX-License-Identifier: Apache-2.0
// The event log's records when a process forks, executes another program or ends; docs/tracing.md has the table. On a
// private board with its /dev/log.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"
#include "tests/support/TraceLifeWays.h"

namespace {

using TestSupport::PrivateBoard;
using TestSupport::RecordTexts;
using TestSupport::TRACE_LIFE_WAYS;
using TestSupport::TraceLifeWay;

class EventLogLife : public testing::TestWithParam<TraceLifeWay> {};

TEST_P(EventLogLife, KeepsEveryRecord) {
    const TraceLifeWay& way = GetParam();
    PrivateBoard board;

    const auto result = board.Run({TRACE_LIFE_PROGRAM, "log:136", way.way, way.argument});

    EXPECT_EQ(result.exitCode, way.exitCode) << result.errors;
    EXPECT_EQ(RecordTexts(board.Syslog(), "]: "), way.records);
}

// The id is not cached across a fork.
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

INSTANTIATE_TEST_SUITE_P(Ways, EventLogLife, testing::ValuesIn(TRACE_LIFE_WAYS));

} // namespace

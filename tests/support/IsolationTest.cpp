// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Isolation.h"

#include <gtest/gtest.h>

namespace {

using Words = std::vector<std::string>;

// Each case runs in a separate process.
TEST(Isolation, IsNamedToWhatRunsAProgramOnABoard) {
    const struct {
        Words command;
        Words expected;
    } rows[] = {
        {{"/x/velrix-board", "run", "--", "a"}, {"/x/velrix-board", "run", "--isolation", "preload", "--", "a"}},
        {{"velrix-board", "record", "f", "--", "--isolation"},
         {"velrix-board", "record", "f", "--isolation", "preload", "--", "--isolation"}},
        {{"velrix-board", "run", "--isolation", "auto", "--", "a"},
         {"velrix-board", "run", "--isolation", "auto", "--", "a"}},
        {{"velrix-board", "run", "--isolation=auto", "--", "a"},
         {"velrix-board", "run", "--isolation=auto", "--", "a"}},
        {{"velrix-board", "explore", "--", "a"}, {"velrix-board", "explore", "--isolation", "preload", "--", "a"}},
        {{"velrix-board", "run"}, {"velrix-board", "run", "--isolation", "preload"}},
        {{"velrix-board", "diff", "a", "b"}, {"velrix-board", "diff", "a", "b"}},
        {{"velrix-board"}, {"velrix-board"}},
        {{"sh", "run", "--", "a"}, {"sh", "run", "--", "a"}},
        {{}, {}},
    };
    ::setenv("VELRIX_TEST_ISOLATION", "preload", 1);

    for (const auto& row : rows)
        EXPECT_EQ(TestSupport::WithIsolation(row.command), row.expected);

    EXPECT_TRUE(TestSupport::BoardsArePreloaded());
}

TEST(Isolation, IsTheBoardsOwnChoiceWhereNoneIsNamed) {
    ::unsetenv("VELRIX_TEST_ISOLATION");

    EXPECT_EQ(TestSupport::WithIsolation({"velrix-board", "run", "--", "a"}),
              (Words{"velrix-board", "run", "--", "a"}));

    EXPECT_FALSE(TestSupport::BoardsArePreloaded());
}

} // namespace

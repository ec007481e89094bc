// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/LogTail.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

TEST(LogTailTest, TellsEachLineOnceWhenItIsComplete) {
    const TestSupport::TemporaryFolder folder;
    std::string log;
    LogTail tail(folder.Path("log"), [&](std::string_view line) { log += "<" + std::string(line) + ">"; });
    const struct {
        const char* content;
        const char* told;
    } rows[] = {{"", ""},
                {">st", ""},
                {">start\n", "<>start>"},
                {">start\n", ""},
                {">start\n\n+a\n+", "<><+a>"},
                {">start\n\n+a\n+b\n", "<+b>"},
                {"new\n", "<new>"},
                {"ne", ""},
                {"new again\n", "<new again>"}};

    tail.Read();
    EXPECT_EQ(log, "");
    for (const auto& row : rows) {
        folder.Write("log", row.content);
        log.clear();

        tail.Read();

        EXPECT_EQ(log, row.told) << row.content;
    }
}

} // namespace
} // namespace VelrixBoard

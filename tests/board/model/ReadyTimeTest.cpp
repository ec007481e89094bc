// SPDX-License-Identifier: Apache-2.0
#include "board/model/OxboModule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

TEST(ReadyTimeTest, TakesEveryTimeOfWholeMilliseconds) {
    const struct {
        const char* text;
        std::optional<std::chrono::milliseconds> time;
    } rows[] = {
        {"40", 40ms},    {"0", 0ms},      {"40ms", 40ms}, {"2s", 2s},  {"0.5s", 500ms},
        {"1.5min", 90s}, {"3000us", 3ms}, {"1h", 1h},     {"2d", 48h}, {"never", std::nullopt},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ParseReadyTime(row.text), row.time) << row.text;
}

TEST(ReadyTimeTest, RefusesEverythingElse) {
    for (const std::string text :
         {"", "soon", "Never", "-5", "40 ms", "40m", "1H", "366d", "1day", "0.5", "250us", "0.0001s", "ms"}) {
        try {
            (void)ParseReadyTime(text);
            ADD_FAILURE() << text;
        } catch (const BoardError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("\"" + text + "\" is no time for the module;"));
        }
    }
}

} // namespace
} // namespace VelrixBoard

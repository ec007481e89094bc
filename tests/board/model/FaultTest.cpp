// SPDX-License-Identifier: Apache-2.0
#include "board/model/Fault.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

TEST(FaultTest, ReadsWhatItWrites) {
    const struct {
        const char* text;
        Fault fault;
        const char* written;
    } rows[] = {
        {"EIO", {Fault::Kind::IO_ERROR}, "EIO"},
        {"ENOSPC", {Fault::Kind::NO_SPACE}, "ENOSPC"},
        {"EACCES", {Fault::Kind::NO_ACCESS}, "EACCES"},
        {"missing", {Fault::Kind::MISSING}, "missing"},
        {"slow:2s", {Fault::Kind::SLOW, 2s}, "slow:2s"},
        {"slow:1ms", {Fault::Kind::SLOW, 1ms}, "slow:1ms"},
        {"slow:1500ms", {Fault::Kind::SLOW, 1500ms}, "slow:1500ms"},
        {"slow:0.5s", {Fault::Kind::SLOW, 500ms}, "slow:500ms"},
        {"slow:250us", {Fault::Kind::SLOW, 250us}, "slow:250us"},
        {"slow:1.5ms", {Fault::Kind::SLOW, 1500us}, "slow:1500us"},
        {"slow:1min", {Fault::Kind::SLOW, 60s}, "slow:60s"},
        {"slow:60min", {Fault::Kind::SLOW, 1h}, "slow:3600s"},
        {"slow:2000ms", {Fault::Kind::SLOW, 2s}, "slow:2s"},
        {"slow:3600s", {Fault::Kind::SLOW, 1h}, "slow:3600s"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ParseFault(row.text), row.fault) << row.text;
        EXPECT_EQ(ToString(row.fault), row.written);
    }
}

TEST(FaultTest, RefusesEverythingElse) {
    for (const char* text : {"",
                             "eio",
                             "EIO ",
                             "EPERM",
                             "slow",
                             "slow:",
                             "slow:2",
                             "slow:s",
                             "slow:0s",
                             "slow:0ms",
                             "slow:0.4us",
                             "slow:61min",
                             "slow:-1s",
                             "slow:+1s",
                             "slow:2m",
                             "slow:2s ",
                             "slow:3601s",
                             "slow:3600001ms",
                             "slow:99999999999s",
                             "missing:2s"}) {
        try {
            (void)ParseFault(text);
            ADD_FAILURE() << text;
        } catch (const FaultError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("\"" + std::string(text) + "\" is no fault; there are EIO,"));
        }
    }
}

} // namespace
} // namespace VelrixBoard

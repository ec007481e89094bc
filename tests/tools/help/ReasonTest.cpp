// SPDX-License-Identifier: Apache-2.0
// The messages are those of CLI11 2.1; the tests of the commands show that the installed one has no others.
#include "tools/help/Reason.h"

#include <gtest/gtest.h>

using VelrixTools::ReasonOf;

TEST(Reason, IsInTheWordsOfTheTools) {
    const struct {
        const char* kind;
        const char* message;
        const char* reason;
    } rows[] = {
        {"ArgumentMismatch", "--set: 1 required LABEL=0|1 missing", "--set takes VALUE OF --set"},
        {"ArgumentMismatch", "--name: At Most 1 required but received 2", "--name is given more than once"},
        {"ConversionError", "Could not convert: --terminal = maybe", "--terminal takes no value"},
        {"ValidationError", "--isolation: x not in {auto,preload}",
         "--isolation cannot be \"x\"; there are: auto, preload"},
        {"ValidationError", "SHELL: a: b not in {} not in {bash}",
         "SHELL cannot be \"a: b not in {}\"; there are: bash"},
        {"ValidationError", "--set: takes LABEL=0 or LABEL=1", "--set: takes LABEL=0 or LABEL=1"},
        {"RequiresError", "--junit requires --scenario", "--junit requires --scenario"},
        {"ParseError", "the program is missing", "the program is missing"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ReasonOf(row.kind, row.message, [](const std::string& option) { return "VALUE OF " + option; }),
                  row.reason);
}

// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/CommandLine.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/velrixctl/Console.h"

using namespace VelrixTools;

namespace {

CommandLine Parse(const std::vector<const char*>& words) {
    std::vector<const char*> all = {"velrixctl"};
    all.insert(all.end(), words.begin(), words.end());
    return {static_cast<int>(all.size()), all.data()};
}

std::string Refusal(const std::vector<const char*>& words) {
    try {
        Parse(words);
        return "taken";
    } catch (const CommandError& error) {
        EXPECT_EQ(error.Code(), EXIT_FAILED);
        return error.what();
    }
}

} // namespace

TEST(CommandLine, ReadsArgumentsAndOptionsInAnyOrder) {
    const CommandLine line = Parse({"led", "--ms", "100", "MS", "--for=2.5", "flashing-green"});

    EXPECT_EQ(line.Command().name, "led");
    EXPECT_EQ(line.Value("NAME"), "MS");
    EXPECT_EQ(line.Value("PATTERN"), "flashing-green");
    EXPECT_EQ(line.Number("--ms", 500, 1, 1000), 100);
    EXPECT_EQ(line.Value("--for"), "2.5");
    EXPECT_FALSE(line.Has("--json"));
}

TEST(CommandLine, ReadsAnyNumberOfFiles) {
    const CommandLine line = Parse({"check", "a", "--json", "b"});

    EXPECT_EQ(line.Values("FILE"), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(line.Has("--json"));
    EXPECT_FALSE(line.Has("--paths"));
    EXPECT_TRUE(Parse({"check"}).Values("FILE").empty());
    EXPECT_EQ(Parse({"check", "a", "--", "--json", "-b"}).Values("FILE"),
              (std::vector<std::string>{"a", "--json", "-b"}));
}

TEST(CommandLine, HasTheUsualWaysToHelpAndVersion) {
    for (const std::vector<const char*>& words :
         std::vector<std::vector<const char*>>{{}, {"--help"}, {"-h"}, {"help"}}) {
        EXPECT_EQ(Parse(words).Command().name, "help");
        EXPECT_EQ(Parse(words).Value("COMMAND"), "");
    }
    for (const std::vector<const char*>& words : std::vector<std::vector<const char*>>{
             {"help", "led"}, {"led", "--help"}, {"led", "-h"}, {"led", "MS", "--help"}}) {
        EXPECT_EQ(Parse(words).Command().name, "help");
        EXPECT_EQ(Parse(words).Value("COMMAND"), "led");
    }
    EXPECT_EQ(Parse({"--version"}).Command().name, "version");
}

TEST(CommandLine, SaysWhatIsWrongAndWhatThereIs) {
    const struct {
        std::vector<const char*> words;
        const char* refusal;
    } rows[] = {
        {{"chek"},
         "there is no command \"chek\"; did you mean \"check\"?\n\"velrixctl --help\" says what can be given."},
        {{"--jsn"}, "there is no option --jsn\n\"velrixctl --help\" says what can be given."},
        {{"--version", "x"}, "\"x\" is one too many after --version\n\"velrixctl --help\" says what can be given."},
        {{"check", "--jsn"}, "there is no option --jsn\n\"velrixctl help check\" says what can be given."},
        {{"pins", "x"}, "\"x\" is one too many\n\"velrixctl help pins\" says what can be given."},
        {{"pin"},
         "NAME is missing; there are: OXBO_RL, OXBO_RESET1_N, QOR_BL_N, QOR_RESET0_N\n"
         "\"velrixctl help pin\" says what can be given."},
        {{"pin", "OXBO_IRQ_N", "high"},
         "NAME (label of an output) cannot be \"OXBO_IRQ_N\"; there are: OXBO_RL, OXBO_RESET1_N, QOR_BL_N, "
         "QOR_RESET0_N\n"
         "\"velrixctl help pin\" says what can be given."},
        {{"pin", "QOR_BL", "high"},
         "NAME (label of an output) cannot be \"QOR_BL\"; did you mean \"QOR_BL_N\"?\n"
         "\"velrixctl help pin\" says what can be given."},
        {{"pin", "OXBO_RL", "hi\x1b"},
         "LEVEL (level) cannot be \"hi\\x1B\"; there are: high, low\n\"velrixctl help pin\" says what can be given."},
        {{"check", "--json=maybe"}, "--json takes no value\n\"velrixctl help check\" says what can be given."},
        {{"led", "MS", "green", "--ms"}, "--ms takes N\n\"velrixctl help led\" says what can be given."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Refusal(row.words), row.refusal);
}

TEST(CommandLine, TakesOnlyNumbersOfTheRange) {
    for (const char* text : {"0", "1001", "-5", "1x", "", " 1", "99999999999999999999"}) {
        const std::string option = "--ms=" + std::string(text);
        EXPECT_THROW(Parse({"led", "MS", "green", option.c_str()}).Number("--ms", 500, 1, 1000), CommandError) << text;
    }
    EXPECT_EQ(Parse({"led", "MS", "green"}).Number("--ms", 500, 1, 1000), 500);
    EXPECT_EQ(Parse({"led", "MS", "green", "--ms", "1"}).Number("--ms", 500, 1, 1000), 1);
    EXPECT_EQ(Parse({"led", "MS", "green", "--ms", "1000"}).Number("--ms", 500, 1, 1000), 1000);
}

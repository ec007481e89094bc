// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Similar.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using VelrixTools::FindSimilar;

namespace {

const std::vector<std::string> NAMES = {"irq_n", "mod_1", "mod_id_0_sync", "ramloader_enable", "reset_n", "led"};

} // namespace

TEST(Similar, FindsTheNameWithTheFewestTypingErrors) {
    const struct {
        const char* name;
        const char* meant;
    } rows[] = {
        {"reset_nn", "reset_n"},                                              // too many
        {"rest_n", "reset_n"},                                                // too few
        {"reset-n", "reset_n"},                                               // wrong
        {"rseet_n", "reset_n"},                                               // swapped
        {"RESET_N", "reset_n"},                                               // upper case
        {"leds", "led"},         {"ramloader_enabled_n", "ramloader_enable"}, // three errors
        {"mod_2", "mod_1"},      {"mod_id_sync", "mod_id_0_sync"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(FindSimilar(row.name, NAMES), row.meant) << row.name;
}

TEST(Similar, IsSilentWhereNothingIsNear) {
    for (const char* name : {"x", "size", "lamp", "ramloader_enabled_now", "mode", ""})
        EXPECT_EQ(FindSimilar(name, NAMES), "") << name;
    EXPECT_EQ(FindSimilar(std::string(1'000'000, 'r'), NAMES), "");
}

TEST(Similar, TakesTheFirstAmongEquals) {
    EXPECT_EQ(FindSimilar("key_3", {"key_1", "key_2"}), "key_1");
}

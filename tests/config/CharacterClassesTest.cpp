// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/CharacterClasses.h>

#include <climits>
#include <clocale>
#include <string_view>

#include <gtest/gtest.h>

#define LETTERS "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
#define DIGITS "0123456789"

namespace {

const struct {
    const char* name;
    bool (*isIn)(unsigned short c) noexcept;
    std::string_view members;
} CLASSES[] = {
    {"is_letter", Velrix::is_letter, LETTERS},
    {"is_letter_or_digit", Velrix::is_letter_or_digit, LETTERS DIGITS},
    {"is_whitespace", Velrix::is_whitespace, " \t\v\f\r"},
    {"is_newline", Velrix::is_newline, "\n"},
    {"is_comment", Velrix::is_comment, "#"},
    {"is_beginning_of_section", Velrix::is_beginning_of_section, "["},
    {"is_end_of_section", Velrix::is_end_of_section, "]"},
    {"is_beginning_of_key", Velrix::is_beginning_of_key, LETTERS "_"},
    {"is_key_char", Velrix::is_key_char, LETTERS DIGITS "_"},
    {"is_end_of_key", Velrix::is_end_of_key, "="},
    {"is_quote", Velrix::is_quote, "\""},
    {"is_escape", Velrix::is_escape, "\\"},
    {"is_value_char", Velrix::is_value_char, LETTERS DIGITS "+-./"},
};

void ExpectMembers() {
    for (const auto& [name, isIn, members] : CLASSES)
        for (unsigned c = 0; c <= USHRT_MAX; ++c) {
            const bool expected = c < 0x80 && members.find(static_cast<char>(c)) != std::string_view::npos;
            ASSERT_EQ(isIn(static_cast<unsigned short>(c)), expected) << name << " of " << c;
        }
}

} // namespace

TEST(CharacterClasses, HoldExactlyTheirMembersOfAllCodeUnits) {
    ExpectMembers();
}

TEST(CharacterClasses, DoNotFollowTheLocale) {
    // Tries the available locales: in Latin-1 the C library classifies 0xC4 as a letter.
    for (const char* locale : {"de_DE.ISO-8859-1", "de_DE", "C.UTF-8"})
        if (std::setlocale(LC_ALL, locale))
            break;

    ExpectMembers();

    std::setlocale(LC_ALL, "C");
}

TEST(CharacterClasses, TakeMinusOneAloneForTheEndOfTheFile) {
    EXPECT_TRUE(Velrix::is_end_of_file(-1));
    for (const int c : {0, 1, 4, 26, 255, 256, 0xFFFF, -2, -256, INT_MAX, INT_MIN})
        EXPECT_FALSE(Velrix::is_end_of_file(c)) << c;
}

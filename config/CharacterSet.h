// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Velrix {

// A set of the values that a stream's ReadByte gives: the bytes 0 to 255 and -1, the end of the file.
//
// Compile-time constants, composed with |. They equal the C library's isalpha and isspace in the C locale, in which the
// device runs, but do not change when a program calls setlocale.
class CharacterSet final {
public:
    static constexpr int END_OF_FILE_VALUE = -1;
    static constexpr int LAST_VALUE = 255;

    static constexpr CharacterSet Range(int first, int last) {
        CharacterSet set;
        for (int value = first; value <= last; ++value)
            set.Add(value);
        return set;
    }

    static constexpr CharacterSet Of(std::string_view characters) {
        CharacterSet set;
        for (const char character : characters)
            set.Add(static_cast<unsigned char>(character));
        return set;
    }

    constexpr CharacterSet operator|(const CharacterSet& other) const {
        CharacterSet both;
        for (std::size_t i = 0; i < WORDS; ++i)
            both.members[i] = members[i] | other.members[i];
        return both;
    }

    // Any other value, such as a code unit above 255, is in no set.
    constexpr bool Contains(int value) const noexcept {
        return value >= END_OF_FILE_VALUE && value <= LAST_VALUE && (members[WordOf(value)] & BitOf(value)) != 0;
    }

private:
    // One bit per value, the end of the file first.
    static constexpr std::size_t WORD_BITS = 32;
    static constexpr std::size_t WORDS = (LAST_VALUE - END_OF_FILE_VALUE) / WORD_BITS + 1;

    static constexpr std::size_t IndexOf(int value) { return static_cast<std::size_t>(value - END_OF_FILE_VALUE); }
    static constexpr std::size_t WordOf(int value) { return IndexOf(value) / WORD_BITS; }
    static constexpr std::uint32_t BitOf(int value) { return std::uint32_t{1} << IndexOf(value) % WORD_BITS; }

    constexpr void Add(int value) { members[WordOf(value)] |= BitOf(value); }

    std::uint32_t members[WORDS] = {};
};

// The classes of the grammar.
inline constexpr CharacterSet END_OF_FILE =
    CharacterSet::Range(CharacterSet::END_OF_FILE_VALUE, CharacterSet::END_OF_FILE_VALUE);
inline constexpr CharacterSet LETTER = CharacterSet::Range('A', 'Z') | CharacterSet::Range('a', 'z');
inline constexpr CharacterSet LETTER_OR_DIGIT = LETTER | CharacterSet::Range('0', '9');
inline constexpr CharacterSet WHITESPACE = CharacterSet::Of(" \t\v\f\r");
inline constexpr CharacterSet NEWLINE = CharacterSet::Of("\n");
inline constexpr CharacterSet COMMENT_MARK = CharacterSet::Of("#");
inline constexpr CharacterSet BEGINNING_OF_SECTION = CharacterSet::Of("[");
inline constexpr CharacterSet END_OF_SECTION = CharacterSet::Of("]");
inline constexpr CharacterSet BEGINNING_OF_KEY = LETTER | CharacterSet::Of("_");
inline constexpr CharacterSet KEY_CHAR = LETTER_OR_DIGIT | CharacterSet::Of("_");
inline constexpr CharacterSet END_OF_KEY = CharacterSet::Of("=");
inline constexpr CharacterSet QUOTE = CharacterSet::Of("\"");
inline constexpr CharacterSet ESCAPE = CharacterSet::Of("\\");
// Everything else needs quotes, including "_", ":" and space.
inline constexpr CharacterSet VALUE_CHAR = LETTER_OR_DIGIT | CharacterSet::Of("+-./");
inline constexpr CharacterSet ANY_CHARACTER = CharacterSet::Range(0, CharacterSet::LAST_VALUE);

} // namespace Velrix

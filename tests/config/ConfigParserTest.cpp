// SPDX-License-Identifier: Apache-2.0
#include "config/ConfigParser.h"

#include <cctype>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/config/SettingsText.h"
#include "tests/support/Share.h"

using System::string_ptr;
using TestSupport::SettingsText;
using TestSupport::Share;
using Velrix::ConfigParser;

namespace {

// The result of parsing a text, as one line: "[]a=1;[led]" with names and values verbatim, or the type of the exception
// and its message.
using Outcome = std::u16string;

std::u16string Widen(const std::string& text) {
    std::u16string wide;
    for (const char c : text)
        wide += static_cast<unsigned char>(c);
    return wide;
}

Outcome Read(const std::string& path) {
    try {
        const auto sections = ConfigParser::Create()->Parse(path);
        Outcome outcome;
        for (const auto& section : *sections) {
            outcome.append(u"[").append(section.Key->View()).append(u"]");
            for (const auto& pair : *section.Value)
                outcome.append(pair.Key->View()).append(u"=").append(pair.Value->View()).append(u";");
        }
        return outcome;
    } catch (const System::FormatException& exception) {
        return Outcome(u"FormatException ").append(exception.Message()->View());
    } catch (const System::ArgumentException& exception) {
        return Outcome(u"ArgumentException ").append(exception.Message()->View());
    }
}

// The model: a table of words for an interpreter that shares no code with the parser. A number is the next state,
// "stay" none; "others" are tried in order, and no match is an error.
struct ModelState {
    const char* reachedBy; // a text that ends in this state
    const char* endOfFile;
    const char* newline;
    const char* whitespace;
    std::vector<std::pair<const char*, const char*>> others;
};

const ModelState MODEL[] = {
    /*  0 comment       */ {"#", "done", "3", "stay", {{"any", "stay"}}},
    /*  1 key           */ {"k1", "error", "error", "2", {{"=", "8"}, {"key", "toKey stay"}}},
    /*  2 after key     */ {"k ", "error", "error", "stay", {{"=", "8"}}},
    /*  3 line start    */
    {"", "done", "stay", "stay", {{"#", "0"}, {"beginning", "toKey 1"}, {"[", "5"}}},
    /*  4 section name  */ {"[s", "error", "error", "error", {{"key", "toName stay"}, {"]", "close 6"}}},
    /*  5 after "["     */ {"[", "error", "error", "error", {{"beginning", "toName 4"}}},
    /*  6 after "]"     */ {"[s]", "done", "3", "stay", {{"#", "0"}}},
    /*  7 bare value    */
    {"k=v", "commit done", "commit 3", "commit 9", {{"#", "commit 0"}, {"value", "toValue stay"}}},
    /*  8 after "="     */ {"k=", "error", "error", "stay", {{"\"", "10"}, {"value", "toValue 7"}}},
    /*  9 after value   */ {"k=\"v\"", "done", "3", "stay", {{"#", "0"}}},
    /* 10 quoted value  */
    {"k=\"v", "error", "toValue stay", "toValue stay", {{"\"", "commit 9"}, {"\\", "11"}, {"any", "toValue stay"}}},
    /* 11 after "\"     */ {"k=\"v\\", "error", "toValue 10", "toValue 10", {{"any", "toValue 10"}}},
};

bool IsIn(const std::string& characterClass, int c) {
    if (characterClass == "any")
        return true;
    if (characterClass == "beginning")
        return c == '_' || (c < 128 && std::isalpha(c));
    if (characterClass == "key")
        return c == '_' || (c < 128 && std::isalnum(c));
    if (characterClass == "value")
        return (c < 128 && std::isalnum(c)) || (c != 0 && std::strchr("+-./", c));
    return c == characterClass[0];
}

std::string CellOf(const ModelState& state, int c) {
    if (c < 0)
        return state.endOfFile;
    if (c == '\n')
        return state.newline;
    if (c < 128 && std::isspace(c))
        return state.whitespace;
    for (const auto& [characterClass, cell] : state.others)
        if (IsIn(characterClass, c))
            return cell;
    return "error";
}

Outcome Predict(const std::string& text, const std::string& path) {
    struct ModelSection {
        std::string name;
        std::vector<std::pair<std::string, std::string>> pairs;
    };
    std::vector<ModelSection> sections{{"", {}}};
    std::string key, name, value;
    int state = 3, line = 0, column = 0;
    for (std::size_t i = 0;; ++i) {
        const int c = i < text.size() ? static_cast<unsigned char>(text[i]) : -1;
        column = c == '\n' ? 0 : column + 1;
        line += c == '\n';
        std::istringstream words(CellOf(MODEL[state], c));
        for (std::string word; words >> word;) {
            if (word == "toKey")
                key += static_cast<char>(c);
            else if (word == "toName")
                name += static_cast<char>(c);
            else if (word == "toValue")
                value += static_cast<char>(c);
            else if (word == "commit") {
                for (const auto& pair : sections.back().pairs)
                    if (pair.first == key)
                        return u"ArgumentException Key already exists";
                sections.back().pairs.emplace_back(std::exchange(key, ""), std::exchange(value, ""));
            } else if (word == "close") {
                for (const auto& section : sections)
                    if (section.name == name)
                        return u"ArgumentException Key already exists";
                sections.push_back({std::exchange(name, ""), {}});
            } else if (word == "error") {
                if (c < 0)
                    return Widen("FormatException Unexpected end of file when parsing " + path);
                return Widen("FormatException Unexpected char '") + static_cast<char16_t>(c) +
                       Widen("' at " + std::to_string(line) + ":" + std::to_string(column) + " when parsing " + path);
            } else if (word == "done") {
                Outcome outcome;
                for (const auto& section : sections) {
                    outcome += Widen("[" + section.name + "]");
                    for (const auto& pair : section.pairs)
                        outcome += Widen(pair.first + "=" + pair.second + ";");
                }
                return outcome;
            } else if (word != "stay")
                state = std::stoi(word);
        }
    }
}

std::string Show(const Outcome& outcome) {
    std::string shown;
    for (const char16_t unit : outcome)
        shown += unit > 31 && unit < 127 ? std::string(1, static_cast<char>(unit)) : "<" + std::to_string(unit) + ">";
    return shown;
}

::testing::AssertionResult ReadsAsTheModel(SettingsText& file, const std::string& text) {
    file.Write(text);
    const Outcome read = Read(file.Path()), predicted = Predict(text, file.Path());
    if (read == predicted)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << '\'' << Show(Widen(text)) << "' read:\n"
                                         << Show(read) << "\nexpected:\n"
                                         << Show(predicted);
}

} // namespace

// Probes after a character distinguish the possible next states: each probe has different results in some of them.
TEST(ConfigParser, TakesEveryByteAndTheEndInEveryStateAsTheModel) {
    const std::string probes[] = {"",   "\n",   " ",     "#",       "=1",  "x",         "]",
                                  "\"", "\\\"", "\nn=2", "\"\nn=2", " =3", "\n[t]\nk=4"};
    SettingsText file;
    int number = 0;

    for (const ModelState& state : MODEL) {
        EXPECT_TRUE(ReadsAsTheModel(file, state.reachedBy));
        for (int c = 0; c <= 255; ++c)
            for (const std::string& probe : probes)
                if (number++ % Share() == 0) {
                    ASSERT_TRUE(ReadsAsTheModel(file, state.reachedBy + std::string(1, static_cast<char>(c)) + probe));
                }
    }
}

TEST(ConfigParser, CountsLinesAndColumnsInEveryStateAsTheModel) {
    SettingsText file;
    int number = 0;

    for (const char* before : {"", "\n", "\n\n  ", "a=1\n", "[t]\r\n", "# c\n\t", "a=\"x\n\ny\"\n", "a=\"x\n\\\n\" "})
        for (const ModelState& state : MODEL)
            for (const char* fault : {"!", "\n!", " !", "=!", "\"!", "\" !", "1 \"", "\n\n\n]"})
                if (number++ % Share() == 0) {
                    ASSERT_TRUE(ReadsAsTheModel(file, std::string(before) + state.reachedBy + fault));
                }
}

TEST(ConfigParser, ReadsRandomTextsAsTheModel) {
    const char* const pieces[] = {"a",     "b",     "_",           "7",        "k1", " ",  "\t", "\r",   "\n", "\n",
                                  "=",     "=",     "=v",          "\"",       "\"", "\\", "#",  "[",    "]",  "[s]",
                                  "[t]\n", "a=1\n", "b = \"x y\"", "/dev/mem", "-",  "+",  ".",  "\xC4", "!"};
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::size_t> piece(0, std::size(pieces) - 1), length(1, 14);
    SettingsText file;
    int accepted = 0;

    for (int i = 0; i < 20000 / Share(); ++i) {
        std::string text;
        for (std::size_t k = length(random); k > 0; --k)
            text += pieces[piece(random)];
        ASSERT_TRUE(ReadsAsTheModel(file, text));
        accepted += Predict(text, "")[0] == u'[';
    }

    EXPECT_GT(accepted, 200 / Share()) << "too few of the texts are good ones";
}

TEST(ConfigParser, BeginsAnewWithEachFile) {
    const SettingsText bad("[s]\nkey = \"value"), good("!");
    const auto parser = ConfigParser::Create();

    EXPECT_THROW(parser->Parse(bad.Path()), System::FormatException);
    try {
        parser->Parse(good.Path());
        ADD_FAILURE();
    } catch (const System::FormatException& exception) {
        EXPECT_EQ(std::string(exception.what()), "Unexpected char '!' at 0:1 when parsing " + good.Path());
    }
    const SettingsText empty;
    const auto sections = parser->Parse(empty.Path());
    EXPECT_EQ(sections->Count(), 1);
    EXPECT_EQ((*sections)[""]->Count(), 0);
}

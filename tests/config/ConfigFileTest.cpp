// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ConfigFile.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/config/SettingsText.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"

using System::string_ptr;
using TestSupport::ExpectException;
using TestSupport::SettingsText;
using Velrix::ConfigFile;

namespace {

// "[] a=1 [led] b=2": sections and pairs in their order.
std::string Read(const std::string& text) {
    const SettingsText file(text);
    const auto sections = ConfigFile::ReadAll(file.Path());
    std::string read;
    for (const auto& section : *sections) {
        read += (read.empty() ? "[" : " [") + section.Key->ToUtf8() + "]";
        for (const auto& pair : *section.Value)
            read += " " + pair.Key->ToUtf8() + "=" + pair.Value->ToUtf8();
    }
    return read;
}

} // namespace

TEST(ConfigFile, ReadsWhatTheGrammarAllows) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {
        {"", "[]"},
        {"\n\n \t\v\f\r\n", "[]"},
        {"# a comment without an end", "[]"},
        {"a=1", "[] a=1"},
        {"a=1\n", "[] a=1"},
        {"  a=1", "[] a=1"},
        {"key = value # note", "[] key=value"},
        {"key\t=\v\fvalue#note", "[] key=value"},
        {"a=1\nb=2\nA=3", "[] a=1 b=2 A=3"},
        {"_=1\n_0=2", "[] _=1 _0=2"},
        {"path=/dev/mem", "[] path=/dev/mem"},
        {"n=+1-2.3/4aZ", "[] n=+1-2.3/4aZ"},
        {"name=\"my_value\"", "[] name=my_value"},
        {"a=\"\"", "[] a="},
        {"a=\"x\"# c\nb=\"y\" \nc=\"z\"", "[] a=x b=y c=z"},
        {"a=\"one\ntwo\"", "[] a=one\ntwo"},
        {"a=\" # [b] = \"", "[] a= # [b] = "},
        {"a=\"say \\\"hi\\\"\"", "[] a=say \"hi\""},
        {"a=\"\\\\ \\n \\\n\"", "[] a=\\ n \n"},
        {"[led]", "[] [led]"},
        {"[led] # lights", "[] [led]"},
        {"[led]#lights\n[_x1]", "[] [led] [_x1]"},
        {"  [led]  \nx=1", "[] [led] x=1"},
        {"a=1\n[s]\na=2\n[t]\na=3", "[] a=1 [s] a=2 [t] a=3"},
        {"a=1\r\n[s]\r\nb=2\r\n", "[] a=1 [s] b=2"},
        {"[t]\n[S]\n[s]", "[] [t] [S] [s]"},
    };

    for (const auto& [text, expected] : rows)
        EXPECT_EQ(Read(text), expected) << text;
}

TEST(ConfigFile, RejectsEverythingElseWithItsPlace) {
    const struct {
        const char* text;
        const char* c;
        const char* place;
    } rows[] = {
        {"key=\n", "\n", "1:0"}, // the position after the newline
        {"key=#c", "#", "0:5"},  // a comment is no value
        {"key= # c", "#", "0:6"},    {"key\n", "\n", "1:0"},
        {"key value", "v", "0:5"},   {"key #c", "#", "0:5"},
        {"my-key=1", "-", "0:3"},    {"1key=1", "1", "0:1"},
        {"=1", "=", "0:1"},          {"a=1 2", "2", "0:5"},
        {"a=\"1\"2", "2", "0:6"},    {"a=\"1\"\"2\"", "\"", "0:6"},
        {"a=x\"y\"", "\"", "0:4"},   {"name=my_value", "_", "0:8"},
        {"a=b:c", ":", "0:4"},       {"a==b", "=", "0:3"},
        {"[ led ]", " ", "0:2"},     {"[led ]", " ", "0:5"},
        {"[]", "]", "0:2"},          {"[1]", "1", "0:2"},
        {"[a.b]", ".", "0:3"},       {"[led\n]", "\n", "1:0"},
        {"[led] x=1", "x", "0:7"},   {"[led]]", "]", "0:6"},
        {"\n\n   !", "!", "2:4"},    {"a=\"x\ny\"\n!", "!", "2:1"},
        {"a=1\n\tb\n", "\n", "2:0"}, {"a=1;b=2", ";", "0:4"},
    };

    for (const auto& [text, c, place] : rows) {
        SCOPED_TRACE(text);
        const SettingsText file(text);
        ExpectException<System::FormatException>(std::string("Unexpected char '") + c + "' at " + place +
                                                     " when parsing " + file.Path(),
                                                 [&] { ConfigFile::ReadAll(file.Path()); });
    }
}

TEST(ConfigFile, RejectsAFileThatEndsTooEarly) {
    for (const char* text :
         {"key", "key ", "key=", "key= ", "[", "[led", "a=\"", "a=\"x", "a=\"x\n", "a=\"x\\", "a=\"x\\\""}) {
        SCOPED_TRACE(text);
        const SettingsText file(text);
        ExpectException<System::FormatException>("Unexpected end of file when parsing " + file.Path(),
                                                 [&] { ConfigFile::ReadAll(file.Path()); });
    }
}

TEST(ConfigFile, RejectsWhatIsThereAlready) {
    for (const char* text : {"a=1\na=1", "a=1\na=2 ", "a=1\na=\"2\"", "a=1\na=2#", "a=1\na=2\n!", "[led]\n[led]",
                             "[s]\na=1\na=2", "[led]\n[b]\n[led]x"}) {
        SCOPED_TRACE(text);
        const SettingsText file(text);
        ExpectException<System::ArgumentException>("Key already exists", [&] { ConfigFile::ReadAll(file.Path()); });
    }
}

TEST(ConfigFile, TakesEachByteAsACodeUnit) {
    const SettingsText file(std::string("a=\"\xC3\xA4\xFF\0\"", 8));

    const auto sections = ConfigFile::ReadAll(file.Path());

    EXPECT_EQ((*(*sections)[""])["a"], (std::u16string_view(u"\u00C3\u00A4\u00FF\0", 4)));
}

TEST(ConfigFile, ReadsTextsOfAnyLength) {
    const std::string name(5000, 'n'), value(300000, 'v');

    EXPECT_EQ(Read("[" + name + "]\n" + name + "=" + value), "[] [" + name + "] " + name + "=" + value);
}

TEST(ConfigFile, NeedsAPath) {
    ExpectException<System::ArgumentNullException>(System::ArgumentNullException("path").what(),
                                                   [] { ConfigFile::ReadAll(nullptr); });
}

TEST(ConfigFile, PassesOnWhyAFileDoesNotOpen) {
    const std::string missing = SettingsText().Path();

    try {
        ConfigFile::ReadAll(missing);
        ADD_FAILURE();
    } catch (const System::IO::FileNotFoundException& exception) {
        EXPECT_EQ(exception.ErrorCode(), ENOENT);
        EXPECT_EQ(exception.Path(), string_ptr(missing));
    }
    try {
        ConfigFile::ReadAll(std::filesystem::temp_directory_path().string());
        ADD_FAILURE();
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EISDIR);
    }
}

// /proc/self/mem opens, and fails to read at address 0.
TEST(ConfigFile, PassesOnWhyAFileDoesNotRead) {
    try {
        ConfigFile::ReadAll("/proc/self/mem");
        ADD_FAILURE();
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EIO);
        EXPECT_EQ(exception.Path(), string_ptr("/proc/self/mem"));
    }
}

TEST(ConfigFile, GivesNothingOfAFileThatFailsInTheMiddle) {
    const SettingsText file("a=1\n" + std::string(20000, ' ') + "!");

    for (int number = 1; number <= 3; ++number) {
        const TestSupport::FailingSystemCalls failing("read", number, EIO);
        try {
            ConfigFile::ReadAll(file.Path());
            ADD_FAILURE();
        } catch (const System::IO::IOException& exception) {
            EXPECT_EQ(exception.ErrorCode(), EIO);
            EXPECT_TRUE(failing.HasFailed()) << number;
        }
    }
}

TEST(ConfigFile, ReadsOnAfterAnInterruption) {
    const SettingsText file("a=1");
    const TestSupport::FailingSystemCalls failing("read", 1, EINTR);

    EXPECT_EQ(ConfigFile::ReadAll(file.Path())->Count(), 1);
    EXPECT_TRUE(failing.HasFailed());
}

TEST(ConfigFile, ReadsInBlocksAndClosesTheFile) {
    const SettingsText file("a=1");
    const TestSupport::FailingSystemCalls watching;

    ConfigFile::ReadAll(file.Path());

    EXPECT_EQ(watching.Log(), "open, fstat, read, read, close");
}

TEST(ConfigFile, LeavesNoFileOpen) {
    const auto countOpen = [] {
        int count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            ++count;
        return count;
    };
    const SettingsText good("a=1"), bad("a=1\n!");
    const int before = countOpen();

    ConfigFile::ReadAll(good.Path());
    EXPECT_THROW(ConfigFile::ReadAll(bad.Path()), System::FormatException);

    EXPECT_EQ(countOpen(), before);
}

TEST(ConfigFile, NeedsFewAllocations) {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "key" + std::to_string(i) + "=/a/value/of/usual/length\n";
    const SettingsText file(text);
    const string_ptr path = file.Path();

    const TestSupport::AllocationFailure none;
    const auto sections = ConfigFile::ReadAll(path);

    EXPECT_LT(none.Count(), 200) << "for 1000 lines";
    EXPECT_EQ((*sections)[""]->Count(), 1000);
}

TEST(ConfigFile, SurvivesEveryAllocationFailure) {
    std::string text = "a=1\n[led]\nb=\"x y\"\n[empty]\n";
    for (int i = 0; i < 40; ++i)
        text += "key" + std::to_string(i) + "=value\n";
    text += "long=" + std::string(3000, 'v');
    const SettingsText good(text), bad(text + "\n!");
    const string_ptr goodPath = good.Path(), badPath = bad.Path();

    EXPECT_GT(TestSupport::FailEachAllocation([&] { EXPECT_EQ(ConfigFile::ReadAll(goodPath)->Count(), 3); }), 20);
    TestSupport::FailEachAllocation([&] {
        try {
            ConfigFile::ReadAll(badPath);
        } catch (const System::FormatException&) {
        }
    });
}

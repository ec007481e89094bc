// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Judge.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

using namespace VelrixTools;

namespace {

// "line:column+width severity: text" of each finding.
std::string JudgeText(const std::string& text, const JudgeOptions& options = {}) {
    std::string shown;
    for (const Finding& finding : JudgeSettings(text, options)) {
        const Location& place = finding.location;
        shown += (shown.empty() ? "" : "\n") + std::to_string(place.line) + ":" + std::to_string(place.column) +
                 (place.width == 1 ? "" : "+" + std::to_string(place.width)) + " " + NameOf(finding.severity) + ": " +
                 finding.text;
    }
    return shown;
}

struct Row {
    std::string text;
    std::string findings;
};

} // namespace

TEST(Judge, HasNothingToSayOfAGoodFile) {
    for (const char* text : {"", "\n", "# only a comment", "log_dir = /data/log\n[led]\nmodule_status_red=\"/a_b\"\n",
                             "[oxbo_dpram]\npath=/dev/mem\noffset=44000000\nlength=2000\r\n"})
        EXPECT_EQ(JudgeText(text), "") << text;
}

TEST(Judge, FindsAllUnknownNamesInOneRun) {
    EXPECT_EQ(
        JudgeText("logdir = /x\n[oxbo_pin]\nreset_nn = /x\nwhatever = /y\n[leds]\nanything = 1\n[qor_pin]\nbusyn=/z"),
        "1:1+6 error: there is no key \"logdir\" before the first header; did you mean \"log_dir\"?\n"
        "3:1+8 error: there is no key \"reset_nn\" in [oxbo_pin]; did you mean \"reset_n\"?\n"
        "4:1+8 error: there is no key \"whatever\" in [oxbo_pin]\n"
        "5:2+4 error: there is no section \"leds\"; did you mean \"led\"?\n"
        "8:1+5 error: there is no key \"busyn\" in [qor_pin]; did you mean \"busy_n\"?");
}

TEST(Judge, SaysWhereAKeyOfAnotherSectionBelongs) {
    EXPECT_EQ(JudgeText("[led]\nlog_dir=/x\nbootloader_enable_n=/y\n"),
              "2:1+7 error: there is no key \"log_dir\" in [led]; it belongs to the keys before the first header\n"
              "3:1+19 error: there is no key \"bootloader_enable_n\" in [led]; it belongs to [qor_pin]");
}

TEST(Judge, MarksTheWrongCharacterOfANumber) {
    const std::string rest = "\npath=/dev/mem\noffset=0";
    const Row rows[] = {
        {"length=12G", "2:10 error: \"12G\" is not a hexadecimal number such as 2000"},
        {"length=\"12 \"", "2:11 error: \"12 \" is not a hexadecimal number such as 2000"},
        {"length=0x", "2:8+2 error: \"0x\" is not a hexadecimal number such as 2000"},
        {"length=0x0x1", "2:11 error: \"0x0x1\" is not a hexadecimal number such as 2000"},
        {"length=-1", "2:8 error: \"-1\" is not a hexadecimal number such as 2000"},
        {"length=\"\"", "2:8+2 error: \"\" is not a hexadecimal number such as 2000"},
        {"length=\"\\1\\G\"", "2:8+6 error: \"1G\" is not a hexadecimal number such as 2000"},
        {"length=12345678901234567", "2:8+17 error: \"12345678901234567\" does not fit into 64 bits"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(JudgeText("[oxbo_dpram]\n" + row.text + rest), row.findings) << row.text;
    EXPECT_EQ(JudgeText("[qor_dpram]\noffset=x\nlength=0\npath=/dev/mem"),
              "2:8 error: \"x\" is not a hexadecimal number such as 44000000");
}

TEST(Judge, FindsDoubledNamesInOneRun) {
    EXPECT_EQ(JudgeText("log_dir=/a\nlog_dir=/b\n[led]\n[oxbo_pin]\n[led]\n"),
              "2:1+7 error: \"log_dir\" has a value already, in line 1\n"
              "5:2+3 error: [led] is here twice, first in line 3");
}

TEST(Judge, ExplainsSyntaxErrorsAndEndsThere) {
    const Row rows[] = {
        // names
        {"log-dir=/x", "1:4 error: a name has letters, digits and \"_\", not \"-\""},
        {"1log=/x", "1:1 error: a line begins with a key, with \"[\" or with \"#\", not with \"1\""},
        {"; x", "1:1 error: a comment begins with \"#\", not with \";\""},
        {"// x", "1:1 error: a comment begins with \"#\", not with \"/\""},
        {"=/x", "1:1 error: the key before \"=\" is missing"},
        {"\xEF\xBB\xBFlog_dir=/x", "1:1 error: the file begins with a byte order mark; save it without one"},
        {"log_dir: /x", "1:8 error: \"=\" is between a key and its value, not \":\""},
        {"log_dir : /x", "1:9 error: \"=\" is between a key and its value, not \":\""},
        {"log_dir /x", "1:9 error: \"=\" is missing after the key \"log_dir\""},
        // no value
        {"log_dir", "1:1+7 error: \"log_dir\" has no value; an empty one is \"\""},
        {"log_dir =", "1:1+7 error: \"log_dir\" has no value; an empty one is \"\""},
        {"  log_dir =  \r\n\n", "1:3+7 error: \"log_dir\" has no value; an empty one is \"\""},
        {"log_dir = # x", "1:1+7 error: \"log_dir\" has no value; an empty one is \"\""},
        {"log_dir\n", "1:1+7 error: \"log_dir\" has no value; an empty one is \"\""},
        {"log_dir#", "1:1+7 error: \"log_dir\" has no value; an empty one is \"\""},
        // values
        {"log_dir = /my_logs # x", "1:14 error: \"_\" needs quotes: log_dir = \"/my_logs\""},
        {"log_dir = $HOME", "1:11 error: \"$\" needs quotes: log_dir = \"$HOME\""},
        {"log_dir = '/x'", "1:11 error: \"'\" needs quotes: log_dir = /x"},
        {"log_dir = /a b", "1:14 error: a value with blanks needs quotes: log_dir = \"/a b\""},
        {"log_dir = \"/a\" b",
         "1:16 error: only a comment may follow the value, not \"b\"; a quote within quotes is \\\""},
        {"log_dir = \"/a\"b\"",
         "1:15 error: only a comment may follow the value, not \"b\"; a quote within quotes is \\\""},
        {"log_dir = /\x01", "1:12 error: the byte 0x01 needs quotes, as in key = \"value\""},
        {"log_dir = \xC3\xA4", "1:11 error: \"\xC3\xA4\" needs quotes: log_dir = \"\xC3\xA4\""},
        {"log_dir = \"/a\n\nb", "1:11 error: this quote is never closed"},
        {"log_dir = \"/a\\", "1:11 error: this quote is never closed"},
        // headers
        {"[led", "1:2+3 error: \"]\" is missing"},
        {"[led\n", "1:2+3 error: \"]\" is missing"},
        {"[", "1:1 error: \"]\" is missing"},
        {"[]", "1:2 error: the section's name is missing"},
        {"[ led]", "1:2 error: no blanks between \"[\" and \"]\""},
        {"[led ]", "1:5 error: no blanks between \"[\" and \"]\""},
        {"[1]", "1:2 error: a name begins with a letter or \"_\", not with \"1\""},
        {"[a-b]", "1:3 error: a name has letters, digits and \"_\", not \"-\""},
        {"[led] x=1", "1:7 error: only a comment may follow a section's header; write \"x\" on the next line"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(JudgeText(row.text), row.findings) << row.text;

    EXPECT_EQ(JudgeText("what = /x\n!\nwhy = /y\n"),
              "1:1+4 error: there is no key \"what\" before the first header\n"
              "2:1 error: a line begins with a key, with \"[\" or with \"#\", not with \"!\"");
}

TEST(Judge, SaysEverythingInOneLineOfBoundedLength) {
    const std::string name(5000, 'k'), value(5000, '_');
    for (const std::string& text : {name, name + "=1", "[" + name + "]", "log_dir=" + value,
                                    "log_dir=\"" + value + "\n", "[oxbo_dpram]\nlength=\"" + value + "\n\n\""})
        for (const Finding& finding : JudgeSettings(text)) {
            EXPECT_LT(finding.text.size(), 250U);
            EXPECT_EQ(finding.text.find('\n'), std::string::npos);
        }
}

TEST(Judge, WarnsOfAnIncompleteWindow) {
    EXPECT_EQ(JudgeText("[oxbo_dpram]\noffset=43000000\n"),
              "1:2+10 warning: [oxbo_dpram] has no \"length\" and \"path\"; it has no defaults when it is in the file, "
              "so give all three keys");
    EXPECT_EQ(JudgeText("[qor_dpram]\noffset=0\nlength=1\npath=/dev/mem"), "");
    EXPECT_EQ(JudgeText("[oxbo_pin]\nirq_n=/x"), "");
}

TEST(Judge, WarnsOfNumbersThatAreStoredAsOthers) {
    const Row rows[] = {
        {"7FFFFFFF", ""},
        {"80000000", "2:8+8 warning: \"80000000\" has more than 31 bits; the library stores -2147483648"},
        {"FFFFFFFF", "2:8+8 warning: \"FFFFFFFF\" has more than 31 bits; the library stores -1"},
        {"100000000", "2:8+9 warning: \"100000000\" has more than 31 bits; the library stores 0"},
        {"FFFFFFFFFFFFFFFF", "2:8+16 warning: \"FFFFFFFFFFFFFFFF\" has more than 31 bits; the library stores -1"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(JudgeText("[oxbo_dpram]\noffset=" + row.text + "\nlength=0\npath=/dev/mem"), row.findings)
            << row.text;
}

TEST(Judge, WarnsOfALengthThatLooksDecimal) {
    const std::string looks = " is hexadecimal, ";
    const Row rows[] = {
        {"8192", "3:8+4 warning: \"8192\" is hexadecimal, 33170 bytes; 8192 bytes are 2000"},
        {"4096", "3:8+4 warning: \"4096\" is hexadecimal, 16534 bytes; 4096 bytes are 1000"},
        {"512", "3:8+3 warning: \"512\" is hexadecimal, 1298 bytes; 512 bytes are 200"},
        {"2000", ""},   // round as it is
        {"25600", ""},  // both are
        {"0x8192", ""}, // on purpose
        {"1234", ""},   // neither is
        {"0", ""},
        {"8192A", ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(JudgeText("[qor_dpram]\npath=/dev/mem\nlength=" + row.text + "\noffset=0"), row.findings) << row.text;
}

TEST(Judge, LooksForPathsOnRequest) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("value", "1");
    const auto quoted = [&](const std::string& name) { return "\"" + folder.Path(name) + "\""; };
    const std::string text = "log_dir=" + quoted("none") + "\nweb_log_file=" + quoted("new") +
                             "\n[oxbo_pin]\nirq_n=" + quoted("value") + "\nreset_n=" + quoted("none/value") +
                             "\nmod_1=\"\"\n";

    EXPECT_EQ(JudgeText(text), "");
    const std::string found = JudgeText(text, {true});
    EXPECT_EQ(found, "1:9+" + std::to_string(folder.Path("none").size() + 2) + " warning: \"" + folder.Path("none") +
                         "\" does not exist; this is the path of a directory\n" + "5:9+" +
                         std::to_string(folder.Path("none/value").size() + 2) + " warning: \"" +
                         folder.Path("none/value") + "\" does not exist; this is the path of a line's value file\n" +
                         "6:7+2 warning: the path is empty; this is the path of a line's value file");
}

TEST(Judge, StopsAtAHundredFindingsAndKeepsTheVerdict) {
    std::string unknown, warnings = "[oxbo_dpram]\n";
    for (int i = 0; i < 300; ++i)
        unknown += "k" + std::to_string(i) + "=1\n";

    EXPECT_EQ(JudgeSettings(unknown).size(), MOST_FINDINGS);
    EXPECT_TRUE(HasErrors(JudgeSettings(unknown)));
    EXPECT_FALSE(HasErrors(JudgeSettings(warnings)));
}

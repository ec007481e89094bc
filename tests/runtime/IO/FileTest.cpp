// SPDX-License-Identifier: Apache-2.0
#include <System/IO/File.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/TemporaryFolder.h"

using System::string_ptr;
using System::IO::File;
using TestSupport::ExpectException;
using TestSupport::FailingSystemCalls;
using TestSupport::TemporaryFolder;

TEST(File, OpensForReading) {
    const TemporaryFolder folder;
    folder.Write("file", "x");

    const auto stream = File::OpenRead(folder.Path("file"));

    EXPECT_EQ(stream->ReadByte(), 'x');
    EXPECT_EQ(stream->ReadByte(), -1);
}

TEST(File, ReadsAllOfATextAndTrimsNothing) {
    const std::string euro = "\xE2\x82\xAC";
    const struct {
        std::string content;
        string_ptr text;
    } ROWS[] = {{"", ""},
                {"a", "a"},
                {" a\r\n\n", u" a\r\n\n"},
                {std::string("a\0b", 3), string_ptr(std::u16string_view(u"a\0b", 3))},
                {euro, u"\u20AC"},
                {"\xFF", u"\uFFFD"},
                {std::string(100'000, 'x'), string_ptr(std::string(100'000, 'x'))},
                // The characters do not end where the blocks do.
                {"a" + std::string(euro + euro), u"a\u20AC\u20AC"}};
    const TemporaryFolder folder;
    for (const auto& row : ROWS) {
        folder.Write("file", row.content);
        EXPECT_EQ(File::ReadAllText(folder.Path("file")), row.text) << row.content.substr(0, 40);
    }
}

TEST(File, KeepsCharactersThatStandAcrossBlocksWhole) {
    const TemporaryFolder folder;
    for (int before = 0; before < 3; ++before) {
        std::string content(static_cast<std::size_t>(before), 'a');
        std::u16string text(static_cast<std::size_t>(before), u'a');
        for (int i = 0; i < 20'000; ++i) {
            content += "\xE2\x82\xAC";
            text += u'\u20AC';
        }
        folder.Write("file", content);
        EXPECT_TRUE(File::ReadAllText(folder.Path("file")) == string_ptr(std::u16string_view(text)));
    }
}

TEST(File, PassesFailuresOn) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("file");
    ExpectException<System::ArgumentNullException>("The argument \"path\" must not be null",
                                                   [] { File::ReadAllText(nullptr); });
    ExpectException<System::ArgumentNullException>("The argument \"path\" must not be null",
                                                   [] { File::OpenRead(nullptr); });
    ExpectException<System::IO::FileNotFoundException>("Cannot open: " + path + ": No such file or directory",
                                                       [&] { File::ReadAllText(path); });
    ExpectException<System::IO::IOException>("Cannot open: " + folder.Path() + ": Is a directory",
                                             [&] { File::ReadAllText(folder.Path()); });
    folder.Write("file", "x");
    const FailingSystemCalls failing("read", 2, EIO);
    ExpectException<System::IO::IOException>("Cannot read: " + path + ": Input/output error",
                                             [&] { File::ReadAllText(path); });
}

TEST(File, ClosesTheFileItRead) {
    const TemporaryFolder folder;
    folder.Write("file", "x");
    const FailingSystemCalls calls;

    File::ReadAllText(folder.Path("file"));

    EXPECT_TRUE(calls.Log().ends_with("close")) << calls.Log();
}

TEST(File, SurvivesEveryAllocationFailure) {
    const TemporaryFolder folder;
    folder.Write("file", std::string(10'000, 'x'));
    const string_ptr path = folder.Path("file");

    EXPECT_GT(TestSupport::FailEachAllocation([&] { File::ReadAllText(path); }), 3);
}

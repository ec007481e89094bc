// SPDX-License-Identifier: Apache-2.0
#include "tools/check/ReadSettings.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/TemporaryFolder.h"

using namespace VelrixTools;

TEST(ReadSettings, ReadsFilesAndSaysWhyItDoesNot) {
    const TestSupport::TemporaryFolder folder;
    const std::string text = std::string(200'000, 'x') + '\0' + "y";
    folder.Write("file", text);
    EXPECT_EQ(ReadSettings(folder.Path("file")), text);

    ASSERT_EQ(::mkfifo(folder.Path("fifo").c_str(), 0600), 0);
    const struct {
        std::string path;
        const char* reason;
    } rows[] = {
        {folder.Path("none"), "No such file or directory"},
        {folder.Path(), "it is a directory"},
        {folder.Path("fifo"), "it is not a regular file"},
        {"/dev/zero", "it is not a regular file"},
    };
    for (const auto& row : rows)
        try {
            ReadSettings(row.path);
            ADD_FAILURE() << row.path;
        } catch (const UnreadableSettings& error) {
            EXPECT_STREQ(error.what(), row.reason);
        }
}

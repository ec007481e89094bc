// SPDX-License-Identifier: Apache-2.0
// From the settings file to the identity, in a process on a private board.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::PrivateBoard;
using TestSupport::TemporaryFolder;

namespace {

std::string Settings(const TemporaryFolder& folder) {
    return "system_config_dir = \"" + folder.Path() + "\"\n";
}

} // namespace

TEST(IdentityOnABoard, IsReadFromTheFolderThatTheSettingsName) {
    const TemporaryFolder folder;
    folder.Write("serialnumber.product", "1a2b3c4d");
    folder.Write("version.product", "v2.1.0");
    folder.Write("hwrevision", "mainboard 3.0.1");
    PrivateBoard board;
    board.SetSettings(Settings(folder));

    const auto result = board.Run({IDENTITY_SCENE});

    EXPECT_EQ(result.output, "ProductInfo[SerialNumber=1a2b3c4d, version=2.1.0]\n"
                             "HardwareInfo[name=mainboard, version=3.0.1]\n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST(IdentityOnABoard, ShowsATechnicianTheLineEndThatEchoWrote) {
    const TemporaryFolder folder;
    folder.Write("serialnumber.product", "1a2b3c4d\n");
    PrivateBoard board;
    board.SetSettings(Settings(folder));

    const auto result = board.Run({IDENTITY_SCENE});

    EXPECT_EQ(result.output, "System::FormatException: \"1a2b3c4d\\n\" is not a hexadecimal number\n");
    EXPECT_EQ(result.exitCode, 1);
}

TEST(IdentityOnABoard, IsLookedForInTheDefaultFolderWithoutSettings) {
    PrivateBoard board;

    const auto result = board.Run({IDENTITY_SCENE});

    EXPECT_THAT(result.output, StartsWith("System::IO::FileNotFoundException: "));
    EXPECT_THAT(result.output, HasSubstr("/etc/serialnumber.product"));
    EXPECT_EQ(result.exitCode, 1);
}

TEST(IdentityOnABoard, IsNotThereWithABrokenSettingsFile) {
    PrivateBoard board;
    board.SetSettings("system_config_dir = \n[\n");

    const auto result = board.Run({IDENTITY_SCENE});

    EXPECT_THAT(result.output, StartsWith("System::FormatException: "));
    EXPECT_EQ(result.exitCode, 1);
}

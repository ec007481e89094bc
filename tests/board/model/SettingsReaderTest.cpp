// SPDX-License-Identifier: Apache-2.0
#include "board/model/SettingsReader.h"

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

TEST(SettingsReaderTest, WiresTheModelAsTheFileSays) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("conf", "web_log_file=/a\n[oxbo_pin]\nreset_n = \"/b_c\"\n[led]\nmodule_status_red=/d\n");
    BoardModel model;

    ApplySettings(folder.Path("conf"), model);

    EXPECT_EQ(model.WebLogFile(), "/a");
    EXPECT_EQ(model.Lines()[*model.FindLine("OXBO_RESET1_N")].path, "/b_c");
    EXPECT_EQ(model.Lines()[*model.FindLine("QOR_RESET0_N")].path, "/var/dev/gpio-outputs/qorResetN/value");
    EXPECT_EQ(model.LedElements()[1].path, "/d");
}

TEST(SettingsReaderTest, PassesOnWhatTheParserSaysAndChangesNothing) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("conf", "web_log_file=/a\n!");
    BoardModel model;
    try {
        ApplySettings(folder.Path("conf"), model);
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(), "Unexpected char '!' at 1:1 when parsing " + folder.Path("conf"));
    }
    EXPECT_EQ(model.WebLogFile(), "/mnt/share/logger");
}

} // namespace
} // namespace VelrixBoard

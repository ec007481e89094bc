// SPDX-License-Identifier: Apache-2.0
// Records when a process forks, executes another program or ends: the table of docs/tracing.md.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/runtime/Diagnostics/TraceProgram.h"
#include "tests/support/Emulator.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TraceLifeWays.h"

namespace {

using TestSupport::Command;
using TestSupport::RecordTexts;
using TestSupport::TemporaryFolder;
using TestSupport::TRACE_LIFE_WAYS;
using TestSupport::TraceLifeWay;

class TraceLife : public testing::TestWithParam<TraceLifeWay> {};

TEST_P(TraceLife, FileKeepsEveryRecord) {
    const TraceLifeWay& way = GetParam();
    TemporaryFolder folder;
    const std::string path = folder.Path("records.log");

    const auto result = TraceProgram(TraceProgram::Life({"file:" + path, way.way, way.argument})).Wait();

    EXPECT_EQ(result.exitCode, way.exitCode);
    EXPECT_EQ(RecordTexts(folder.Read("records.log"), "] "), way.records);
    EXPECT_EQ(result.errors, "");
}

TEST_P(TraceLife, OwnListenerIsDestroyedAtAnOrderlyEndAndNotClosed) {
    const TraceLifeWay& way = GetParam();

    const auto result = TraceProgram(TraceProgram::Life({"own", way.way, way.argument})).Wait();

    EXPECT_EQ(result.exitCode, way.exitCode);
    EXPECT_EQ(result.output, way.ownOutput);
}

TEST(TraceLifeNames, TakeAnyNameOfAProgramIntoTheRecord) {
    const struct {
        std::string name, written;
    } rows[] = {
        {"g", "g"},
        {std::string(38, 'n'), std::string(38, 'n')},
        {std::string(39, 'n'), std::string(39, 'n')},
        {std::string(200, 'n'), std::string(200, 'n')},
        {"two\nlines", "two\\nlines"},
    };

    for (const auto& row : rows) {
        TemporaryFolder folder;
        std::filesystem::create_symlink(TRACE_LIFE_PROGRAM, folder.Path(row.name));
        TraceProgram program(Command({folder.Path(row.name), "file:" + folder.Path("records.log"), "return"}));
        const std::string id = std::to_string(program.Id());

        EXPECT_EQ(program.Wait().exitCode, 0);

        EXPECT_EQ(folder.Read("records.log").substr(24),
                  " INFORMATION " + row.written + "[" + id + ":" + id + "] last\n");
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, TraceLife, testing::ValuesIn(TRACE_LIFE_WAYS));

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/JUnit.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::milliseconds;

namespace {

const Scenario SCENARIO{"a&b.scenario",
                        {{1, "wait 1s", Wait{}, 1, "a&b.scenario"},
                         {3, "web log has \"<x>\"", Wait{}, 1, "a&b.scenario", "2 of 5"},
                         {4, "wait 2s", Wait{}, 1, "common/b.scenario"}}};
const std::vector<StepResult> RESULTS{{StepResult::Verdict::PASSED, "", milliseconds(1'000)},
                                      {StepResult::Verdict::FAILED, "seen: \"a\x1b<\xB0\"", milliseconds(1'250)},
                                      {}};

} // namespace

TEST(JUnit, ReportsACaseAStep) {
    EXPECT_EQ(JUnitReport("power & up", SCENARIO, RESULTS, 2'147'483'648),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuite name=\"power &amp; up\" tests=\"3\" failures=\"1\" errors=\"0\" skipped=\"1\" "
              "timestamp=\"2038-01-19T03:14:08Z\" time=\"1.250\">\n"
              "  <testcase classname=\"power &amp; up\" name=\"1: wait 1s\" time=\"1.000\"/>\n"
              "  <testcase classname=\"power &amp; up\" name=\"3 (2 of 5): web log has &quot;&lt;x&gt;&quot;\" "
              "time=\"0.250\">\n"
              "    <failure message=\"seen: &quot;a\\x1B&lt;\\xB0&quot;\"/>\n"
              "  </testcase>\n"
              "  <testcase classname=\"power &amp; up\" name=\"common/b.scenario:4: wait 2s\" "
              "time=\"0.000\"><skipped/></testcase>\n"
              "</testsuite>\n");
}

TEST(JUnit, ShowsWhatTheProgramPrinted) {
    CapturedOutput output;
    output.Add(ProgramStream::OUTPUT, "a <b>\n\nc\x1b");
    output.Add(ProgramStream::OUTPUT, "d");

    const std::string report = JUnitReport("s", Scenario{"x", {}}, {}, 0, output);

    EXPECT_TRUE(report.ends_with("  <system-out>a &lt;b&gt;\n\nc\\x1Bd</system-out>\n</testsuite>\n")) << report;
}

TEST(JUnit, KeepsTheEndOfWhatTheProgramPrinted) {
    CapturedOutput output;
    output.Add(ProgramStream::ERRORS, "123");
    output.Add(ProgramStream::ERRORS, std::string(CapturedOutput::MOST - 1, 'x'));

    EXPECT_EQ(output.Text(ProgramStream::ERRORS),
              "[2 bytes are left out here]\n3" + std::string(CapturedOutput::MOST - 1, 'x'));
    EXPECT_EQ(output.Text(ProgramStream::OUTPUT), "");
}

TEST(JUnit, ReportsAMistakeInTheScenarioAsAnError) {
    EXPECT_EQ(JUnitReport("power-up", ScenarioError("a.scenario:2:1: expected <x>")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuite name=\"power-up\" tests=\"1\" failures=\"0\" errors=\"1\" skipped=\"0\">\n"
              "  <testcase classname=\"power-up\" name=\"scenario\" time=\"0.000\">\n"
              "    <error message=\"a.scenario:2:1: expected &lt;x&gt;\"/>\n"
              "  </testcase>\n"
              "</testsuite>\n");
}

TEST(JUnit, NamesASuiteByTheScenariosFile) {
    EXPECT_EQ(SuiteName("/home/user/tests/power-up.scenario"), "power-up");
    EXPECT_EQ(SuiteName("power-up"), "power-up");
}

TEST(PlainReport, NamesWhatFailedAndCounts) {
    EXPECT_EQ(PlainReport(SCENARIO, RESULTS), "a&b.scenario:3 (2 of 5): web log has \"<x>\": seen: \"a\\x1B<\\xB0\"\n"
                                              "a&b.scenario: 1 step passed, 1 failed, 1 not reached\n");
    EXPECT_EQ(PlainReport(SCENARIO, {{}, {}, {}}), "a&b.scenario: 0 steps passed, 0 failed, 3 not reached\n");
}

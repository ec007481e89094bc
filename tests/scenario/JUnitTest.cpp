// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/JUnit.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::milliseconds;

namespace {

const Scenario SCENARIO{"a&b.scenario",
                        {{1, "wait 1s", Wait{}}, {3, "web log has \"<x>\"", Wait{}}, {4, "wait 2s", Wait{}}}};
const std::vector<StepResult> RESULTS{{StepResult::Verdict::PASSED, "", milliseconds(1'000)},
                                      {StepResult::Verdict::FAILED, "seen: \"a\x1b<\xB0\"", milliseconds(1'250)},
                                      {}};

} // namespace

TEST(JUnit, ReportsACaseAStep) {
    EXPECT_EQ(
        JUnitReport(SCENARIO, RESULTS),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<testsuite name=\"a&amp;b.scenario\" tests=\"3\" failures=\"1\" skipped=\"1\">\n"
        "  <testcase classname=\"a&amp;b.scenario\" name=\"1: wait 1s\" time=\"1.000\"/>\n"
        "  <testcase classname=\"a&amp;b.scenario\" name=\"3: web log has &quot;&lt;x&gt;&quot;\" time=\"0.250\">\n"
        "    <failure message=\"seen: &quot;a\\x1B&lt;\\xB0&quot;\"/>\n"
        "  </testcase>\n"
        "  <testcase classname=\"a&amp;b.scenario\" name=\"4: wait 2s\" time=\"0.000\"><skipped/></testcase>\n"
        "</testsuite>\n");
}

TEST(PlainReport, NamesWhatFailedAndCounts) {
    EXPECT_EQ(PlainReport(SCENARIO, RESULTS), "a&b.scenario:3: web log has \"<x>\": seen: \"a\\x1B<\\xB0\"\n"
                                              "a&b.scenario: 1 step passed, 1 failed, 1 not reached\n");
    EXPECT_EQ(PlainReport(SCENARIO, {{}, {}, {}}), "a&b.scenario: 0 steps passed, 0 failed, 3 not reached\n");
}

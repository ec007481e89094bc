// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/LampReport.h"

#include <gtest/gtest.h>

using namespace VelrixTools;

namespace {

const std::vector<LampResult> RESULTS = {
    {"MS", "green", LampVerdict::GOOD}, {"MS", "red", LampVerdict::WRONG}, {"NS", "green", LampVerdict::NOT_ASKED}};

} // namespace

TEST(LampReport, IsWrongWithOneWrongElement) {
    EXPECT_TRUE(HasWrong(RESULTS));
    EXPECT_FALSE(HasWrong({RESULTS.front(), RESULTS.back()}));
    EXPECT_FALSE(HasWrong({}));
}

TEST(LampReport, IsAJUnitReport) {
    EXPECT_EQ(LampJUnit(RESULTS), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<testsuite name=\"lamp-test\" tests=\"3\" failures=\"1\" skipped=\"1\">\n"
                                  "  <testcase classname=\"lamp-test\" name=\"MS green\"/>\n"
                                  "  <testcase classname=\"lamp-test\" name=\"MS red\">\n"
                                  "    <failure message=\"not just this element was lit\"/>\n"
                                  "  </testcase>\n"
                                  "  <testcase classname=\"lamp-test\" name=\"NS green\">\n"
                                  "    <skipped message=\"shown, and nobody was asked\"/>\n"
                                  "  </testcase>\n"
                                  "</testsuite>\n");
}

TEST(LampReport, IsJson) {
    EXPECT_EQ(LampJson({RESULTS[1]}),
              "[\n  {\n    \"led\": \"MS\",\n    \"element\": \"red\",\n    \"result\": \"wrong\"\n  }\n]\n");
}

// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/LampReport.h"

#include <algorithm>

#include "tools/velrixctl/Json.h"

namespace VelrixTools {

namespace {

std::string CountOf(const std::vector<LampResult>& results, LampVerdict verdict) {
    return std::to_string(
        std::count_if(results.begin(), results.end(), [&](const LampResult& row) { return row.verdict == verdict; }));
}

const char* NameOf(LampVerdict verdict) {
    return verdict == LampVerdict::NOT_ASKED ? "shown" : verdict == LampVerdict::GOOD ? "good" : "wrong";
}

} // namespace

bool HasWrong(const std::vector<LampResult>& results) {
    return CountOf(results, LampVerdict::WRONG) != "0";
}

std::string LampJson(const std::vector<LampResult>& results) {
    Json all = Json::array();
    for (const LampResult& result : results)
        all.push_back({{"led", result.led}, {"element", result.element}, {"result", NameOf(result.verdict)}});
    return TextOf(all, true) + "\n";
}

// The names are the labels of LEDs and colours, which need no escapes.
std::string LampJUnit(const std::vector<LampResult>& results) {
    std::string report = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"lamp-test\" tests=\"" +
                         std::to_string(results.size()) + "\" failures=\"" + CountOf(results, LampVerdict::WRONG) +
                         "\" skipped=\"" + CountOf(results, LampVerdict::NOT_ASKED) + "\">\n";
    for (const LampResult& result : results) {
        report += "  <testcase classname=\"lamp-test\" name=\"" + result.Name() + "\"";
        if (result.verdict == LampVerdict::GOOD)
            report += "/>\n";
        else if (result.verdict == LampVerdict::WRONG)
            report += ">\n    <failure message=\"not just this element was lit\"/>\n  </testcase>\n";
        else
            report += ">\n    <skipped message=\"shown, and nobody was asked\"/>\n  </testcase>\n";
    }
    return report + "</testsuite>\n";
}

} // namespace VelrixTools

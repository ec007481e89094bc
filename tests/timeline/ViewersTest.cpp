// SPDX-License-Identifier: Apache-2.0
// Recordings in real viewers: GTKWave's converter and the command line of sigrok, the base of PulseView.
#include <array>
#include <cstdio>
#include <sstream>

#include <gtest/gtest.h>

#include "board/timeline/VcdWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestTools.h"

using namespace VelrixBoard;
using std::chrono::microseconds;

namespace {

std::string OutputOf(const std::string& tool, const std::string& arguments) {
    const std::string command = TestSupport::NeedTool(tool) + tool + " " + arguments;
    std::FILE* const pipe = popen(("exec 2>&1\n" + command).c_str(), "r");
    std::string output;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), count);
    EXPECT_EQ(pclose(pipe), 0) << command << ": " << output;
    return output;
}

// A blink of one LED, a pulse of 3 us, two changes in one instant, and an end.
void WriteRecording(const std::string& path) {
    VcdWriter writer(path, {{"OXBO_RESET1_N", true, {}}, {"MS.green", false, {}}});
    writer.Write(1, true, microseconds(2));
    writer.Write(0, false, microseconds(5));
    writer.Write(1, false, microseconds(5));
    writer.Write(0, true, microseconds(8));
    writer.Finish(microseconds(12));
}

} // namespace

TEST(Viewers, GtkWaveConvertsARecordingWithoutLosingAChange) {
    const TestSupport::TemporaryFolder folder;
    const std::string vcd = folder.Path() + "/run.vcd", fst = folder.Path() + "/run.fst";
    WriteRecording(vcd);

    OutputOf("vcd2fst", vcd + " " + fst);
    const std::string back = OutputOf("fst2vcd", fst);

    for (const char* word : {"OXBO_RESET1_N", "MS_green", "#2\n", "#5\n", "#6\n", "#8\n", "#12"})
        EXPECT_NE(back.find(word), std::string::npos) << word << " in\n" << back;
}

TEST(Viewers, SigrokCountsEverySample) {
    const TestSupport::TemporaryFolder folder;
    const std::string vcd = folder.Path() + "/run.vcd";
    WriteRecording(vcd);

    const std::string output = OutputOf("sigrok-cli", "-i " + vcd + " -I vcd -O csv:header=false:label=off:time=false");

    // One row per microsecond: reset, green.
    std::string rows;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        if (line.size() == 3 && line[1] == ',')
            rows += line + "|";
    EXPECT_EQ(rows, "1,0|1,0|1,1|1,1|1,1|0,1|0,0|0,0|1,0|1,0|1,0|1,0|");
}

// SPDX-License-Identifier: Apache-2.0
#include "board/commands/TestingOptions.h"

#include <CLI/CLI.hpp>

namespace VelrixBoard {

void TestingOptions::AddTo(CLI::App& command) {
    command.add_option("--timeline", timeline, "Record every change of every line and LED")->type_name("FILE.vcd");
    CLI::Option* play =
        command.add_option("--scenario", scenario, "Play these steps and judge the run by them: 0 or 1")
            ->type_name("FILE");
    command.add_option("--junit", junit, "Write the scenario's results as a JUnit report")
        ->type_name("FILE.xml")
        ->needs(play);
}

void TestingOptions::AddRecordingTo(CLI::App& command) {
    command.add_option("FILE", recording, "Gets what is done to the board, as a scenario")->required();
}

void TestingOptions::Apply(BoardOptions& options) const {
    options.timeline = timeline;
    options.recording = recording;
    if (scenario)
        options.scenario = ScenarioOptions{*scenario, junit};
}

} // namespace VelrixBoard

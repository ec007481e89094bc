// SPDX-License-Identifier: Apache-2.0
#include "board/commands/DiffCommand.h"

#include <cstdio>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/timeline/VcdReader.h"

namespace VelrixBoard {

namespace {

void AddTime(CLI::App& command, const std::string& name, TimelineTime& time, const std::string& description) {
    const auto read = [&time, name](const std::string& text) {
        const auto parsed = ParseTime(text);
        if (!parsed)
            throw CLI::ValidationError(name, "takes a time such as 500us, 20ms or 1.5s, not " + text);
        time = *parsed;
    };
    command.add_option_function<std::string>(name, read, description)->type_name("TIME");
}

} // namespace

DiffCommand::DiffCommand(CLI::App& app)
    : command(app.add_subcommand("diff", "Say where two recordings differ: velrix-board diff A.vcd B.vcd [OPTIONS]")) {
    command->footer("Ends with 0 where the recordings agree, with 1 where they differ, with 125 where one cannot be "
                    "read.");
    command->add_option("A", first, "The recording to compare with")->required()->type_name("FILE.vcd");
    command->add_option("B", second, "The recording to compare")->required()->type_name("FILE.vcd");
    AddTime(*command, "--tolerance", options.tolerance,
            "How far apart a change may be and still be the same one; 0 if not given");
    AddTime(*command, "--glitch", options.glitch, "Overlook levels that last no longer than this; 0 if not given");
    command->add_flag("--from-first-change", options.fromFirstChange,
                      "Count times from the first change of each run, not from the start of its program");
}

bool DiffCommand::IsGiven() const {
    return command->parsed();
}

int DiffCommand::Run() const {
    const std::vector<std::string> differences = Difference(ReadVcd(first), ReadVcd(second), options);
    for (const std::string& difference : differences)
        std::printf("%s\n", difference.c_str());
    return differences.empty() ? 0 : 1;
}

} // namespace VelrixBoard

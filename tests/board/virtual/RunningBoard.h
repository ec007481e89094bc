// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/sandbox/PreloadLibrary.h"
#include "tests/board/CommandRun.h"
#include "tests/board/RunningCommand.h"

namespace VelrixBoard {

// To be written to: every level of a line is shown, while a colour of an LED has to last.
constexpr const char* LINE = "/var/dev/gpio-outputs/oxboResetN/value";

// In which isolations boards can be bounded: those of this build.
inline std::vector<std::string> Isolations() {
    return PreloadLibrary().empty() ? std::vector<std::string>{"namespaces"}
                                    : std::vector<std::string>{"namespaces", "preload"};
}

// The command velrix-board with a shell script for a program.
class RunningBoard final : public RunningCommand {
public:
    RunningBoard(Stream stream, bool isStreamRead, const std::vector<std::string>& options, const std::string& script)
        : RunningCommand(stream, isStreamRead) {
        std::vector<std::string> command = OnBoard(script, options);
        command.insert(command.begin() + 2, {"--directory", folder.Path("board")});
        Start(command);
    }

    // Of a file in the run directory.
    std::string Path(const std::string& name) const { return folder.Path("board/" + name); }
    std::string Content(const std::string& name) const { return folder.Read("board/" + name); }
};

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/model/OxboModule.h"

namespace CLI {
class App;
class Error;
} // namespace CLI

namespace VelrixBoard {

// The board could not be made, or an argument is wrong.
inline constexpr int BOARD_FAILED = 125;

// The arguments up to "--" in CLI11's order, last first; the rest is the program's, and none of the command's business.
std::vector<std::string> OwnArguments(int argc, char** argv, std::vector<std::string>& program);

// The options that say how the board begins. The values hold once the command has been parsed.
class BeginningOptions final {
public:
    void AddTo(CLI::App& command);

    // Levels of inputs by their labels; when the Oxbo module becomes ready, nothing: never. Both throw CLI::ParseError
    // for what is not understood.
    std::map<std::string, bool> Levels() const;
    std::optional<std::chrono::milliseconds> OxboReadyAfter() const;

private:
    std::vector<std::string> levels;
    std::string readyAfter = std::to_string(OxboModule::READY_AFTER.count()) + "ms";
};

// What the user is told of arguments that are not understood: what is wrong, and where help is. For CLI::App's
// failure_message.
std::string RefusalText(const CLI::App* app, const CLI::Error& error);

// Throws CLI::ParseError when there is no program to run.
void RequireProgram(const CLI::App& app, const std::vector<std::string>& program);

// Lets each occurrence of an option take one value: "--set A=1 -- X" would be read on otherwise. Comes after the last
// option.
void TakeOneValueEach(CLI::App& command);

} // namespace VelrixBoard

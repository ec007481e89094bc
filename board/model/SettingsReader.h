// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "board/model/BoardModel.h"

namespace VelrixBoard {

// Applies the wiring of a settings file to the model, with the library's parser. A syntax error: BoardError with the
// parser's message, the model unchanged.
void ApplySettings(const std::filesystem::path& file, BoardModel& model);

// The model of a board with these settings, if any, and levels of inputs. Programs are run against faulty settings
// files too, to see what they do; the board then keeps the wiring it has without a file, and the command says so on
// standard error.
BoardModel MakeModel(const char* command, const std::optional<std::filesystem::path>& settings,
                     const std::map<std::string, bool>& levels);

} // namespace VelrixBoard

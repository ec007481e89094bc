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

// The model of a board with these settings, if any, and levels of inputs. Prints on standard error what is wrong in the
// file, where and why. Programs are run against faulty files too, to see what they do; after a syntax error the board
// keeps the wiring it has without a file, and the command says so.
BoardModel MakeModel(const char* command, const std::optional<std::filesystem::path>& settings,
                     const std::map<std::string, bool>& levels);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/model/BoardModel.h"

namespace VelrixBoard {

// Applies the wiring of a settings file to the model, with the library's parser. A syntax error: BoardError with the
// parser's message, the model unchanged.
void ApplySettings(const std::filesystem::path& file, BoardModel& model);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/model/BoardModel.h"

namespace VelrixBoard {

// Gives the model the wiring of a settings file, read as the library reads it. Throws BoardError with the parser's
// message where the library would refuse the file's syntax; the model is unchanged then.
void ApplySettings(const std::filesystem::path& file, BoardModel& model);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ReadFile.h"

#include <fstream>
#include <sstream>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

std::string ReadFile(const std::filesystem::path& file) {
    // A directory can be opened too, and fails only later.
    std::ifstream stream;
    if (!std::filesystem::is_directory(file))
        stream.open(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream.is_open() || stream.bad())
        throw BoardError("cannot read " + file.native());
    return std::move(content).str();
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ReadFile.h"

#include <fstream>
#include <sstream>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

std::string Kind(std::filesystem::file_type type) {
    switch (type) {
    case std::filesystem::file_type::directory:
        return "a directory";
    case std::filesystem::file_type::fifo:
        return "a named pipe";
    case std::filesystem::file_type::socket:
        return "a socket";
    case std::filesystem::file_type::block:
    case std::filesystem::file_type::character:
        return "a device";
    default:
        return "no file with content";
    }
}

} // namespace

void RequireContent(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw BoardError("cannot read " + file.native() + ": it is " + Kind(status.type()) +
                         ", and only regular files can be read; name a file, or leave it out");
}

std::string ReadFile(const std::filesystem::path& file) {
    RequireContent(file);
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream.is_open() || stream.bad())
        throw BoardError("cannot read " + file.native());
    return std::move(content).str();
}

} // namespace VelrixBoard

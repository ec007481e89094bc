// SPDX-License-Identifier: Apache-2.0
#include "board/base/ReadFile.h"

#include <fstream>
#include <map>
#include <sstream>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

const std::map<std::filesystem::file_type, const char*> KINDS = {
    {std::filesystem::file_type::directory, "a directory"}, {std::filesystem::file_type::fifo, "a named pipe"},
    {std::filesystem::file_type::socket, "a socket"},       {std::filesystem::file_type::block, "a device"},
    {std::filesystem::file_type::character, "a device"},
};

} // namespace

void RequireContent(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    const auto kind = KINDS.find(status.type());
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw BoardError("cannot read " + file.native() + ": it is " +
                         (kind != KINDS.end() ? kind->second : "no file with content") +
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

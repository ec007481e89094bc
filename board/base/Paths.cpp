// SPDX-License-Identifier: Apache-2.0
#include "board/base/Paths.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>

#include <fcntl.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

namespace {

const std::map<std::filesystem::file_type, const char*> KINDS = {
    {std::filesystem::file_type::directory, "a directory"}, {std::filesystem::file_type::fifo, "a named pipe"},
    {std::filesystem::file_type::socket, "a socket"},       {std::filesystem::file_type::block, "a device"},
    {std::filesystem::file_type::character, "a device"},
};

} // namespace

bool IsIn(const std::filesystem::path& path, const std::filesystem::path& directory) {
    return std::mismatch(path.begin(), path.end(), directory.begin(), directory.end()).second == directory.end();
}

void MakeFile(const std::filesystem::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (!file)
        ThrowSystemError("cannot make " + path.string());
}

void CopyToBoard(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::error_code error;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    if (error)
        throw BoardError("cannot copy " + from.string() + " to the board: " + error.message());
    std::filesystem::permissions(to, std::filesystem::perms(0644), error);
}

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

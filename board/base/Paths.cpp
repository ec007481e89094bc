// SPDX-License-Identifier: Apache-2.0
#include "board/base/Paths.h"

#include <algorithm>
#include <system_error>

#include <fcntl.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

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

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include "board/base/Paths.h"

#include <algorithm>

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

} // namespace VelrixBoard

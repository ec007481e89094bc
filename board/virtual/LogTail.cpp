// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/LogTail.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace VelrixBoard {

void LogTail::Read() {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error)
        return;
    if (size < read) {
        read = 0;
        rest.clear();
    }
    std::ifstream stream(file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(read));
    const std::string added{std::istreambuf_iterator<char>(stream), {}};
    read += added.size();
    rest += added;
    std::size_t begin = 0;
    for (std::size_t end; (end = rest.find('\n', begin)) != std::string::npos; begin = end + 1)
        action(std::string_view(rest).substr(begin, end - begin));
    rest.erase(0, begin);
}

} // namespace VelrixBoard

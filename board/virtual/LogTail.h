// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace VelrixBoard {

// Reads a file that others append lines to, line by line, as far as lines are complete. A file that got shorter is read
// from its beginning.
class LogTail final {
public:
    using Action = std::function<void(std::string_view line)>;

    LogTail(std::filesystem::path logFile, Action onLine) : file(std::move(logFile)), action(std::move(onLine)) {}

    // Tells the lines that are new.
    void Read();

private:
    std::filesystem::path file;
    Action action;
    std::size_t read = 0;
    std::string rest;
};

} // namespace VelrixBoard

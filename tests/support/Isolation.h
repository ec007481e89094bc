// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace TestSupport {

// Whether boards of this test run use the preloaded library. ctest runs cases on a board once per isolation, named by
// VELRIX_TEST_ISOLATION; without it the board chooses.
inline bool BoardsArePreloaded() {
    const char* isolation = std::getenv("VELRIX_TEST_ISOLATION");
    return isolation != nullptr && std::string(isolation) == "preload";
}

// Adds the test run's isolation to a velrix-board command without one.
inline std::vector<std::string> WithIsolation(std::vector<std::string> command) {
    const char* isolation = std::getenv("VELRIX_TEST_ISOLATION");
    if (isolation == nullptr || command.size() < 2 || std::filesystem::path(command[0]).filename() != "velrix-board" ||
        (command[1] != "run" && command[1] != "record" && command[1] != "explore"))
        return command;
    const auto separator = std::find(command.begin(), command.end(), "--");
    const bool names = std::any_of(command.begin(), separator,
                                   [](const std::string& word) { return word.starts_with("--isolation"); });
    if (!names)
        command.insert(separator, {"--isolation", isolation});
    return command;
}

} // namespace TestSupport

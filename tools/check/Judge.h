// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/check/Finding.h"

namespace VelrixTools {

// More findings than these are not looked for.
inline constexpr std::size_t MOST_FINDINGS = 100;

struct JudgeOptions {
    bool paths = false; // warn of paths in the file that do not exist
};

// What is wrong in a settings file, in its order; an error where, and only where, the library refuses the file. A
// syntax error ends the list, as it ends the library's reading. Names and numbers are judged by the library's handlers,
// syntax by its parser's table.
std::vector<Finding> JudgeSettings(std::string_view text, const JudgeOptions& options = {});

bool HasErrors(const std::vector<Finding>& findings);

} // namespace VelrixTools

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace VelrixTools {

// Why CLI11 refuses a command line, in the words of these tools. kind and message: get_name and what of its error.
// valueOf: what the option of that name takes, such as "FILE".
std::string ReasonOf(const std::string& kind, const std::string& message,
                     const std::function<std::string(const std::string& option)>& valueOf);

} // namespace VelrixTools

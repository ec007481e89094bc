// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace VelrixBoard {

// The reason why a step into the namespaces failed, and the remedy, by the machine's sysctls and the user, since some
// do not apply to root.
std::string DescribeRefusal(const std::string& step, int error, uid_t user,
                            const std::filesystem::path& sysctls = "/proc/sys");

} // namespace VelrixBoard

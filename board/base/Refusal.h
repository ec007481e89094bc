// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace VelrixBoard {

// Why a step on the way into the namespaces was refused, and what to do, judged by the machine's settings and by
// the user, since some bind all but root.
std::string DescribeRefusal(const std::string& step, int error, uid_t user,
                            const std::filesystem::path& sysctls = "/proc/sys");

} // namespace VelrixBoard

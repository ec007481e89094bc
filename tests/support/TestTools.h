// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// The first lines of a shell script that starts the tool: PATH with the folder of scripts/test-tools first and, for
// installed daemons, /usr/sbin last, which is not in every user's PATH.
inline std::string NeedTool(const std::string& tool) {
    return "PATH=" VELRIX_TEST_TOOLS ":$PATH:/usr/sbin\n"
           "command -v " +
           tool + " >/dev/null || { echo '" + tool + " is missing; scripts/setup test provides it' >&2; exit 1; }\n";
}

} // namespace TestSupport

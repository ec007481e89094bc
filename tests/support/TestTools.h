// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// Lines for the head of a shell script that starts the tool: PATH with the folder of scripts/test-tools in front and,
// for daemons that are installed, /usr/sbin behind, which is not in every user's.
inline std::string NeedTool(const std::string& tool) {
    return "PATH=" VELRIX_TEST_TOOLS ":$PATH:/usr/sbin\n"
           "command -v " +
           tool + " >/dev/null || { echo '" + tool + " is missing; scripts/setup test provides it' >&2; exit 1; }\n";
}

} // namespace TestSupport

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

// velrixctl on a PrivateBoard.
namespace TestSupport {

// A file of the board for the output of a command in the background.
inline constexpr const char* COMMAND_OUTPUT = "/mnt/share/output";

// Shell commands, in which "ctl" is the command.
inline std::vector<std::string> VelrixctlInShell(const std::string& script) {
    return {"sh", "-c", "ctl() { " VELRIXCTL " \"$@\"; }\n" + script};
}

// A command that goes on; signals to the board reach it.
inline std::vector<std::string> VelrixctlInBackground(const std::string& arguments) {
    return {"sh", "-c", "exec " VELRIXCTL " " + arguments + " > " + COMMAND_OUTPUT};
}

} // namespace TestSupport

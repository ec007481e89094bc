// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/velrixctl/CommandTable.h"

namespace VelrixTools {

// Ends the command with a message, or silently where that is empty, and an exit code.
class CommandError : public std::runtime_error {
public:
    explicit CommandError(const std::string& message, int ownCode = EXIT_FAILED)
        : std::runtime_error(message), code(ownCode) {}
    int Code() const { return code; }

private:
    int code;
};

// Writes to standard output at once and completely; CommandError where that is impossible, silent for a pipe
// that its reader has closed.
void Print(std::string_view text);

// "velrixctl: message" on standard error.
void Complain(std::string_view message);

// Standard output; the standard error for IsErrorTerminal.
bool IsTerminal();
bool IsErrorTerminal();

// A terminal, and NO_COLOR is unset or empty.
bool HasColours();
bool HasErrorColours();

enum class Colour { NONE, BOLD, RED, GREEN, YELLOW, GREY };

// The text in the colour where standard output has colours.
std::string In(Colour colour, const std::string& text);

// Text of a file for people: control characters and bytes that are not UTF-8 as \n or \x1B.
std::string Escaped(std::string_view text);

} // namespace VelrixTools

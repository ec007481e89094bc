// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Console.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "tools/check/SettingsText.h"

namespace VelrixTools {

namespace {

bool WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR)
            return false;
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

bool AllowsColours() {
    const char* const forbidden = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (forbidden == nullptr || *forbidden == '\0') && (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

const char* CodeOf(Colour colour) {
    switch (colour) {
    case Colour::BOLD:
        return "1";
    case Colour::RED:
        return "1;31";
    case Colour::GREEN:
        return "32";
    case Colour::YELLOW:
        return "33";
    case Colour::GREY:
        return "2";
    case Colour::NONE:
        break;
    }
    return "0";
}

} // namespace

void Print(std::string_view text) {
    if (WriteAll(STDOUT_FILENO, text))
        return;
    // Whoever closed the pipe, such as head, has seen enough.
    if (errno == EPIPE)
        throw CommandError("");
    throw CommandError(std::string("cannot write the output: ") + std::strerror(errno));
}

// A failure has nowhere to go.
void Complain(std::string_view message) {
    (void)WriteAll(STDERR_FILENO, "velrixctl: " + std::string(message) + "\n");
}

bool IsTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

bool IsErrorTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

bool HasColours() {
    return IsTerminal() && AllowsColours();
}

bool HasErrorColours() {
    return IsErrorTerminal() && AllowsColours();
}

std::string In(Colour colour, const std::string& text) {
    return colour == Colour::NONE || !HasColours() ? text
                                                   : std::string("\x1b[") + CodeOf(colour) + "m" + text + "\x1b[0m";
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = CodePointSize(text, i);
        const std::string codePoint(text.substr(i, size));
        i += size;
        if (codePoint == "\n") {
            escaped += "\\n";
        } else if (codePoint == "\r") {
            escaped += "\\r";
        } else if (codePoint == "\t") {
            escaped += "\\t";
        } else if (Printable(codePoint) == codePoint) {
            escaped += codePoint;
        } else {
            for (const char c : codePoint) {
                std::array<char, 8> number{};
                std::snprintf(number.data(), number.size(), "\\x%02X",
                              static_cast<unsigned>(static_cast<unsigned char>(c)));
                escaped += number.data();
            }
        }
    }
    return escaped;
}

} // namespace VelrixTools

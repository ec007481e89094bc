// SPDX-License-Identifier: Apache-2.0
#include "board/commands/PanelOptions.h"

#include <charconv>
#include <cstdint>

#include <CLI/CLI.hpp>

#include "board/panel/Panel.h"

namespace VelrixBoard {

namespace {

// CLI11's value of a flag without one.
const std::string USUAL = "true";

std::optional<int> ParsePort(const std::string& text) {
    if (text == USUAL)
        return std::nullopt;
    std::uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || rest != end)
        throw CLI::ValidationError("--panel", "takes a port from 0 to 65535, 0 for any free one");
    return port;
}

std::string Title(const std::vector<std::string>& command) {
    std::string title;
    for (const std::string& word : command)
        title += (title.empty() ? "" : " ") + word;
    return title;
}

} // namespace

PanelOptions::PanelOptions(CLI::App& command) {
    command
        .add_flag(
            "--panel", port,
            "Show the board in a browser, on 127.0.0.1; on port 8642, or a free one where that is in use, if none "
            "is given: --panel=PORT")
        ->type_name("[=PORT]");
}

void PanelOptions::Complete(BoardOptions& options, const std::vector<std::string>& command) const {
    if (port.empty())
        return;
    options.attachments.emplace_back([number = ParsePort(port), title = Title(command)](
                                         const BoardState& state, IBoardControl& control, Clock clock) {
        return std::make_unique<Panel>(state, control, std::move(clock), title, number);
    });
}

} // namespace VelrixBoard

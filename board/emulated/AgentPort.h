// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VelrixBoard {

// Parses the messages of the agent and the runner in the emulated machine (image/agent, image/runner), one per line of
// their serial port. Programs there are root and may write to the port, so anything else is an error, and the end of a
// program counts only with the secret word of its start.
class AgentPort final {
public:
    // Longer than any message.
    static constexpr std::size_t LONGEST_LINE = 1024;

    struct Message {
        enum class Kind { READY, FAILED, EXIT, SIGNALLED };
        Kind kind;
        std::string addresses{}; // READY: of the GPIO controller's data register
        int code = 0;            // EXIT: of the last program
    };

    // A new secret word for the next program.
    const std::string& NewWord();

    // Parses received text and keeps an unfinished line for the next call. Ignores the end of an earlier program.
    // Throws BoardError for anything else.
    std::vector<Message> Take(std::string_view text);

    // The machine restarted.
    void Restart() { unfinished.clear(); }

private:
    void Read(std::string_view line, std::vector<Message>& messages) const;

    std::string word;
    std::string unfinished;
};

} // namespace VelrixBoard

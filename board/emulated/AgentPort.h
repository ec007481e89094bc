// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VelrixBoard {

// What the agent and the runner in the emulated machine say on their serial port (image/agent, image/runner): a line
// each. The programs that run there are root and may find the port, so that nothing on it is believed that does not
// look exactly so, nor an end that does not carry the word that only its start did.
class AgentPort final {
public:
    // Longer than any line of theirs.
    static constexpr std::size_t LONGEST_LINE = 1024;

    struct Message {
        enum class Kind { READY, FAILED, EXIT, SIGNALLED };
        Kind kind;
        std::string addresses{}; // READY: of the GPIO controller's data register
        int code = 0;            // EXIT: of the program that was started last
    };

    // A new word for the next program's start and end.
    const std::string& NewWord();

    // The messages in what has come, with an unfinished line kept for the next call. Throws BoardError for anything
    // else. The end of a program before the last one is left out.
    std::vector<Message> Take(std::string_view text);

    // The machine comes up anew: what it had begun to say is lost.
    void Restart() { unfinished.clear(); }

private:
    void Read(std::string_view line, std::vector<Message>& messages) const;

    std::string word;
    std::string unfinished;
};

} // namespace VelrixBoard

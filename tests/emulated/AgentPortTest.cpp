// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/AgentPort.h"

#include <gtest/gtest.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

// The messages, each a letter and what it says.
std::string Text(const std::vector<AgentPort::Message>& messages) {
    std::string text;
    for (const AgentPort::Message& message : messages) {
        switch (message.kind) {
        case AgentPort::Message::Kind::READY:
            text += "ready<" + message.addresses + ">";
            break;
        case AgentPort::Message::Kind::FAILED:
            text += "failed";
            break;
        case AgentPort::Message::Kind::EXIT:
            text += "exit<" + std::to_string(message.code) + ">";
            break;
        case AgentPort::Message::Kind::SIGNALLED:
            text += "signalled";
            break;
        }
    }
    return text;
}

TEST(AgentPort, ReadsTheMessagesAsTheyCome) {
    AgentPort port;
    const std::string word = port.NewWord();

    EXPECT_EQ(Text(port.Take("rea")), "");
    EXPECT_EQ(Text(port.Take("dy f0939000 f0a00000 \nsignalled\nex")), "ready<f0939000 f0a00000 >signalled");
    EXPECT_EQ(Text(port.Take("it " + word + " 143\nfailed\n")), "exit<143>failed");
}

TEST(AgentPort, BelievesOnlyTheEndOfTheProgramThatWasStartedLast) {
    AgentPort port;
    const std::string before = port.NewWord();
    const std::string word = port.NewWord();
    ASSERT_NE(before, word);

    EXPECT_EQ(Text(port.Take("exit " + before + " 0\n")), "");
    EXPECT_EQ(Text(port.Take("exit " + word + " 7\n")), "exit<7>");
}

TEST(AgentPort, RefusesWhatTheAgentDoesNotSay) {
    for (const std::string line : {"exit 0", "exit", "exit ", "", "ready", "signalled ", "hello", "exit WORD",
                                   "exit WORD zero", "exit WORD 256", "exit WORD -1", "exit WORD 1 ", "exit WORDx1",
                                   "exit WORD 99999999999999999999", "exit 0123456789ABCDEF 0", "xexit WORD 0"}) {
        AgentPort port;
        std::string said = line;
        const std::string word = port.NewWord();
        if (const std::size_t place = said.find("WORD"); place != std::string::npos)
            said.replace(place, 4, word);

        try {
            (void)port.Take(said + "\n");
            ADD_FAILURE() << said;
        } catch (const BoardError& error) {
            EXPECT_NE(std::string(error.what()).find("\"" + said + "\""), std::string::npos) << error.what();
        }
    }
}

TEST(AgentPort, RefusesALineWithoutEnd) {
    AgentPort port;
    EXPECT_EQ(Text(port.Take(std::string(AgentPort::LONGEST_LINE, 'x'))), "");
    EXPECT_THROW(port.Take("x"), BoardError);
}

TEST(AgentPort, ForgetsWhatTheMachineHadBegunToSayWhenItRestarts) {
    AgentPort port;
    EXPECT_EQ(Text(port.Take("rea")), "");

    port.Restart();

    EXPECT_EQ(Text(port.Take("ready f0939000\n")), "ready<f0939000>");
}

} // namespace
} // namespace VelrixBoard

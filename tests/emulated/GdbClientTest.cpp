// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GdbClient.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/emulated/EmulatorConnection.h"

namespace {

using VelrixBoard::BoardError;
using VelrixBoard::GdbClient;

// What the emulator will answer is there before it is asked.
class GdbClientTest : public testing::Test {
protected:
    // The texts of the packets that the client sent, "Z2,f0939000,4 vCont;c", with "^C" for an interrupt; confirmations
    // of the emulator's packets are left out.
    std::string Sent() const {
        std::string texts;
        bool inside = false;
        for (const char byte : connection.Sent()) {
            if (byte == '$' || byte == '\x03')
                texts += texts.empty() ? "" : " ";
            if (byte == '\x03')
                texts += "^C";
            else if (inside && byte != '#')
                texts += byte;
            inside = byte == '$' || (inside && byte != '#');
        }
        return texts;
    }

    void Answer(const std::string& bytes) const { connection.Answer(bytes); }

    // Registers 0 to 15, of which the stack pointer is f0a31e80.
    static std::string Registers() {
        std::string registers;
        for (int i = 0; i < 16; ++i)
            registers += i == 13 ? "801ea3f0" : "00000000";
        return registers;
    }

    void Watch() {
        Answer("$T02thread:01;#00+$OK#9a");
        client->Watch({0xf0939000});
        Sent();
    }

    const std::string ok = "+$OK#9a";
    TestSupport::EmulatorConnection connection;
    std::optional<GdbClient> client{connection.TakeClientsEnd()};
};

TEST_F(GdbClientTest, SetsWatchpointsWhileTheMachineStandsAndLetsItRunOn) {
    Answer("$T02thread:01;#00" + ok + ok);

    client->Watch({0xf0939000, 0xf0a1a000});

    EXPECT_EQ(Sent(), "^C Z2,f0939000,4 Z2,f0a1a000,4 vCont;c");
    EXPECT_FALSE(client->IsStopped());
}

TEST_F(GdbClientTest, ForgetsTheWatchpointsThatItHadBefore) {
    Watch();
    Answer("$T02thread:01;#00" + ok + ok);

    client->Watch({0x1000});

    EXPECT_EQ(Sent(), "^C z2,f0939000,4 Z2,1000,4 vCont;c");
}

TEST_F(GdbClientTest, HasAWriteCarriedOutByTheProcessorThatWantsIt) {
    Watch();
    Answer("$T05thread:02;watch:f0939000;#00" + ok + ok + "+$" + Registers() + "#00" + ok +
           "+$T05thread:02;awatch:f0a31e84;#00" + ok + ok);

    client->FinishWrite();

    EXPECT_EQ(Sent(), "z2,f0939000,4 Hg02 g Z4,f0a31e80,100 vCont;c:02 z4,f0a31e80,100 Z2,f0939000,4");
    EXPECT_TRUE(client->IsStopped());
    client->Continue();
    EXPECT_EQ(Sent(), "vCont;c");
    EXPECT_FALSE(client->IsStopped());
}

TEST_F(GdbClientTest, IsNotMisledByAStopForNothing) {
    Watch();
    Answer("$T05thread:02;watch:f0939000;#00" + ok + ok + "+$" + Registers() + "#00" + ok + "+$T05thread:01;#00" +
           "+$T05thread:02;awatch:f0a31e84;#00" + ok + ok);
    client->FinishWrite();
    EXPECT_EQ(Sent(), "z2,f0939000,4 Hg02 g Z4,f0a31e80,100 vCont;c:02 vCont;c:02 z4,f0a31e80,100 Z2,f0939000,4");
    client->Continue();
    Sent();

    Answer("$T05thread:01;#00");
    client->FinishWrite();

    EXPECT_EQ(Sent(), "");
    EXPECT_TRUE(client->IsStopped());
}

TEST_F(GdbClientTest, PassesOverTheConfirmationOfItsOwnCommand) {
    Watch();
    Answer("+");

    client->FinishWrite();

    EXPECT_EQ(Sent(), "");
    EXPECT_FALSE(client->IsStopped());
}

TEST_F(GdbClientTest, TellsWhatTheEmulatorRefused) {
    Answer("$T02thread:01;#00+$E22#00");

    try {
        client->Watch({0xf0939000});
        ADD_FAILURE();
    } catch (const BoardError& error) {
        EXPECT_STREQ(error.what(), "the emulator's debugger refused Z2,f0939000,4: E22");
    }
}

TEST_F(GdbClientTest, SaysThatTheEmulatorIsGone) {
    Answer("$W00#00");
    EXPECT_THROW(client->FinishWrite(), BoardError);

    connection.Close();
    EXPECT_THROW(client->FinishWrite(), BoardError);
    EXPECT_THROW(client->Continue(), BoardError);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/QmpClient.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/emulated/EmulatorConnection.h"

namespace {

using VelrixBoard::BoardError;
using VelrixBoard::QmpClient;

class QmpClientTest : public testing::Test {
protected:
    std::string Sent() const { return connection.Sent(); }
    void Answer(const std::string& text) const { connection.Answer(text); }

    TestSupport::EmulatorConnection connection;
    std::optional<QmpClient> client{connection.TakeClientsEnd()};
};

TEST_F(QmpClientTest, Greets) {
    EXPECT_EQ(Sent(), R"({"execute":"qmp_capabilities"})");
    EXPECT_EQ(client->Pending(), 1);
}

TEST_F(QmpClientTest, NamesTheLineByItsGroupOfEight) {
    Sent();

    client->SetLine(0, true);
    EXPECT_EQ(Sent(),
              R"({"arguments":{"path":"/machine/soc/gpio","property":"gpioA0","value":true},"execute":"qom-set"})");
    client->SetLine(31, false);
    EXPECT_EQ(Sent(),
              R"({"arguments":{"path":"/machine/soc/gpio","property":"gpioD7","value":false},"execute":"qom-set"})");
    EXPECT_EQ(client->Pending(), 3);
}

TEST_F(QmpClientTest, CountsAnswersAndTellsEventsThatCameInPieces) {
    Answer("{\"QMP\": {}}\r\n{\"return\": {}}\r\n{\"event\": \"RE");
    EXPECT_TRUE(client->Dispatch().empty());
    EXPECT_EQ(client->Pending(), 0);

    Answer("SET\"}\n{\"event\": \"SHUTDOWN\"}\n");
    EXPECT_EQ(client->Dispatch(), (std::vector<std::string>{"RESET", "SHUTDOWN"}));
    EXPECT_TRUE(client->Dispatch().empty());
}

TEST_F(QmpClientTest, TellsWhyACommandWasRefused) {
    Answer(R"({"error": {"class": "GenericError", "desc": "no such line"}})"
           "\n");

    try {
        client->Dispatch();
        ADD_FAILURE();
    } catch (const BoardError& error) {
        EXPECT_STREQ(error.what(), "the emulator refused a command: no such line");
    }
}

TEST_F(QmpClientTest, RefusesAnotherLanguage) {
    Answer("hello\n");

    EXPECT_THROW(client->Dispatch(), BoardError);
}

TEST_F(QmpClientTest, SaysThatTheEmulatorIsGone) {
    connection.Close();

    EXPECT_THROW(client->SetLine(0, true), BoardError);
}

} // namespace

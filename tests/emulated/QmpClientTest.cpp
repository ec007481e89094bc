// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/QmpClient.h"

#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"

namespace {

using VelrixBoard::BoardError;
using VelrixBoard::FileDescriptor;
using VelrixBoard::QmpClient;

// A client with the emulator's end of its connection in the test's hands.
class QmpClientTest : public testing::Test {
protected:
    QmpClientTest() {
        int pair[2] = {-1, -1};
        ::socketpair(AF_UNIX, SOCK_STREAM, 0, pair);
        ::fcntl(pair[0], F_SETFL, O_NONBLOCK);
        client.emplace(FileDescriptor(pair[0]));
        emulator = FileDescriptor(pair[1]);
    }

    std::string Sent() const {
        char buffer[4096];
        const ssize_t count = ::recv(emulator.Get(), buffer, sizeof buffer, MSG_DONTWAIT);
        return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
    }

    void Answer(const std::string& text) const {
        ASSERT_EQ(::send(emulator.Get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }

    std::optional<QmpClient> client;
    FileDescriptor emulator;
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
    emulator.Close();

    EXPECT_THROW(client->SetLine(0, true), BoardError);
}

} // namespace

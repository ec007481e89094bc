// SPDX-License-Identifier: Apache-2.0
// An application with the three standard listeners, on a private board with the device's folders and its system log.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"

using TestSupport::PrivateBoard;

namespace {

// The priority, if any, and the last word of each line: "<138>fatal", one per line. The rest differs between runs.
std::string Events(const std::string& text) {
    std::istringstream lines(text);
    std::string events;
    for (std::string line; std::getline(lines, line);)
        events += line.substr(0, line.find('>') + 1) + line.substr(line.rfind(' ') + 1) + "\n";
    return events;
}

} // namespace

TEST(TraceListenerFactoryOnABoard, WritesTheFileThatIsNamedAfterTheProcess) {
    PrivateBoard board;

    const auto result = board.Run({APP1_PROGRAM});

    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Events(board.Content("/var/log/apps/app1.log")), "debug\ninformation\nwarning\nerror\nfatal\n");
}

TEST(TraceListenerFactoryOnABoard, SendsFatalEventsToLocal0AndTheOthersToLocal1) {
    PrivateBoard board;

    const auto result = board.Run({APP1_PROGRAM});

    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Events(board.Syslog()), "<142>information\n<140>warning\n<139>error\n<130>fatal\n<138>fatal\n");
}

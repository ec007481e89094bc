// SPDX-License-Identifier: Apache-2.0
// Events at real daemons, each on the /dev/log of a private board.
#include <ostream>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestTools.h"

using TestSupport::BoardResult;
using TestSupport::PrivateBoard;
using TestSupport::TemporaryFolder;

namespace {

const std::string LOG = "/var/log/apps/daemon.log"; // in a folder that the test can access

// Functions for the scripts below, which run in sh on the board. A wait polls, with a timeout of 20 s.
const std::string FUNCTIONS = "log=" + LOG + "\nlife=" TRACE_LIFE_PROGRAM "\napp1=" APP1_PROGRAM R"(
await() {
    tries=0
    until eval "$1"; do
        tries=$((tries + 1))
        [ $tries -lt 1000 ] || { echo "in vain: $1" >&2; exit 1; }
        sleep 0.02
    done
}
start() {
    rm -f /dev/log
    run_daemon 3>&- &
    daemon=$!
    await '[ -S /dev/log ]'
}
stop() {
    kill $daemon
    { wait $daemon || :; } 2>/dev/null
}
# Everything sent before is in the log: the socket keeps the order.
finish() {
    $life log:136 return
    await 'grep -sq "]: last$" $log'
    stop
}
)";

struct Daemon {
    const char* name; // of the program as well
    const char* run;  // the body of run_daemon
    const char* configuration;
    const char* warning; // the daemon's name of this severity
    const char* tab;     // the daemon's escape of a tab
};

constexpr Daemon DAEMONS[] = {
    {"rsyslogd", "exec rsyslogd -n -iNONE -f $configuration",
     R"(module(load="imuxsock" SysSock.RateLimit.Interval="0")
template(name="line" type="string" string="%syslogfacility-text%.%syslogseverity-text% %syslogtag%%msg%\n")
action(type="omfile" file="/var/log/apps/daemon.log" template="line")
)",
     "warning", "#011"},
    {"busybox", "exec busybox syslogd -n -O $log", "", "warn", "\t"},
};

std::ostream& operator<<(std::ostream& stream, const Daemon& daemon) {
    return stream << daemon.name;
}

class SyslogDaemon : public testing::TestWithParam<Daemon> {
protected:
    void SetUp() override { board.AddOption("--no-syslog"); }

    // Runs the script on the board and returns the events that the daemon logged, one per line: "local1.info app1:
    // text".
    std::string EventsOf(const std::string& script) {
        const TemporaryFolder folder;
        folder.Write("configuration", GetParam().configuration);
        folder.Write("script", TestSupport::NeedTool(GetParam().name) +
                                   "configuration=" + folder.Path("configuration") + "\nfolder=" + folder.Path() +
                                   "\n" + FUNCTIONS + "run_daemon() {\n" + GetParam().run + "\n}\n" + script);

        const BoardResult result = board.Run({"sh", "-eu", folder.Path("script")});

        EXPECT_EQ(result.exitCode, 0) << board.Content(LOG);
        EXPECT_EQ(result.errors, "");
        return Events();
    }

private:
    std::string Events() const {
        static const std::regex EVENT(R"(([a-z0-9]+\.[a-z]+) ([^ \[]+)\[[0-9]+\]: (.*))");
        std::istringstream lines(board.Content(LOG));
        std::string events;
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            if (line.find("syslogd") != std::string::npos)
                continue; // the daemon's own record
            if (!std::regex_search(line, parts, EVENT))
                events += "no event: " + line + "\n";
            else if (parts.str(3) != "last")
                events += parts.str(1) + " " + parts.str(2) + ": " + parts.str(3) + "\n";
        }
        return events;
    }

    PrivateBoard board;
};

std::string FiveLevels(const std::string& facility, const std::string& warning) {
    std::string events;
    for (const std::string& event : {std::string("debug trace-life: debug"),
                                     std::string("info trace-life: information"), warning + " trace-life: warning",
                                     std::string("err trace-life: error"), std::string("crit trace-life: fatal")})
        events.append(facility).append(".").append(event).append("\n");
    return events;
}

TEST_P(SyslogDaemon, GetsEveryLevelWithFacilityAndSeverity) {
    const std::string events = EventsOf("start\n$life log:128 levels\n$life log:136 levels\nfinish\n");

    EXPECT_EQ(events, FiveLevels("local0", GetParam().warning) + FiveLevels("local1", GetParam().warning));
}

TEST_P(SyslogDaemon, GetsFatalEventsAsLocal0AndFromInformationUpwardAsLocal1) {
    const std::string events = EventsOf("start\n$app1\nfinish\n");

    EXPECT_EQ(events, "local1.info app1: information\n"
                      "local1." +
                          std::string(GetParam().warning) +
                          " app1: warning\n"
                          "local1.err app1: error\n"
                          "local0.crit app1: fatal\n"
                          "local1.crit app1: fatal\n");
}

TEST_P(SyslogDaemon, TellsTwoListenersOfOneProcessApart) {
    const std::string events = EventsOf("start\n$life log:128 two 136\nfinish\n");

    const std::string round = "local0.info trace-life: to one\n"
                              "local0.info trace-life: to both\n"
                              "local1.info trace-life: to both\n";
    EXPECT_EQ(events, round + round + round);
}

TEST_P(SyslogDaemon, GetsPercentSignsAndControlCharactersAsHarmlessText) {
    const std::string events = EventsOf("start\n$life log:136 texts\nfinish\n");

    EXPECT_EQ(events, "local1.info trace-life: 100 % %s %n %%\n"
                      "local1.info trace-life: a\\nb\\r" +
                          std::string(GetParam().tab) +
                          "\\x1b[31m\\\n"
                          "local1.info trace-life: a\\x00b\n"
                          "local1.info trace-life: Gr\xC3\xBC\xC3\x9F"
                          "e\n");
}

// First with a record that is lost while no daemon runs, then without one, so that the process still has its connection
// to the previous daemon.
TEST_P(SyslogDaemon, IsFoundAgainAfterARestart) {
    const std::string events = EventsOf(R"(
mkfifo $folder/in
$life log:136 listen <$folder/in >$folder/out &
program=$!
exec 3>$folder/in
start
echo one >&3
await 'grep -sq "]: one$" $log'
stop
rm -f /dev/log
echo nobody >&3
await 'grep -sq "traced nobody" $folder/out'
start
echo two >&3
await 'grep -sq "]: two$" $log'
stop
start
echo three >&3
await 'grep -sq "]: three$" $log'
exec 3>&-
wait $program
finish
)");

    EXPECT_EQ(events, "local1.info trace-life: one\n"
                      "local1.info trace-life: two\n"
                      "local1.info trace-life: three\n");
}

INSTANTIATE_TEST_SUITE_P(Daemons, SyslogDaemon, testing::ValuesIn(DAEMONS),
                         [](const auto& daemon) { return std::string(daemon.param.name); });

TEST(SyslogDaemonThatIsMissing, DoesNotDisturbTheProgram) {
    PrivateBoard board;
    board.AddOption("--no-syslog");

    const BoardResult result = board.Run({APP1_PROGRAM});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(board.Content("/var/log/apps/app1.log").find(" FATAL app1["), std::string::npos);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/Terminal.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/tools/velrixctl/PlainDevice.h"
#include "tests/tools/velrixctl/Velrixctl.h"

using testing::HasSubstr;
using TestSupport::PlainDevice;
using TestSupport::TemporaryFolder;
using TestSupport::Velrixctl;

namespace {

const std::string RECORDS = ">start\n%Updating\n%0\n%45\n+done\n@wa warning\n@ean error\n>br\nodd\n>end\n";

// The command in the background, its output in a file.
class Following final {
public:
    explicit Following(const std::string& log) : output(folder.Path("output")) {
        process = ::fork();
        if (process == 0) {
            ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDOUT_FILENO);
            ::execl(VELRIXCTL, VELRIXCTL, "weblog", "--follow", log.c_str(), static_cast<char*>(nullptr));
            ::_exit(97);
        }
    }

    // Whether the output becomes that within a minute.
    bool Shows(const std::string& text) const {
        for (int i = 0; i < 6000; ++i) {
            std::ifstream file(output);
            if (std::string(std::istreambuf_iterator<char>(file), {}) == text)
                return true;
            ::usleep(10'000);
        }
        return false;
    }

    int End(int signal) const {
        ::kill(process, signal);
        int status = 0;
        ::waitpid(process, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    const TemporaryFolder folder;
    const std::string output;
    pid_t process;
};

} // namespace

TEST(WebLogCommand, ShowsRecordsInWords) {
    const PlainDevice device;
    device.Write("/mnt/share/logger", RECORDS + "+to\x1b[2J\n%4");

    const auto end = Velrixctl({"weblog"});

    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.output,
              "start\nUpdating\nUpdating: 0 %\nUpdating: 45 %\ndone\nwarning: a warning\nerror: an error\n\n"
              "unknown record: odd\nend\nto\\x1B[2J\nUpdating: 4 % (the record has no end)\n");
}

TEST(WebLogCommand, GivesAnObjectPerRecord) {
    const PlainDevice device;
    device.Write("/mnt/other", RECORDS + "+torn");

    const auto end = Velrixctl({"weblog", "--json", "/mnt/other"});

    EXPECT_EQ(end.output,
              "{\"record\":\"start\"}\n{\"record\":\"title\",\"text\":\"Updating\"}\n"
              "{\"record\":\"progress\",\"percentage\":0}\n{\"record\":\"progress\",\"percentage\":45}\n"
              "{\"record\":\"message\",\"text\":\"done\"}\n{\"record\":\"warning\",\"text\":\"a warning\"}\n"
              "{\"record\":\"error\",\"text\":\"an error\"}\n{\"record\":\"break\"}\n"
              "{\"record\":\"unknown\",\"text\":\"odd\"}\n{\"record\":\"end\"}\n"
              "{\"record\":\"message\",\"text\":\"torn\",\"isTorn\":true}\n");
}

TEST(WebLogCommand, FollowsAppendedTruncatedAndReplacedFiles) {
    const PlainDevice device;
    const TemporaryFolder folder;
    folder.Write("log", ">start\n+o");
    const std::string log = folder.Path("log");
    const Following following(log);

    ASSERT_TRUE(following.Shows("start\n"));
    device.Append(log, "ne\n");
    ASSERT_TRUE(following.Shows("start\none\n"));
    folder.Write("log", "+two\n"); // truncates
    std::string shown = "start\none\n--- the file was truncated ---\ntwo\n";
    ASSERT_TRUE(following.Shows(shown));
    device.Append(log, "+torn");
    folder.Write("new", "+three\n");
    ASSERT_EQ(::rename(folder.Path("new").c_str(), log.c_str()), 0);
    shown += "torn (the record has no end)\n--- the file was replaced ---\nthree\n";
    ASSERT_TRUE(following.Shows(shown));

    EXPECT_EQ(following.End(SIGINT), 0);
    EXPECT_TRUE(following.Shows(shown));
}

TEST(WebLogCommand, EndsAtSigtermAndAtTheGivenTime) {
    const TemporaryFolder folder;
    folder.Write("log", ">start\n");
    const Following following(folder.Path("log"));
    ASSERT_TRUE(following.Shows("start\n"));

    EXPECT_EQ(following.End(SIGTERM), 0);
    EXPECT_EQ(Velrixctl({"weblog", folder.Path("log"), "--follow", "--for", "0.05"}).output, "start\n");
}

TEST(WebLogCommand, SaysWhatItCannotRead) {
    const TemporaryFolder folder;
    const auto missing = Velrixctl({"weblog", folder.Path("none")});
    EXPECT_EQ(missing.code, 2);
    EXPECT_EQ(missing.errors, "velrixctl: cannot read " + folder.Path("none") + ": No such file or directory\n");
    EXPECT_EQ(Velrixctl({"weblog", folder.Path()}).errors,
              "velrixctl: cannot read " + folder.Path() + ": it is not a regular file\n");
    EXPECT_EQ(Velrixctl({"weblog", "/dev/zero"}).code, 2);
}

TEST(WebLogCommand, ShowsProgressAsOneLineOnATerminal) {
    const TemporaryFolder folder;
    folder.Write("log", "%Updating\n%0\n%50\n+done\n");
    Terminal terminal({VELRIXCTL, "weblog", folder.Path("log")});

    const std::string shown = terminal.ReadUntil("done\r\n");

    EXPECT_THAT(shown, HasSubstr("\r\x1b[K[\x1b[32m------------------------------\x1b[0m] 0 %"
                                 "\r\x1b[K[\x1b[32m###############---------------\x1b[0m] 50 %\r\n"));
    terminal.Wait();
}

TEST(WebLogCommand, HasNoColoursWhereTheUserWantsNone) {
    const TemporaryFolder folder;
    folder.Write("log", "@wcareful\n");
    Terminal plain({"/usr/bin/env", "NO_COLOR=1", VELRIXCTL, "weblog", folder.Path("log")});
    EXPECT_EQ(plain.ReadUntil("\n"), "warning: careful\r\n");
    plain.Wait();

    Terminal coloured({VELRIXCTL, "weblog", folder.Path("log")});
    EXPECT_EQ(coloured.ReadUntil("\n"), "\x1b[33mwarning: careful\x1b[0m\r\n");
    coloured.Wait();
}

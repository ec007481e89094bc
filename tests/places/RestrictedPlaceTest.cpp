// SPDX-License-Identifier: Apache-2.0
// The simulated environments must forbid what the real ones do; otherwise tests that pass there prove nothing.
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using TestSupport::TemporaryFolder;

struct End {
    int exitCode;
    std::string output; // and standard error
};

End Play(std::vector<std::string> command) {
    const TemporaryFolder folder;
    const std::string output = folder.Path("output");
    folder.Write("output", "");
    const pid_t process = ::fork();
    if (process == 0) {
        const int file = ::open(output.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        ::dup2(file, STDOUT_FILENO);
        ::dup2(file, STDERR_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        ::execv(arguments.front(), arguments.data());
        ::_exit(97);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.Read("output")};
}

End PlayIn(const std::string& place, const std::string& who, const std::string& script) {
    return Play({RESTRICTED_PLACE, place, who, "/bin/sh", "-c", script});
}

// The script's output in an environment.
std::string In(const std::string& place, const std::string& who, const std::string& script) {
    const End end = PlayIn(place, who, script);
    EXPECT_EQ(end.exitCode, 0) << end.output;
    return end.output;
}

constexpr const char* REFUSALS = PLACE_PROBE " refusals";

TEST(RestrictedPlace, RefusesInAContainerWhatContainersRefuse) {
    for (const char* who : {"root", "user"}) {
        const std::string refusals = In("container", who, REFUSALS);

        EXPECT_THAT(refusals, StartsWith("mount: EPERM\n"
                                         "umount2: EPERM\n"
                                         "pivot_root: EPERM\n"
                                         "setns: EPERM\n"
                                         "clone: allowed\n"
                                         "clone with a user namespace: EPERM\n"
                                         "clone3: ENOSYS\n"
                                         "keyctl: EPERM\n"
                                         "bpf: EPERM\n"
                                         "fsopen: EPERM\n"
                                         "/dev/fuse: ENOENT\n"
                                         "/dev/null: allowed\n"
                                         "/dev/ptmx: allowed\n"))
            << who;
        EXPECT_THAT(refusals, AllOf(Not(HasSubstr("hostname: allowed")), Not(HasSubstr("/sys: allowed")),
                                    HasSubstr("fixed addresses: EPERM\nunshare: EPERM\n")))
            << who;
    }
}

TEST(RestrictedPlace, RefusesElsewhereOnlyWhatThePlaceIsNamedAfter) {
    const std::string machine = In("machine", "root", REFUSALS), fuse = In("without-fuse", "root", REFUSALS),
                      masked = In("masked", "root", REFUSALS);

    for (const std::string& refusals : {machine, fuse, masked})
        EXPECT_THAT(refusals, AllOf(HasSubstr("clone with a user namespace: allowed\n"),
                                    HasSubstr("fixed addresses: allowed\nunshare: allowed\n"),
                                    Not(HasSubstr("setns: EPERM")), Not(HasSubstr("clone3: ENOSYS"))));
    EXPECT_THAT(machine, Not(HasSubstr("/dev/fuse: ENOENT")));
    EXPECT_THAT(machine, Not(HasSubstr("/sys: EROFS")));
    EXPECT_THAT(fuse, HasSubstr("/dev/fuse: ENOENT\n"));
    EXPECT_THAT(fuse, Not(HasSubstr("/sys: EROFS")));
    EXPECT_THAT(masked, HasSubstr("/sys: EROFS\n"));
    EXPECT_THAT(masked, Not(HasSubstr("/dev/fuse: ENOENT")));
}

// Where parts of /proc are masked, the kernel does not allow mounting a new one.
TEST(RestrictedPlace, LetsNobodyMountProcWhereItIsMasked) {
    const std::string mount = "unshare --user --map-root-user --mount --pid --fork mount -t proc proc /proc; echo $?";

    EXPECT_EQ(In("machine", "root", mount), "0\n");
    EXPECT_THAT(In("masked", "root", mount), AllOf(HasSubstr("permission denied"), Not(HasSubstr("\n0\n"))));
}

TEST(RestrictedPlace, HasAContainersCapabilities) {
    const std::string capabilities = "grep -E 'Cap(Eff|Bnd)' /proc/self/status";

    EXPECT_EQ(In("container", "root", capabilities), "CapEff:\t00000000a80425fb\nCapBnd:\t00000000a80425fb\n");
    EXPECT_EQ(In("container", "user", capabilities), "CapEff:\t0000000000000000\nCapBnd:\t00000000a80425fb\n");
}

TEST(RestrictedPlace, HasAnOrdinaryUser) {
    const std::string user = ::geteuid() == 0 ? "1000" : std::to_string(::geteuid());

    EXPECT_EQ(In("machine", "user", "id -u; id -G; echo $PATH; echo $$"),
              user + "\n" + (::geteuid() == 0 ? user : std::to_string(::getegid())) +
                  "\n/usr/local/bin:/usr/bin:/bin:/usr/local/games:/usr/games\n1\n");
    EXPECT_EQ(In("machine", "root", "id -u"), "0\n");
}

TEST(RestrictedPlace, EndsAsItsCommandDoesAndTakesEverythingAlong) {
    const TemporaryFolder folder;
    const std::string pipe = folder.Path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);

    EXPECT_EQ(PlayIn("container", "root", "exec 3>" + pipe + "; sleep 1000 & exit 7").exitCode, 7);
    EXPECT_EQ(PlayIn("machine", "root", "trap 'exit 3' TERM; kill -TERM $$; exit 4").exitCode, 3);

    // EOF, not EAGAIN: no writer has the pipe open.
    char byte = 0;
    EXPECT_EQ(::read(reader, &byte, 1), 0);
    ::close(reader);
}

TEST(RestrictedPlace, SaysWhatItCannotDo) {
    EXPECT_EQ(Play({RESTRICTED_PLACE, "machine", "root", "/no/such/program"}).exitCode, 125);
    EXPECT_THAT(Play({RESTRICTED_PLACE, "machine", "root", "/no/such/program"}).output,
                HasSubstr("restricted-place: starting /no/such/program: No such file or directory\n"));
    const End inside = PlayIn("container", "root", RESTRICTED_PLACE " machine root true");
    EXPECT_EQ(inside.exitCode, 125);
    EXPECT_EQ(inside.output, "restricted-place: making mount and process namespaces: Operation not permitted\n");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"container"},
                                                      {"container", "root"},
                                                      {"container", "nobody", "true"},
                                                      {"moon", "root", "true"}}) {
        std::vector<std::string> command = {RESTRICTED_PLACE};
        command.insert(command.end(), arguments.begin(), arguments.end());

        EXPECT_EQ(Play(command).exitCode, 125);
        EXPECT_THAT(Play(command).output, StartsWith("usage: restricted-place PLACE root|user COMMAND"));
    }
}

TEST(PlaceProbe, TracesAProcessWhereThatIsAllowed) {
    EXPECT_EQ(Play({PLACE_PROBE, "trace"}).exitCode, 0);
    EXPECT_EQ(PlayIn("container", "user", PLACE_PROBE " trace").exitCode, 0);
}

} // namespace

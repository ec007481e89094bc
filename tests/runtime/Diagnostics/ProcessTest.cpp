// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Process.h>

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/ExpectException.h"

namespace {

using System::string_ptr;
using System::Diagnostics::Process;

TEST(Process, NamesTheProgramWithoutItsFolder) {
    EXPECT_EQ(Process::CURRENT_PROCESS->ProcessName(),
              string_ptr(std::filesystem::read_symlink("/proc/self/exe").filename().string()));
}

// Repeats the case above, and the one on the name in syslog, in a program with that argv[0].
TEST(Process, IsNamedByItsFileWhateverTheFirstArgumentSays) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    for (const char* first : {"", "/", "another", "/usr/bin/another", "-sh"}) {
        SCOPED_TRACE(first);
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
            ::execl(program.c_str(), first,
                    "--gtest_filter=Process.NamesTheProgramWithoutItsFolder:"
                    "EventLogTraceListener.OpensTheLogWithTheProcesssNameAndId",
                    static_cast<char*>(nullptr));
            ::_exit(2);
        }

        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

TEST(Process, TellsTheChildFromItsParent) {
    EXPECT_EQ(Process::CURRENT_PROCESS->Id(), ::getpid());

    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(Process::CURRENT_PROCESS->Id() == ::getpid() ? 0 : 1);

    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace

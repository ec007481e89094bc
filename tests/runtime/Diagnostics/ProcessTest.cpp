// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Process.h>

#include <filesystem>

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

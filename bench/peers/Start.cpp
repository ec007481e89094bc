// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/Jobs.h"

#include <cerrno>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/peers/Contest.h"

namespace Bench {

namespace {

Operation StartAndWait(const std::string& program) {
    return [program](int times) {
        for (int i = 0; i < times; ++i) {
            char* arguments[] = {const_cast<char*>(program.c_str()), const_cast<char*>("silent"), nullptr};
            pid_t child = -1;
            int status = 0;
            errno = ::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ);
            if (errno != 0 || ::waitpid(child, &status, 0) != child || status != 0)
                Fail(program.c_str());
        }
    };
}

} // namespace

void CompareStart(const char* folder) {
    const std::string path = folder;
    Run({"program with the whole Platform, from exec to exit", 200, 1, true},
        {{"ours", [&](const std::string&) { return StartAndWait(path + "/start-bench"); }},
         {"limit", [&](const std::string&) { return StartAndWait(path + "/start-bench-bare"); }}});
}

} // namespace Bench

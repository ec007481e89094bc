// SPDX-License-Identifier: Apache-2.0
//
// The test programs that put programs on private boards, on the emulated machine: as root, on the kernel of a device.
// They keep both of its processors busy for two minutes, so that each of three machines has a third of their cases.
#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/emulated/Machine.h"
#include "board/model/BoardModel.h"
#include "board/model/BoardState.h"
#include "tests/emulated/ArmTestPrograms.h"

namespace {

using namespace VelrixBoard;

constexpr int MACHINES = 3;
constexpr int SHARES = 4; // at a time, since some cases wait for the clock

// Runs the shares of each program's cases, and prints what failed, the exit code of each share, and how many cases
// passed.
constexpr const char* RUN_SHARES = R"(
first=$1 last=$2
shift 2
for program; do
    echo listed $(env -u GTEST_TOTAL_SHARDS "$program" --gtest_list_tests | grep -c '^  ')
done
for program; do
    for share in $(seq $first $last); do
        echo $share $program
    done
done | VELRIX_TEST_SHARE=100 xargs -n 2 -P $((last - first + 1)) sh -c '
    log=/tmp/${2##*/}.$1
    GTEST_SHARD_INDEX=$1 timeout 300 "$2" --gtest_brief=1 < /dev/null > $log 2>&1
    code=$?
    [ $code = 0 ] || cat $log
    echo "$code $2"
' sh
cat /tmp/*-tests.* | sed -n 's/^.  PASSED  . \([0-9]*\) tests*\.$/passed \1/p')";

class EmulatedSuites : public testing::TestWithParam<int> {};

TEST_P(EmulatedSuites, PassOnTheRealKernel) {
    CpioArchive files;
    ArmTestPrograms::AddWhatTestsNeed(files);
    ArmTestPrograms::AddToolsOfBoardPrograms(files);
    MachineProgram program;
    const int first = GetParam() * SHARES;
    program.words = {"env",
                     "GTEST_TOTAL_SHARDS=" + std::to_string(MACHINES * SHARES),
                     "VELRIX_TEST_ISOLATION=namespaces",
                     "sh",
                     "-c",
                     RUN_SHARES,
                     "sh",
                     std::to_string(first),
                     std::to_string(first + SHARES - 1)};
    for (const std::string& name : ArmTestPrograms::BoardPrograms()) {
        ArmTestPrograms::Add(files, name);
        program.words.push_back(name);
    }
    std::string output;
    program.output = program.errors = [&output](std::string_view text) { output += text; };
    program.limit = std::chrono::seconds(400);
    const BoardModel model;
    BoardState state(model);
    Machine machine(ArmTestPrograms::ImageFolder(), files);

    const MachineResult result =
        machine.Run(program, state, GpioLines(ArmTestPrograms::ImageFolder() / "lines.txt", model));

    EXPECT_EQ(result.exitCode, 0);
    std::istringstream lines(output);
    std::size_t ended = 0;
    int expected = 0;
    int passed = 0;
    for (std::string line; std::getline(lines, line);) {
        ended += line.starts_with("0 /") ? 1 : 0;
        if (line.starts_with("listed "))
            // GoogleTest deals the cases out to all shares in turn.
            for (int i = 0; i < std::stoi(line.substr(7)); ++i)
                expected += i % (MACHINES * SHARES) / SHARES == GetParam() ? 1 : 0;
        if (line.starts_with("passed "))
            passed += std::stoi(line.substr(7));
    }
    EXPECT_EQ(ended, ArmTestPrograms::BoardPrograms().size() * SHARES) << output;
    EXPECT_GT(expected, 0);
    EXPECT_EQ(passed, expected) << output;
}

INSTANTIATE_TEST_SUITE_P(Thirds, EmulatedSuites, testing::Range(0, MACHINES));

} // namespace

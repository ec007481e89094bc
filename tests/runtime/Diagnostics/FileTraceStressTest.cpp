// SPDX-License-Identifier: Apache-2.0
// One log file, many writers, and rotation, kills and full disks.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/FileTraceListener.h>

#include "tests/runtime/Diagnostics/TraceProgram.h"
#include "tests/support/Emulator.h"
#include "tests/support/Share.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace System;
using namespace System::Diagnostics;
using TestSupport::ShellCommand;
using TestSupport::TemporaryFolder;

constexpr int THREADS = 8, PROCESSES = 4;
const int RECORDS = 10'000 / TestSupport::Share();

std::string TextOf(const std::string& writer, int number) {
    return writer + " " + std::to_string(number) + " " + std::string(static_cast<std::size_t>(number * 7 % 300), '.') +
           "|";
}

bool IsWhole(const std::string& line) {
    // "2026-11-21T08:15:30.042Z INFORMATION name[1:2] writer number dots|"
    const std::size_t text = line.find("] ");
    if (text == std::string::npos || line.size() < 45 || line[10] != 'T' || line.substr(23, 14) != "Z INFORMATION " ||
        line.find("] ", text + 2) != std::string::npos)
        return false;
    const std::size_t number = line.find(' ', text + 2) + 1;
    return line.substr(text + 2) == TextOf(line.substr(text + 2, number - text - 3), std::atoi(line.c_str() + number));
}

// The complete records of a line that begins at that offset. Where the kernel cut the write of a killed process at a
// page boundary, an incomplete record is at the end of the line or before the record of a waiting process.
std::vector<std::string> WholeRecords(const std::string& line, std::size_t place, int& killed) {
    constexpr std::size_t PAGE = 4096;
    if (IsWhole(line))
        return {line};
    const std::size_t cut = PAGE - place % PAGE;
    std::vector<std::string> records;
    if (cut <= line.size() && killed-- > 0) {
        for (const std::string& part : {line.substr(0, cut), line.substr(cut)})
            if (IsWhole(part))
                records.push_back(part);
        if (cut == line.size() || IsWhole(line.substr(cut)))
            return records;
    }
    ADD_FAILURE() << "at " << place << ": " << line;
    return records;
}

// Checks the files of a folder: every line is complete, except one per killed process, and the numbers of a writer
// increase by one in each file. Returns the number of records per writer.
std::map<std::string, int> CountRecords(const TemporaryFolder& folder, int killed = 0) {
    const bool mayBeCut = killed > 0;
    std::map<std::string, int> counts;
    std::map<std::string, long long> sums;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        std::map<std::string, int> last;
        std::ifstream file(entry.path());
        std::size_t place = 0;
        for (std::string line; std::getline(file, line); place += line.size() + 1) {
            EXPECT_FALSE(file.eof()) << "no line end behind " << line;
            // Two processes that both followed an incomplete record have both ended its line.
            if (line.empty() && mayBeCut)
                continue;
            for (const std::string& record : WholeRecords(line, place, killed)) {
                const std::size_t text = record.find("] ") + 2, number = record.find(' ', text) + 1;
                const std::string writer = record.substr(text, number - text - 1);
                const int value = std::atoi(record.c_str() + number);
                if (last.contains(writer)) {
                    EXPECT_GT(value, last[writer]) << writer;
                }
                last[writer] = value;
                ++counts[writer];
                sums[writer] += value;
            }
        }
    }
    for (const auto& [writer, count] : counts) {
        EXPECT_EQ(sums[writer], static_cast<long long>(count) * (count - 1) / 2) << writer;
    }
    return counts;
}

// Eight threads of this process and four processes write records to one file; calls meanwhile until they are done.
template <class Meanwhile>
void WriteAll(const std::string& path, const Meanwhile& meanwhile) {
    std::vector<std::unique_ptr<TraceProgram>> programs;
    for (int i = 0; i < PROCESSES; ++i)
        programs.push_back(std::make_unique<TraceProgram>(
            TraceProgram::Life({"file:" + path, "numbers", std::to_string(RECORDS), "process" + std::to_string(i)})));
    const auto listener = FileTraceListener::Create(path);
    std::atomic<int> running{THREADS};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back([&, i] {
            for (int number = 0; number < RECORDS; ++number)
                listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION,
                                     string_ptr(TextOf("thread" + std::to_string(i), number)));
            --running;
            running.notify_one();
        });
    while (running > 0)
        meanwhile(running);
    for (auto& thread : threads)
        thread.join();
    for (auto& program : programs) {
        const auto result = program->Wait();
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
    }
}

void ExpectAllRecords(const TemporaryFolder& folder) {
    const auto counts = CountRecords(folder);
    EXPECT_EQ(counts.size(), static_cast<std::size_t>(THREADS + PROCESSES));
    for (const auto& [writer, count] : counts)
        EXPECT_EQ(count, RECORDS) << writer;
}

TEST(FileTraceStress, LosesAndMixesNothing) {
    TemporaryFolder folder;

    WriteAll(folder.Path("log"), [](const std::atomic<int>& running) {
        if (const int still = running; still > 0)
            running.wait(still);
    });

    ExpectAllRecords(folder);
}

TEST(FileTraceStress, LosesNothingWhileTheFileIsMovedAndRemoved) {
    TemporaryFolder folder;
    const std::string path = folder.Path("log");
    int round = 0;

    WriteAll(path, [&](const auto&) {
        std::this_thread::yield();
        if (round == 200)
            return;
        // Alternates a move and a removal; a hard link keeps the content for this test.
        const std::string other = path + "." + std::to_string(round);
        std::error_code error; // there may be no file yet
        if (round % 2 == 0) {
            std::filesystem::rename(path, other, error);
        } else {
            std::filesystem::create_hard_link(path, other, error);
            if (!error)
                std::filesystem::remove(path);
        }
        if (!error)
            ++round;
    });

    EXPECT_GT(round, 4);
    ExpectAllRecords(folder);
}

// Waits until the growing file at the path contains the text.
void WaitForText(const std::string& path, const std::string& text) {
    std::ifstream file(path, std::ios::binary);
    std::vector<char> block(1 << 16);
    std::string window;
    while (window.find(text) == std::string::npos) {
        window.erase(0, window.size() - std::min(window.size(), text.size())); // the text may span two blocks
        file.clear();
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        window.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
}

TEST(FileTraceStress, KeepsOtherLinesWholeWhenWritersAreKilled) {
    TemporaryFolder folder;
    folder.Write("log", "");
    const std::string path = folder.Path("log");
    std::vector<std::unique_ptr<TraceProgram>> programs;
    for (int i = 0; i < PROCESSES; ++i)
        programs.push_back(std::make_unique<TraceProgram>(
            TraceProgram::Life({"file:" + path, "numbers", "100000000", "process" + std::to_string(i)})));
    for (int i = 0; i < PROCESSES; ++i)
        WaitForText(path, "] process" + std::to_string(i) + " ");

    std::uintmax_t size = std::filesystem::file_size(path);
    for (auto& program : programs) {
        // During writes: the file has grown since the last kill.
        const std::uintmax_t before = size;
        while (size < before + 100'000 / static_cast<unsigned>(TestSupport::Share()))
            size = std::filesystem::file_size(path);
        ::kill(program->Id(), SIGKILL);
        EXPECT_EQ(program->Wait().exitCode, 128 + SIGKILL);
    }
    TraceProgram(TraceProgram::Life({"file:" + path, "numbers", "3", "late"})).Wait();

    const auto counts = CountRecords(folder, PROCESSES);
    EXPECT_EQ(counts.size(), static_cast<std::size_t>(PROCESSES + 1));
    EXPECT_EQ(counts.at("late"), 3);
}

TEST(FileTraceStress, RunsOnWithAFullDiskAndReportsItOnce) {
    auto result = TraceProgram(TraceProgram::Life({"file:/dev/full", "numbers", "100", "x"})).Wait();

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "Trace listener System::Diagnostics::FileTraceListener failed: System::IO::IOException: "
                             "Cannot write: /dev/full: No space left on device\n");
}

// Runs a script as root in a new mount namespace.
TraceProgram::Result RunWithMounts(const std::string& script) {
    return TraceProgram({"unshare", "--user", "--map-root-user", "--mount", "sh", "-ec", script}).Wait();
}

TEST(FileTraceStress, TellsFilesOfTheSameNumberOnTwoDisksApart) {
    TemporaryFolder folder;
    const auto result = RunWithMounts("cd " + folder.Path() + R"sh(
        mkdir a b
        mount -t tmpfs -o size=64k a a
        mount -t tmpfs -o size=64k b b
        : >a/log
        : >b/log
        [ "$(stat -c %i a/log)" = "$(stat -c %i b/log)" ]
        ln -s a/log log
        mkfifo in out
        )sh" + ShellCommand(TRACE_LIFE_PROGRAM) +
                                      R"sh( file:log listen <in >out &
        exec 3>in 4<out
        echo one >&3
        read -r line <&4
        ln -sfn b/log log
        echo two >&3
        read -r line <&4
        exec 3>&-
        wait
        cat a/log
        echo --
        cat b/log)sh");

    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output.find("] one\n--\n"), result.output.find("] "));
    EXPECT_TRUE(result.output.ends_with("] two\n")) << result.output;
}

TEST(FileTraceStress, RecordsFlowAgainWhenTheDiskHasRoom) {
    TemporaryFolder folder;
    const std::string mount = folder.Path("small"), log = mount + "/log", ballast = mount + "/ballast";
    std::filesystem::create_directory(mount);
    const std::string script = "mount -t tmpfs -o size=64k small " + mount + " && head -c 20000 /dev/zero >" + ballast +
                               " && " + ShellCommand(TRACE_LIFE_PROGRAM) + " file:" + log + " fill " + ballast +
                               " && cat " + log;
    const auto result = RunWithMounts(script);

    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.errors, "Trace listener System::Diagnostics::FileTraceListener failed: System::IO::IOException: "
                             "Cannot write: " +
                                 log + ": No space left on device\n");

    // All lines are complete except the one that filled the disk; the last two came after there was room again.
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < result.output.size();) {
        const std::size_t end = result.output.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        lines.push_back(result.output.substr(start, end - start));
        start = end + 1;
    }
    ASSERT_GT(lines.size(), 50u);
    EXPECT_TRUE(lines.back().ends_with("] and again")) << lines.back();
    EXPECT_TRUE(lines[lines.size() - 2].ends_with("] room again")) << lines[lines.size() - 2];
    const auto broken = std::count_if(lines.begin(), lines.end() - 2, [](const std::string& line) {
        return !line.ends_with("|") || line.find("] ") != line.rfind("] ");
    });
    EXPECT_LE(broken, 1);
}

} // namespace

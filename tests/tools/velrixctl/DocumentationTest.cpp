// SPDX-License-Identifier: Apache-2.0
// Runs the examples of docs/velrixctl.md, in their order, on a device of plain files.
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/tools/velrixctl/PlainDevice.h"

namespace {

struct Example {
    std::string command;
    std::string output;
};

// What begins with "$ " in the blocks of the language "console", and the lines below it.
std::vector<Example> Examples() {
    std::vector<Example> examples;
    std::ifstream page(VELRIXCTL_DOCUMENTATION);
    bool isInBlock = false;
    for (std::string line; std::getline(page, line);)
        if (line.starts_with("```"))
            isInBlock = !isInBlock && line == "```console";
        else if (isInBlock && line.starts_with("$ "))
            examples.push_back({line.substr(2), ""});
        else if (isInBlock && !examples.empty())
            examples.back().output += line + "\n";
    return examples;
}

// How long something took differs from run to run.
std::string WithoutTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("[0-9]+ ms"), "N ms");
}

std::string RunIn(const std::string& folder, const std::string& command) {
    const std::string output = folder + "/.output";
    const pid_t process = ::fork();
    if (process == 0) {
        const std::string path = std::filesystem::path(VELRIXCTL).parent_path().string() + ":/usr/bin:/bin";
        ::setenv("PATH", path.c_str(), 1);
        const std::string script = "cd " + folder + " && { " + command + "; } > .output 2>&1 < /dev/null";
        ::execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
        ::_exit(97);
    }
    ::waitpid(process, nullptr, 0);
    std::ifstream file(output);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(VelrixctlDocumentation, ShowsWhatTheCommandsPrint) {
    const std::vector<Example> examples = Examples();
    ASSERT_GT(examples.size(), 15U);
    const TestSupport::PlainDevice device;
    const TestSupport::TemporaryFolder folder;

    for (const Example& example : examples) {
        // A file that the page shows is there with this content.
        const std::string shown = example.command.starts_with("cat ") ? example.command.substr(4) : "";
        if (!shown.empty())
            device.Write(shown.starts_with("/") ? shown : folder.Path(shown), example.output);

        EXPECT_EQ(WithoutTimes(RunIn(folder.Path(), example.command)), WithoutTimes(example.output)) << example.command;
    }
}

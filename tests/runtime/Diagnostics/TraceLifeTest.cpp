// SPDX-License-Identifier: Apache-2.0
// What becomes of records when a process forks, executes another program or ends: docs/tracing.md as tests.

#include <csignal>
#include <filesystem>
#include <string>

#include <sys/wait.h>

#include <gtest/gtest.h>

#include "tests/runtime/Diagnostics/TraceProgram.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;

// The texts of the records, each without what stands before it.
std::string Texts(const std::string& content) {
    std::string texts;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t end = content.find('\n', start);
        const std::string line = content.substr(start, end - start);
        const std::size_t text = line.find("] ");
        texts += text == std::string::npos ? "BROKEN: " + line : line.substr(text + 2);
        texts += '\n';
        start = end == std::string::npos ? content.size() : end + 1;
    }
    return texts;
}

struct Way {
    const char* way;
    const char* argument;
    int status;
    const char* fileRecords;
    const char* ownOutput;
};

constexpr Way WAYS[] = {
    {"fork", "_exit", 0, "parent before\nchild\nparent after\n", "parent before\nchild\nparent after\ndestroyed\n"},
    {"fork", "exit", 0, "parent before\nchild\nparent after\n",
     "parent before\nchild\ndestroyed\nparent after\ndestroyed\n"},
    {"exec", "", 0, "before\nafter\n", "before\nclosed\ndestroyed\nafter\ndestroyed\n"},
    {"return", "", 0, "last\n", "last\ndestroyed\n"},
    {"exit", "", 0, "last\n", "last\ndestroyed\n"},
    {"_exit", "", 0, "last\n", "last\n"},
    {"abort", "", SIGABRT, "last\n", "last\n"},
    {"static", "", 0, "last of main\nfrom the destructor of a static\n",
     "last of main\nfrom the destructor of a static\ndestroyed\n"},
};

std::ostream& operator<<(std::ostream& stream, const Way& way) {
    return stream << way.way << " " << way.argument;
}

class TraceLife : public testing::TestWithParam<Way> {};

TEST_P(TraceLife, FileKeepsEveryRecord) {
    const Way& way = GetParam();
    TemporaryFolder folder;
    const std::string path = folder.Path("records.log");

    const auto result = TraceProgram(TraceProgram::Life({"file:" + path, way.way, way.argument})).Wait();

    EXPECT_EQ(WIFSIGNALED(result.status) ? WTERMSIG(result.status) : WEXITSTATUS(result.status), way.status);
    EXPECT_EQ(Texts(folder.Read("records.log")), way.fileRecords);
    EXPECT_EQ(result.errors, "");
}

TEST_P(TraceLife, OwnListenerIsDestroyedAtAnOrderlyEndAndNotClosed) {
    const Way& way = GetParam();

    const auto result = TraceProgram(TraceProgram::Life({"own", way.way, way.argument})).Wait();

    EXPECT_EQ(WIFSIGNALED(result.status) ? WTERMSIG(result.status) : WEXITSTATUS(result.status), way.status);
    EXPECT_EQ(result.output, way.ownOutput);
}

TEST(TraceLifeNames, TakeAnyNameOfAProgramIntoTheRecord) {
    const struct {
        std::string name, written;
    } rows[] = {
        {"g", "g"},
        {std::string(38, 'n'), std::string(38, 'n')},
        {std::string(39, 'n'), std::string(39, 'n')},
        {std::string(200, 'n'), std::string(200, 'n')},
        {"two\nlines", "two\\nlines"},
    };

    for (const auto& row : rows) {
        TemporaryFolder folder;
        std::filesystem::create_symlink(TRACE_LIFE_PROGRAM, folder.Path(row.name));
        TraceProgram program({folder.Path(row.name), "file:" + folder.Path("records.log"), "return"});
        const std::string id = std::to_string(program.Id());

        EXPECT_EQ(program.Wait().status, 0);

        EXPECT_EQ(folder.Read("records.log").substr(24),
                  " INFORMATION " + row.written + "[" + id + ":" + id + "] last\n");
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, TraceLife, testing::ValuesIn(WAYS));

} // namespace

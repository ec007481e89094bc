// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TimeChoice.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>

#include <elf.h>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

class TimeChoiceTest : public testing::Test {
protected:
    // Of a program of the machine.
    static std::string Content() {
        std::ifstream file("/bin/true", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const TestSupport::TemporaryFolder folder;
};

TEST_F(TimeChoiceTest, TakesProgramsThatLoadLibraries) {
    EXPECT_TRUE(CanSkipTime("true", {}));
    EXPECT_TRUE(CanSkipTime("/bin/sh", {}));
    folder.Write("script", "#!/bin/sh\n");
    EXPECT_TRUE(CanSkipTime(folder.Path("script"), {}));
    EXPECT_TRUE(CanSkipTime(folder.Path("copy"), {})); // the start says that it is not there
}

TEST_F(TimeChoiceTest, LeavesOutProgramsForAnotherMachine) {
    std::string other = Content();
    other[offsetof(Elf64_Ehdr, e_machine)] = EM_386;
    folder.Write("other", other);
    EXPECT_FALSE(CanSkipTime(folder.Path("other"), {}));
}

TEST_F(TimeChoiceTest, LeavesOutProgramsWithASanitizerThatMustBeTheFirstLibraryOrWaits) {
    for (const std::string name : {"libasan.so.8", "liblsan.so.0", "__tsan_init"}) {
        folder.Write("sanitized", Content() + name);
        EXPECT_FALSE(CanSkipTime(folder.Path("sanitized"), {})) << name;
    }
    folder.Write("sanitized", Content() + "libc.so.6");
    EXPECT_TRUE(CanSkipTime(folder.Path("sanitized"), {}));
}

TEST_F(TimeChoiceTest, NeedsARunDirectoryThatLibrariesAreLoadedFrom) {
    EXPECT_TRUE(CanSkipTime("true", folder.Path("a/new/one")));
    EXPECT_FALSE(CanSkipTime("true", folder.Path("a blank")));
    EXPECT_FALSE(CanSkipTime("true", folder.Path("a:colon")));
}

} // namespace
} // namespace VelrixBoard

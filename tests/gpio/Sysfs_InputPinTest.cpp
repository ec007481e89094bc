// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_InputPin.h>

#include <cerrno>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/TemporaryFolder.h"

using TestSupport::AllocationFailure;
using TestSupport::FailingSystemCalls;
using TestSupport::TemporaryFolder;
using Velrix::Gpio::Sysfs_InputPin;

namespace {

// A pin on a value file in a temporary folder.
struct Line {
    explicit Line(const std::string& content) {
        folder.Write("value", content);
        pin = Sysfs_InputPin::Create("OXBO_IRQ_N", folder.Path("value"));
    }

    const TemporaryFolder folder;
    std::shared_ptr<Sysfs_InputPin> pin;
};

} // namespace

TEST(Sysfs_InputPin, ReadsHighForAOneAndLowForAnythingElse) {
    const struct {
        const char* content;
        bool level;
    } rows[] = {
        {"1\n", true}, {"1", true},   {"10", true},  {"1x", true},  {"0\n", false}, {"0", false},    {"2\n", false},
        {"", false},   {" 1", false}, {"\n", false}, {"01", false}, {"9", false},   {"\xB1", false}, {"!", false},
    };

    for (const auto& row : rows) {
        const Line line(row.content);

        EXPECT_EQ(line.pin->Get(), row.level) << '"' << row.content << '"';
    }
}

TEST(Sysfs_InputPin, ReadsFromTheBeginningEachTime) {
    const Line line("0\n");
    EXPECT_FALSE(line.pin->Get());
    EXPECT_FALSE(line.pin->Get());

    line.folder.Write("value", "1\n");
    EXPECT_TRUE(line.pin->Get());
    EXPECT_TRUE(line.pin->Get());

    line.folder.Write("value", "0\n");
    EXPECT_FALSE(line.pin->Get());
}

TEST(Sysfs_InputPin, ReadsTheLevelBeforeFromAnEmptyFile) {
    const Line line("");
    EXPECT_FALSE(line.pin->Get());

    line.folder.Write("value", "1\n");
    EXPECT_TRUE(line.pin->Get());
    line.folder.Write("value", "");
    EXPECT_TRUE(line.pin->Get());

    line.folder.Write("value", "0\n");
    EXPECT_FALSE(line.pin->Get());
    line.folder.Write("value", "");
    EXPECT_FALSE(line.pin->Get());
}

TEST(Sysfs_InputPin, ShowsItsNameAsText) {
    const TemporaryFolder folder;
    folder.Write("value", "0");

    EXPECT_EQ(Sysfs_InputPin::Create("QOR_IRQ_N", folder.Path("value"))->ToString(), "QOR_IRQ_N");
    EXPECT_EQ(Sysfs_InputPin::Create("", folder.Path("value"))->ToString(), "");
    EXPECT_EQ(Sysfs_InputPin::Create(nullptr, folder.Path("value"))->ToString(), nullptr);
}

TEST(Sysfs_InputPin, HasNoLabelWhenOnlyThePathIsGiven) {
    const TemporaryFolder folder;
    folder.Write("value", "1");

    const auto pin = Sysfs_InputPin::Create(folder.Path("value"));

    EXPECT_EQ(pin->ToString(), "N/A");
    EXPECT_TRUE(pin->Get());
}

TEST(Sysfs_InputPin, PassesOnThatTheFileCannotBeOpened) {
    const TemporaryFolder folder;

    EXPECT_THROW(Sysfs_InputPin::Create("A", folder.Path("missing")), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_InputPin::Create(folder.Path("missing")), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_InputPin::Create("A", ""), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_InputPin::Create("A", nullptr), System::ArgumentNullException);
    try {
        Sysfs_InputPin::Create("A", folder.Path());
        ADD_FAILURE() << "a folder was opened as a pin";
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EISDIR);
    }
    folder.Write("value", "1\n");
    const FailingSystemCalls calls("open", 1, EACCES);
    EXPECT_THROW(Sysfs_InputPin::Create("A", folder.Path("value")), System::IO::UnauthorizedAccessException);
}

TEST(Sysfs_InputPin, NeedsNoPermissionToWrite) {
    const TemporaryFolder folder;
    folder.Write("value", "1\n");
    ASSERT_EQ(chmod(folder.Path("value").c_str(), 0444), 0);

    EXPECT_TRUE(Sysfs_InputPin::Create(folder.Path("value"))->Get());
}

TEST(Sysfs_InputPin, PassesOnThatAFileHasNoBeginningToReturnTo) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("fifo");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int writer = open(path.c_str(), O_RDWR); // so that opening the other end does not block
    const auto pin = Sysfs_InputPin::Create("A", path);
    ASSERT_EQ(write(writer, "1", 1), 1);

    try {
        pin->Get();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), ESPIPE);
    }
    close(writer);
}

TEST(Sysfs_InputPin, PassesOnAFailureOfTheSystemAndReadsOnAfterIt) {
    const Line line("1\n");

    {
        const FailingSystemCalls failing("pread", 1, EIO);
        try {
            line.pin->Get();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::IO::IOException& exception) {
            EXPECT_EQ(exception.ErrorCode(), EIO);
            EXPECT_EQ(exception.Path(), line.folder.Path("value"));
        }
    }

    EXPECT_TRUE(line.pin->Get());
}

TEST(Sysfs_InputPin, CostsOneReadAndNoAllocationALevel) {
    const Line line("1\n");

    const AllocationFailure allocations;
    const FailingSystemCalls calls;
    line.pin->Get();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(calls.Log(), "pread");
}

TEST(Sysfs_InputPin, ReadsAFileThatWasOpenWhenItWasRemoved) {
    const Line line("1\n");

    line.folder.Remove("value");

    EXPECT_TRUE(line.pin->Get());
}

TEST(Sysfs_InputPin, SurvivesEveryAllocationFailure) {
    const TemporaryFolder folder;
    folder.Write("value", "1\n");
    const System::string_ptr path = folder.Path("value");

    const long failures = TestSupport::FailEachAllocation([&] { Sysfs_InputPin::Create(path)->Get(); });

    EXPECT_GT(failures, 3);
}

// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_OutputPin.h>

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
using Velrix::Gpio::Sysfs_OutputPin;

namespace {

// A pin on a value file in a temporary folder.
struct Line {
    explicit Line(const std::string& content) {
        folder.Write("value", content);
        pin = Sysfs_OutputPin::Create("OXBO_RESET1_N", folder.Path("value"));
    }

    std::string Content() const { return folder.Read("value"); }

    const TemporaryFolder folder;
    std::shared_ptr<Sysfs_OutputPin> pin;
};

} // namespace

TEST(Sysfs_OutputPin, WritesNothingWhenItIsMade) {
    const Line line("x\n");

    EXPECT_EQ(line.Content(), "x\n");
}

TEST(Sysfs_OutputPin, WritesOneByteALevel) {
    const Line line("");

    line.pin->SetHigh();
    EXPECT_EQ(line.Content(), "1");
    line.pin->SetLow();
    EXPECT_EQ(line.Content(), "10"); // a regular file keeps both bytes
}

TEST(Sysfs_OutputPin, WritesALevelThatTheLineHasAlready) {
    const Line line("");

    line.pin->SetLow();
    line.pin->SetLow();
    line.pin->SetHigh();
    line.pin->SetHigh();

    EXPECT_EQ(line.Content(), "0011");
}

TEST(Sysfs_OutputPin, WritesOverWhatIsThereFromTheBeginning) {
    const Line line("xyz");

    line.pin->SetHigh();

    EXPECT_EQ(line.Content(), "1yz");
}

TEST(Sysfs_OutputPin, DrivesNothingOnTheNullDevice) {
    const auto pin = Sysfs_OutputPin::Create("MS_YELLOW", "/dev/null");

    EXPECT_NO_THROW(pin->SetHigh());
    EXPECT_NO_THROW(pin->SetLow());
}

TEST(Sysfs_OutputPin, SendsItsLevelsThroughAFifo) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("fifo");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDWR);
    const auto pin = Sysfs_OutputPin::Create("A", path);

    pin->SetHigh();
    pin->SetLow();
    char levels[3] = {};

    EXPECT_EQ(read(reader, levels, sizeof levels), 2);
    EXPECT_STREQ(levels, "10");
    close(reader);
}

TEST(Sysfs_OutputPin, ShowsItsNameAsText) {
    EXPECT_EQ(Sysfs_OutputPin::Create("QOR_RESET_N", "/dev/null")->ToString(), "QOR_RESET_N");
    EXPECT_EQ(Sysfs_OutputPin::Create("", "/dev/null")->ToString(), "");
    EXPECT_EQ(Sysfs_OutputPin::Create(nullptr, "/dev/null")->ToString(), nullptr);
}

TEST(Sysfs_OutputPin, HasNoLabelWhenOnlyThePathIsGiven) {
    const TemporaryFolder folder;
    folder.Write("value", "");

    const auto pin = Sysfs_OutputPin::Create(folder.Path("value"));
    pin->SetHigh();

    EXPECT_EQ(pin->ToString(), "N/A");
    EXPECT_EQ(folder.Read("value"), "1");
}

TEST(Sysfs_OutputPin, PassesOnThatTheFileCannotBeOpenedAndMakesNone) {
    const TemporaryFolder folder;

    EXPECT_THROW(Sysfs_OutputPin::Create("A", folder.Path("missing")), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_OutputPin::Create(folder.Path("missing")), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_OutputPin::Create("A", ""), System::IO::FileNotFoundException);
    EXPECT_THROW(Sysfs_OutputPin::Create("A", nullptr), System::ArgumentNullException);
    EXPECT_NE(access(folder.Path("missing").c_str(), F_OK), 0);
    try {
        Sysfs_OutputPin::Create("A", folder.Path());
        ADD_FAILURE() << "a folder was opened as a pin";
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EISDIR);
    }
    folder.Write("value", "");
    const FailingSystemCalls calls("open", 1, EACCES);
    EXPECT_THROW(Sysfs_OutputPin::Create("A", folder.Path("value")), System::IO::UnauthorizedAccessException);
}

TEST(Sysfs_OutputPin, NeedsNoPermissionToRead) {
    const TemporaryFolder folder;
    folder.Write("value", "");
    ASSERT_EQ(chmod(folder.Path("value").c_str(), 0222), 0);

    EXPECT_NO_THROW(Sysfs_OutputPin::Create(folder.Path("value"))->SetHigh());
}

TEST(Sysfs_OutputPin, PassesOnThatTheDeviceTakesNothing) {
    const auto pin = Sysfs_OutputPin::Create("A", "/dev/full");

    for (const auto drive : {&Sysfs_OutputPin::SetHigh, &Sysfs_OutputPin::SetLow}) {
        try {
            (*pin.*drive)();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::IO::IOException& exception) {
            EXPECT_EQ(exception.ErrorCode(), ENOSPC);
            EXPECT_EQ(exception.Path(), "/dev/full");
        }
    }
}

TEST(Sysfs_OutputPin, DrivesOnAfterAFailedWrite) {
    const Line line("");

    {
        const FailingSystemCalls failing("write", 1, EIO);
        EXPECT_THROW(line.pin->SetHigh(), System::IO::IOException);
    }
    EXPECT_EQ(line.Content(), "");
    line.pin->SetLow();

    EXPECT_EQ(line.Content(), "0");
}

TEST(Sysfs_OutputPin, CostsOneWriteAndNoAllocationALevel) {
    const Line line("");

    const AllocationFailure allocations;
    const FailingSystemCalls calls;
    line.pin->SetHigh();
    line.pin->SetLow();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(calls.Log(), "write, write");
}

TEST(Sysfs_OutputPin, SurvivesEveryAllocationFailure) {
    const long failures = TestSupport::FailEachAllocation([] {
        const auto pin = Sysfs_OutputPin::Create("/dev/null");
        pin->SetHigh();
        pin->SetLow();
    });

    EXPECT_GT(failures, 3);
}

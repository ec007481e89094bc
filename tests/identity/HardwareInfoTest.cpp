// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/HardwareInfo.h>

#include <cerrno>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/identity/Device.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"

using TestSupport::ExpectException;
using TestSupport::FailingSystemCalls;
using Velrix::HardwareInfo;

namespace {

struct HardwareDevice : Device {
    explicit HardwareDevice(const std::string& revision) : Device{{"hwrevision", revision}} {}
};

} // namespace

TEST(HardwareInfo, ReadsNameAndRevision) {
    const struct {
        const char* file;
        const char* name;
        const char* text;
    } rows[] = {
        {"mainboard 3.0.1", "mainboard", "HardwareInfo[name=mainboard, version=3.0.1]"},
        {"\u00FCnit 3.0.1", "\u00FCnit", "HardwareInfo[name=\u00FCnit, version=3.0.1]"},
        {" 3.0.1", "", "HardwareInfo[name=, version=3.0.1]"}, // an empty word is a word
        {"two\nlines 3.0.1", "two\nlines", "HardwareInfo[name=two\nlines, version=3.0.1]"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const HardwareDevice device(row.file);

        const auto hardware = HardwareInfo::Create();

        EXPECT_EQ(hardware->Name, row.name);
        EXPECT_TRUE(hardware->Version->Equals(Velrix::Version::Create(3, 0, 1)));
        EXPECT_EQ(hardware->ToString(), row.text);
    }
}

TEST(HardwareInfo, CannotBeChanged) {
    EXPECT_TRUE((std::is_same_v<decltype(HardwareInfo::Name), const System::string_ptr>));
    EXPECT_TRUE((std::is_same_v<decltype(HardwareInfo::Version), const std::shared_ptr<Velrix::Version>>));
}

TEST(HardwareInfo, RefusesOtherThanTwoWords) {
    for (const char* const file :
         {"", "mainboard", "mainboard 3.0.1 b", "mainboard  3.0.1", "mainboard 3.0.1 ", "mainboard\t3.0.1"}) {
        SCOPED_TRACE(file);
        const HardwareDevice device(file);
        ExpectException<System::FormatException>("hej", [] { HardwareInfo::Create(); });
    }
}

TEST(HardwareInfo, RefusesARevisionWithoutThreeParts) {
    const HardwareDevice device("mainboard 3.0");

    ExpectException<System::ArgumentException>("[3, 0]", [] { HardwareInfo::Create(); });
}

TEST(HardwareInfo, RefusesARevisionThatIsNoNumber) {
    for (const char* const file : {"mainboard v3.0.1", "mainboard 3.0.1\n", "mainboard 3..1"}) {
        SCOPED_TRACE(file);
        const HardwareDevice device(file);
        EXPECT_THROW(HardwareInfo::Create(), System::FormatException);
    }
}

TEST(HardwareInfo, CutsRevisionNumbersTo8Bits) {
    const HardwareDevice device("mainboard 1.256.300");

    EXPECT_EQ(HardwareInfo::Create()->ToString(), "HardwareInfo[name=mainboard, version=1.0.44]");
}

TEST(HardwareInfo, HasNoDefaultForAFileThatCannotBeRead) {
    const HardwareDevice device("mainboard 3.0.1");
    const std::string path = device.folder.Path("hwrevision");

    {
        const FailingSystemCalls failing("open", 1, EACCES);
        ExpectException<System::IO::UnauthorizedAccessException>("Cannot open: " + path + ": Permission denied",
                                                                 [] { HardwareInfo::Create(); });
    }
    {
        const FailingSystemCalls failing("read", 1, EIO);
        ExpectException<System::IO::IOException>("Cannot read: " + path + ": Input/output error",
                                                 [] { HardwareInfo::Create(); });
    }
}

TEST(HardwareInfo, TracesNothing) {
    const HardwareDevice device("mainboard");

    const std::string trace = TraceOf([&] {
        EXPECT_THROW(HardwareInfo::Create(), System::FormatException);
        device.folder.Write("hwrevision", "mainboard 1.256.300");
        HardwareInfo::Create();
    });

    EXPECT_EQ(trace, "");
}

TEST(HardwareInfo, IsReadOnceAndAgainOnlyAfterAFailure) {
    const HardwareDevice device("");
    device.folder.Remove("hwrevision");
    try {
        HardwareInfo::INSTANCE.Value();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const System::IO::FileNotFoundException& exception) {
        EXPECT_EQ(exception.Path(), device.folder.Path("hwrevision"));
    }
    EXPECT_FALSE(HardwareInfo::INSTANCE.IsValueCreated());

    device.folder.Write("hwrevision", "mainboard 1.2.3");
    const auto hardware = HardwareInfo::INSTANCE.Value();
    device.folder.Write("hwrevision", "mainboard 4.5.6");

    EXPECT_EQ(hardware->ToString(), "HardwareInfo[name=mainboard, version=1.2.3]");
    EXPECT_EQ(HardwareInfo::INSTANCE.Value(), hardware);
    EXPECT_NE(HardwareInfo::Create(), hardware);
}

TEST(HardwareInfo, SurvivesEveryAllocationFailure) {
    const HardwareDevice device("mainboard 3.0.1");

    const long failures = TestSupport::FailEachAllocation([] { HardwareInfo::Create()->ToString(); });

    EXPECT_GT(failures, 5);
}

TEST(HardwareInfo, SurvivesEveryAllocationFailureOfARefusal) {
    const HardwareDevice device("mainboard");

    const long failures = TestSupport::FailEachAllocation([] {
        try {
            HardwareInfo::Create();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::FormatException&) {
        }
    });

    EXPECT_GT(failures, 5);
}

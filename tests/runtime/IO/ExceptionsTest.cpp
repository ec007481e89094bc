// SPDX-License-Identifier: Apache-2.0
#include <System/IO/Exceptions.h>

#include <cerrno>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "runtime/IO/RaiseIO.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using namespace System::IO;

static_assert(std::is_base_of_v<IOException, FileNotFoundException>);
static_assert(std::is_base_of_v<IOException, UnauthorizedAccessException>);
static_assert(std::is_nothrow_copy_constructible_v<UnauthorizedAccessException>);

TEST(IOException, TellsWhatFailedWhereAndWhy) {
    const IOException exception("Cannot read", "/var/dev/in", EIO);

    EXPECT_STREQ(exception.what(), "Cannot read: /var/dev/in: Input/output error");
    EXPECT_EQ(exception.Path(), "/var/dev/in");
    EXPECT_EQ(exception.ErrorCode(), EIO);
    EXPECT_EQ(exception.ToString(), "System::IO::IOException: Cannot read: /var/dev/in: Input/output error");
}

TEST(IOException, TellsANumberThatTheSystemDoesNotName) {
    EXPECT_STREQ(IOException("Cannot read", "f", 99999).what(), "Cannot read: f: Unknown error 99999");
}

TEST(IOException, BelongsToTheErrorNumber) {
    const string_ptr path = "/etc/file";
    const auto raise = [&](int errorCode) { return [&path, errorCode] { RaiseIO("Cannot open", path, errorCode); }; };

    TestSupport::ExpectException<FileNotFoundException>("Cannot open: /etc/file: No such file or directory",
                                                        raise(ENOENT));
    TestSupport::ExpectException<UnauthorizedAccessException>("Cannot open: /etc/file: Permission denied",
                                                              raise(EACCES));
    TestSupport::ExpectException<UnauthorizedAccessException>("Cannot open: /etc/file: Operation not permitted",
                                                              raise(EPERM));
    TestSupport::ExpectException<UnauthorizedAccessException>("Cannot open: /etc/file: Read-only file system",
                                                              raise(EROFS));
    TestSupport::ExpectException<IOException>("Cannot open: /etc/file: Is a directory", raise(EISDIR));
    TestSupport::ExpectException<IOException>("Cannot open: /etc/file: Not a directory", raise(ENOTDIR));
    TestSupport::ExpectException<IOException>("Cannot open: /etc/file: No space left on device", raise(ENOSPC));
}

TEST(IOException, KeepsPathAndNumberInEveryMemberOfTheFamily) {
    const string_ptr path = "/etc/file";

    for (const int errorCode : {ENOENT, EACCES, EPERM, EROFS, EINVAL})
        try {
            RaiseIO("Cannot open", path, errorCode);
        } catch (const IOException& exception) {
            EXPECT_EQ(exception.ErrorCode(), errorCode);
            EXPECT_EQ(&*exception.Path(), &*path);
        }
}

TEST(IOException, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        try {
            RaiseIO("Cannot open", "/a/path/that/is/longer/than/a/short/string", ENOENT);
        } catch (const FileNotFoundException& exception) {
            EXPECT_EQ(exception.ErrorCode(), ENOENT);
        }
    });

    EXPECT_GT(allocations, 4);
}

} // namespace

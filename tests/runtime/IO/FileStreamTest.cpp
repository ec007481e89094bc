// SPDX-License-Identifier: Apache-2.0
#include <System/IO/FileStream.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Array.h>
#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CancelledThread.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/TemporaryFolder.h"

using System::string_ptr;
using System::Collections::Generic::Array;
using System::IO::FileAccess;
using System::IO::FileMode;
using System::IO::FileNotFoundException;
using System::IO::FileStream;
using System::IO::IOException;
using System::IO::SeekOrigin;
using System::IO::UnauthorizedAccessException;
using TestSupport::ExpectException;
using TestSupport::FailingSystemCalls;
using TestSupport::TemporaryFolder;

namespace {

using Bytes = std::shared_ptr<Array<unsigned char>>;

Bytes BytesOf(const std::string& text) {
    Bytes bytes = Array<unsigned char>::Create(static_cast<int>(text.size()));
    std::copy(text.begin(), text.end(), bytes->Data());
    return bytes;
}

void WriteAll(FileStream& stream, const std::string& text) {
    stream.Write(BytesOf(text), 0, static_cast<int>(text.size()));
}

// Up to count bytes by one Read.
std::string ReadSome(FileStream& stream, int count) {
    const Bytes buffer = Array<unsigned char>::Create(count);
    const int got = stream.Read(buffer, 0, count);
    return std::string(buffer->Data(), buffer->Data() + got);
}

// All bytes up to the end by ReadByte.
std::string ReadBytes(FileStream& stream) {
    std::string text;
    for (int c = stream.ReadByte(); c >= 0; c = stream.ReadByte())
        text += static_cast<char>(c);
    return text;
}

class FileStreamTest : public testing::Test {
protected:
    std::shared_ptr<FileStream> Reader(const std::string& content) {
        folder.Write("file", content);
        return FileStream::Create(path, FileMode::OPEN, FileAccess::READ);
    }
    std::shared_ptr<FileStream> Writer(const std::string& content) {
        folder.Write("file", content);
        return FileStream::Create(path, FileMode::OPEN, FileAccess::WRITE);
    }
    std::string Content() const { return folder.Read("file"); }

    const TemporaryFolder folder;
    const std::string path = folder.Path("file");
};

// A FIFO; the test has the other end.
struct Fifo {
    Fifo() {
        EXPECT_EQ(mkfifo(folder.Path("fifo").c_str(), 0600), 0);
        keeper = open(folder.Path("fifo").c_str(), O_RDWR | O_CLOEXEC);
    }
    ~Fifo() { close(keeper); }
    void Put(const std::string& text) const {
        EXPECT_EQ(write(keeper, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    const TemporaryFolder folder;
    int keeper;
};

} // namespace

TEST_F(FileStreamTest, OpensAnExistingFileWithoutChangingIt) {
    Writer("abc");

    EXPECT_EQ(Content(), "abc");
}

TEST_F(FileStreamTest, DoesNotCreateAFileThatItIsToOpen) {
    for (const FileAccess access : {FileAccess::READ, FileAccess::WRITE})
        ExpectException<FileNotFoundException>("Cannot open: " + path + ": No such file or directory",
                                               [&] { FileStream::Create(path, FileMode::OPEN, access); });
    EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(FileStreamTest, CreatesAFileThatItIsToAppendTo) {
    const mode_t before = umask(027);
    FileStream::Create(path, FileMode::APPEND, FileAccess::WRITE);
    umask(before);

    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(FileStreamTest, AppendsBehindWhatOthersWrote) {
    folder.Write("file", "old ");
    const auto first = FileStream::Create(path, FileMode::APPEND, FileAccess::WRITE);
    const auto second = FileStream::Create(path, FileMode::APPEND, FileAccess::WRITE);

    WriteAll(*first, "a");
    WriteAll(*second, "b");
    first->Seek(0, SeekOrigin::BEGIN);
    WriteAll(*first, "c");

    EXPECT_EQ(Content(), "old abc");
}

TEST_F(FileStreamTest, RefusesArgumentsThatAreNone) {
    ExpectException<System::ArgumentNullException>("The argument \"path\" must not be null", [] {
        FileStream::Create(nullptr, FileMode::OPEN, FileAccess::READ);
    });
    ExpectException<System::ArgumentOutOfRangeException>("The argument \"mode\" is out of range", [&] {
        FileStream::Create(path, static_cast<FileMode>(2), FileAccess::READ);
    });
    ExpectException<System::ArgumentOutOfRangeException>("The argument \"access\" is out of range", [&] {
        FileStream::Create(path, FileMode::OPEN, static_cast<FileAccess>(2));
    });
    const auto stream = Reader("abc");
    ExpectException<System::ArgumentOutOfRangeException>("The argument \"origin\" is out of range",
                                                         [&] { stream->Seek(0, static_cast<SeekOrigin>(3)); });
}

TEST_F(FileStreamTest, RefusesAFolder) {
    for (const FileAccess access : {FileAccess::READ, FileAccess::WRITE})
        ExpectException<IOException>("Cannot open: " + folder.Path() + ": Is a directory",
                                     [&] { FileStream::Create(folder.Path(), FileMode::OPEN, access); });
}

TEST_F(FileStreamTest, RefusesAPathWithAZeroInIt) {
    folder.Write("file", "x");

    try {
        FileStream::Create(string_ptr(std::string_view(path + '\0' + "x")), FileMode::OPEN, FileAccess::READ);
        FAIL();
    } catch (const IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EINVAL);
    }
}

TEST_F(FileStreamTest, TellsAFileThatMayNotBeOpenedFromAMissingOne) {
    folder.Write("file", "x");
    for (const int error : {EACCES, EPERM, EROFS}) {
        const FailingSystemCalls failing("open", 1, error);
        EXPECT_THROW(FileStream::Create(path, FileMode::OPEN, FileAccess::READ), UnauthorizedAccessException) << error;
    }
}

TEST_F(FileStreamTest, ClosesTheFileWhenItsKindCannotBeFoundOut) {
    folder.Write("file", "x");
    const FailingSystemCalls failing("fstat", 1, EIO);

    ExpectException<IOException>("Cannot open: " + path + ": Input/output error",
                                 [&] { FileStream::Create(path, FileMode::OPEN, FileAccess::READ); });

    EXPECT_EQ(failing.Log(), "open, fstat, close");
}

TEST_F(FileStreamTest, OpensCloseOnExec) {
    const int before = open("/dev/null", O_RDONLY);
    close(before);
    const auto stream = Reader("x"); // gets the lowest free number

    EXPECT_EQ(fcntl(before, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

// Output to a standard stream that was closed at the start must not end up in our file.
TEST_F(FileStreamTest, NeverTakesThePlaceOfAStandardStream) {
    int kept[3];
    for (int standard = 0; standard < 3; ++standard) {
        kept[standard] = ::fcntl(standard, F_DUPFD_CLOEXEC, 10);
        ::close(standard);
    }

    const int next = ::fcntl(kept[0], F_DUPFD_CLOEXEC, 3);
    ::close(next);
    const auto reader = Reader("abc"); // gets that number
    const auto writer = Writer("abc");

    std::string taken;
    for (int standard = 0; standard < 3; ++standard) {
        taken += ::fcntl(standard, F_GETFD) < 0 ? "" : std::to_string(standard);
        if (kept[standard] < 0)
            continue;
        ::dup2(kept[standard], standard);
        ::close(kept[standard]);
    }
    EXPECT_EQ(taken, "");
    EXPECT_EQ(reader->ReadByte(), 'a');
    EXPECT_EQ(::fcntl(next, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(FileStreamTest, TriesAgainWhatASignalInterrupted) {
    folder.Write("file", "abc");
    {
        const FailingSystemCalls failing("open", 1, EINTR);
        FileStream::Create(path, FileMode::OPEN, FileAccess::READ);
        EXPECT_EQ(failing.Log(), "open, open, fstat, close");
    }
    const auto reader = FileStream::Create(path, FileMode::OPEN, FileAccess::READ);
    {
        const FailingSystemCalls failing("read", 1, EINTR);
        EXPECT_EQ(ReadSome(*reader, 1), "a");
        EXPECT_EQ(failing.Log(), "read, read");
    }
    reader->Seek(2, SeekOrigin::BEGIN);
    {
        const FailingSystemCalls failing("pread", 1, EINTR);
        EXPECT_EQ(ReadSome(*reader, 1), "c");
        EXPECT_EQ(failing.Log(), "pread, pread");
    }
    const auto writer = FileStream::Create(path, FileMode::OPEN, FileAccess::WRITE);
    const FailingSystemCalls failing("write", 1, EINTR);
    WriteAll(*writer, "xyz");
    EXPECT_EQ(failing.Log(), "write, write");
    EXPECT_EQ(Content(), "xyz");
}

TEST_F(FileStreamTest, PassesFailuresOnWithPathAndReason) {
    const auto reader = Reader("abc");
    {
        const FailingSystemCalls failing("read", 1, EIO);
        ExpectException<IOException>("Cannot read: " + path + ": Input/output error", [&] { ReadSome(*reader, 1); });
    }
    {
        const FailingSystemCalls failing("read", 1, EIO);
        ExpectException<IOException>("Cannot read: " + path + ": Input/output error", [&] { reader->ReadByte(); });
    }
    {
        const FailingSystemCalls failing("lseek", 1, EIO);
        ExpectException<IOException>("Cannot seek: " + path + ": Input/output error",
                                     [&] { reader->Seek(0, SeekOrigin::END); });
    }
    EXPECT_EQ(ReadSome(*reader, 3), "abc"); // none of them moved it

    const auto full = FileStream::Create("/dev/full", FileMode::OPEN, FileAccess::WRITE);
    ExpectException<IOException>("Cannot write: /dev/full: No space left on device", [&] { WriteAll(*full, "x"); });
}

TEST_F(FileStreamTest, AsksTheSystemForNoMoreThanItWasAskedFor) {
    const Fifo fifo;
    const auto stream = FileStream::Create(fifo.folder.Path("fifo"), FileMode::OPEN, FileAccess::READ);
    fifo.Put("abcdef");

    EXPECT_EQ(ReadSome(*stream, 2), "ab");

    char rest[8];
    EXPECT_EQ(read(fifo.keeper, rest, sizeof rest), 4); // the others are still in the FIFO
}

TEST_F(FileStreamTest, ReadsIntoThePartOfTheBufferThatItWasGiven) {
    const auto stream = Reader("abc");
    const Bytes buffer = BytesOf("123456");

    EXPECT_EQ(stream->Read(buffer, 2, 2), 2);

    EXPECT_EQ(std::string(buffer->begin(), buffer->end()), "12ab56");
    EXPECT_EQ(stream->Read(buffer, 0, 6), 1);
    EXPECT_EQ(stream->Read(buffer, 0, 6), 0);
    EXPECT_EQ(std::string(buffer->begin(), buffer->end()), "c2ab56");
}

TEST_F(FileStreamTest, ChecksTheRangeBeforeItTouchesTheFile) {
    const struct {
        int offset, count;
        const char* name;
    } ROWS[] = {{-1, 1, "offset"},      {5, 0, "offset"},     {INT_MAX, 0, "offset"}, {0, -1, "count"},
                {0, 5, "count"},        {4, 1, "count"},      {2, 3, "count"},        {1, INT_MAX, "count"},
                {INT_MIN, 0, "offset"}, {0, INT_MIN, "count"}};
    const auto reader = Reader("abcd");
    const auto writer = Writer("abcd");
    const Bytes buffer = BytesOf("1234");
    const FailingSystemCalls calls;

    for (const auto& row : ROWS) {
        SCOPED_TRACE(std::to_string(row.offset) + ", " + std::to_string(row.count));
        const std::string message = "The argument \"" + std::string(row.name) + "\" is out of range";
        ExpectException<System::ArgumentOutOfRangeException>(message,
                                                             [&] { reader->Read(buffer, row.offset, row.count); });
        ExpectException<System::ArgumentOutOfRangeException>(message,
                                                             [&] { writer->Write(buffer, row.offset, row.count); });
    }
    ExpectException<System::ArgumentNullException>("The argument \"buffer\" must not be null",
                                                   [&] { reader->Read(nullptr, 0, 0); });
    ExpectException<System::ArgumentNullException>("The argument \"buffer\" must not be null",
                                                   [&] { writer->Write(nullptr, 0, 0); });
    EXPECT_EQ(calls.Log(), "");
    EXPECT_EQ(reader->Read(buffer, 4, 0), 0); // the last range that fits
}

TEST_F(FileStreamTest, WritesThePartOfTheBufferThatItWasGiven) {
    const auto stream = Writer("");

    stream->Write(BytesOf("123456"), 2, 3);
    stream->Write(BytesOf("123456"), 6, 0);

    EXPECT_EQ(Content(), "345");
}

TEST_F(FileStreamTest, WritesThroughAtOnceAtThePlaceBehindTheLastWrite) {
    const auto stream = Writer("......");

    WriteAll(*stream, "a");
    EXPECT_EQ(Content(), "a.....");
    WriteAll(*stream, "bc");
    EXPECT_EQ(Content(), "abc...");
}

TEST_F(FileStreamTest, GoesOnAfterAShortWrite) {
    const auto stream = Writer("");
    FailingSystemCalls calls;
    calls.LimitWrites(2);

    WriteAll(*stream, "abcde");

    EXPECT_EQ(calls.Log(), "write, write, write");
    EXPECT_EQ(Content(), "abcde");
}

TEST_F(FileStreamTest, LeavesInTheFileWhatWasWrittenBeforeAFailure) {
    const auto stream = Writer("");
    FailingSystemCalls failing("write", 2, ENOSPC);
    failing.LimitWrites(2);

    EXPECT_THROW(WriteAll(*stream, "abcde"), IOException);

    EXPECT_EQ(Content(), "ab");
}

TEST_F(FileStreamTest, ReadsBytesOfEveryValueAndThenTheEnd) {
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    const auto stream = Reader(all);

    for (int c = 0; c < 256; ++c)
        ASSERT_EQ(stream->ReadByte(), c);
    EXPECT_EQ(stream->ReadByte(), -1);
    EXPECT_EQ(stream->ReadByte(), -1);
}

TEST_F(FileStreamTest, ReadsBytesInBlocks) {
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += static_cast<char>('a' + i % 26);
    const auto stream = Reader(text);
    const FailingSystemCalls calls;

    EXPECT_EQ(ReadBytes(*stream), text);

    EXPECT_EQ(calls.Log(), "read, read, read, read"); // 8192 twice, the rest, the end
}

TEST_F(FileStreamTest, SeesBytesThatComeAfterTheEnd) {
    const auto stream = Reader("a");
    EXPECT_EQ(ReadBytes(*stream), "a");

    folder.Write("file", "ab");

    EXPECT_EQ(stream->ReadByte(), 'b');
}

TEST_F(FileStreamTest, LetsReadAndReadByteAgreeOnThePosition) {
    const auto stream = Reader("abcdefgh");

    EXPECT_EQ(stream->ReadByte(), 'a');
    EXPECT_EQ(ReadSome(*stream, 2), "bc");
    EXPECT_EQ(stream->ReadByte(), 'd');
    EXPECT_EQ(ReadSome(*stream, 9), "efgh"); // the read-ahead, without blocking for more
    EXPECT_EQ(ReadSome(*stream, 9), "");
}

TEST_F(FileStreamTest, LetsReadBytesAfterRead) {
    const auto stream = Reader("abcdef");

    EXPECT_EQ(ReadSome(*stream, 2), "ab");
    EXPECT_EQ(ReadBytes(*stream), "cdef");
}

TEST_F(FileStreamTest, SeeksFromBeginningPlaceAndEnd) {
    const auto stream = Reader("abcdefgh");

    EXPECT_EQ(stream->Seek(3, SeekOrigin::BEGIN), 3);
    EXPECT_EQ(stream->ReadByte(), 'd');
    EXPECT_EQ(stream->Seek(1, SeekOrigin::CURRENT), 5);
    EXPECT_EQ(ReadSome(*stream, 1), "f");
    EXPECT_EQ(stream->Seek(-2, SeekOrigin::CURRENT), 4);
    EXPECT_EQ(stream->ReadByte(), 'e');
    EXPECT_EQ(stream->Seek(-1, SeekOrigin::END), 7);
    EXPECT_EQ(ReadBytes(*stream), "h");
    EXPECT_EQ(stream->Seek(100, SeekOrigin::BEGIN), 100);
    EXPECT_EQ(stream->ReadByte(), -1);
    EXPECT_EQ(stream->Seek(0, SeekOrigin::BEGIN), 0);
    EXPECT_EQ(ReadSome(*stream, 8), "abcdefgh");
}

TEST_F(FileStreamTest, SeeksFromAPlaceThatTheSystemCounts) {
    const auto stream = Reader("abcdefgh");

    EXPECT_EQ(ReadSome(*stream, 2), "ab");
    EXPECT_EQ(stream->Seek(1, SeekOrigin::CURRENT), 3);
    EXPECT_EQ(ReadSome(*stream, 1), "d");

    const auto other = FileStream::Create(path, FileMode::OPEN, FileAccess::READ);
    EXPECT_EQ(other->ReadByte(), 'a'); // and has read ahead
    EXPECT_EQ(other->Seek(0, SeekOrigin::CURRENT), 1);
    EXPECT_EQ(other->ReadByte(), 'b');
}

TEST_F(FileStreamTest, RefusesAPlaceBeforeTheBeginningAndStays) {
    const auto stream = Reader("abcdefgh");
    stream->ReadByte();
    const auto expectRefusal = [&](long long offset, SeekOrigin origin) {
        ExpectException<System::ArgumentOutOfRangeException>("The argument \"offset\" is out of range",
                                                             [&] { stream->Seek(offset, origin); });
    };

    expectRefusal(-1, SeekOrigin::BEGIN);
    expectRefusal(-2, SeekOrigin::CURRENT); // the system counts
    expectRefusal(-9, SeekOrigin::END);
    expectRefusal(LLONG_MIN, SeekOrigin::CURRENT);
    EXPECT_EQ(stream->ReadByte(), 'b');

    stream->Seek(3, SeekOrigin::BEGIN);
    expectRefusal(-4, SeekOrigin::CURRENT); // the stream counts
    expectRefusal(LLONG_MAX, SeekOrigin::CURRENT);
    EXPECT_EQ(stream->ReadByte(), 'd');
}

TEST_F(FileStreamTest, ReadsAtAKnownPlaceWithOneSystemCall) {
    const auto stream = Reader("1\n");
    const std::shared_ptr<System::Collections::Generic::IArray<unsigned char>> buffer = Array<unsigned char>::Create(1);
    const TestSupport::AllocationFailure allocations;
    const FailingSystemCalls calls;

    stream->Seek(0, SeekOrigin::BEGIN);
    stream->Read(buffer, 0, 1);
    stream->Seek(0, SeekOrigin::BEGIN);
    stream->Read(buffer, 0, 1);

    EXPECT_EQ(calls.Log(), "pread, pread");
    EXPECT_EQ(allocations.Count(), 0);
}

TEST_F(FileStreamTest, ReadsAFileThatChangedMeanwhileAnew) {
    const auto stream = Reader("0\n");
    EXPECT_EQ(stream->ReadByte(), '0');

    folder.Write("file", "1\n");
    stream->Seek(0, SeekOrigin::BEGIN);

    EXPECT_EQ(stream->ReadByte(), '1');
}

TEST_F(FileStreamTest, SeeksInAFileThatItWrites) {
    const auto stream = Writer("abcdef");

    EXPECT_EQ(stream->Seek(2, SeekOrigin::BEGIN), 2);
    WriteAll(*stream, "X");
    EXPECT_EQ(stream->Seek(1, SeekOrigin::CURRENT), 4);
    WriteAll(*stream, "Y");
    EXPECT_EQ(stream->Seek(0, SeekOrigin::END), 6);
    WriteAll(*stream, "Z");

    EXPECT_EQ(Content(), "abXdYfZ");
}

TEST_F(FileStreamTest, ReachesPlacesBeyondFourGigabytes) {
    folder.Write("file", "");
    ASSERT_EQ(truncate(path.c_str(), 5'000'000'001), 0);
    const auto stream = FileStream::Create(path, FileMode::OPEN, FileAccess::READ);

    EXPECT_EQ(stream->Seek(0, SeekOrigin::END), 5'000'000'001);
    EXPECT_EQ(stream->Seek(5'000'000'000, SeekOrigin::BEGIN), 5'000'000'000);
    EXPECT_EQ(ReadSome(*stream, 2).size(), 1U);
}

TEST_F(FileStreamTest, ReadsAFifoButHasNoPlaceInIt) {
    const Fifo fifo;
    const auto stream = FileStream::Create(fifo.folder.Path("fifo"), FileMode::OPEN, FileAccess::READ);
    fifo.Put("abc");

    EXPECT_EQ(ReadSome(*stream, 1), "a");
    EXPECT_EQ(stream->ReadByte(), 'b');
    try {
        stream->Seek(0, SeekOrigin::CURRENT);
        FAIL();
    } catch (const IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), ESPIPE);
    }
    EXPECT_EQ(stream->ReadByte(), 'c');
    stream->Seek(0, SeekOrigin::BEGIN);
    try {
        ReadSome(*stream, 1);
        FAIL();
    } catch (const IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), ESPIPE);
    }
}

TEST_F(FileStreamTest, WritesToAFifo) {
    const Fifo fifo;
    const auto stream = FileStream::Create(fifo.folder.Path("fifo"), FileMode::OPEN, FileAccess::WRITE);

    WriteAll(*stream, "abc");

    char text[4] = {};
    EXPECT_EQ(read(fifo.keeper, text, 3), 3);
    EXPECT_STREQ(text, "abc");
}

TEST_F(FileStreamTest, WorksOnTheNullDevice) {
    const auto writer = FileStream::Create("/dev/null", FileMode::OPEN, FileAccess::WRITE);
    WriteAll(*writer, "gone");
    const auto reader = FileStream::Create("/dev/null", FileMode::OPEN, FileAccess::READ);

    EXPECT_EQ(reader->ReadByte(), -1);
    reader->Seek(0, SeekOrigin::BEGIN);
    EXPECT_EQ(ReadSome(*reader, 1), "");
}

TEST_F(FileStreamTest, GivesUpOnADeviceThatTakesNothing) {
    const auto stream = Writer("");
    FailingSystemCalls calls;
    calls.LimitWrites(0);

    ExpectException<IOException>("Cannot write: " + path + ": Input/output error", [&] { WriteAll(*stream, "x"); });
}

TEST_F(FileStreamTest, RefusesToReadWhatItWritesAndToWriteWhatItReads) {
    const auto writer = Writer("abc");
    const auto reader = Reader("abc");

    const std::string writeOnly = "The file is open for writing only: " + path;
    ExpectException<System::NotSupportedException>(writeOnly, [&] { ReadSome(*writer, 1); });
    ExpectException<System::NotSupportedException>(writeOnly, [&] { writer->ReadByte(); });
    ExpectException<System::NotSupportedException>("The file is open for reading only: " + path,
                                                   [&] { WriteAll(*reader, "x"); });
}

TEST_F(FileStreamTest, DoesNothingAfterClose) {
    const auto reader = Reader("abc");
    const auto writer = Writer("abc");
    reader->ReadByte();
    reader->Close();
    writer->Close();

    const std::string message = "The file is closed: " + path;
    ExpectException<System::ObjectDisposedException>(message, [&] { reader->ReadByte(); });
    ExpectException<System::ObjectDisposedException>(message, [&] { ReadSome(*reader, 1); });
    ExpectException<System::ObjectDisposedException>(message, [&] { reader->Seek(0, SeekOrigin::BEGIN); });
    ExpectException<System::ObjectDisposedException>(message, [&] { WriteAll(*writer, "x"); });
    EXPECT_EQ(Content(), "abc");
}

TEST_F(FileStreamTest, ClosesOnceAtCloseOrAtTheEnd) {
    {
        const auto stream = Reader("abc");
        const FailingSystemCalls calls;
        stream->Close();
        stream->Close();
        EXPECT_EQ(calls.Log(), "close");
    }
    auto stream = Reader("abc");
    const FailingSystemCalls calls;
    stream.reset();
    EXPECT_EQ(calls.Log(), "close");
}

TEST_F(FileStreamTest, ClosesInACancelledThread) {
    const auto stream = Reader("abc");
    auto another = Reader("abc");

    EXPECT_TRUE(TestSupport::RunCancelled([&] { stream->Close(); }));
    EXPECT_TRUE(TestSupport::RunCancelled([&] { another.reset(); }));

    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        EXPECT_NE(std::filesystem::read_symlink(descriptor, error).string(), path);
    }
}

TEST_F(FileStreamTest, TellsAFailureOfCloseOnceAndIsClosed) {
    const auto stream = Writer("abc");
    {
        const FailingSystemCalls failing("close", 1, EIO);
        ExpectException<IOException>("Cannot close: " + path + ": Input/output error", [&] { stream->Close(); });
    }
    stream->Close();
    EXPECT_THROW(WriteAll(*stream, "x"), System::ObjectDisposedException);

    const auto interrupted = Reader("abc");
    const FailingSystemCalls failing("close", 1, EINTR);
    interrupted->Close(); // the descriptor is gone all the same
}

TEST_F(FileStreamTest, SurvivesEveryAllocationFailure) {
    folder.Write("file", "abc");
    const string_ptr name = path;
    const Bytes buffer = Array<unsigned char>::Create(4);

    const long allocations = TestSupport::FailEachAllocation([&] {
        const auto stream = FileStream::Create(name, FileMode::OPEN, FileAccess::READ);
        stream->ReadByte();
        stream->Read(buffer, 0, 2);
    });

    EXPECT_GT(allocations, 2);
}

// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/FileTraceListener.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/Process.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CancelledThread.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace System;
using namespace System::Diagnostics;
using TestSupport::ExpectException;
using TestSupport::FailingSystemCalls;
using TestSupport::FakeClock;
using TestSupport::TemporaryFolder;

class FileTraceListenerTest : public testing::Test {
protected:
    static std::string Origin() {
        return Process::CURRENT_PROCESS->ProcessName()->ToUtf8() + "[" + std::to_string(::getpid()) + ":" +
               std::to_string(::gettid()) + "] ";
    }

    // The record of an event at the clock's start time.
    static std::string Record(const std::string& text, const std::string& level = "INFORMATION") {
        return "2026-11-21T08:15:30.042Z " + level + " " + Origin() + text + "\n";
    }

    std::shared_ptr<FileTraceListener> Create() const { return FileTraceListener::Create(path); }

    static void Write(FileTraceListener& listener, const string_ptr& text) {
        listener.TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION, text);
    }

    // A listener after its first record, at which it examines the file.
    std::shared_ptr<FileTraceListener> CreateUsed() const {
        auto listener = Create();
        Write(*listener, "first");
        std::filesystem::resize_file(path, 0);
        return listener;
    }

    FakeClock clock;
    TemporaryFolder folder;
    const std::string path = folder.Path("log");
};

using FileTraceListenerRotation = FileTraceListenerTest;
using FileTraceListenerFailures = FileTraceListenerTest;

// Opening

TEST_F(FileTraceListenerTest, StampsRecordsPast2038) {
    const auto listener = FileTraceListener::Create(path);

    for (const long long seconds : {2'147'483'647LL, 2'147'483'648LL, 4'102'444'800LL}) {
        clock.Set(seconds, 999'000'000);
        listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION, string_ptr("a record"));
    }

    std::string stamps;
    const std::string text = folder.Read("log");
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1)
        stamps += text.substr(begin, 24) + "\n";
    EXPECT_EQ(stamps, "2038-01-19T03:14:07.999Z\n"
                      "2038-01-19T03:14:08.999Z\n"
                      "2100-01-01T00:00:00.999Z\n");
}

TEST_F(FileTraceListenerTest, OpensTheFileAtOnce) {
    const mode_t before = ::umask(027);
    const FailingSystemCalls calls;

    const auto listener = Create();

    EXPECT_EQ(calls.Log(), "open");
    ::umask(before);
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(status.st_size, 0);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) == path) {
            EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
        }
    }
}

TEST_F(FileTraceListenerTest, RefusesPathsThatCannotBeOpened) {
    ExpectException<ArgumentNullException>(ArgumentNullException("path").what(),
                                           [] { FileTraceListener::Create(nullptr); });
    ExpectException<IO::IOException>("Cannot open: " + folder.Path() + ": Is a directory",
                                     [&] { FileTraceListener::Create(folder.Path()); });
    ExpectException<IO::FileNotFoundException>("Cannot open: " + folder.Path("none/log") +
                                                   ": No such file or directory",
                                               [&] { FileTraceListener::Create(folder.Path("none/log")); });
    ExpectException<IO::FileNotFoundException>("Cannot open: : No such file or directory",
                                               [&] { FileTraceListener::Create(""); });
    const std::string withZero = path + '\0' + "tail";
    EXPECT_THROW(FileTraceListener::Create(withZero), IO::IOException);
    EXPECT_FALSE(std::filesystem::exists(path));
    const FailingSystemCalls calls("open", 1, EACCES);
    EXPECT_THROW(Create(), IO::UnauthorizedAccessException);
}

TEST_F(FileTraceListenerTest, OpensAgainAfterASignal) {
    const FailingSystemCalls calls("open", 1, EINTR);

    Create();

    EXPECT_EQ(calls.Log(), "open, open, close");
}

TEST_F(FileTraceListenerTest, AppendsToTheFileThatIsThere) {
    folder.Write("log", "an old line\n");

    Write(*Create(), "new");

    EXPECT_EQ(folder.Read("log"), "an old line\n" + Record("new"));
}

// Records

TEST_F(FileTraceListenerTest, WritesALineARecordWithTimeLevelProcessAndThread) {
    const auto listener = Create();

    for (const auto& type : {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING,
                             TraceEventType::ERROR, TraceEventType::FATAL})
        listener->TraceEvent(TraceEventArgs::Create(), type, string_ptr("the text"));
    clock.AdvanceMilliseconds(86'400'000 * 41ll + 1958);
    Write(*listener, "later");
    clock.AdvanceMilliseconds(1);
    Write(*listener, "later");

    EXPECT_EQ(folder.Read("log"), Record("the text", "DEBUG") + Record("the text", "INFORMATION") +
                                      Record("the text", "WARNING") + Record("the text", "ERROR") +
                                      Record("the text", "FATAL") + "2027-01-01T08:15:32.000Z INFORMATION " + Origin() +
                                      "later\n" + "2027-01-01T08:15:32.001Z INFORMATION " + Origin() + "later\n");
}

TEST_F(FileTraceListenerTest, NamesTheLevelsAsTheyAreCalled) {
    const auto listener = Create();

    for (const auto& type : {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING,
                             TraceEventType::ERROR, TraceEventType::FATAL}) {
        std::filesystem::resize_file(path, 0);
        listener->TraceEvent(TraceEventArgs::Create(), type, string_ptr("x"));
        EXPECT_EQ(folder.Read("log"), Record("x", type->Name()->ToUtf8()));
    }
}

TEST_F(FileTraceListenerTest, NamesTheThreadAndTheChildProcess) {
    const auto listener = Create();
    std::string expected = Record("parent");

    Write(*listener, "parent");
    std::thread([&] {
        Write(*listener, "thread");
        expected += Record("thread");
    }).join();
    Write(*listener, "parent");
    expected += Record("parent");
    const pid_t child = ::fork();
    if (child == 0) {
        Write(*listener, "child");
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);

    const std::string id = std::to_string(child);
    EXPECT_EQ(folder.Read("log"), expected + "2026-11-21T08:15:30.042Z INFORMATION " +
                                      Process::CURRENT_PROCESS->ProcessName()->ToUtf8() + "[" + id + ":" + id +
                                      "] child\n");
}

TEST_F(FileTraceListenerTest, WritesWithOneCallOnceTheFileIsKnown) {
    const auto listener = CreateUsed();
    const string_ptr text = "the text";
    const FailingSystemCalls calls;

    Write(*listener, text);
    Write(*listener, text);
    listener->Flush();

    EXPECT_EQ(calls.Log(), "stat, write, stat, write");
}

TEST_F(FileTraceListenerTest, LetsACancelledThreadEndInEveryCallAndGoesOn) {
    const struct {
        const char* what;
        std::function<void()> prepare;
    } rows[] = {{"the first record, behind part of another one", [&] { std::ofstream(path, std::ios::app) << "part"; }},
                {"a file that was removed", [&] { std::filesystem::remove(path); }},
                {"any record", [] {}}};

    for (const auto& row : rows) {
        const auto listener = Create();
        row.prepare();

        TestSupport::RunCancelled([&] { Write(*listener, "lost or not"); });

        Write(*listener, "next");
        EXPECT_TRUE(folder.Read("log").ends_with("\n" + Record("next")) || folder.Read("log") == Record("next"))
            << row.what;
        listener->Close();
        folder.Write("log", "");
        Write(*listener, "closed");
        EXPECT_EQ(folder.Read("log"), "") << row.what;
    }
}

// Failures of a listener go to standard error, which may be closed at a program's start.
TEST_F(FileTraceListenerTest, NeverTakesThePlaceOfAStandardStream) {
    const int kept = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
    ::close(STDERR_FILENO);

    const auto listener = CreateUsed();
    std::filesystem::remove(path);
    Write(*listener, "in a new file");

    EXPECT_LT(::fcntl(STDERR_FILENO, F_GETFD), 0);
    ::dup2(kept, STDERR_FILENO);
    ::close(kept);
    EXPECT_EQ(folder.Read("log"), Record("in a new file"));
}

TEST_F(FileTraceListenerTest, ClosesItsFileInACancelledThread) {
    auto listener = CreateUsed();
    auto another = CreateUsed();

    EXPECT_TRUE(TestSupport::RunCancelled([&] { listener->Close(); }));
    EXPECT_TRUE(TestSupport::RunCancelled([&] { another.reset(); }));

    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        EXPECT_NE(std::filesystem::read_symlink(descriptor, error).string(), path);
    }
}

TEST_F(FileTraceListenerTest, NeedsNoMemoryForAUsualRecord) {
    const auto listener = CreateUsed();
    const std::shared_ptr<Object> text = string_ptr("the text");
    const auto eventArgs = TraceEventArgs::Create();
    const TestSupport::AllocationFailure allocations;

    listener->TraceEvent(eventArgs, TraceEventType::INFORMATION, text);

    EXPECT_EQ(allocations.Count(), 0);
}

TEST_F(FileTraceListenerTest, EscapesWhatWouldBreakTheLine) {
    const struct {
        string_ptr text;
        std::string written;
    } rows[] = {
        {"", ""},
        {"a\nb", "a\\nb"},
        {"\r\t\x1B\x7F", "\\r\\t\\x1b\\x7f"},
        {"C:\\n", "C:\\\\n"},
        {std::u16string_view(u"\0", 1), "\\x00"},
        {u"Gr\u00FC\u00DFe \U0001F600", "Gr\xC3\xBC\xC3\x9F"
                                        "e \xF0\x9F\x98\x80"},
        {u"\xD800 alone", "\xEF\xBF\xBD alone"},
        {"0123456789abcdef\n", "0123456789abcdef\\n"},
        {"0123456789abcdef\\0123456789abcdef", "0123456789abcdef\\\\0123456789abcdef"},
    };

    for (const auto& row : rows) {
        const auto listener = CreateUsed();
        Write(*listener, row.text);
        EXPECT_EQ(folder.Read("log"), Record(row.written)) << row.written;
    }
}

TEST_F(FileTraceListenerTest, WritesTextsOfAnyLengthWithASpecialCharacterAnywhere) {
    const auto listener = CreateUsed();
    const struct {
        char16_t unit;
        const char* written;
    } specials[] = {
        {u'.', "."},     {u' ', " "},     {u'~', "~"},        {u'\\', "\\\\"},          {0x1F, "\\x1f"},
        {0x7F, "\\x7f"}, {0x9F, "\\x9f"}, {0xA0, "\xC2\xA0"}, {0x7FFF, "\xE7\xBF\xBF"}, {0xFFFD, "\xEF\xBF\xBD"}};
    std::string expected;

    for (std::size_t length = 1; length <= 36; ++length)
        for (std::size_t place = 0; place < length; ++place)
            for (const auto& special : specials) {
                std::u16string text;
                std::string written;
                for (std::size_t i = 0; i < length; ++i) {
                    const char letter = static_cast<char>('A' + (i + length) % 50);
                    const bool isPlain = i != place && letter != '\\';
                    text += i == place ? special.unit : isPlain ? static_cast<char16_t>(letter) : u'-';
                    written += i == place ? special.written : std::string(1, isPlain ? letter : '-');
                }
                Write(*listener, std::u16string_view(text));
                expected += Record(written);
            }

    EXPECT_TRUE(folder.Read("log") == expected);
}

TEST_F(FileTraceListenerTest, WritesALongRecordAsOne) {
    for (const std::size_t length : {200u, 223u, 224u, 225u, 240u, 1000u, 100'000u}) {
        const auto listener = CreateUsed();
        for (const bool isPlain : {true, false}) {
            const string_ptr text = std::string(length, isPlain ? 'x' : '\x1B');
            std::filesystem::resize_file(path, 0);
            {
                const FailingSystemCalls calls;
                Write(*listener, text);
                EXPECT_EQ(calls.Log(), "stat, write");
            }
            std::string written;
            for (std::size_t i = 0; i < length; ++i)
                written += isPlain ? "x" : "\\x1b";
            EXPECT_TRUE(folder.Read("log") == Record(written)) << length;
        }
    }
}

TEST_F(FileTraceListenerTest, NeedsAnEventAndItsType) {
    const auto listener = Create();
    const auto eventArgs = TraceEventArgs::Create();

    ExpectException<ArgumentNullException>("The argument \"eventArgs\" must not be null", [&] {
        listener->TraceEvent(nullptr, TraceEventType::DEBUG, string_ptr("text"));
    });
    ExpectException<ArgumentNullException>("The argument \"eventType\" must not be null",
                                           [&] { listener->TraceEvent(eventArgs, nullptr, string_ptr("text")); });
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
}

TEST_F(FileTraceListenerTest, WritesNullAndObjectsWithoutATextAsNothing) {
    class Nothing final : public Object {
        string_ptr ToString() override { return nullptr; }
    };
    const auto listener = Create();

    Write(*listener, nullptr);
    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION, std::make_shared<Nothing>());

    EXPECT_EQ(folder.Read("log"), Record("") + Record(""));
}

// Rotation

TEST_F(FileTraceListenerRotation, GoesOnInANewFileAfterAMove) {
    const auto listener = Create();
    Write(*listener, "one");

    std::filesystem::rename(path, path + ".1");
    Write(*listener, "two");
    Write(*listener, "three");

    EXPECT_EQ(folder.Read("log.1"), Record("one"));
    EXPECT_EQ(folder.Read("log"), Record("two") + Record("three"));
}

TEST_F(FileTraceListenerRotation, GoesOnInANewFileAfterARemoval) {
    const auto listener = Create();
    Write(*listener, "one");

    folder.Remove("log");
    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), Record("two"));
}

TEST_F(FileTraceListenerRotation, GoesOnInTheFileThatAnotherProcessMade) {
    const auto listener = Create();
    Write(*listener, "one");

    std::filesystem::rename(path, path + ".1");
    folder.Write("log", "theirs\n");
    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log.1"), Record("one"));
    EXPECT_EQ(folder.Read("log"), "theirs\n" + Record("two"));
}

TEST_F(FileTraceListenerRotation, BeginsOnALineOfItsOwnInAFileThatEndsInsideALine) {
    const auto listener = Create();
    Write(*listener, "one");

    std::filesystem::rename(path, path + ".1");
    folder.Write("log", "thei");
    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), "thei\n" + Record("two"));
}

// The remains of a process killed while it writes.
TEST_F(FileTraceListenerTest, BeginsOnALineOfItsOwnBehindARecordThatEndsAtTheEdgeOfAPage) {
    const auto listener = Create();
    Write(*listener, "one");
    const std::string cut(4096 - Record("one").size(), 'x');
    std::ofstream(path, std::ios::app) << cut;

    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), Record("one") + cut + "\n" + Record("two"));
}

TEST_F(FileTraceListenerRotation, KeepsTheNewFileFromProgramsThatAreExecuted) {
    const auto listener = Create();
    Write(*listener, "one");

    folder.Remove("log");
    Write(*listener, "two");

    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) != path)
            continue;
        ++found;
        EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(found, 1);
}

TEST_F(FileTraceListenerRotation, GoesOnAtTheBeginningOfATruncatedFile) {
    const auto listener = Create();
    Write(*listener, "one");

    std::filesystem::resize_file(path, 0);
    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), Record("two"));
}

TEST_F(FileTraceListenerRotation, FollowsALinkThatLeadsElsewhere) {
    const std::string link = folder.Path("link");
    std::filesystem::create_symlink(path, link);
    const auto listener = FileTraceListener::Create(link);
    Write(*listener, "one");

    std::filesystem::remove(link);
    std::filesystem::create_symlink("/dev/full", link);

    EXPECT_THROW(Write(*listener, "two"), IO::IOException);
    EXPECT_EQ(folder.Read("log"), Record("one"));
}

TEST_F(FileTraceListenerRotation, LeavesNoDescriptorBehind) {
    const auto listener = Create();
    Write(*listener, "one");
    const auto count = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = count();

    for (int i = 0; i < 5; ++i) {
        folder.Remove("log");
        Write(*listener, "two");
    }

    EXPECT_EQ(count(), before);
}

TEST_F(FileTraceListenerRotation, LooksWhereAnIncompletePathLedAtFirst) {
    const auto workingFolder = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    const auto listener = FileTraceListener::Create("log");
    std::filesystem::current_path("/");
    Write(*listener, "one");
    folder.Remove("log");

    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), Record("two"));
    std::filesystem::current_path(workingFolder);
}

TEST_F(FileTraceListenerRotation, TakesAnIncompletePathAsItIsInAFolderThatIsGone) {
    const auto workingFolder = std::filesystem::current_path();
    std::filesystem::create_directory(folder.Path("gone"));
    std::filesystem::current_path(folder.Path("gone"));
    std::filesystem::remove(folder.Path("gone"));

    EXPECT_THROW(FileTraceListener::Create("log"), IO::FileNotFoundException);

    std::filesystem::current_path(workingFolder);
}

TEST_F(FileTraceListenerRotation, WritesOnWhenThePathCannotBeLookedAt) {
    const auto listener = CreateUsed();
    {
        const FailingSystemCalls calls("stat", 1, EACCES);
        Write(*listener, "one");
        EXPECT_EQ(calls.Log(), "stat, write");
    }

    Write(*listener, "two");

    EXPECT_EQ(folder.Read("log"), Record("one") + Record("two"));
}

TEST_F(FileTraceListenerRotation, TriesTheNextRecordAgainWhenTheNewFileCannotBeOpened) {
    const struct {
        const char* call;
        int error;
        const char* reason;
    } rows[] = {{"open", EACCES, "Permission denied"}, {"dup3", EMFILE, "Too many open files"}};

    for (const auto& row : rows) {
        const auto listener = Create();
        folder.Remove("log");
        {
            const FailingSystemCalls calls(row.call, 1, row.error);
            try {
                Write(*listener, "one");
                FAIL();
            } catch (const IO::IOException& exception) {
                EXPECT_EQ(exception.Message(), string_ptr("Cannot open: " + path + ": " + row.reason));
            }
            EXPECT_TRUE(calls.HasFailed());
        }
        if (std::filesystem::exists(path)) {
            EXPECT_EQ(folder.Read("log"), "");
        }

        Write(*listener, "two");

        EXPECT_EQ(folder.Read("log"), Record("two"));
    }
}

TEST_F(FileTraceListenerRotation, ReopensWhenTheOpenFileCannotBeLookedAt) {
    const auto listener = Create();
    const FailingSystemCalls calls("fstat", 1, EIO);

    Write(*listener, "one");

    EXPECT_EQ(calls.Log().substr(0, 30), "stat, fstat, open, dup3, close");
    EXPECT_EQ(folder.Read("log"), Record("one"));
}

// Failures

TEST_F(FileTraceListenerFailures, PassesAFailedWriteOnAndTriesAgain) {
    const auto listener = CreateUsed();
    {
        const FailingSystemCalls calls("write", 1, ENOSPC);
        ExpectException<IO::IOException>("Cannot write: " + path + ": No space left on device",
                                         [&] { Write(*listener, "lost"); });
    }

    Write(*listener, "next");

    EXPECT_EQ(folder.Read("log"), Record("next"));
}

TEST_F(FileTraceListenerFailures, GivesUpOnADeviceThatTakesNothing) {
    const auto listener = CreateUsed();
    FailingSystemCalls calls;
    calls.LimitWrites(0);

    ExpectException<IO::IOException>("Cannot write: " + path + ": Input/output error",
                                     [&] { Write(*listener, "lost"); });
}

TEST_F(FileTraceListenerFailures, WritesAgainAfterASignal) {
    for (const bool isKnown : {false, true}) {
        std::filesystem::remove(path);
        const auto listener = isKnown ? CreateUsed() : Create();
        const FailingSystemCalls calls("write", 1, EINTR);

        Write(*listener, "x");

        EXPECT_EQ(folder.Read("log"), Record("x"));
    }
}

TEST_F(FileTraceListenerFailures, CompletesARecordOfWhichAPartWasTaken) {
    const auto listener = CreateUsed();
    FailingSystemCalls calls;
    calls.LimitWrites(30);

    Write(*listener, "a text that takes more than two of such small writes, as a signal may cut them");

    EXPECT_EQ(folder.Read("log"),
              Record("a text that takes more than two of such small writes, as a signal may cut them"));
}

TEST_F(FileTraceListenerFailures, BeginsANewLineBehindAPartOfARecord) {
    const auto listener = CreateUsed();
    {
        FailingSystemCalls calls("write", 2, ENOSPC);
        calls.LimitWrites(30);
        EXPECT_THROW(Write(*listener, "lost"), IO::IOException);
    }
    EXPECT_EQ(folder.Read("log"), Record("lost").substr(0, 30));

    Write(*listener, "two");
    Write(*listener, "three");

    EXPECT_EQ(folder.Read("log"), Record("lost").substr(0, 30) + "\n" + Record("two") + Record("three"));
}

TEST_F(FileTraceListenerFailures, BeginsANewLineBehindWhatAnEndedProcessLeft) {
    for (const std::string left : {"half a rec", "x"}) {
        folder.Write("log", left);
        const auto listener = Create();

        Write(*listener, "one");
        Write(*listener, "two");

        EXPECT_EQ(folder.Read("log"), left + "\n" + Record("one") + Record("two"));
    }
}

TEST_F(FileTraceListenerFailures, CountsAnEndThatCannotBeReadAsALineEnd) {
    constexpr struct {
        const char* call;
        int number;
    } ROWS[] = {{"fstat", 3}, {"open", 1}, {"lseek", 1}, {"pread", 1}};

    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.call);
        folder.Write("log", "half");
        const auto listener = Create();
        {
            const FailingSystemCalls calls(row.call, row.number, EIO);
            Write(*listener, "one");
            EXPECT_TRUE(calls.HasFailed());
        }

        EXPECT_EQ(folder.Read("log"), "half" + Record("one"));
    }
}

TEST_F(FileTraceListenerFailures, RecoversWhenThereIsRoomAgain) {
    // In a child with a temporary file size limit of 600 bytes.
    const auto listener = Create();
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {600, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        int failures = 0;
        for (int i = 0; i < 20; ++i) {
            try {
                Write(*listener, "filling the disk");
            } catch (const IO::IOException& exception) {
                ++failures;
                if (exception.ErrorCode() != EFBIG)
                    ::_exit(2);
            }
        }
        limit.rlim_cur = RLIM_INFINITY;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        Write(*listener, "room again");
        ::_exit(failures > 5 ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);

    // Complete records, then a part of one up to the limit, then the last one on a new line.
    const std::string content = folder.Read("log");
    ASSERT_GT(content.size(), 601u);
    EXPECT_EQ(content[600], '\n');
    EXPECT_EQ(content.substr(content.size() - 11), "room again\n");
    EXPECT_EQ(content.find('\n', 601), content.size() - 1);
    EXPECT_NE(content[599], '\n') << "the test's numbers do not cut a record";
}

TEST_F(FileTraceListenerFailures, ReportsAFullDeviceForEveryRecord) {
    const auto listener = FileTraceListener::Create("/dev/full");

    for (int i = 0; i < 2; ++i)
        ExpectException<IO::IOException>("Cannot write: /dev/full: No space left on device",
                                         [&] { Write(*listener, "x"); });
}

TEST_F(FileTraceListenerFailures, PassesTheFailureOfTheDataOnAndWritesNothing) {
    class Broken final : public Object {
        string_ptr ToString() override { throw FormatException("no text"); }
    };
    const auto listener = CreateUsed();

    EXPECT_THROW(
        listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION, std::make_shared<Broken>()),
        FormatException);

    EXPECT_EQ(folder.Read("log"), "");
}

TEST_F(FileTraceListenerFailures, SurvivesEveryAllocationFailure) {
    const auto eventArgs = TraceEventArgs::Create();
    const std::shared_ptr<Object> shortText = string_ptr("a\nb"), longText = string_ptr(std::string(2000, '\n'));

    EXPECT_GT(TestSupport::FailEachAllocation([&] {
                  const auto listener = Create();
                  listener->TraceEvent(eventArgs, TraceEventType::ERROR, shortText);
                  listener->TraceEvent(eventArgs, TraceEventType::ERROR, longText);
              }),
              4);
}

// The end

TEST_F(FileTraceListenerTest, DropsEventsAfterClose) {
    const auto listener = CreateUsed();
    Write(*listener, "one");
    const FailingSystemCalls calls;

    listener->Close();
    EXPECT_EQ(calls.Log(), "close");
    listener->Close();
    Write(*listener, "two");
    listener->Flush();

    EXPECT_EQ(calls.Log(), "close");
    EXPECT_EQ(folder.Read("log"), Record("one"));
}

TEST_F(FileTraceListenerTest, ClosesTheFileWithTheLastPointer) {
    auto listener = Create();
    const FailingSystemCalls calls;

    listener.reset();

    EXPECT_EQ(calls.Log(), "close");
}

// Runs an action in ToString().
class ActingText final : public Object {
public:
    explicit ActingText(std::function<void()> ownAction) : action(std::move(ownAction)) {}

    string_ptr ToString() override {
        action();
        return "text";
    }

private:
    const std::function<void()> action;
};

TEST_F(FileTraceListenerTest, DropsTheRecordWhoseTextClosesIt) {
    const auto listener = CreateUsed();
    const FailingSystemCalls calls;

    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION,
                         std::make_shared<ActingText>([&] { listener->Close(); }));

    EXPECT_EQ(calls.Log(), "close");
    EXPECT_EQ(folder.Read("log"), "");
}

TEST_F(FileTraceListenerTest, IsClosedBehindTheRecordThatIsUnderWay) {
    const auto countDescriptors = [this] {
        int count = 0;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            count += std::filesystem::read_symlink(entry.path(), error) == path;
        return count;
    };
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const int reader = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    const auto listener = Create();
    // Full, so that the write blocks.
    const std::string filling(4096, '.');
    while (::write(reader, filling.data(), filling.size()) > 0) {
    }
    std::atomic<int> writerId{0};
    std::thread writer([&] {
        listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION,
                             std::make_shared<ActingText>([&] { writerId = ::gettid(); }));
    });
    while (writerId == 0)
        std::this_thread::yield();
    const std::string stateFile = "/proc/self/task/" + std::to_string(writerId) + "/stat";
    for (std::string state; state.find(") S ") == std::string::npos; std::this_thread::yield())
        std::getline(std::ifstream(stateFile), state);

    listener->Close();
    EXPECT_EQ(countDescriptors(), 2);

    std::string content, part(4096, '.');
    while (content.find('\n') == std::string::npos) {
        const ssize_t count = ::read(reader, part.data(), part.size());
        if (count > 0)
            content.append(part, 0, static_cast<std::size_t>(count));
    }
    writer.join();
    EXPECT_TRUE(content.ends_with("] text\n"));
    EXPECT_EQ(countDescriptors(), 1);
    ::close(reader);
}

TEST_F(FileTraceListenerTest, WritesNothingIntoAForeignFileWhileItIsClosed) {
    // Every round one thread writes while another closes; closing the descriptor under the writer would let it write
    // into the next opened file.
    for (int round = 0; round < 100; ++round) {
        const auto listener = Create();
        std::thread writer([&] {
            for (int i = 0; i < 5; ++i)
                Write(*listener, "x");
        });
        std::thread closer([&] { listener->Close(); });
        std::thread opener([&] {
            for (int i = 0; i < 5; ++i)
                ::close(::open(folder.Path("foreign").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        });
        writer.join();
        closer.join();
        opener.join();
    }

    EXPECT_EQ(folder.Read("foreign"), "");
}

TEST_F(FileTraceListenerTest, KeepsTheRecordsOfManyThreadsWholeWhileTheFileIsRotated) {
    constexpr int THREADS = 4, RECORDS = 300;
    const auto listener = Create();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < RECORDS; ++i)
                Write(*listener, std::to_string(thread) + "." + std::to_string(i) + ".");
        });
    for (int i = 0; i < 20; ++i) {
        std::error_code error; // maybe no writes since the last round
        std::filesystem::rename(path, path + "." + std::to_string(i), error);
        std::this_thread::yield();
    }
    for (auto& thread : threads)
        thread.join();

    std::string content;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        content += folder.Read(entry.path().filename());
    for (int thread = 0; thread < THREADS; ++thread)
        for (int i = 0; i < RECORDS; ++i) {
            const std::string text = "] " + std::to_string(thread) + "." + std::to_string(i) + ".\n";
            ASSERT_NE(content.find(text), std::string::npos) << text;
        }
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), THREADS * RECORDS);
}

} // namespace

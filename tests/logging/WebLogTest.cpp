// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/WebLog.h>

#include <cerrno>
#include <memory>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CancelledThread.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/RecordingListener.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VirtualSlot.h"

using System::Collections::Generic::Array;
using System::Diagnostics::Trace;
using TestSupport::FailingSystemCalls;
using TestSupport::RecordingListener;
using TestSupport::SlotOf;
using TestSupport::TemporaryFolder;
using Velrix::WebLog;

namespace {

std::string TextOf(const std::shared_ptr<Array<unsigned char>>& bytes) {
    return std::string(bytes->begin(), bytes->end());
}

// A web log in a temporary folder.
struct Page {
    std::string Text() const { return folder.Read("log"); }

    const TemporaryFolder folder;
    std::shared_ptr<WebLog> log = WebLog::Create(folder.Path("log"));
};

} // namespace

TEST(WebLog, HasTheMarkersThatTheReaderKnows) {
    EXPECT_EQ(TextOf(WebLog::START), "\x3E\x73\x74\x61\x72\x74");
    EXPECT_EQ(TextOf(WebLog::END), "\x3E\x65\x6E\x64");
    EXPECT_EQ(TextOf(WebLog::NOTIFY), "\x2B");
    EXPECT_EQ(TextOf(WebLog::WARNING), "\x40\x77");
    EXPECT_EQ(TextOf(WebLog::ERROR), "\x40\x65");
    EXPECT_EQ(TextOf(WebLog::LINEBREAK), "\x3E\x62\x72");
    EXPECT_EQ(TextOf(WebLog::PROGRESS_BAR), "\x25");
    EXPECT_EQ(TextOf(WebLog::NEWLINE), "\x0A");
}

TEST(WebLog, HasNoVirtualOperationOfItsOwn) {
    EXPECT_EQ(SlotOf(&WebLog::WriteBytes), -1);
    EXPECT_EQ(SlotOf(&WebLog::WriteString), -1);
    EXPECT_EQ(SlotOf(&WebLog::Start), -1);
    EXPECT_EQ(SlotOf(&WebLog::End), -1);
    EXPECT_EQ(SlotOf(&WebLog::Linebreak), -1);
    EXPECT_EQ(SlotOf(&WebLog::Notify), -1);
    EXPECT_EQ(SlotOf(&WebLog::Warning), -1);
    EXPECT_EQ(SlotOf(&WebLog::Error), -1);
    EXPECT_EQ(SlotOf(&WebLog::BeginProgressBar), -1);
    EXPECT_EQ(SlotOf(&WebLog::UpdateProgress), -1);
}

TEST(WebLog, HasTheTextOfAnyObject) {
    EXPECT_EQ(Page().log->ToString(), "Velrix::WebLog");
}

TEST(WebLog, CreatesItsFileAndWritesNothingOnOpening) {
    const Page page;

    EXPECT_EQ(page.Text(), "");
}

TEST(WebLog, WritesOneRecordALine) {
    const struct {
        const char* name;
        void (*write)(WebLog&);
        const char* line;
    } rows[] = {
        {"Start", [](WebLog& log) { log.Start(); }, ">start\n"},
        {"End", [](WebLog& log) { log.End(); }, ">end\n"},
        {"Linebreak", [](WebLog& log) { log.Linebreak(); }, ">br\n"},
        {"Notify", [](WebLog& log) { log.Notify("Firmware update started"); }, "+Firmware update started\n"},
        {"Warning", [](WebLog& log) { log.Warning("Link is down"); }, "@wLink is down\n"},
        {"Error", [](WebLog& log) { log.Error("Write failed"); }, "@eWrite failed\n"},
        {"BeginProgressBar", [](WebLog& log) { log.BeginProgressBar("Updating module firmware"); },
         "%Updating module firmware\n"},
        {"UpdateProgress", [](WebLog& log) { log.UpdateProgress(45); }, "%45\n"},
        {"WriteString", [](WebLog& log) { log.WriteString("as it is"); }, "as it is"},
        {"WriteBytes",
         [](WebLog& log) {
             log.WriteBytes(Array<unsigned char>::Create({0, 0x0D, 0x80, 0xFF}));
         },
         "\0\r\x80\xFF"},
        {"empty Notify", [](WebLog& log) { log.Notify(""); }, "+\n"},
        {"empty Warning", [](WebLog& log) { log.Warning(""); }, "@w\n"},
        {"empty Error", [](WebLog& log) { log.Error(""); }, "@e\n"},
        {"empty BeginProgressBar", [](WebLog& log) { log.BeginProgressBar(""); }, "%\n"},
        {"empty WriteString", [](WebLog& log) { log.WriteString(""); }, ""},
        {"empty WriteBytes", [](WebLog& log) { log.WriteBytes(Array<unsigned char>::Create(0)); }, ""},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Page page;

        row.write(*page.log);

        EXPECT_EQ(page.Text(), row.name == std::string("WriteBytes") ? std::string("\0\r\x80\xFF", 4) : row.line);
    }
}

TEST(WebLog, WritesRecordsOneAfterTheOther) {
    const Page page;

    page.log->Warning("a");
    page.log->Error("b");

    EXPECT_EQ(page.Text(), "@wa\n@eb\n");
}

TEST(WebLog, WritesEveryPercentageInDecimal) {
    const Page page;
    std::string expected;

    for (int percentage = 0; percentage <= 100; ++percentage) {
        page.log->UpdateProgress(static_cast<unsigned char>(percentage));
        expected += "%" + std::to_string(percentage) + "\n";
    }

    EXPECT_EQ(page.Text(), expected);
}

TEST(WebLog, RefusesMoreThanAllAndWritesNothing) {
    const Page page;

    for (int percentage = 101; percentage <= 255; ++percentage) {
        SCOPED_TRACE(percentage);
        try {
            page.log->UpdateProgress(static_cast<unsigned char>(percentage));
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::ArgumentOutOfRangeException& exception) {
            const std::string message = exception.what();
            EXPECT_EQ(exception.ParamName(), "percentage");
            EXPECT_NE(message.find("percentage"), std::string::npos) << message;
            EXPECT_NE(message.find(std::to_string(percentage)), std::string::npos) << message;
            EXPECT_NE(message.find("100"), std::string::npos) << message;
        }
    }

    EXPECT_EQ(page.Text(), "");
}

TEST(WebLog, AppendsToWhatIsThere) {
    const TemporaryFolder folder;
    folder.Write("log", "before\n");

    WebLog::Create(folder.Path("log"))->Start();
    WebLog::Create(folder.Path("log"))->End();

    EXPECT_EQ(folder.Read("log"), "before\n>start\n>end\n");
}

TEST(WebLog, AppendsBehindWhatOthersWriteMeanwhile) {
    const TemporaryFolder folder;
    const auto first = WebLog::Create(folder.Path("log"));
    const auto second = WebLog::Create(folder.Path("log"));

    first->Notify("one");
    second->Notify("two");
    first->Notify("three");

    EXPECT_EQ(folder.Read("log"), "+one\n+two\n+three\n");
}

TEST(WebLog, HasEveryByteInTheFileAtOnce) {
    const Page page;

    page.log->WriteString("%");

    EXPECT_EQ(page.Text(), "%");
}

TEST(WebLog, WritesAQuestionMarkForWhatIsNotAscii) {
    const Page page;

    page.log->Notify(u"T\u00FCr \u2713 \U0001F600");

    EXPECT_EQ(page.Text(), "+T?r ? ?\n");
}

TEST(WebLog, LeavesLineEndsInTheText) {
    const Page page;

    page.log->Notify("two\nlines\r");

    EXPECT_EQ(page.Text(), "+two\nlines\r\n");
}

TEST(WebLog, RefusesNullTexts) {
    const struct {
        const char* name;
        void (*write)(WebLog&);
        const char* written; // the marker is written already
    } rows[] = {
        {"WriteBytes", [](WebLog& log) { log.WriteBytes(nullptr); }, ""},
        {"WriteString", [](WebLog& log) { log.WriteString(nullptr); }, ""},
        {"Notify", [](WebLog& log) { log.Notify(nullptr); }, "+"},
        {"Warning", [](WebLog& log) { log.Warning(nullptr); }, "@w"},
        {"Error", [](WebLog& log) { log.Error(nullptr); }, "@e"},
        {"BeginProgressBar", [](WebLog& log) { log.BeginProgressBar(nullptr); }, "%"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Page page;

        EXPECT_THROW(row.write(*page.log), System::ArgumentNullException);

        EXPECT_EQ(page.Text(), row.written);
    }
}

TEST(WebLog, PassesOnThatTheFileCannotBeOpened) {
    const TemporaryFolder folder;

    EXPECT_THROW(WebLog::Create(folder.Path("missing/log")), System::IO::FileNotFoundException);
    EXPECT_THROW(WebLog::Create(folder.Path("")), System::IO::IOException);
    EXPECT_THROW(WebLog::Create(nullptr), System::ArgumentNullException);
    const FailingSystemCalls calls("open", 1, EACCES);
    EXPECT_THROW(WebLog::Create(folder.Path("log")), System::IO::UnauthorizedAccessException);
}

TEST(WebLog, PassesOnThatAWriteFails) {
    const auto log = WebLog::Create("/dev/full");

    try {
        log->Start();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), ENOSPC);
        EXPECT_EQ(exception.Path(), "/dev/full");
    }
}

TEST(WebLog, StopsARecordAtTheWriteThatFails) {
    const struct {
        const char* name;
        void (*write)(WebLog&);
        const char* pieces[3];
    } rows[] = {
        {"Start", [](WebLog& log) { log.Start(); }, {">start", "\n", nullptr}},
        {"End", [](WebLog& log) { log.End(); }, {">end", "\n", nullptr}},
        {"Linebreak", [](WebLog& log) { log.Linebreak(); }, {">br", "\n", nullptr}},
        {"Notify", [](WebLog& log) { log.Notify("text"); }, {"+", "text", "\n"}},
        {"Warning", [](WebLog& log) { log.Warning("text"); }, {"@w", "text", "\n"}},
        {"Error", [](WebLog& log) { log.Error("text"); }, {"@e", "text", "\n"}},
        {"BeginProgressBar", [](WebLog& log) { log.BeginProgressBar("text"); }, {"%", "text", "\n"}},
        {"UpdateProgress", [](WebLog& log) { log.UpdateProgress(100); }, {"%", "100", "\n"}},
    };

    for (const auto& row : rows) {
        std::string written;
        for (int piece = 0; piece < 3 && row.pieces[piece]; ++piece) {
            SCOPED_TRACE(row.name + std::string(" piece ") + std::to_string(piece));
            const Page page;

            {
                const FailingSystemCalls failing("write", piece + 1, EIO);
                EXPECT_THROW(row.write(*page.log), System::IO::IOException);
            }

            EXPECT_EQ(page.Text(), written);
            written += row.pieces[piece];
        }
    }
}

TEST(WebLog, LeavesAHalfWrittenRecordBehindAFailedWrite) {
    const Page page;

    {
        const FailingSystemCalls failing("write", 2, ENOSPC);
        EXPECT_THROW(page.log->Notify("text"), System::IO::IOException);
    }
    page.log->Linebreak();

    EXPECT_EQ(page.Text(), "+>br\n");
}

TEST(WebLog, WritesARecordInTwoOrThreePieces) {
    const Page page;
    const FailingSystemCalls calls;

    page.log->Start();
    EXPECT_EQ(calls.Log(), "write, write");
    page.log->Error("text");
    EXPECT_EQ(calls.Log(), "write, write, write, write, write");
}

TEST(WebLog, ClosesItsFileWhenItGoes) {
    Page page;
    const FailingSystemCalls calls;

    page.log.reset();

    EXPECT_EQ(calls.Log(), "close");
}

TEST(WebLog, TracesThatItsFileFailsToClose) {
    const auto traced = RecordingListener::Create();
    Trace::AddListener(traced);
    Page page;

    {
        const FailingSystemCalls failing("close", 1, EIO);
        page.log.reset();
    }

    Trace::RemoveListener(traced);
    EXPECT_THAT(traced->Log(),
                testing::AllOf(testing::StartsWith("WARNING "), testing::HasSubstr(page.folder.Path("log"))));
}

TEST(WebLog, TracesThatItsFileFailsToCloseInACancelledThread) {
    Page page;
    const auto traced = System::Diagnostics::FileTraceListener::Create(page.folder.Path("trace"));
    Trace::AddListener(traced);

    EXPECT_TRUE(TestSupport::RunCancelled([&] {
        const FailingSystemCalls failing("close", 1, EIO);
        page.log.reset();
    }));

    Trace::RemoveListener(traced);
    EXPECT_THAT(page.folder.Read("trace"), testing::HasSubstr(page.folder.Path("log")));
}

TEST(WebLog, SurvivesEveryAllocationFailure) {
    const TemporaryFolder folder;
    const System::string_ptr path = folder.Path("log");
    const auto traced = RecordingListener::Create();
    Trace::AddListener(traced);

    const long failures = TestSupport::FailEachAllocation([&] {
        const auto log = WebLog::Create(path);
        log->Notify("text");
        log->UpdateProgress(45);
        try {
            log->WriteBytes(nullptr);
        } catch (const System::ArgumentNullException&) {
        }
        try {
            log->UpdateProgress(101);
        } catch (const System::ArgumentOutOfRangeException&) {
        }
    });
    const long failuresOfClosing = TestSupport::FailEachAllocation([&] {
        auto log = WebLog::Create(path);
        const FailingSystemCalls failing("close", 1, EIO);
        log.reset();
        traced->Forget();
    });

    Trace::RemoveListener(traced);
    EXPECT_GT(failures, 5);
    EXPECT_GT(failuresOfClosing, failures / 2);
}

// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/TraceListenerFactory.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/Trace.h>
#include <System/IO/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/RecordedSyslog.h"
#include "tests/support/TemporaryFolder.h"

using System::Diagnostics::Trace;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceListener;
using TestSupport::TakeSyslogCalls;
using TestSupport::TemporaryFolder;
using Velrix::TraceListenerFactory;

// The folder of the log files is fixed: interposed functions of the C library redirect it to a temporary folder.

namespace {

constexpr std::string_view FOLDER = "/var/log/apps/";

std::string ownFolder; // replaces FOLDER; empty: no such folder
std::string openedFiles;

// The path in the temporary folder, without an allocation, which a test may let fail.
struct OwnPath {
    explicit OwnPath(const char* path) {
        if (std::string_view(path).starts_with(FOLDER))
            std::snprintf(text, sizeof text, "%s/%s", ownFolder.c_str(), path + FOLDER.size());
        else
            std::snprintf(text, sizeof text, "%s", path);
    }

    char text[4096];
};

} // namespace

extern "C" int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (std::string_view(path).starts_with(FOLDER))
        openedFiles.append(path).append("\n");
    return openat(AT_FDCWD, OwnPath(path).text, flags, mode);
}

extern "C" int stat(const char* path, struct stat* status) noexcept {
    return fstatat(AT_FDCWD, OwnPath(path).text, status, 0);
}

namespace {

struct LogFolder {
    LogFolder() {
        ownFolder = folder.Path();
        openedFiles.clear();
    }
    ~LogFolder() { ownFolder.clear(); }

    const TemporaryFolder folder;
    const std::string name = std::string(program_invocation_short_name) + ".log";
};

// Passes one event of each level to the listener.
void TraceOneOfEach(const std::shared_ptr<TraceListener>& listener) {
    Trace::AddListener(listener);
    Trace::TraceDebug("debug");
    Trace::TraceInformation("information");
    Trace::TraceWarning("warning");
    Trace::TraceError("error");
    Trace::TraceFatal("fatal");
    Trace::RemoveListener(listener);
}

std::string LevelsPassedBy(const std::shared_ptr<TraceListener>& listener) {
    std::string passed;
    for (const auto& level : {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING,
                              TraceEventType::ERROR, TraceEventType::FATAL})
        if (listener->Filter->ShouldTrace(level))
            passed += level->Name()->ToUtf8() + " ";
    return passed;
}

} // namespace

TEST(TraceListenerFactory, SendsFatalEventsAloneToTheFatalEventLog) {
    const auto listener = TraceListenerFactory::CreateFatalEventLogTraceListener();
    TakeSyslogCalls();

    TraceOneOfEach(listener);

    EXPECT_EQ(LevelsPassedBy(listener), "FATAL ");
    EXPECT_EQ(TakeSyslogCalls(), "128.2 fatal\n");
}

TEST(TraceListenerFactory, SendsEventsFromInformationUpwardToTheEventLog) {
    const auto listener = TraceListenerFactory::CreateEventLogTraceListener();
    TakeSyslogCalls();

    TraceOneOfEach(listener);

    EXPECT_EQ(LevelsPassedBy(listener), "INFORMATION WARNING ERROR FATAL ");
    EXPECT_EQ(TakeSyslogCalls(), "136.6 information\n136.4 warning\n136.3 error\n136.2 fatal\n");
}

TEST(TraceListenerFactory, WritesEventsFromDebugUpwardToTheFileOfTheProcess) {
    const LogFolder logs;
    const auto listener = TraceListenerFactory::CreateFileTraceListener();
    EXPECT_EQ(openedFiles, std::string(FOLDER) + logs.name + "\n");

    TraceOneOfEach(listener);

    EXPECT_EQ(LevelsPassedBy(listener), "DEBUG INFORMATION WARNING ERROR FATAL ");
    std::string levels;
    const std::string text = logs.folder.Read(logs.name);
    for (std::size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        levels += text.substr(text.rfind(' ', end), end - text.rfind(' ', end));
    EXPECT_EQ(levels, " debug information warning error fatal");
}

TEST(TraceListenerFactory, KeepsTheTwoEventLogsApartInOneProcess) {
    const auto fatal = TraceListenerFactory::CreateFatalEventLogTraceListener();
    const auto events = TraceListenerFactory::CreateEventLogTraceListener();
    TakeSyslogCalls();

    Trace::AddListener(fatal);
    Trace::AddListener(events);
    Trace::TraceFatal("both");
    Trace::TraceError("one");
    Trace::RemoveListener(fatal);
    Trace::RemoveListener(events);

    EXPECT_EQ(TakeSyslogCalls(), "128.2 both\n136.2 both\n136.3 one\n");
}

TEST(TraceListenerFactory, MakesANewListenerAndFilterEachTime) {
    const LogFolder logs;
    for (const auto create :
         {&TraceListenerFactory::CreateFatalEventLogTraceListener, &TraceListenerFactory::CreateEventLogTraceListener,
          &TraceListenerFactory::CreateFileTraceListener}) {
        const auto first = create();
        const auto second = create();

        EXPECT_NE(first, second);
        EXPECT_NE(first->Filter, second->Filter);
        EXPECT_EQ(first.use_count(), 1);
        EXPECT_EQ(first->Filter.use_count(), 1);
    }
}

TEST(TraceListenerFactory, MakesTwoFileListenersOnOneFile) {
    const LogFolder logs;
    const auto first = TraceListenerFactory::CreateFileTraceListener();
    const auto second = TraceListenerFactory::CreateFileTraceListener();

    Trace::AddListener(first);
    Trace::AddListener(second);
    Trace::TraceInformation("twice");
    Trace::RemoveListener(first);
    Trace::RemoveListener(second);

    const std::string text = logs.folder.Read(logs.name);
    const std::size_t line = text.find('\n') + 1;
    EXPECT_EQ(text, text.substr(0, line) + text.substr(0, line));
    EXPECT_TRUE(text.ends_with(" twice\n")) << text;
}

TEST(TraceListenerFactory, DoesNotCreateTheFolder) {
    const TemporaryFolder folder;
    ownFolder = folder.Path("missing");

    EXPECT_THROW(TraceListenerFactory::CreateFileTraceListener(), System::IO::FileNotFoundException);

    EXPECT_NE(access(ownFolder.c_str(), F_OK), 0);
    ownFolder.clear();
}

TEST(TraceListenerFactory, PassesOnWhyTheFileDoesNotOpen) {
    const LogFolder logs;
    ASSERT_EQ(mkdir(logs.folder.Path(logs.name).c_str(), 0777), 0);

    try {
        TraceListenerFactory::CreateFileTraceListener();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const System::IO::IOException& exception) {
        EXPECT_EQ(exception.ErrorCode(), EISDIR);
        EXPECT_EQ(exception.Path()->ToUtf8(), std::string(FOLDER) + logs.name);
    }
}

TEST(TraceListenerFactory, AddsNoListenerItself) {
    TraceListenerFactory::CreateFatalEventLogTraceListener();
    TraceListenerFactory::CreateEventLogTraceListener();

    EXPECT_TRUE(Trace::Listeners().empty());
}

TEST(TraceListenerFactory, SurvivesEveryAllocationFailure) {
    const LogFolder logs;
    openedFiles.reserve(100'000); // for the test's log

    for (const auto create :
         {&TraceListenerFactory::CreateFatalEventLogTraceListener, &TraceListenerFactory::CreateEventLogTraceListener,
          &TraceListenerFactory::CreateFileTraceListener})
        EXPECT_GT(TestSupport::FailEachAllocation([&] { create(); }), 2);
}

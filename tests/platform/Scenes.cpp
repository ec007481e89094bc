// SPDX-License-Identifier: Apache-2.0
//
// The program that PlatformTest runs on a private board: one scene of an application's life, named by the first
// argument. Logs its system calls on the board to standard output, one word each.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <System/Diagnostics/Trace.h>
#include <System/Diagnostics/TraceListener.h>
#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include <velrix/logging/TraceListenerFactory.h>
#include <velrix/platform/Platform.h>

#include "tests/platform/SystemCallLog.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/CancelledThread.h"

using System::string_ptr;
using System::Diagnostics::Trace;
using System::Diagnostics::TraceEventArgs;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceListener;
using SystemCallLog::Note;
using SystemCallLog::Step;
using Velrix::Platform;

namespace {

using Arguments = std::vector<std::string>;

// Writes each event into the line: {DEBUG Platform::ShutDown}.
class WordListener final : public TraceListener {
public:
    static std::shared_ptr<WordListener> Create() { return std::shared_ptr<WordListener>(new WordListener); }

    void TraceEvent(std::shared_ptr<TraceEventArgs>, std::shared_ptr<TraceEventType> eventType,
                    std::shared_ptr<Object> data) override {
        Note("{" + eventType->Name()->ToUtf8() + " " + data->ToString()->ToUtf8() + "}");
    }

private:
    WordListener() = default;
};

std::shared_ptr<Platform> Board() {
    return Platform::INSTANCE.Value();
}

// Runs an operation and logs its exception: the type, the message and, for a failed system call, the reason.
template <class Operation>
void Try(Operation operation) {
    try {
        operation();
    } catch (const System::Exception& exception) {
        const std::string text = exception.ToString()->ToUtf8();
        if (const auto* failure = dynamic_cast<const System::IO::IOException*>(&exception))
            Note("threw <" + text.substr(0, text.find(": ")) + "> " + std::strerror(failure->ErrorCode()));
        else
            Note("threw <" + text + ">");
    }
}

void AdvanceMs(long long milliseconds) {
    SystemCallLog::Clock().AdvanceMilliseconds(milliseconds);
}

void MakeBoardQuietly() {
    SystemCallLog::SetEnabled(false);
    Board();
    SystemCallLog::SetEnabled(true);
}

// Constructed, shut down, and destroyed at the end of the process.
void Life(const Arguments&) {
    Step("no board yet");
    Trace::AddListener(WordListener::Create());
    Step("first use");
    Board();
    Step("second use");
    if (Board() != Platform::INSTANCE.Value())
        Note("another board");
    Step("ShutDown");
    Board()->ShutDown();
    Step("exit");
}

// Constructed, and destroyed at the end of the process.
void Exit(const Arguments& arguments) {
    Trace::AddListener(Velrix::TraceListenerFactory::CreateFileTraceListener());
    Step("first use");
    Board()->SetMsEnLedRunning();
    Board()->SetNsLedConnectionEstablished();
    if (arguments.size() > 1 && arguments[1] == "fatal") {
        Trace::AddListener(Board()->ledTraceListener);
        Trace::TraceFatal("the end");
    }
    Step("exit");
}

// First used by several threads at once.
void Race(const Arguments&) {
    Step("first use");
    std::atomic<int> waiting{8};
    std::vector<std::shared_ptr<Platform>> boards(8);
    std::vector<std::thread> threads;
    for (auto& board : boards)
        threads.emplace_back([&] {
            --waiting;
            while (waiting.load() != 0)
                std::this_thread::yield();
            board = Board();
        });
    for (auto& thread : threads)
        thread.join();
    Step("boards");
    for (const auto& board : boards)
        Note(board == boards[0] ? "same" : "another");
}

// Fails to construct because of the board; then again when the file named by the first argument exists.
void Fail(const Arguments& arguments) {
    Trace::AddListener(WordListener::Create());
    Step("first use");
    Try([] { Board(); });
    Step("left open");
    Note(std::to_string(SystemCallLog::OpenFiles()));
    if (arguments.size() > 1) {
        SystemCallLog::SetEnabled(false);
        // The test restores the file.
        std::ofstream("/mnt/share/bring-back") << arguments[1];
        while (::access(arguments[1].c_str(), F_OK) != 0)
            std::this_thread::yield();
        Try([] { Board(); });
        SystemCallLog::SetEnabled(true);
        Step("next use");
        Note(Platform::INSTANCE.IsValueCreated() ? "made" : "not made");
        Trace::Close();
    }
    Step("exit");
}

struct Indication {
    const char* name;
    void (Platform::*show)();
};
constexpr Indication INDICATIONS[] = {
    {"SetMsEnLedPowerOff", &Platform::SetMsEnLedPowerOff},
    {"SetMsEnLedMissingConfiguration", &Platform::SetMsEnLedMissingConfiguration},
    {"SetMsEnLedIdle", &Platform::SetMsEnLedIdle},
    {"SetMsEnLedRunning", &Platform::SetMsEnLedRunning},
    {"SetMsEnLedInvalidConfiguration", &Platform::SetMsEnLedInvalidConfiguration},
    {"SetMsEnLedFatalError", &Platform::SetMsEnLedFatalError},
    {"SetNsLedPowerOff", &Platform::SetNsLedPowerOff},
    {"SetNsLedConnectionEstablished", &Platform::SetNsLedConnectionEstablished},
    {"SetNsLedNoConnection", &Platform::SetNsLedNoConnection},
    {"SetNsLedFatalError", &Platform::SetNsLedFatalError},
    {"SetNsLedTimeout", &Platform::SetNsLedTimeout},
};

// Every indication: at once, at its end without an Update, and at the Updates 499, 500, 999 and 1000 ms after it.
void Indications(const Arguments&) {
    MakeBoardQuietly();
    for (const Indication& indication : INDICATIONS) {
        Step(indication.name);
        (Board().get()->*indication.show)();
        AdvanceMs(499);
        Note("|");
        Board()->Update();
        AdvanceMs(1);
        Note("|");
        Board()->Update();
        AdvanceMs(499);
        Note("|");
        Board()->Update();
        AdvanceMs(1);
        Note("|");
        Board()->Update();
    }
    Step("exit");
    SystemCallLog::SetEnabled(false);
}

// Every LED flashing or toggling, and time that passes without an Update; then both status LEDs steady.
void UpdateOnly(const Arguments&) {
    MakeBoardQuietly();
    Step("show");
    Board()->SetNsLedTimeout();
    Board()->SetMsEnLedIdle();
    Step("10 s");
    AdvanceMs(10'000);
    Step("Update");
    Board()->Update();
    Step("Update");
    Board()->Update();
    Step("steady");
    Board()->SetMsEnLedRunning();
    Board()->SetNsLedPowerOff();
    Step("10 s and Update");
    AdvanceMs(10'000);
    Board()->Update();
    AdvanceMs(10'000);
    Board()->Update();
    Step("exit");
    SystemCallLog::SetEnabled(false);
}

void PowerUp(const Arguments&) {
    MakeBoardQuietly();
    Step("before");
    Board()->SetMsEnLedInvalidConfiguration();
    Board()->SetNsLedFatalError();
    Step("PowerUpIndicatorTest");
    Board()->PowerUpIndicatorTest();
    Step("10 s and Update");
    AdvanceMs(10'000);
    Board()->Update();
    Step("exit");
    SystemCallLog::SetEnabled(false);
}

// reset RAM_LOADER TIMEOUT NANOSECONDS_PER_READ READY_AT_READ, the last one 0 for never. The NS LED flashes meanwhile.
void Reset(const Arguments& arguments) {
    const bool ramLoader = arguments[1] == "true";
    const long long timeout = std::atoll(arguments[2].c_str());
    const long long perRead = std::atoll(arguments[3].c_str());
    const int readyAt = std::atoi(arguments[4].c_str());
    MakeBoardQuietly();
    SystemCallLog::SetEnabled(false);
    Board()->SetNsLedNoConnection();
    SystemCallLog::SetEnabled(true);
    int reads = 0;
    SystemCallLog::AnswerReads([&] {
        SystemCallLog::Clock().AdvanceNanoseconds(perRead);
        return ++reads == readyAt ? '0' : '1';
    });

    Step("OxboReset");
    const int clockReadings = SystemCallLog::Clock().CallCount();
    Try([&] { Board()->OxboReset(ramLoader, timeout); });
    Note("reads " + std::to_string(reads));
    Note("clock " + std::to_string(SystemCallLog::Clock().CallCount() - clockReadings));
    SystemCallLog::AnswerReads([] { return '1'; });
    Step("exit");
    SystemCallLog::SetEnabled(false);
}

// A line or an LED that fails with ENOSPC or EIO in every operation on it.
void PinFailures(const Arguments&) {
    MakeBoardQuietly();
    Trace::AddListener(WordListener::Create());
    for (const char* file : {"OXBO_RESET1_N", "OXBO_RL"}) {
        SystemCallLog::FailWrites(file, ENOSPC);
        Step("OxboReset, " + std::string(file) + " fails");
        Try([] { Board()->OxboReset(true, 1); });
    }
    SystemCallLog::FailWrites("", 0);

    SystemCallLog::FailReads("OXBO_IRQ_N", EIO);
    Step("OxboReset, OXBO_IRQ_N fails");
    Try([] { Board()->OxboReset(false, 1); });
    SystemCallLog::FailReads("", 0);

    SystemCallLog::FailWrites("NS.green", EIO);
    Step("SetNsLedConnectionEstablished, NS.green fails");
    Try([] { Board()->SetNsLedConnectionEstablished(); });
    Step("PowerUpIndicatorTest, NS.green fails");
    Try([] { Board()->PowerUpIndicatorTest(); });
    SystemCallLog::FailWrites("", 0);

    Step("SetMsEnLedIdle");
    Board()->SetMsEnLedIdle();
    AdvanceMs(500);
    SystemCallLog::FailWrites("MS.green", EIO);
    Step("Update, MS.green fails");
    Try([] { Board()->Update(); });

    for (const char* file : {"OXBO_RESET1_N", "QOR_RESET0_N", "MS.green"}) {
        SystemCallLog::FailWrites(file, EIO);
        Step("ShutDown, " + std::string(file) + " fails");
        Try([] { Board()->ShutDown(); });
    }
    Step("exit"); // while the last one still fails
}

// A settings file that wires the Oxbo module's reset line to /dev/full.
void FullReset(const Arguments&) {
    MakeBoardQuietly();
    Step("exit");
    Trace::AddListener(WordListener::Create());
}

// A fatal event of another thread, first without and then with the listener in Trace.
void Fatal(const Arguments&) {
    MakeBoardQuietly();
    const auto traceFatal = [] { std::thread([] { Trace::TraceFatal("the end"); }).join(); };
    Step("not added");
    traceFatal();
    Trace::AddListener(Board()->ledTraceListener);
    Step("error");
    Trace::TraceError("not yet");
    Step("fatal");
    traceFatal();
    Step("Update");
    AdvanceMs(10'000);
    Board()->Update();
    Step("SetMsEnLedRunning");
    Board()->SetMsEnLedRunning();
    Step("ShutDown");
    Board()->ShutDown();
    Step("ShutDown");
    Board()->ShutDown();
    Step("exit");
}

// Reset as usual after a shutdown.
void ResetAfterShutDown(const Arguments&) {
    MakeBoardQuietly();
    Step("ShutDown");
    Board()->ShutDown();
    Step("OxboReset");
    Board()->OxboReset(true, 0);
    Step("SetMsEnLedRunning");
    Board()->SetMsEnLedRunning();
    Step("exit");
}

void WriteWebLog(const Arguments&) {
    MakeBoardQuietly();
    Board()->webLog->Start();
    Board()->webLog->Notify("from the board");
    SystemCallLog::SetEnabled(false);
}

// A reboot and its result; "no command" and "no child" make it fail.
void Reboot(const Arguments& arguments) {
    MakeBoardQuietly();
    // The command signals all programs to end; this program first logs the result.
    std::signal(SIGTERM, SIG_IGN);
    static const pid_t parent = getpid();
    std::atexit([] { Note(getpid() == parent ? "handler" : "handler of the child"); });
    if (arguments.size() > 1 && arguments[1] == "no-command")
        SystemCallLog::FailExec();
    if (arguments.size() > 1 && arguments[1] == "no-child")
        SystemCallLog::FailFork();
    Step("Reboot");
    Try([] { Board()->Reboot(); });
    if (getpid() != parent)
        Note("child goes on");
    int status = 0;
    const pid_t child = wait(&status);
    if (child > 0 && WIFEXITED(status))
        Step("child ended with " + std::to_string(WEXITSTATUS(status)));
    else
        Step("no child");
    Step("exit");
}

// Separate boards whose construction, and maybe destruction, fails at every allocation in turn.
void Allocations(const Arguments&) {
    MakeBoardQuietly();
    SystemCallLog::SetEnabled(false);
    const int filesBefore = SystemCallLog::OpenFiles();
    bool filesLeft = false;
    const long count = TestSupport::FailEachAllocation([&] {
        try {
            Platform::Create();
        } catch (const std::bad_alloc&) {
            filesLeft = filesLeft || SystemCallLog::OpenFiles() != filesBefore;
            throw;
        }
        filesLeft = filesLeft || SystemCallLog::OpenFiles() != filesBefore;
    });
    SystemCallLog::SetEnabled(true);
    Step("allocations");
    Note(count > 50 ? "many" : std::to_string(count));
    Step("files left open");
    Note(filesLeft ? "yes" : "no");
    SystemCallLog::SetEnabled(false);
}

// Operations of a board, failing at every allocation in turn.
void OperationAllocations(const Arguments&) {
    MakeBoardQuietly();
    SystemCallLog::SetEnabled(false);
    Trace::AddListener(Board()->ledTraceListener);
    const std::shared_ptr<Platform> board = Board();
    const auto count = [](const std::function<void()>& operation) {
        const long allocations = TestSupport::FailEachAllocation(operation);
        SystemCallLog::SetEnabled(true);
        Note(allocations == 0 ? "none" : "some");
        SystemCallLog::SetEnabled(false);
    };
    SystemCallLog::SetEnabled(true);
    Step("allocations");
    SystemCallLog::SetEnabled(false);
    count([&] { board->SetMsEnLedMissingConfiguration(); });
    count([&] { board->SetNsLedTimeout(); });
    count([&] { board->PowerUpIndicatorTest(); });
    count([&] { board->OxboReset(false, 0); });
    count([&] { Board()->Update(); });
    count([&] { board->ShutDown(); });

    int reads = 0;
    SystemCallLog::AnswerReads([&] { return ++reads < 1000 ? '1' : '0'; });
    board->SetNsLedTimeout();
    long made = 0;
    {
        const TestSupport::AllocationFailure allocations;
        board->OxboReset(false, 1000);
        made = allocations.Count();
    }
    SystemCallLog::SetEnabled(true);
    Step("a long wait");
    Note(made <= 1 ? "one at most" : std::to_string(made));
    SystemCallLog::SetEnabled(false);
}

// The destruction of a separate board, while its shutdown fails and memory is exhausted.
void EndWithoutMemory(const Arguments&) {
    MakeBoardQuietly();
    Trace::AddListener(WordListener::Create());
    SystemCallLog::FailWrites("OXBO_RESET1_N", EIO);
    SystemCallLog::SetEnabled(false);
    bool everyRunEnded = true;
    for (long number = 1;; ++number) {
        std::shared_ptr<Platform> board = Platform::Create();
        TestSupport::AllocationFailure failure(number);
        board.reset();
        if (!failure.HasFailed())
            break;
        everyRunEnded = everyRunEnded && number < 10'000;
    }
    SystemCallLog::SetEnabled(true);
    Step("ended");
    Note(everyRunEnded ? "always" : "not always");
    Step("exit");
}

// A listener with a cancellation point.
class CancellationPoint final : public TraceListener {
public:
    void TraceEvent(std::shared_ptr<TraceEventArgs>, std::shared_ptr<TraceEventType>,
                    std::shared_ptr<Object>) override {
        ::pthread_testcancel();
    }
};

void EndInACancelledThread(const Arguments&) {
    SystemCallLog::SetEnabled(false);
    std::shared_ptr<Platform> board = Platform::Create();
    Trace::AddListener(std::make_shared<CancellationPoint>());
    SystemCallLog::SetEnabled(true);
    Step("cancelled");
    const bool isDone = TestSupport::RunCancelled([&] { board.reset(); });
    Step("ended");
    Note(isDone ? "after it" : "in it");
}

void Text(const Arguments&) {
    MakeBoardQuietly();
    Step("text");
    Note(Board()->ToString()->ToUtf8());
    SystemCallLog::SetEnabled(false);
}

constexpr struct {
    const char* name;
    void (*play)(const Arguments&);
} SCENES[] = {
    {"allocations", Allocations},
    {"end-in-a-cancelled-thread", EndInACancelledThread},
    {"end-without-memory", EndWithoutMemory},
    {"exit", Exit},
    {"fail", Fail},
    {"fatal", Fatal},
    {"full-reset", FullReset},
    {"indications", Indications},
    {"life", Life},
    {"operation-allocations", OperationAllocations},
    {"pin-failures", PinFailures},
    {"power-up", PowerUp},
    {"race", Race},
    {"reboot", Reboot},
    {"reset", Reset},
    {"reset-after-shutdown", ResetAfterShutDown},
    {"text", Text},
    {"update-only", UpdateOnly},
    {"web-log", WriteWebLog},
};

} // namespace

int main(int argc, char** argv) {
    SystemCallLog::Clock();
    const Arguments arguments(argv + 1, argv + argc);
    for (const auto& scene : SCENES) {
        if (!arguments.empty() && arguments[0] == scene.name) {
            scene.play(arguments);
            return 0;
        }
    }
    std::fprintf(stderr, "no such scene\n");
    return 2;
}

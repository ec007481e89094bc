// SPDX-License-Identifier: Apache-2.0
//
// The program that EmulatedBoardTest runs on the emulated board: one scene from the life of an application, named by
// the first argument. It is judged by what the lines and LEDs do, and says little itself.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <System/DateTime.h>
#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/IO/File.h>
#include <System/Threading/Thread.h>

#include <velrix/platform/Platform.h>

using System::DateTime;
using System::Diagnostics::FileTraceListener;
using System::Diagnostics::Trace;
using System::Diagnostics::TraceEventArgs;
using System::Diagnostics::TraceEventType;
using System::IO::File;
using System::Threading::Thread;
using Velrix::Platform;

namespace {

using Arguments = std::vector<std::string>;

std::shared_ptr<Platform> Board() {
    return Platform::INSTANCE.Value();
}

// A control loop that does nothing but keep the LEDs going.
void UpdateFor(long long milliseconds) {
    const auto start = DateTime::Now();
    while (DateTime::Now()->Subtract(start).Milliseconds() < milliseconds) {
        Board()->Update();
        Thread::USleep(2'000);
    }
}

void PowerUp(const Arguments&) {
    Board()->PowerUpIndicatorTest();
    // What stands now stays.
    UpdateFor(300);
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

// indications MILLISECONDS NAME...: shows the named ones together for that long. Ends without the final state of an
// orderly end, so that nothing but the indications is seen.
void Indications(const Arguments& arguments) {
    for (std::size_t i = 2; i < arguments.size(); ++i)
        for (const Indication& indication : INDICATIONS)
            if (arguments[i] == indication.name)
                (Board().get()->*indication.show)();
    UpdateFor(std::atoll(arguments[1].c_str()));
    std::_Exit(0);
}

// reset TIMEOUT: releases the module as it is, then with the ram-loader. Tells how long each took until it was ready.
void Reset(const Arguments& arguments) {
    for (const bool ramLoader : {false, true}) {
        const auto start = DateTime::Now();
        const char* verdict = "ready";
        try {
            Board()->OxboReset(ramLoader, std::atoll(arguments[1].c_str()));
        } catch (const System::TimeoutException&) {
            verdict = "timeout";
        }
        std::printf("%s %lld\n", verdict, DateTime::Now()->Subtract(start).Milliseconds());
        // Longer than the module needs, where the reset did not wait for it.
        UpdateFor(100);
    }
    std::fflush(stdout);
    std::_Exit(0);
}

// end fatal|normal shutdown|exit: a board in operation that ends so.
void End(const Arguments& arguments) {
    Trace::AddListener(Board()->ledTraceListener);
    Board()->OxboReset(true, 0);
    Board()->SetMsEnLedRunning();
    Board()->SetNsLedNoConnection();
    UpdateFor(50);
    if (arguments[1] == "fatal")
        Trace::TraceFatal("the end");
    UpdateFor(50);
    if (arguments[2] == "shutdown") {
        Board()->ShutDown();
        std::fflush(stdout);
        std::_Exit(0);
    }
}

void Reboot(const Arguments&) {
    Board()->SetMsEnLedRunning();
    Board()->Reboot();
    Board()->SetNsLedConnectionEstablished();
    // The machine's own way down ends this.
    UpdateFor(60'000);
}

// trace FILE: one record, which is then shown.
void TraceToFile(const Arguments& arguments) {
    const auto listener = FileTraceListener::Create(arguments[1]);
    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::INFORMATION, System::string_ptr("a record"));
    std::puts(File::ReadAllText(arguments[1])->ToUtf8().c_str());
}

void Play(const Arguments& arguments);

void SetClock(const timespec& time) {
    if (::clock_settime(CLOCK_REALTIME, &time) != 0) {
        std::perror("board-scenes: cannot set the clock");
        std::exit(2);
    }
}

// at MILLISECONDS SCENE...: plays the scene at another time. Then the machine has its own time back: the small commands
// that it is made of do not know a later one than 2038.
void At(const Arguments& arguments) {
    const long long milliseconds = std::atoll(arguments[1].c_str());
    timespec other{}, before{}, start{}, end{};
    other.tv_sec = static_cast<time_t>(milliseconds / 1000);
    other.tv_nsec = static_cast<long>(milliseconds % 1000 * 1'000'000);
    ::clock_gettime(CLOCK_REALTIME, &before);
    ::clock_gettime(CLOCK_MONOTONIC, &start);
    SetClock(other);

    const pid_t child = ::fork();
    if (child == 0) {
        Play({arguments.begin() + 2, arguments.end()});
        std::exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);

    ::clock_gettime(CLOCK_MONOTONIC, &end);
    before.tv_sec += end.tv_sec - start.tv_sec; // to the second is enough
    SetClock(before);
    std::_Exit(WIFEXITED(status) ? WEXITSTATUS(status) : 3);
}

// behind PROGRAM ARGUMENT...: runs a program with what the others leave of the processors.
void Behind(const Arguments& arguments) {
    std::vector<char*> words;
    for (std::size_t i = 1; i < arguments.size(); ++i)
        words.push_back(const_cast<char*>(arguments[i].c_str()));
    words.push_back(nullptr);
    // A shell has its programs in the background ignore these, which would go on to the tests' programs.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    errno = 0;
    if (::nice(19) != -1 || errno == 0)
        ::execv(words[0], words.data());
    std::perror("board-scenes: cannot run a program behind the others");
    std::exit(2);
}

struct Scene {
    const char* name;
    void (*play)(const Arguments&);
};
constexpr Scene SCENES[] = {
    {"power-up", PowerUp}, {"indications", Indications}, {"reset", Reset}, {"end", End},
    {"reboot", Reboot},    {"trace", TraceToFile},       {"at", At},       {"behind", Behind},
};

void Play(const Arguments& arguments) {
    for (const Scene& scene : SCENES)
        if (!arguments.empty() && arguments[0] == scene.name)
            return scene.play(arguments);
    std::fputs("board-scenes: no such scene\n", stderr);
    std::exit(2);
}

} // namespace

int main(int argc, char** argv) {
    Play(Arguments(argv + 1, argv + argc));
}

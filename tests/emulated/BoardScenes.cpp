// SPDX-License-Identifier: Apache-2.0
//
// The program that EmulatedBoardTest runs on the emulated board: one scene from the life of an application, named by
// the first argument. It is judged by what the lines and LEDs do, and says little itself.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <System/DateTime.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/Threading/Thread.h>

#include <velrix/platform/Platform.h>

using System::DateTime;
using System::Diagnostics::Trace;
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
    while (start->Elapsed().Nanoseconds() / 1'000'000 < milliseconds) {
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
        std::printf("%s %lld\n", verdict, start->Elapsed().Nanoseconds() / 1'000'000);
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

struct Scene {
    const char* name;
    void (*play)(const Arguments&);
};
constexpr Scene SCENES[] = {
    {"power-up", PowerUp}, {"indications", Indications}, {"reset", Reset}, {"end", End}, {"reboot", Reboot},
};

} // namespace

int main(int argc, char** argv) {
    const Arguments arguments(argv + 1, argv + argc);
    for (const Scene& scene : SCENES) {
        if (argc > 1 && arguments[0] == scene.name) {
            scene.play(arguments);
            return 0;
        }
    }
    std::fputs("board-scenes: no such scene\n", stderr);
    return 2;
}

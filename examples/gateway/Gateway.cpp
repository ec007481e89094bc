// SPDX-License-Identifier: Apache-2.0
//
// A gateway: the application of a device that carries one Oxbo module between a machine and a network.
//
//     gateway [--seconds N]    runs until SIGTERM or SIGINT, or for N seconds
//
// Exit code 0 after an orderly end, 1 after a fatal error, 2 for unknown arguments.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/Threading/Thread.h>

#include <velrix/identity/HardwareInfo.h>
#include <velrix/identity/ProductInfo.h>
#include <velrix/logging/TraceListenerFactory.h>
#include <velrix/platform/Platform.h>

using System::Diagnostics::Trace;
using Velrix::Platform;
using Velrix::TraceListenerFactory;

namespace {

// LED patterns step in 250 ms and 500 ms; a tick of 10 ms keeps them steady to the eye.
constexpr unsigned long long TICK_US = 10'000;
constexpr long long MODULE_READY_MS = 2'000;

volatile std::sig_atomic_t stopRequested = 0;

void RequestStop(int) {
    stopRequested = 1;
}

// Not System::DateTime, which jumps when somebody sets the wall clock.
using Clock = std::chrono::steady_clock;

long long MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

enum class State { UNCONFIGURED, NO_CONNECTION, CONNECTED, TIMED_OUT };

// The indications of each state: both status LEDs, and a line for the web interface.
constexpr struct {
    State state;
    void (Platform::*moduleStatus)();
    void (Platform::*networkStatus)();
    void (Velrix::WebLog::*report)(System::string_ptr);
    const char* message;
} APPEARANCE[] = {
    {State::UNCONFIGURED, &Platform::SetMsEnLedMissingConfiguration, &Platform::SetNsLedPowerOff,
     &Velrix::WebLog::Notify, "Waiting for a configuration"},
    {State::NO_CONNECTION, &Platform::SetMsEnLedIdle, &Platform::SetNsLedNoConnection, //
     &Velrix::WebLog::Notify, "Waiting for a connection"},
    {State::CONNECTED, &Platform::SetMsEnLedRunning, &Platform::SetNsLedConnectionEstablished, //
     &Velrix::WebLog::Notify, "Connection established"},
    {State::TIMED_OUT, &Platform::SetMsEnLedIdle, &Platform::SetNsLedTimeout, //
     &Velrix::WebLog::Warning, "Connection timed out"},
};

// Simulates a protocol stack: which state begins how long after the previous one.
constexpr struct {
    State state;
    long long afterMs;
} NETWORK[] = {
    {State::UNCONFIGURED, 0},  {State::NO_CONNECTION, 1'100}, {State::CONNECTED, 1'100},
    {State::TIMED_OUT, 1'100}, {State::CONNECTED, 1'100},
};

class Gateway {
public:
    explicit Gateway(std::shared_ptr<Platform> ownPlatform) : platform(std::move(ownPlatform)) {}

    // Lights every LED once and brings the module up. A module that does not answer: TimeoutException.
    void StartUp() {
        platform->webLog->Start();
        platform->webLog->BeginProgressBar("Starting up");
        platform->webLog->UpdateProgress(0);
        platform->PowerUpIndicatorTest();
        platform->webLog->UpdateProgress(50);
        try {
            platform->OxboReset(false, MODULE_READY_MS);
        } catch (const System::TimeoutException&) {
            throw System::TimeoutException("The Oxbo module did not become ready");
        }
        platform->webLog->UpdateProgress(100);
        Trace::TraceInformation("The module is ready");
        Enter(0);
    }

    // One iteration of the control loop: advance the patterns, then check for events.
    void Tick() {
        platform->Update();
        if (step + 1 < std::size(NETWORK) && MillisecondsSince(entered) >= NETWORK[step + 1].afterMs)
            Enter(step + 1);
    }

    void ShutDown() {
        platform->ShutDown();
        platform->webLog->End();
    }

private:
    void Enter(std::size_t newStep) {
        step = newStep;
        entered = Clock::now();
        for (const auto& row : APPEARANCE) {
            if (row.state == NETWORK[step].state) {
                Trace::TraceInformation(row.message);
                ((*platform).*row.moduleStatus)();
                ((*platform).*row.networkStatus)();
                ((*platform->webLog).*row.report)(row.message);
            }
        }
    }

    const std::shared_ptr<Platform> platform;
    std::size_t step = 0;
    Clock::time_point entered;
};

// The first record identifies the device.
void TraceIdentity() {
    try {
        Trace::TraceInformation(Velrix::ProductInfo::INSTANCE.Value());
        Trace::TraceInformation(Velrix::HardwareInfo::INSTANCE.Value());
    } catch (const System::Exception& exception) {
        Trace::TraceWarning(exception); // a device without an identity still works
    }
}

void Run(long long seconds) {
    // Add the listeners first, so that the logs show an unreadable settings file.
    Trace::AddListener(TraceListenerFactory::CreateFatalEventLogTraceListener());
    Trace::AddListener(TraceListenerFactory::CreateEventLogTraceListener());
    Trace::AddListener(TraceListenerFactory::CreateFileTraceListener());
    TraceIdentity();
    const std::shared_ptr<Platform> platform = Platform::INSTANCE.Value();
    Trace::AddListener(platform->ledTraceListener);

    Gateway gateway(platform);
    try {
        gateway.StartUp();
        const Clock::time_point start = Clock::now();
        while (!stopRequested && (seconds == 0 || MillisecondsSince(start) < seconds * 1'000)) {
            gateway.Tick();
            System::Threading::Thread::USleep(TICK_US);
        }
        gateway.ShutDown();
    } catch (const System::Exception& exception) {
        platform->webLog->Error(exception.Message());
        throw;
    }
}

} // namespace

int main(int argc, char** argv) {
    long long seconds = 0;
    if (argc == 3 && std::strcmp(argv[1], "--seconds") == 0 && std::atoi(argv[2]) > 0) {
        seconds = std::atoi(argv[2]);
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: gateway [--seconds N]\n");
        return 2;
    }
    std::signal(SIGTERM, RequestStop);
    std::signal(SIGINT, RequestStop);

    try {
        Run(seconds);
        return 0;
    } catch (const System::Exception& exception) {
        // Turns MS and NS red; the shutdown at process exit keeps them red.
        Trace::TraceFatal(exception);
        std::fprintf(stderr, "gateway: %s\n", exception.ToString()->ToUtf8().c_str());
        return 1;
    }
}

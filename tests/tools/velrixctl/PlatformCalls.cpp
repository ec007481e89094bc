// SPDX-License-Identifier: Apache-2.0
// Calls one operation of Platform after the other, for the comparison of velrixctl with it. Each word is the name of an
// operation; a flashing status is shown for 600 ms. The board is not shut down at the end.
#include <chrono>
#include <cstring>

#include <unistd.h>

#include <System/Threading/Thread.h>

#include <velrix/platform/Platform.h>

using Velrix::Platform;

namespace {

struct Call {
    const char* name;
    void (Platform::*operation)();
};

constexpr Call CALLS[] = {
    {"ms-power-off", &Platform::SetMsEnLedPowerOff},
    {"ms-missing-configuration", &Platform::SetMsEnLedMissingConfiguration},
    {"ms-idle", &Platform::SetMsEnLedIdle},
    {"ms-running", &Platform::SetMsEnLedRunning},
    {"ms-invalid-configuration", &Platform::SetMsEnLedInvalidConfiguration},
    {"ms-fatal-error", &Platform::SetMsEnLedFatalError},
    {"ns-power-off", &Platform::SetNsLedPowerOff},
    {"ns-connection-established", &Platform::SetNsLedConnectionEstablished},
    {"ns-no-connection", &Platform::SetNsLedNoConnection},
    {"ns-fatal-error", &Platform::SetNsLedFatalError},
    {"ns-timeout", &Platform::SetNsLedTimeout},
    {"power-up", &Platform::PowerUpIndicatorTest},
};

} // namespace

int main(int argc, char** argv) {
    const auto platform = Platform::INSTANCE.Value();
    for (int i = 1; i < argc; ++i)
        for (const Call& call : CALLS)
            if (std::strcmp(call.name, argv[i]) == 0) {
                ((*platform).*call.operation)();
                const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(600);
                while (call.operation != &Platform::PowerUpIndicatorTest && std::chrono::steady_clock::now() < end) {
                    platform->Update();
                    System::Threading::Thread::USleep(5'000);
                }
                if (call.operation != &Platform::PowerUpIndicatorTest) {
                    platform->SetMsEnLedPowerOff();
                    platform->SetNsLedPowerOff();
                }
            }
    ::_exit(0);
}

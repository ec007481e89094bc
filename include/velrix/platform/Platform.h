// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Exceptions.h>
#include <System/IO/Exceptions.h>
#include <System/Lazy.h>
#include <System/Object.h>

#include <velrix/Export.h>
#include <velrix/gpio/IInputPin.h>
#include <velrix/gpio/ILed.h>
#include <velrix/gpio/IOutputPin.h>
#include <velrix/logging/WebLog.h>
#include <velrix/platform/LedTraceListener.h>

namespace Velrix {

// The board: the lines of both modules, the four status LEDs, the web log and the LED trace listener, one object per
// process.
//
// Reached through INSTANCE, whose first use reads the settings and opens every file that they name. Destroyed at a
// normal exit of the process, which shuts the board down, even if the application has done so. INSTANCE: any thread.
// The object: one thread at a time, usually the control loop, which calls Update every few milliseconds; only that
// advances flashing LEDs.
//
//     auto platform = Platform::INSTANCE.Value();
//     platform->PowerUpIndicatorTest();
//     platform->OxboReset(false, 2000);
//     platform->SetMsEnLedRunning();
class VELRIX_EXPORT Platform final : public System::Object {
public:
    static System::Lazy<std::shared_ptr<Platform>> INSTANCE;

    // A separate board object from SettingsFile::INSTANCE. Switches all LEDs off and writes nothing to the lines of the
    // modules. When a file cannot be opened, shuts down what it has opened and lets the exception pass. Most users want
    // INSTANCE.
    static std::shared_ptr<Platform> Create();

    // Shuts the board down; a failure is traced as a warning and goes no further.
    ~Platform() override;

    // Advances the patterns of all four LEDs; costs a few instructions if nothing flashes. What a pin throws passes
    // out.
    void Update();

    // Module status. The last one called is shown; flashing is 500 ms on, 500 ms off, from the first colour on.
    void SetMsEnLedPowerOff();             // off
    void SetMsEnLedMissingConfiguration(); // green and red in turn
    void SetMsEnLedIdle();                 // flashing green
    void SetMsEnLedRunning();              // green
    void SetMsEnLedInvalidConfiguration(); // flashing red
    void SetMsEnLedFatalError();           // red

    // Network status.
    void SetNsLedPowerOff();              // off
    void SetNsLedConnectionEstablished(); // green
    void SetNsLedNoConnection();          // flashing green
    void SetNsLedFatalError();            // red
    void SetNsLedTimeout();               // flashing red

    // Shows every colour of every LED for a quarter of a second and returns about 516 ms later. Leaves MS steady green
    // and the others off, whatever they showed before.
    void PowerUpIndicatorTest();

    // Resets the Oxbo module for 1 ms, with its ram-loader line high or low as it leaves reset, and waits up to timeout
    // milliseconds for it to pull its interrupt line low, calling Update meanwhile. A timeout of 0 does not wait; a
    // negative one expires at once. Expired: TimeoutException; the reset stays released.
    void OxboReset(bool ramLoaderEnable, long long timeout);

    // Starts /sbin/reboot in a child process and returns at once. No child: Exception "Could not fork reboot process".
    // If the command cannot be executed, the child exits with status 1, unreported. The library does not reap the
    // child: it raises SIGCHLD and stays a zombie until the application waits for it, ignores that signal, or ends.
    void Reboot();

    // Holds both modules in reset and puts the LEDs into their final state: off, or MS and NS red after a fatal event.
    // May be called any number of times; the board stays usable. What a pin throws passes out and skips the rest.
    void ShutDown();

private:
    Platform() noexcept;

    // In order of construction; destroyed in reverse.
    std::shared_ptr<Gpio::IInputPin> oxboIrqN;
    std::shared_ptr<Gpio::IInputPin> oxboModId0Sync;
    std::shared_ptr<Gpio::IInputPin> oxboMod1;
    std::shared_ptr<Gpio::IOutputPin> oxboRamLoaderEnable;
    std::shared_ptr<Gpio::IOutputPin> oxboResetN;
    std::shared_ptr<Gpio::IOutputPin> qorBootloaderEnableN;
    std::shared_ptr<Gpio::IInputPin> qorDpramBusyN;
    std::shared_ptr<Gpio::IInputPin> qorDpramIrqN;
    std::shared_ptr<Gpio::IOutputPin> qorResetN;
    std::shared_ptr<Gpio::ILed> linkActivity1Led;
    std::shared_ptr<Gpio::ILed> linkActivity2Led;
    std::shared_ptr<Gpio::ILed> moduleStatusLed;
    std::shared_ptr<Gpio::ILed> networkStatusLed;
    std::shared_ptr<WebLog> ownWebLog;
    std::shared_ptr<LedTraceListener> ownLedTraceListener;

public:
    // For the application's progress messages.
    const std::shared_ptr<WebLog>& webLog = ownWebLog;

    // For the application to add to Trace; Platform does not add it.
    const std::shared_ptr<LedTraceListener>& ledTraceListener = ownLedTraceListener;
};

} // namespace Velrix

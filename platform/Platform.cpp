// SPDX-License-Identifier: Apache-2.0
#include <velrix/platform/Platform.h>

#include <unistd.h>

#include <System/CallbackFunc.h>
#include <System/Collections/Generic/List.h>
#include <System/DateTime.h>
#include <System/Diagnostics/Process.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/Threading/Thread.h>

#include <velrix/gpio/Led.h>
#include <velrix/gpio/LedColorProperty.h>
#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/gpio/Sysfs_OutputPin.h>
#include <velrix/settings/SettingsFile.h>

#include "runtime/Threading/Uncancelled.h"

namespace Velrix {

using Gpio::IInputPin;
using Gpio::ILed;
using Gpio::IOutputPin;
using Gpio::Led;
using Gpio::LedColorProperty;
using Gpio::Sysfs_InputPin;
using Gpio::Sysfs_OutputPin;
using Settings::LedSection;
using Settings::OxboPinSection;
using Settings::QorPinSection;
using Settings::SettingsFile;
using System::DateTime;
using System::string_ptr;
using System::Collections::Generic::List;
using System::Diagnostics::Process;
using System::Diagnostics::Trace;
using System::Threading::Thread;

namespace {

// Half the period of everything that flashes or toggles, in milliseconds.
constexpr long long HALF_CYCLE_MS = 500;

// Pins for missing elements, red on a green and yellow LED and yellow on a green and red one: a missing colour is
// accepted and shows nothing, instead of throwing.
constexpr const char* NO_ELEMENT = "/dev/null";

void Open(std::shared_ptr<IInputPin>& pin, const char* label, const string_ptr& path) {
    pin = Sysfs_InputPin::Create(label, path);
}

void Open(std::shared_ptr<IOutputPin>& pin, const char* label, const string_ptr& path) {
    pin = Sysfs_OutputPin::Create(label, path);
}

} // namespace

System::Lazy<std::shared_ptr<Platform>> Platform::INSTANCE{
    System::CallbackFunc<std::shared_ptr<Platform>>::Create(&Platform::Create)};

Platform::Platform() noexcept = default;

// clang-format off
std::shared_ptr<Platform> Platform::Create() {
    // Own it first: if anything below throws, the destructor cleans up.
    const auto platform = Own(new Platform);
    const std::shared_ptr<SettingsFile> settings = SettingsFile::INSTANCE.Value();

    const std::shared_ptr<OxboPinSection> oxbo = settings->oxbo_pin;
    const std::shared_ptr<QorPinSection> qor = settings->qor_pin;
    const std::shared_ptr<LedSection> led = settings->led;

    //   line                            label                path
    Open(platform->oxboIrqN,             "OXBO_IRQ_N",        oxbo->irq_n);
    Open(platform->oxboModId0Sync,       "OXBO_MOD_ID0_SYNC", oxbo->mod_id_0_sync);
    Open(platform->oxboMod1,             "OXBO_MOD_1",        oxbo->mod_1);
    Open(platform->oxboRamLoaderEnable,  "OXBO_RL",           oxbo->ramloader_enable);
    Open(platform->oxboResetN,           "OXBO_RESET1_N",     oxbo->reset_n);
    Open(platform->qorBootloaderEnableN, "QOR_BL_N",          qor->bootloader_enable_n);
    Open(platform->qorDpramBusyN,        "QOR_DPRAM_BUSY_N",  qor->busy_n);
    Open(platform->qorDpramIrqN,         "QOR_DPRAM_IRQ_N",   qor->irq_n);
    Open(platform->qorResetN,            "QOR_RESET0_N",      qor->reset_n);

    using Key = LedSection;
    static constexpr string_ptr Key::*NONE = nullptr;
    static constexpr struct {
        std::shared_ptr<ILed> Platform::*led;
        const char* label;
        string_ptr Key::*green;
        string_ptr Key::*red;
        string_ptr Key::*yellow;
    } LEDS[] = {
        {&Platform::linkActivity1Led, "LINK_ACT1", &Key::link_act_1_green,     NONE, &Key::link_act_1_yellow},
        {&Platform::linkActivity2Led, "LINK_ACT2", &Key::link_act_2_green,     NONE, &Key::link_act_2_yellow},
        {&Platform::moduleStatusLed,  "MS",        &Key::module_status_green,  &Key::module_status_red,  NONE},
        {&Platform::networkStatusLed, "NS",        &Key::network_status_green, &Key::network_status_red, NONE},
    };
    const string_ptr noElement = NO_ELEMENT;
    const auto open = [&](string_ptr Key::*element) {
        return Sysfs_OutputPin::Create(element ? (*led).*element : noElement);
    };
    for (const auto& row : LEDS) {
        const std::shared_ptr<IOutputPin> green = open(row.green);
        const std::shared_ptr<IOutputPin> red = open(row.red);
        const std::shared_ptr<IOutputPin> yellow = open(row.yellow);
        (*platform).*row.led = Led::Create(row.label, green, red, yellow);
    }

    platform->ownWebLog = WebLog::Create(settings->web_log_file);
    platform->ownLedTraceListener = LedTraceListener::Create(platform->moduleStatusLed, platform->networkStatusLed,
                                                             platform->linkActivity1Led, platform->linkActivity2Led);
    return platform;
}
// clang-format on

Platform::~Platform() {
    const System::Threading::Uncancelled uncancelled;
    // At process exit nobody catches, and after a failed Create the original exception must reach the caller.
    try {
        try {
            ShutDown();
        } catch (const System::Exception& exception) {
            Trace::TraceWarning(exception);
        } catch (const std::exception& exception) {
            Trace::TraceWarning(string_ptr(exception.what()));
        }
    } catch (...) { // no memory for the record
    }
}

// Mostly nothing flashes. So Led::Update is written out here, though this folder is compiled for size; and called as
// what it is, for Create makes no LED but Led.
[[gnu::flatten]] void Platform::Update() {
    static_cast<Led&>(*moduleStatusLed).Update();
    static_cast<Led&>(*networkStatusLed).Update();
    static_cast<Led&>(*linkActivity1Led).Update();
    static_cast<Led&>(*linkActivity2Led).Update();
}

// clang-format off
void Platform::SetMsEnLedPowerOff()             { moduleStatusLed->Off(); }
void Platform::SetMsEnLedMissingConfiguration() { moduleStatusLed->ToggleGreenRed(HALF_CYCLE_MS); }
void Platform::SetMsEnLedIdle()                 { moduleStatusLed->FlashingGreen(HALF_CYCLE_MS); }
void Platform::SetMsEnLedRunning()              { moduleStatusLed->Green(); }
void Platform::SetMsEnLedInvalidConfiguration() { moduleStatusLed->FlashingRed(HALF_CYCLE_MS); }
void Platform::SetMsEnLedFatalError()           { moduleStatusLed->Red(); }

void Platform::SetNsLedPowerOff()               { networkStatusLed->Off(); }
void Platform::SetNsLedConnectionEstablished()  { networkStatusLed->Green(); }
void Platform::SetNsLedNoConnection()           { networkStatusLed->FlashingGreen(HALF_CYCLE_MS); }
void Platform::SetNsLedFatalError()             { networkStatusLed->Red(); }
void Platform::SetNsLedTimeout()                { networkStatusLed->FlashingRed(HALF_CYCLE_MS); }
// clang-format on

void Platform::PowerUpIndicatorTest() {
    constexpr unsigned long long STEP_MS = 250;
    constexpr unsigned long long TICK_US = 12'000;
    constexpr int TICKS = 43; // 516 ms, in which both steps pass on every LED

    // MS ends lit on purpose: the device is alive. Every LED shows only the colours that it has.
    static constexpr struct {
        std::shared_ptr<ILed> Platform::*led;
        LedColorProperty::Color_e first, second, last;
    } SEQUENCES[] = {
        {&Platform::moduleStatusLed, LedColorProperty::GREEN, LedColorProperty::RED, LedColorProperty::GREEN},
        {&Platform::networkStatusLed, LedColorProperty::GREEN, LedColorProperty::RED, LedColorProperty::OFF},
        {&Platform::linkActivity1Led, LedColorProperty::GREEN, LedColorProperty::YELLOW, LedColorProperty::OFF},
        {&Platform::linkActivity2Led, LedColorProperty::GREEN, LedColorProperty::YELLOW, LedColorProperty::OFF},
    };
    for (const auto& row : SEQUENCES) {
        const auto steps = List<std::shared_ptr<LedColorProperty>>::Create();
        steps->Add(LedColorProperty::Create(row.first, STEP_MS));
        steps->Add(LedColorProperty::Create(row.second, STEP_MS));
        steps->Add(LedColorProperty::Create(row.last, 0)); // no end: the sequence stops here
        (this->*row.led)->SetSequence(steps);
    }

    for (int tick = 0; tick < TICKS; ++tick) {
        Update();
        Thread::USleep(TICK_US);
    }
}

void Platform::OxboReset(bool ramLoaderEnable, long long timeout) {
    constexpr unsigned long long PULSE_US = 1'000;

    oxboResetN->SetLow();
    if (ramLoaderEnable)
        oxboRamLoaderEnable->SetHigh();
    else
        oxboRamLoaderEnable->SetLow();
    Thread::USleep(PULSE_US);
    oxboResetN->SetHigh();
    if (timeout == 0)
        return;

    // Busy-waits, to see the module as soon as it is ready. Reads the line before the clock, so that a ready module
    // always wins over the timeout.
    const std::shared_ptr<DateTime> start = DateTime::Now();
    while (oxboIrqN->Get()) {
        Update();
        const long long elapsedMs = DateTime::Now()->Subtract(start).Milliseconds();
        if (timeout < elapsedMs)
            throw System::TimeoutException();
    }
}

void Platform::Reboot() {
    const pid_t child = fork();
    if (child < 0)
        throw System::Exception("Could not fork reboot process");
    if (child == 0) {
        // Only async-signal-safe calls: another thread may have held any lock at the fork. The path has a slash: no
        // search, no allocation. _exit, because exit would run static destructors and shut the board down under the
        // parent.
        execlp("/sbin/reboot", "/sbin/reboot", static_cast<char*>(nullptr));
        _exit(1);
    }
}

void Platform::ShutDown() {
    Trace::TraceDebug("Platform::ShutDown");
    Trace::TraceInformation("Shutting down " + Process::CURRENT_PROCESS->ProcessName());
    // A Create that failed half-way leaves members empty.
    if (oxboResetN)
        oxboResetN->SetLow();
    if (qorResetN)
        qorResetN->SetLow();
    if (ledTraceListener)
        ledTraceListener->ControlLeds();
    Trace::TraceDebug("Platform::ShutDown complete");
}

} // namespace Velrix

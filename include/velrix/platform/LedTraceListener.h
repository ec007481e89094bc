// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceListener.h>

#include <velrix/Export.h>
#include <velrix/gpio/ILed.h>

namespace Velrix {

// Shows a fatal trace event on the board's LEDs: writes no text, ignores every event but the fatal one.
//
// Made by Platform, which holds it as ledTraceListener; the application adds it to Trace if it wants it:
//
//     System::Diagnostics::Trace::AddListener(Platform::INSTANCE.Value()->ledTraceListener);
//
// Drives the LEDs on the thread that traces the event, without a lock, and remembers the event for the rest of its
// life: nothing leads back to normal. It has no filter and no options; to ask for them is an error.
class VELRIX_EXPORT LedTraceListener final : public System::Diagnostics::TraceListener {
public:
    // Touches no LED. An empty pointer: ArgumentNullException with the name of the first parameter that is empty.
    static std::shared_ptr<LedTraceListener> Create(std::shared_ptr<Gpio::ILed> moduleStatusLed,
                                                    std::shared_ptr<Gpio::ILed> networkStatusLed,
                                                    std::shared_ptr<Gpio::ILed> linkActivity1Led,
                                                    std::shared_ptr<Gpio::ILed> linkActivity2Led);

    // Sets the final state, as ControlLeds does.
    void Close() override;

    ~LedTraceListener() override;

    // The event type FATAL itself, no other object however alike, sets the final state at once and for good.
    void TraceEvent(std::shared_ptr<System::Diagnostics::TraceEventArgs> eventArgs,
                    std::shared_ptr<System::Diagnostics::TraceEventType> eventType,
                    std::shared_ptr<System::Object> data) override;

    // Nothing is ever kept back.
    void Flush() override;

    // Sets the final state: all LEDs off, but after a fatal event MS and NS steady red. Shows at once, without an
    // Update. What an LED throws passes out, and the LEDs behind it in the order MS, NS, LINK_ACT1, LINK_ACT2 stay as
    // they were.
    void ControlLeds();

    // Not supported: each throws NotSupportedException.
    std::shared_ptr<System::Diagnostics::TraceFilter> GetFilter() const;
    void SetFilter(std::shared_ptr<System::Diagnostics::TraceFilter> filter);
    System::Diagnostics::TraceOptions Options() const;

private:
    LedTraceListener(std::shared_ptr<Gpio::ILed> ownModuleStatusLed, std::shared_ptr<Gpio::ILed> ownNetworkStatusLed,
                     std::shared_ptr<Gpio::ILed> ownLinkActivity1Led,
                     std::shared_ptr<Gpio::ILed> ownLinkActivity2Led) noexcept;

    bool fatal = false; // goes from false to true once
    const std::shared_ptr<Gpio::ILed> moduleStatusLed;
    const std::shared_ptr<Gpio::ILed> networkStatusLed;
    const std::shared_ptr<Gpio::ILed> linkActivity1Led;
    const std::shared_ptr<Gpio::ILed> linkActivity2Led;
};

} // namespace Velrix

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceListener.h>

#include <velrix/Export.h>
#include <velrix/gpio/ILed.h>

namespace Velrix {

// Shows a fatal trace event on the board's LEDs and ignores all others.
//
// Made by Platform, which holds it as ledTraceListener; the application adds it to Trace if it wants it:
//
//     System::Diagnostics::Trace::AddListener(Platform::INSTANCE.Value()->ledTraceListener);
//
// TraceEvent: any thread; drives the LEDs without a lock, which can race with the thread that uses Platform
// (docs/threading.md). Latches the event: nothing resets it. Filter and options are not supported.
class VELRIX_EXPORT LedTraceListener final : public System::Diagnostics::TraceListener {
public:
    // Touches no LED. A null pointer: ArgumentNullException with the name of the first null parameter.
    static std::shared_ptr<LedTraceListener> Create(std::shared_ptr<Gpio::ILed> moduleStatusLed,
                                                    std::shared_ptr<Gpio::ILed> networkStatusLed,
                                                    std::shared_ptr<Gpio::ILed> linkActivity1Led,
                                                    std::shared_ptr<Gpio::ILed> linkActivity2Led);

    // Sets the final state, as ControlLeds does.
    void Close() override;

    ~LedTraceListener() override;

    // The object TraceEventType::FATAL sets the final state at once and for good; types compare by identity.
    void TraceEvent(std::shared_ptr<System::Diagnostics::TraceEventArgs> eventArgs,
                    std::shared_ptr<System::Diagnostics::TraceEventType> eventType,
                    std::shared_ptr<System::Object> data) override;

    // Does nothing: events are not buffered.
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

    bool fatal = false; // never reset
    const std::shared_ptr<Gpio::ILed> moduleStatusLed;
    const std::shared_ptr<Gpio::ILed> networkStatusLed;
    const std::shared_ptr<Gpio::ILed> linkActivity1Led;
    const std::shared_ptr<Gpio::ILed> linkActivity2Led;
};

} // namespace Velrix

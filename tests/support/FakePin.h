// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>

#include <System/Exceptions.h>

#include <velrix/gpio/IInputPin.h>
#include <velrix/gpio/IOutputPin.h>

#include "tests/support/CallLog.h"

namespace TestSupport {

// A fake output pin that logs its calls: "green high". With Fails it throws System::Exception with its name as the
// message, logs nothing and keeps its level.
class FakeOutputPin final : public Velrix::Gpio::IOutputPin {
public:
    static std::shared_ptr<FakeOutputPin> Create(std::string name, std::shared_ptr<CallLog> log) {
        return std::shared_ptr<FakeOutputPin>(new FakeOutputPin(std::move(name), std::move(log)));
    }

    System::string_ptr ToString() override { return name; }

    void SetHigh() override { Drive(true); }
    void SetLow() override { Drive(false); }

    bool Level = true; // initially high, so that a missing write of low shows
    bool Fails = false;

private:
    FakeOutputPin(std::string ownName, std::shared_ptr<CallLog> ownLog)
        : name(std::move(ownName)), log(std::move(ownLog)) {}

    void Drive(bool high) {
        if (Fails)
            throw System::Exception(name);
        log->Add(name + (high ? " high" : " low"));
        Level = high;
    }

    const std::string name;
    const std::shared_ptr<CallLog> log;
};

// A fake input pin: reads the given levels, one per call, then repeats the last one; low if none was given.
class FakeInputPin final : public Velrix::Gpio::IInputPin {
public:
    static std::shared_ptr<FakeInputPin> Create(std::string name, std::shared_ptr<CallLog> log,
                                                std::deque<bool> levels = {}) {
        return std::shared_ptr<FakeInputPin>(new FakeInputPin(std::move(name), std::move(log), std::move(levels)));
    }

    System::string_ptr ToString() override { return name; }

    bool Get() override {
        if (Fails)
            throw System::Exception(name);
        if (!Levels.empty()) {
            last = Levels.front();
            Levels.pop_front();
        }
        log->Add(name + (last ? " is high" : " is low"));
        return last;
    }

    std::deque<bool> Levels;
    bool Fails = false;

private:
    FakeInputPin(std::string ownName, std::shared_ptr<CallLog> ownLog, std::deque<bool> levels)
        : Levels(std::move(levels)), name(std::move(ownName)), log(std::move(ownLog)) {}

    const std::string name;
    const std::shared_ptr<CallLog> log;
    bool last = false;
};

} // namespace TestSupport

// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <System/Collections/Generic/List.h>
#include <System/Exceptions.h>

#include <velrix/gpio/LedColorProperty.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceLeds.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/LampReport.h"
#include "tools/velrixctl/LedPatterns.h"
#include "tools/velrixctl/StopSignal.h"

namespace VelrixTools {

namespace {

using std::chrono::milliseconds;
using System::Collections::Generic::List;
using Velrix::Gpio::ILed;
using Velrix::Gpio::LedColorProperty;

constexpr long long LONGEST_MS = 60'000;

// Nobody looks at a lamp for longer than that.
constexpr std::chrono::minutes LONGEST_ANSWER(5);

struct TestedLed {
    std::string label;
    std::shared_ptr<ILed> led;
};

class LampTest final {
public:
    explicit LampTest(const CommandLine& ownLine)
        : line(ownLine), walkMs(line.Number("--ms", PATTERN_MS, 1, LONGEST_MS)) {
        if (line.Has("--ms") && !line.Has("--walk"))
            throw CommandError("--ms needs --walk");
        const auto settings = LoadSettings();
        for (const std::string& label : LabelsOfLeds())
            leds.push_back({label, OpenLed(label, *settings)});
    }

    int Run() {
        try {
            if (line.Has("--walk"))
                Walk();
            else
                PowerUp();
            if (stop.HasCome())
                throw CommandError("interrupted; all LEDs are off");
        } catch (const std::exception&) {
            SwitchOff();
            throw;
        }
        Report();
        return HasWrong(results) ? EXIT_WRONG : EXIT_GOOD;
    }

private:
    // The sequences, ticks and times of Platform::PowerUpIndicatorTest. Platform itself would hold the modules in reset
    // at its end.
    void PowerUp() {
        constexpr unsigned long long STEP_MS = 250;
        constexpr milliseconds TICK(12);
        constexpr int TICKS = 43;
        static constexpr struct {
            LedColorProperty::Color_e first, second, last;
        } SEQUENCES[] = {
            {LedColorProperty::GREEN, LedColorProperty::RED, LedColorProperty::GREEN},  // MS
            {LedColorProperty::GREEN, LedColorProperty::RED, LedColorProperty::OFF},    // NS
            {LedColorProperty::GREEN, LedColorProperty::YELLOW, LedColorProperty::OFF}, // LINK_ACT1
            {LedColorProperty::GREEN, LedColorProperty::YELLOW, LedColorProperty::OFF}, // LINK_ACT2
        };
        for (std::size_t i = 0; i < leds.size(); ++i) {
            const auto steps = List<std::shared_ptr<LedColorProperty>>::Create();
            steps->Add(LedColorProperty::Create(SEQUENCES[i].first, STEP_MS));
            steps->Add(LedColorProperty::Create(SEQUENCES[i].second, STEP_MS));
            steps->Add(LedColorProperty::Create(SEQUENCES[i].last, 0));
            leds[i].led->SetSequence(steps);
        }
        for (int tick = 0; tick < TICKS && !stop.HasCome(); ++tick) {
            for (const TestedLed& tested : leds)
                tested.led->Update();
            stop.Wait(TICK);
        }
        for (const TestedLed& tested : leds)
            for (const std::string& element : ColoursOf(tested.label))
                results.push_back({tested.label, element, LampVerdict::NOT_ASKED});
    }

    void Walk() {
        for (const TestedLed& tested : leds)
            for (const std::string& element : ColoursOf(tested.label)) {
                if (stop.HasCome())
                    return;
                FindPattern(element).show(*tested.led, 0);
                results.push_back({tested.label, element, LampVerdict::NOT_ASKED});
                results.back().verdict = Judge(results.back().Name());
                tested.led->Off();
            }
    }

    // With the results as JSON on standard output, the words are on standard error.
    void Say(const std::string& text) const {
        if (!line.Has("--json"))
            Print(text);
        else
            (void)!::write(STDERR_FILENO, text.data(), text.size());
    }

    bool CanAsk() const {
        return ::isatty(STDIN_FILENO) == 1 && (line.Has("--json") ? IsErrorTerminal() : IsTerminal());
    }

    LampVerdict Judge(const std::string& name) const {
        if (!CanAsk()) {
            Say(name + "\n");
            stop.Wait(milliseconds(walkMs));
            return LampVerdict::NOT_ASKED;
        }
        const auto end = std::chrono::steady_clock::now() + LONGEST_ANSWER;
        while (!stop.HasCome() && std::chrono::steady_clock::now() < end) {
            Say(name + ": is just this one lit? [y/n] ");
            const std::string answer = ReadAnswer();
            if (answer == "y" || answer == "yes")
                return LampVerdict::GOOD;
            if (answer == "n" || answer == "no")
                return LampVerdict::WRONG;
        }
        if (!stop.HasCome())
            throw CommandError("no answer; all LEDs are off");
        return LampVerdict::NOT_ASKED;
    }

    // A line of standard input; the terminal gives whole lines. The end of the input ends the test.
    std::string ReadAnswer() const {
        if (stop.WaitForInput(LONGEST_ANSWER))
            return "";
        std::array<char, 256> text{};
        const ssize_t count = ::read(STDIN_FILENO, text.data(), text.size());
        if (count <= 0)
            throw CommandError("no answer; all LEDs are off");
        std::string answer(text.data(), static_cast<std::size_t>(count));
        answer.erase(answer.find_last_not_of("\r\n \t") + 1);
        return answer;
    }

    // As far as that works; what ended the test is reported.
    void SwitchOff() const {
        for (const TestedLed& tested : leds)
            try {
                tested.led->Off();
            } catch (const System::Exception&) {
                continue;
            }
    }

    void Report() const {
        if (line.Has("--json"))
            Print(LampJson(results));
        else if (HasWrong(results))
            for (const LampResult& result : results)
                if (result.verdict == LampVerdict::WRONG)
                    Print(In(Colour::RED, "wrong: ") + result.Name() + "\n");
        const std::string path = line.Value("--junit");
        if (path.empty())
            return;
        errno = 0;
        std::ofstream file(path);
        if (!(file << LampJUnit(results)).flush())
            throw CommandError("cannot write " + Escaped(path) + ": " + std::strerror(errno));
    }

    const CommandLine& line;
    const long long walkMs;
    const StopSignal stop;
    std::vector<TestedLed> leds;
    std::vector<LampResult> results;
};

} // namespace

int RunLampTest(const CommandLine& line) {
    return LampTest(line).Run();
}

} // namespace VelrixTools

// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Led.h>

#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <System/Collections/Generic/IList.h>
#include <System/Collections/Generic/List.h>
#include <System/DateTime.h>
#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CallLog.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakePin.h"

using System::Collections::Generic::IList;
using System::Collections::Generic::List;
using TestSupport::AllocationFailure;
using TestSupport::CallLog;
using TestSupport::ExpectException;
using TestSupport::FakeClock;
using TestSupport::FakeOutputPin;
using Velrix::Gpio::ILed;
using Velrix::Gpio::Led;
using Velrix::Gpio::LedColorProperty;

namespace {

using Step = std::shared_ptr<LedColorProperty>;

constexpr auto OFF = LedColorProperty::OFF;
constexpr auto GREEN = LedColorProperty::GREEN;
constexpr auto RED = LedColorProperty::RED;
constexpr auto YELLOW = LedColorProperty::YELLOW;

constexpr const char* SHOWS_OFF = "green low, red low, yellow low";
constexpr const char* SHOWS_GREEN = "green high, red low, yellow low";
constexpr const char* SHOWS_RED = "green low, red high, yellow low";
constexpr const char* SHOWS_YELLOW = "green low, red low, yellow high";
constexpr const char* NOTHING = "";

Step StepOf(unsigned color, unsigned long long duration) {
    return LedColorProperty::Create(static_cast<LedColorProperty::Color_e>(color), duration);
}

// An LED on fake pins with one log, and a fake clock. Colours are the LED's pins, by their first letters.
struct Lamp {
    explicit Lamp(const std::string& colors = "gry")
        : green(PinIf(colors, 'g', "green")), red(PinIf(colors, 'r', "red")), yellow(PinIf(colors, 'y', "yellow")),
          led(Led::Create("MS", green, red, yellow)) {
        log->Take();
    }

    std::shared_ptr<FakeOutputPin> PinIf(const std::string& colors, char color, const char* name) const {
        return colors.find(color) == std::string::npos ? nullptr : FakeOutputPin::Create(name, log);
    }

    // Advances the clock and returns the writes of one Update.
    std::string UpdateAfter(long long milliseconds) {
        clock.AdvanceMilliseconds(milliseconds);
        led->Update();
        return log->Take();
    }

    FakeClock clock;
    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    const std::shared_ptr<FakeOutputPin> green;
    const std::shared_ptr<FakeOutputPin> red;
    const std::shared_ptr<FakeOutputPin> yellow;
    const std::shared_ptr<Led> led;
};

// A list of one red step with one throwing operation.
class BrokenList final : public IList<Step> {
public:
    static std::shared_ptr<BrokenList> Create() { return std::make_shared<BrokenList>(); }

    int Count() override {
        ThrowIf("Count");
        return 1;
    }
    Step& operator[](int) override {
        ThrowIf("element");
        return Only;
    }
    void Add(Step) override {}
    void Insert(int, Step) override {}
    void RemoveAt(int) override {}
    void Clear() override {}

    std::string Broken;
    Step Only = StepOf(RED, 100);

private:
    void ThrowIf(const std::string& operation) const {
        if (operation == Broken)
            throw System::InvalidOperationException(Broken);
    }
};

// The parameter name in the exception of the action.
template <class Expected, class Action>
std::string ParameterOf(Action action) {
    try {
        action();
    } catch (const Expected& exception) {
        return exception.ParamName()->ToUtf8();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

struct SteadyOperation {
    const char* name;
    void (ILed::*operation)();
    char color; // that it needs
    Step (*step)();
    const char* shows;
};

const SteadyOperation STEADY_OPERATIONS[] = {
    {"Off", &ILed::Off, '\0', [] { return LedColorProperty::OFF_CONST->Value(); }, SHOWS_OFF},
    {"Green", &ILed::Green, 'g', [] { return LedColorProperty::GREEN_CONST->Value(); }, SHOWS_GREEN},
    {"Red", &ILed::Red, 'r', [] { return LedColorProperty::RED_CONST->Value(); }, SHOWS_RED},
    {"Yellow", &ILed::Yellow, 'y', [] { return LedColorProperty::YELLOW_CONST->Value(); }, SHOWS_YELLOW},
};

struct PatternOperation {
    const char* name;
    void (ILed::*operation)(long long);
    const char* colors; // that it needs
    LedColorProperty::Color_e first;
    const char* showsFirst;
    LedColorProperty::Color_e second;
    const char* showsSecond;
};

const PatternOperation PATTERN_OPERATIONS[] = {
    {"FlashingGreen", &ILed::FlashingGreen, "g", GREEN, SHOWS_GREEN, OFF, SHOWS_OFF},
    {"FlashingRed", &ILed::FlashingRed, "r", RED, SHOWS_RED, OFF, SHOWS_OFF},
    {"FlashingYellow", &ILed::FlashingYellow, "y", YELLOW, SHOWS_YELLOW, OFF, SHOWS_OFF},
    {"ToggleGreenRed", &ILed::ToggleGreenRed, "gr", GREEN, SHOWS_GREEN, RED, SHOWS_RED},
    {"ToggleGreenYellow", &ILed::ToggleGreenYellow, "gy", GREEN, SHOWS_GREEN, YELLOW, SHOWS_YELLOW},
    {"ToggleYellowRed", &ILed::ToggleYellowRed, "yr", YELLOW, SHOWS_YELLOW, RED, SHOWS_RED},
};

const char* const ALL_SETS_OF_COLORS[] = {"", "g", "r", "y", "gr", "gy", "ry", "gry"};

bool HasAll(const std::string& available, const std::string& needed) {
    return needed.find_first_not_of(available) == std::string::npos;
}

} // namespace

// Creation

TEST(Led, WritesEachPinLowOnceWhenItIsMade) {
    const auto log = std::make_shared<CallLog>();

    const auto led = Led::Create("MS", FakeOutputPin::Create("green", log), FakeOutputPin::Create("red", log),
                                 FakeOutputPin::Create("yellow", log));

    EXPECT_EQ(log->Take(), SHOWS_OFF);
    EXPECT_EQ(led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

TEST(Led, WritesOnlyThePinsThatItHas) {
    const auto log = std::make_shared<CallLog>();

    const auto led = Led::Create("LINK", nullptr, FakeOutputPin::Create("red", log), nullptr);
    led->SetGreenRedYellow(true, true, true);

    EXPECT_EQ(log->Take(), "red low, red high");
}

TEST(Led, NeedsNoPinAtAll) {
    const auto led = Led::Create("NONE", nullptr, nullptr, nullptr);

    led->Off();
    led->Update();

    EXPECT_EQ(led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

TEST(Led, IsNotMadeWhenAPinThrows) {
    const auto log = std::make_shared<CallLog>();
    const auto green = FakeOutputPin::Create("green", log);
    const auto red = FakeOutputPin::Create("red", log);
    red->Fails = true;

    ExpectException<System::Exception>("red", [&] { Led::Create("MS", green, red, nullptr); });

    EXPECT_EQ(log->Take(), "green low");
    EXPECT_EQ(green.use_count(), 1);
    EXPECT_EQ(red.use_count(), 1);
}

TEST(Led, ShowsItsNameAsText) {
    EXPECT_EQ(Lamp().led->ToString(), "MS");
    EXPECT_EQ(Led::Create(nullptr, nullptr, nullptr, nullptr)->ToString(), nullptr);
}

TEST(Led, ReleasesItsPinsWithoutWritingThem) {
    const auto log = std::make_shared<CallLog>();
    const auto green = FakeOutputPin::Create("green", log);
    auto led = Led::Create("MS", green, nullptr, nullptr);
    led->Green();
    log->Take();

    led.reset();

    EXPECT_EQ(log->Take(), NOTHING);
    EXPECT_TRUE(green->Level);
    EXPECT_EQ(green.use_count(), 1);
}

TEST(Led, RunsNoPatternWhenItIsNew) {
    Lamp lamp;

    lamp.led->SetColorProperty(StepOf(GREEN, 100));
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(1000), NOTHING);
}

// Levels

TEST(Led, DrivesGreenRedAndYellowInThisOrder) {
    Lamp lamp;

    for (int levels = 0; levels < 8; ++levels) {
        const bool green = levels & 1;
        const bool red = levels & 2;
        const bool yellow = levels & 4;

        lamp.led->SetGreenRedYellow(green, red, yellow);

        EXPECT_EQ(lamp.log->Take(), std::string("green ") + (green ? "high" : "low") + ", red " +
                                        (red ? "high" : "low") + ", yellow " + (yellow ? "high" : "low"));
    }
}

TEST(Led, WritesPinsThatHaveTheirLevelAlready) {
    Lamp lamp;

    lamp.led->Green();
    lamp.led->Green();

    EXPECT_EQ(lamp.log->Take(), std::string(SHOWS_GREEN) + ", " + SHOWS_GREEN);
}

TEST(Led, DoesNotTakeLevelsForAStep) {
    Lamp lamp;

    lamp.led->SetGreenRedYellow(true, true, true);

    EXPECT_EQ(lamp.led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

// Steady colours

TEST(Led, ShowsASteadyColorAtOnce) {
    for (const auto& row : STEADY_OPERATIONS) {
        SCOPED_TRACE(row.name);
        Lamp lamp;

        (*lamp.led.*row.operation)();

        EXPECT_EQ(lamp.log->Take(), row.shows);
        EXPECT_EQ(lamp.led->GetColorProperty(), row.step());
        EXPECT_EQ(lamp.UpdateAfter(100'000), NOTHING);
    }
}

TEST(Led, RefusesASteadyColorThatItLacks) {
    for (const auto& row : STEADY_OPERATIONS) {
        for (const std::string available : ALL_SETS_OF_COLORS) {
            SCOPED_TRACE(std::string(row.name) + " with " + available);
            Lamp lamp(available);
            const auto sequence = List<Step>::Create({StepOf(OFF, 10), StepOf(OFF, 20)});
            lamp.led->SetSequence(sequence);
            lamp.log->Take();
            const auto shown = lamp.led->GetColorProperty();

            if (row.color == '\0' || available.find(row.color) != std::string::npos) {
                EXPECT_NO_THROW((*lamp.led.*row.operation)());
                continue;
            }
            ExpectException<System::NotSupportedException>("", [&] { (*lamp.led.*row.operation)(); });

            EXPECT_EQ(lamp.log->Take(), NOTHING);
            EXPECT_EQ(lamp.led->GetColorProperty(), shown);
            lamp.UpdateAfter(10);
            EXPECT_EQ(lamp.led->GetColorProperty(), (*sequence)[1]) << "the pattern must go on";
        }
    }
}

TEST(Led, EndsAPatternAtTheUpdateAfterASteadyColor) {
    Lamp lamp;
    lamp.led->FlashingRed(500);
    EXPECT_EQ(lamp.log->Take(), SHOWS_RED);

    lamp.led->Green();
    EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);

    EXPECT_EQ(lamp.UpdateAfter(500), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(500), NOTHING);
    lamp.led->SetColorProperty(StepOf(RED, 1)); // a leftover pattern would continue from here
    EXPECT_EQ(lamp.log->Take(), SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(500), NOTHING);
}

TEST(Led, KeepsThePatternWhenASteadyColorIsReplacedBeforeTheUpdate) {
    Lamp lamp;
    lamp.led->FlashingRed(500);

    lamp.led->Green();
    lamp.led->SetColorProperty(StepOf(YELLOW, 300));
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(299), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_OFF);
}

// One step

TEST(Led, ShowsEachColorOnItsPinAlone) {
    const struct {
        LedColorProperty::Color_e color;
        const char* shows;
    } rows[] = {{OFF, SHOWS_OFF}, {GREEN, SHOWS_GREEN}, {RED, SHOWS_RED}, {YELLOW, SHOWS_YELLOW}};

    for (const auto& row : rows) {
        Lamp lamp;
        const auto step = StepOf(row.color, 100);

        lamp.led->SetColorProperty(step);

        EXPECT_EQ(lamp.log->Take(), row.shows);
        EXPECT_EQ(lamp.led->GetColorProperty(), step);
    }
}

TEST(Led, RefusesANullStep) {
    Lamp lamp;

    EXPECT_EQ(ParameterOf<System::ArgumentNullException>([&] { lamp.led->SetColorProperty(nullptr); }),
              "colorProperty");

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

TEST(Led, RefusesAnUnknownColorByItsLow16Bits) {
    const struct {
        unsigned code;
        const char* message;
    } rows[] = {
        {4, "4"},       {7, "7"},          {65535, "65535"},      {0x10000, "0"},
        {0x10007, "7"}, {0x8000, "32768"}, {0xFFFFFFFF, "65535"}, {0x80000001, "1"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        Lamp lamp;
        lamp.led->Red();
        lamp.log->Take();

        ExpectException<System::Exception>(row.message, [&] { lamp.led->SetColorProperty(StepOf(row.code, 0)); });

        EXPECT_EQ(lamp.log->Take(), NOTHING);
        EXPECT_EQ(lamp.led->GetColorProperty(), LedColorProperty::RED_CONST->Value());
    }
}

TEST(Led, KeepsTheStepWhenAPinWriteFails) {
    Lamp lamp;
    lamp.red->Fails = true;

    ExpectException<System::Exception>("red", [&] { lamp.led->Green(); });

    EXPECT_EQ(lamp.log->Take(), "green high"); // the pins before it have their new level
    EXPECT_EQ(lamp.led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

TEST(Led, ShowsAColorThatItLacksByDarkness) {
    Lamp lamp("gr");

    lamp.led->SetColorProperty(StepOf(YELLOW, 0));

    EXPECT_EQ(lamp.log->Take(), "green low, red low");
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, YELLOW);
}

// A step shown directly

TEST(Led, NeverAdvancesAStepShownWithoutAPattern) {
    Lamp lamp;
    const auto step = StepOf(GREEN, 100);
    lamp.led->SetColorProperty(step);
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(100), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(100'000), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty(), step);
}

TEST(Led, KeepsPatternIndexAndStepStartWhenAStepIsShownDirectly) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)}));
    EXPECT_EQ(lamp.UpdateAfter(100), std::string(SHOWS_GREEN) + ", " + SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(50), NOTHING);

    lamp.led->SetColorProperty(StepOf(OFF, 80)); // of which 50 ms are over already
    EXPECT_EQ(lamp.log->Take(), SHOWS_OFF);

    EXPECT_EQ(lamp.UpdateAfter(29), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_YELLOW);
}

// Flashing and toggling

TEST(Led, AlternatesTwoColors) {
    for (const auto& row : PATTERN_OPERATIONS) {
        SCOPED_TRACE(row.name);
        Lamp lamp;

        (*lamp.led.*row.operation)(500);

        EXPECT_EQ(lamp.log->Take(), row.showsFirst);
        EXPECT_EQ(lamp.led->GetColorProperty()->Color, row.first);
        EXPECT_EQ(lamp.led->GetColorProperty()->Duration, 500u);
        EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
        EXPECT_EQ(lamp.UpdateAfter(1), row.showsSecond);
        EXPECT_EQ(lamp.led->GetColorProperty()->Color, row.second);
        EXPECT_EQ(lamp.led->GetColorProperty()->Duration, 500u);
        EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
        EXPECT_EQ(lamp.UpdateAfter(1), row.showsFirst);
    }
}

TEST(Led, RefusesAPatternWhoseColorsItLacks) {
    for (const auto& row : PATTERN_OPERATIONS) {
        for (const std::string available : ALL_SETS_OF_COLORS) {
            SCOPED_TRACE(std::string(row.name) + " with " + available);
            Lamp lamp(available);
            const auto shown = lamp.led->GetColorProperty();

            if (HasAll(available, row.colors)) {
                EXPECT_NO_THROW((*lamp.led.*row.operation)(500));
                continue;
            }
            ExpectException<System::NotSupportedException>("", [&] { (*lamp.led.*row.operation)(500); });

            EXPECT_EQ(lamp.log->Take(), NOTHING);
            EXPECT_EQ(lamp.led->GetColorProperty(), shown);
        }
    }
}

TEST(Led, KeepsTheRunningPatternWhenItRefusesAnother) {
    Lamp lamp("gr");
    lamp.led->ToggleGreenRed(100);
    lamp.log->Take();

    EXPECT_THROW(lamp.led->ToggleYellowRed(100), System::NotSupportedException);

    EXPECT_EQ(lamp.UpdateAfter(100), "green low, red high");
}

TEST(Led, MakesFreshStepsForEachPattern) {
    Lamp lamp;

    lamp.led->FlashingGreen(500);
    const auto first = lamp.led->GetColorProperty();
    lamp.led->FlashingGreen(500);

    EXPECT_NE(lamp.led->GetColorProperty(), first);
}

TEST(Led, AdvancesAPatternOfNegativeDurationOnEveryUpdate) {
    for (const long long duration : {-1LL, -500LL, std::numeric_limits<long long>::min()}) {
        SCOPED_TRACE(duration);
        Lamp lamp;

        lamp.led->FlashingGreen(duration);

        EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);
        EXPECT_EQ(lamp.led->GetColorProperty()->Duration, static_cast<unsigned long long>(duration));
        EXPECT_EQ(lamp.UpdateAfter(0), SHOWS_OFF);
        EXPECT_EQ(lamp.UpdateAfter(0), SHOWS_GREEN);
    }
}

TEST(Led, StopsAPatternOfNoDurationAtItsFirstStep) {
    Lamp lamp;

    lamp.led->FlashingGreen(0);

    EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);
    EXPECT_EQ(lamp.UpdateAfter(0), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(100'000), NOTHING);
}

TEST(Led, HoldsAStepOfTheLongestDuration) {
    Lamp lamp;

    lamp.led->FlashingGreen(std::numeric_limits<long long>::max());
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(1'000'000'000), NOTHING);
}

// Sequences

TEST(Led, RefusesANullSequence) {
    Lamp lamp;
    lamp.led->FlashingGreen(100);
    lamp.log->Take();

    EXPECT_EQ(ParameterOf<System::ArgumentNullException>([&] { lamp.led->SetSequence(nullptr); }), "colorSequence");

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_OFF);
}

TEST(Led, RefusesAnEmptySequenceAndGoesOnWithTheRunningOne) {
    Lamp lamp;
    lamp.led->FlashingGreen(100);
    lamp.log->Take();
    lamp.clock.AdvanceMilliseconds(99);

    EXPECT_EQ(ParameterOf<System::ArgumentOutOfRangeException>([&] { lamp.led->SetSequence(List<Step>::Create()); }),
              "colorSequence->Count");

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_OFF);
}

TEST(Led, PlaysTheStepsOfASequenceInTurn) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)});

    lamp.led->SetSequence(sequence);

    EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);
    EXPECT_EQ(lamp.led->GetColorProperty(), (*sequence)[0]);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_RED);
        EXPECT_EQ(lamp.led->GetColorProperty(), (*sequence)[1]);
        EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_YELLOW);
        EXPECT_EQ(lamp.led->GetColorProperty(), (*sequence)[2]);
        EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_GREEN);
        EXPECT_EQ(lamp.led->GetColorProperty(), (*sequence)[0]);
    }
}

TEST(Led, GivesEachStepItsOwnDuration) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 10), StepOf(RED, 1000)}));
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(10), SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(999), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
    EXPECT_EQ(lamp.UpdateAfter(10), SHOWS_RED);
}

TEST(Led, ReplaysASequenceOfOneStep) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100)}));
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_GREEN);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
}

TEST(Led, StartsANewSequenceFromItsFirstStepAndTheTimeOfTheCall) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)}));
    lamp.UpdateAfter(100);
    lamp.UpdateAfter(100);
    lamp.clock.AdvanceMilliseconds(60);

    lamp.led->SetSequence(List<Step>::Create({StepOf(RED, 100), StepOf(GREEN, 100), StepOf(OFF, 100)}));

    EXPECT_EQ(lamp.log->Take(), SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_OFF);
}

TEST(Led, StaysOnAStepWithoutEnd) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 0)}));
    EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);

    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(100), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(100'000), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, RED);
}

TEST(Led, StopsAtOnceOnAFirstStepWithoutEnd) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 0), StepOf(RED, 100)}));
    EXPECT_EQ(lamp.log->Take(), SHOWS_GREEN);

    EXPECT_EQ(lamp.UpdateAfter(100'000), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
}

TEST(Led, LetsGoOfTheListWhenThePatternEnds) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 0)});

    lamp.led->SetSequence(sequence);
    EXPECT_EQ(sequence.use_count(), 2);
    lamp.led->Update();

    EXPECT_EQ(sequence.use_count(), 1);
}

TEST(Led, PlaysTheListItselfSoThatChangesTakeEffect) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100)});
    lamp.led->SetSequence(sequence);
    lamp.log->Take();

    (*sequence)[1] = StepOf(YELLOW, 100);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_YELLOW);
    sequence->Add(StepOf(OFF, 100));
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_OFF);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_GREEN);
}

TEST(Led, StartsOverWhenTheListHasShrunkToTheNextIndex) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)});
    lamp.led->SetSequence(sequence);
    lamp.UpdateAfter(100); // red, index 1

    sequence->RemoveAt(2);

    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_GREEN);
}

TEST(Led, ReportsAListThatHasShrunkBelowTheNextIndex) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)});
    lamp.led->SetSequence(sequence);
    lamp.UpdateAfter(100); // red, index 1
    lamp.log->Take();

    sequence->RemoveAt(2);
    sequence->RemoveAt(1);
    lamp.clock.AdvanceMilliseconds(100);
    EXPECT_EQ(ParameterOf<System::ArgumentOutOfRangeException>([&] { lamp.led->Update(); }), "index");

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, RED);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING); // the index and the start of the step have moved
    lamp.clock.AdvanceMilliseconds(1);
    EXPECT_THROW(lamp.led->Update(),
                 System::ArgumentOutOfRangeException); // no wrap-around beyond the end ...
    for (const auto color : {RED, RED, RED, YELLOW})
        sequence->Add(StepOf(color, 100)); // ... until the list has grown past the index
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_YELLOW);
}

TEST(Led, ReportsAListThatWasCleared) {
    Lamp lamp;
    const auto sequence = List<Step>::Create({StepOf(GREEN, 100)});
    lamp.led->SetSequence(sequence);
    lamp.log->Take();

    sequence->Clear();
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    lamp.clock.AdvanceMilliseconds(1);

    EXPECT_EQ(ParameterOf<System::ArgumentOutOfRangeException>([&] { lamp.led->Update(); }), "index");
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
}

TEST(Led, PassesOnWhatAListOfTheCallersOwnThrows) {
    Lamp lamp;
    const auto sequence = BrokenList::Create();

    sequence->Broken = "Count";
    ExpectException<System::InvalidOperationException>("Count", [&] { lamp.led->SetSequence(sequence); });
    sequence->Broken = "element";
    ExpectException<System::InvalidOperationException>("element", [&] { lamp.led->SetSequence(sequence); });
    sequence->Broken = "";
    lamp.led->SetSequence(sequence);
    EXPECT_EQ(lamp.log->Take(), SHOWS_RED);
    lamp.clock.AdvanceMilliseconds(100);
    for (const char* const broken : {"Count", "element"}) {
        sequence->Broken = broken;
        lamp.clock.AdvanceMilliseconds(100);
        ExpectException<System::InvalidOperationException>(broken, [&] { lamp.led->Update(); });
    }

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty(), sequence->Only);
}

TEST(Led, TriesTheStepAfterAnUnknownColor) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(7, 10), StepOf(RED, 100)}));
    lamp.log->Take();
    lamp.clock.AdvanceMilliseconds(130);

    ExpectException<System::Exception>("7", [&] { lamp.led->Update(); });

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING); // green lasts its time once more
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_RED);
}

TEST(Led, TriesTheStepAfterANullOne) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), nullptr}));
    lamp.log->Take();
    lamp.clock.AdvanceMilliseconds(100);

    EXPECT_EQ(ParameterOf<System::ArgumentNullException>([&] { lamp.led->Update(); }), "colorProperty");

    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_GREEN);
}

TEST(Led, KeepsASequenceWhoseFirstStepCannotBeShown) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(OFF, 100)}));
    lamp.log->Take();
    lamp.clock.AdvanceMilliseconds(50);

    ExpectException<System::Exception>("4", [&] {
        lamp.led->SetSequence(List<Step>::Create({StepOf(4, 10), StepOf(RED, 10)}));
    });

    EXPECT_EQ(lamp.log->Take(), NOTHING);
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_RED);
}

TEST(Led, DropsASequenceWhoseFirstStepCannotBeShownOnASteadyLed) {
    Lamp lamp;

    EXPECT_THROW(lamp.led->SetSequence(List<Step>::Create({nullptr, StepOf(RED, 10)})), System::ArgumentNullException);

    EXPECT_EQ(lamp.UpdateAfter(10), NOTHING); // off has no end, which ends the pattern
    EXPECT_EQ(lamp.UpdateAfter(10), NOTHING);
}

TEST(Led, KeepsTheStepWhenAPinFailsInUpdate) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)}));
    lamp.log->Take();
    lamp.red->Fails = true;
    lamp.clock.AdvanceMilliseconds(100);

    ExpectException<System::Exception>("red", [&] { lamp.led->Update(); });

    EXPECT_EQ(lamp.log->Take(), "green low");
    EXPECT_EQ(lamp.led->GetColorProperty()->Color, GREEN);
    lamp.red->Fails = false;
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_YELLOW);
}

// Time

TEST(Led, AdvancesOneStepAnUpdateHoweverLateItComes) {
    Lamp lamp;
    lamp.led->SetSequence(List<Step>::Create({StepOf(GREEN, 100), StepOf(RED, 100), StepOf(YELLOW, 100)}));
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(1'000'000), SHOWS_RED);
    EXPECT_EQ(lamp.UpdateAfter(0), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(100), SHOWS_YELLOW);
}

TEST(Led, CountsAStepFromTheUpdateThatShowedIt) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(730), SHOWS_OFF); // 230 ms late, not caught up
    EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
}

TEST(Led, CountsWholeMilliseconds) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.log->Take();

    lamp.clock.AdvanceNanoseconds(499'999'999);
    EXPECT_EQ(lamp.UpdateAfter(0), NOTHING);
    lamp.clock.AdvanceNanoseconds(1);
    EXPECT_EQ(lamp.UpdateAfter(0), SHOWS_OFF);
}

TEST(Led, RoundsTowardsNoTimeAtAll) {
    Lamp lamp;
    lamp.led->FlashingGreen(-1);
    lamp.log->Take();

    lamp.clock.AdvanceNanoseconds(-2'000'000);
    EXPECT_EQ(lamp.UpdateAfter(0), NOTHING); // -2 ms is less than -1 ms
    lamp.clock.AdvanceNanoseconds(1);
    EXPECT_EQ(lamp.UpdateAfter(0), SHOWS_OFF); // -1.999999 ms counts as -1 ms
}

TEST(Led, HoldsTheStepWhenTheClockIsSetBack) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.log->Take();

    lamp.clock.AdvanceMilliseconds(-3'600'000);

    EXPECT_EQ(lamp.UpdateAfter(500), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(3'599'500), NOTHING); // the start of the step again
    EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_OFF);
}

TEST(Led, EndsTheStepWhenTheClockIsSetForward) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(86'400'000), SHOWS_OFF);
    EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
}

TEST(Led, FlashesOnPast2038) {
    Lamp lamp;
    lamp.clock.Set(0x7FFFFFFF, 800'000'000); // in 200 ms the seconds no longer fit into 31 bits
    lamp.led->FlashingGreen(500);
    lamp.log->Take();

    EXPECT_EQ(lamp.UpdateAfter(499), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_OFF);
    EXPECT_EQ(lamp.UpdateAfter(500), SHOWS_GREEN);
}

// Costs

TEST(Led, ReadsNoClockAndAllocatesNothingWithoutAPattern) {
    Lamp lamp;
    const auto reads = lamp.clock.CallCount();

    const AllocationFailure allocations;
    lamp.led->Update();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(lamp.clock.CallCount(), reads);
}

TEST(Led, ReadsTheClockOnceAndAllocatesNothingWhileAStepRuns) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.clock.AdvanceMilliseconds(499);
    const auto reads = lamp.clock.CallCount();

    const AllocationFailure allocations;
    lamp.led->Update();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(lamp.clock.CallCount() - reads, 1);
}

TEST(Led, ReadsTheClockOnceWhenItIsMade) {
    FakeClock clock;

    Led::Create("MS", nullptr, nullptr, nullptr);

    EXPECT_EQ(clock.CallCount(), 1);
}

TEST(Led, ReadsTheClockOnceAndAllocatesNothingForAStepThatEnds) {
    Lamp lamp;
    lamp.led->FlashingGreen(500);
    lamp.clock.AdvanceMilliseconds(500);
    const auto reads = lamp.clock.CallCount();

    const AllocationFailure allocations;
    lamp.led->Update();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(lamp.clock.CallCount() - reads, 1);
}

// Memory

TEST(Led, SurvivesEveryAllocationFailure) {
    FakeClock clock;
    const auto log = std::make_shared<CallLog>();
    const auto green = FakeOutputPin::Create("green", log);
    const auto yellow = FakeOutputPin::Create("yellow", log);

    const long failures = TestSupport::FailEachAllocation([&] {
        const auto led = Led::Create("LINK", green, nullptr, yellow);
        led->ToggleGreenYellow(100);
        clock.AdvanceMilliseconds(100);
        led->Update();
        led->FlashingYellow(100);
        led->Green();
        try {
            led->SetColorProperty(StepOf(7, 0));
        } catch (const System::Exception&) {
        }
        log->Take();
    });

    EXPECT_GT(failures, 10);
}

TEST(Led, SurvivesEveryAllocationFailureOfItsRefusals) {
    FakeClock clock;
    const auto log = std::make_shared<CallLog>();
    const auto led = Led::Create("LINK", FakeOutputPin::Create("green", log), nullptr, nullptr);
    const auto unknown = StepOf(7, 0);
    const auto empty = List<Step>::Create();
    const std::function<void()> refusals[] = {
        [&] { led->Red(); },
        [&] { led->ToggleGreenRed(100); },
        [&] { led->SetColorProperty(nullptr); },
        [&] { led->SetColorProperty(unknown); },
        [&] { led->SetSequence(nullptr); },
        [&] { led->SetSequence(empty); },
    };

    for (const auto& refusal : refusals) {
        const long failures = TestSupport::FailEachAllocation([&] {
            try {
                refusal();
                ADD_FAILURE() << "nothing was thrown";
            } catch (const System::Exception&) {
            }
        });

        EXPECT_GT(failures, 0);
    }
    EXPECT_EQ(led->GetColorProperty(), LedColorProperty::OFF_CONST->Value());
}

TEST(Led, GoesOnWithItsPatternWhenThereIsNoMemoryForAnother) {
    for (long number = 1;; ++number) {
        SCOPED_TRACE(number);
        Lamp lamp;
        lamp.led->FlashingGreen(100);
        lamp.log->Take();
        lamp.clock.AdvanceMilliseconds(50);
        bool failed = false;

        {
            const AllocationFailure failure(number);
            try {
                lamp.led->ToggleYellowRed(100);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        if (!failed) {
            EXPECT_GT(number, 5);
            break;
        }

        EXPECT_EQ(lamp.log->Take(), NOTHING);
        EXPECT_EQ(lamp.UpdateAfter(50), SHOWS_OFF);
    }
}

TEST(Led, TriesAgainAtTheNextUpdateWhenThereIsNoMemoryToAdvance) {
    Lamp lamp;
    lamp.led->FlashingGreen(100);
    lamp.log->Take();
    lamp.clock.AdvanceMilliseconds(100);
    const std::shared_ptr<System::DateTime> moments[] = {System::DateTime::Now(),
                                                         System::DateTime::Now()}; // none to spare

    {
        const AllocationFailure failure(1);
        EXPECT_THROW(lamp.led->Update(), std::bad_alloc);
    }

    EXPECT_EQ(lamp.UpdateAfter(0), SHOWS_OFF);
    EXPECT_EQ(lamp.UpdateAfter(99), NOTHING);
    EXPECT_EQ(lamp.UpdateAfter(1), SHOWS_GREEN);
}

// SPDX-License-Identifier: Apache-2.0
// A long random walk of operations on LEDs of all kinds, compared with an independent model.
#include <velrix/gpio/Led.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <System/Collections/Generic/List.h>
#include <System/Exceptions.h>

#include "tests/support/CallLog.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakePin.h"
#include "tests/support/Share.h"

using System::Collections::Generic::List;
using TestSupport::CallLog;
using TestSupport::FakeClock;
using TestSupport::FakeOutputPin;
using TestSupport::Share;
using Velrix::Gpio::Led;
using Velrix::Gpio::LedColorProperty;

namespace {

using Step = std::shared_ptr<LedColorProperty>;

constexpr int STEP_COUNT = 120'000;
constexpr unsigned SEED = 20'261'121;

const char* const COLOR_NAMES[] = {"green", "red", "yellow"};
constexpr int GREEN = 0;
constexpr int RED = 1;
constexpr int YELLOW = 2;

// The model's step: the code and the duration as bits, and the object if the test has it.
struct ModelStep {
    std::uint32_t code = 0;
    std::uint64_t duration = 0;
    const LedColorProperty* object = nullptr; // null: made by the driver
    bool isNull = false;
};

using ModelList = std::vector<ModelStep>;

// The model of an LED, in numbers. Every operation returns the expected pin writes, in the log's format, followed by
// the expected failure, if any: "green low, red low!NotSupported".
class LedModel final {
public:
    bool has[3] = {};
    bool fails[3] = {};
    ModelStep shown;
    std::shared_ptr<ModelList> list; // the running pattern
    int place = 0;
    long long began = 0; // in nanoseconds

    std::string Show(const ModelStep& step) {
        if (step.isNull)
            return "!ArgumentNull colorProperty";
        if (step.code > 3)
            return "!Exception " + std::to_string(step.code & 0xFFFF);
        const std::string written = Write(step.code == 1, step.code == 2, step.code == 3);
        if (written.find('!') == std::string::npos)
            shown = step;
        return written;
    }

    std::string Write(bool green, bool red, bool yellow) const {
        const bool levels[] = {green, red, yellow};
        std::string written;
        for (int color = 0; color < 3; ++color) {
            if (!has[color])
                continue;
            if (fails[color])
                return written + "!Exception " + COLOR_NAMES[color];
            written +=
                (written.empty() ? "" : ", ") + std::string(COLOR_NAMES[color]) + (levels[color] ? " high" : " low");
        }
        return written;
    }

    std::string Play(const std::shared_ptr<ModelList>& next, long long now) {
        if (!next)
            return "!ArgumentNull colorSequence";
        if (next->empty())
            return "!OutOfRange colorSequence->Count";
        list = next;
        place = 0;
        began = now;
        return Show((*list)[0]);
    }

    std::string Update(long long now) {
        if (!list)
            return "";
        if (shown.duration == 0) {
            list = nullptr;
            return "";
        }
        // Whole milliseconds; durations from 2^63 on are negative ones.
        const long long passed = (now - began) / 1'000'000;
        const long long needed = shown.duration <= LLONG_MAX ? static_cast<long long>(shown.duration)
                                                             : -static_cast<long long>(UINT64_MAX - shown.duration) - 1;
        if (passed < needed)
            return "";
        const int next = place + 1;
        place = next == static_cast<int>(list->size()) ? 0 : next;
        began = now;
        if (place >= static_cast<int>(list->size()))
            return "!OutOfRange index";
        return Show((*list)[static_cast<std::size_t>(place)]);
    }
};

// The driver's behaviour, in the same format.
template <class Operation>
std::string Observe(CallLog& log, Operation operation) {
    std::string failure;
    try {
        operation();
    } catch (const System::ArgumentNullException& exception) {
        failure = "!ArgumentNull " + exception.ParamName()->ToUtf8();
    } catch (const System::ArgumentOutOfRangeException& exception) {
        failure = "!OutOfRange " + exception.ParamName()->ToUtf8();
    } catch (const System::NotSupportedException& exception) {
        failure = "!NotSupported" + std::string(exception.what());
    } catch (const System::Exception& exception) {
        failure = "!Exception " + std::string(exception.what());
    }
    return log.Take() + failure;
}

class Walk final {
public:
    explicit Walk(unsigned seed) : random(seed) { Replace(); }

    void Step() {
        std::string expected;
        std::string observed;
        const int kind = Below(100);
        if (kind < 40) {
            what = "Update";
            expected = model.Update(now);
            observed = Observe(*log, [&] { led->Update(); });
        } else if (kind < 60) {
            MoveClock();
        } else if (kind < 68) {
            ShowSteady(expected, observed);
        } else if (kind < 76) {
            ShowPattern(expected, observed);
        } else if (kind < 82) {
            PlayList(expected, observed);
        } else if (kind < 90) {
            ChangeList();
        } else if (kind < 93) {
            const auto step = RandomStep();
            what = "SetColorProperty";
            expected = model.Show(step.model);
            observed = Observe(*log, [&] { led->SetColorProperty(step.object); });
        } else if (kind < 95) {
            const int levels = Below(8);
            what = "SetGreenRedYellow";
            expected = model.Write(levels & 1, levels & 2, levels & 4);
            observed = Observe(*log, [&] { led->SetGreenRedYellow(levels & 1, levels & 2, levels & 4); });
        } else if (kind < 99) {
            BreakOrMendAPin();
        } else {
            Replace();
        }

        ASSERT_EQ(observed, expected) << what;
        CompareStates();
    }

    int AdvancedSteps() const { return advancedSteps; }

private:
    struct BothSteps {
        ::Step object;
        ModelStep model;
    };

    int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
    template <class Value, std::size_t COUNT>
    Value OneOf(const Value (&values)[COUNT]) {
        return values[Below(static_cast<int>(COUNT))];
    }

    void MoveClock() {
        what = "clock";
        long long span = 0;
        switch (Below(10)) {
        case 0:
            span = OneOf({-1'000'000'000LL, -1LL, -999'999LL, -86'400'000'000'000LL});
            break;
        case 1:
            span = OneOf({86'400'000'000'000LL, 1LL, 999'999LL, 10'000'000'000LL});
            break;
        case 2:
            span = OneOf({1'000'000LL, 10'000'000LL, 500'000'000LL, 499'999'999LL});
            break;
        default:
            span = Below(300) * 1'000'000LL + Below(1'000'000);
        }
        now += span;
        clock.AdvanceNanoseconds(span);
    }

    void ShowSteady(std::string& expected, std::string& observed) {
        const int color = Below(4) - 1; // -1: off
        what = color < 0 ? "Off" : COLOR_NAMES[color];
        ModelStep step;
        step.code = static_cast<std::uint32_t>(color + 1);
        expected = color >= 0 && !model.has[color] ? "!NotSupported" : model.Show(step);
        observed = Observe(*log, [&] {
            switch (color) {
            case GREEN:
                return led->Green();
            case RED:
                return led->Red();
            case YELLOW:
                return led->Yellow();
            default:
                return led->Off();
            }
        });
    }

    void ShowPattern(std::string& expected, std::string& observed) {
        struct Pattern {
            void (Led::*operation)(long long);
            int first;
            int second; // -1: off
        };
        static constexpr Pattern PATTERNS[] = {
            {&Led::FlashingGreen, GREEN, -1},         {&Led::FlashingRed, RED, -1},
            {&Led::FlashingYellow, YELLOW, -1},       {&Led::ToggleGreenRed, GREEN, RED},
            {&Led::ToggleGreenYellow, GREEN, YELLOW}, {&Led::ToggleYellowRed, YELLOW, RED},
        };
        const Pattern pattern = OneOf(PATTERNS);
        const long long duration = OneOf({0LL, 1LL, 10LL, 100LL, 250LL, 500LL, -1LL, -250LL, LLONG_MIN, LLONG_MAX});
        what = "pattern";
        if (!model.has[pattern.first] || (pattern.second >= 0 && !model.has[pattern.second])) {
            expected = "!NotSupported";
        } else {
            ModelStep steps[2];
            steps[0].code = static_cast<std::uint32_t>(pattern.first + 1);
            steps[1].code = static_cast<std::uint32_t>(pattern.second + 1);
            steps[0].duration = steps[1].duration = static_cast<std::uint64_t>(duration);
            expected = model.Play(std::make_shared<ModelList>(std::begin(steps), std::end(steps)), now);
        }
        observed = Observe(*log, [&] { (*led.*pattern.operation)(duration); });
    }

    BothSteps RandomStep() {
        BothSteps step;
        if (Below(20) == 0) {
            step.model.isNull = true;
            return step;
        }
        step.model.code = Below(8) != 0 ? static_cast<std::uint32_t>(Below(4))
                                        : OneOf({4u, 7u, 0x10001u, 0xFFFFu, 0x12345678u, 0xFFFFFFFFu});
        step.model.duration = OneOf<std::uint64_t>({0, 1, 10, 50, 100, 100, 250, 500, 1000, UINT64_MAX, UINT64_MAX - 99,
                                                    std::uint64_t{1} << 63, (std::uint64_t{1} << 63) - 1});
        step.object =
            LedColorProperty::Create(static_cast<LedColorProperty::Color_e>(step.model.code), step.model.duration);
        step.model.object = step.object.get();
        kept.push_back(step.object);
        return step;
    }

    void PlayList(std::string& expected, std::string& observed) {
        what = "SetSequence";
        if (Below(10) == 0) {
            expected = model.Play(nullptr, now);
            observed = Observe(*log, [&] { led->SetSequence(nullptr); });
            return;
        }
        if (!ownList || Below(4) != 0) { // otherwise reuses the last one in its current state
            ownList = List<::Step>::Create();
            ownModel = std::make_shared<ModelList>();
            for (int count = Below(5); count > 0; --count)
                Insert(ownList->Count());
        }
        expected = model.Play(ownModel, now);
        observed = Observe(*log, [&] { led->SetSequence(ownList); });
    }

    void ChangeList() {
        what = "list";
        if (!ownList)
            return;
        const int count = ownList->Count();
        const int kind = Below(20);
        if (kind == 0) {
            ownList->Clear();
            ownModel->clear();
        } else if (kind < 9 || count == 0) {
            if (count < 8)
                Insert(Below(count + 1));
        } else if (kind < 15) {
            const int index = Below(count);
            ownList->RemoveAt(index);
            ownModel->erase(ownModel->begin() + index);
        } else {
            const int index = Below(count);
            const auto step = RandomStep();
            (*ownList)[index] = step.object;
            (*ownModel)[static_cast<std::size_t>(index)] = step.model;
        }
    }

    void Insert(int index) {
        const auto step = RandomStep();
        ownList->Insert(index, step.object);
        ownModel->insert(ownModel->begin() + index, step.model);
    }

    void BreakOrMendAPin() {
        what = "pins";
        for (int color = 0; color < 3; ++color) {
            const bool fails = Below(6) == 0;
            model.fails[color] = fails;
            if (pins[color])
                pins[color]->Fails = fails;
        }
    }

    // A new LED with other pins. If a pin fails there is no LED, and a second attempt with working pins must succeed.
    void Replace() {
        what = "Create";
        for (bool sound : {false, true}) {
            LedModel fresh;
            std::shared_ptr<FakeOutputPin> freshPins[3];
            for (int color = 0; color < 3; ++color) {
                fresh.has[color] = Below(4) != 0;
                fresh.fails[color] = !sound && Below(10) == 0;
                if (fresh.has[color]) {
                    freshPins[color] = FakeOutputPin::Create(COLOR_NAMES[color], log);
                    freshPins[color]->Fails = fresh.fails[color];
                }
            }
            const std::string expected = fresh.Show(ModelStep());
            std::shared_ptr<Led> made;
            const std::string observed =
                Observe(*log, [&] { made = Led::Create("LED", freshPins[GREEN], freshPins[RED], freshPins[YELLOW]); });
            ASSERT_EQ(observed, expected) << what;
            if (!made)
                continue;
            led = made;
            model = fresh;
            std::copy(std::begin(freshPins), std::end(freshPins), std::begin(pins));
            ownList = nullptr;
            ownModel = nullptr;
            kept.clear();
            return;
        }
    }

    void CompareStates() {
        const auto shown = led->GetColorProperty();
        ASSERT_EQ(static_cast<std::uint32_t>(shown->Color), model.shown.code) << what;
        ASSERT_EQ(shown->Duration, model.shown.duration) << what;
        if (model.shown.object) {
            ASSERT_EQ(shown.get(), model.shown.object) << what;
        }
        advancedSteps += model.list && model.place > 0 ? 1 : 0;
    }

    std::mt19937 random;
    FakeClock clock;
    long long now = 0; // since the clock's start
    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::shared_ptr<FakeOutputPin> pins[3];
    std::shared_ptr<Led> led;
    LedModel model;
    std::shared_ptr<List<::Step>> ownList; // the list that the test made last, and the model's copy of it
    std::shared_ptr<ModelList> ownModel;
    std::vector<::Step> kept; // so that steps never share an address
    const char* what = "";
    int advancedSteps = 0;
};

} // namespace

TEST(LedRandomWalk, AgreesWithAModel) {
    Walk walk(SEED);
    const int count = STEP_COUNT / Share();

    for (int step = 0; step < count; ++step) {
        ASSERT_NO_FATAL_FAILURE(walk.Step()) << "step " << step << " of the walk with seed " << SEED;
        if (testing::Test::HasFailure())
            FAIL() << "step " << step << " of the walk with seed " << SEED;
    }

    EXPECT_GT(walk.AdvancedSteps(), count / 100); // the walk exercised running patterns
}

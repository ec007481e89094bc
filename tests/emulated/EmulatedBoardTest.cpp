// SPDX-License-Identifier: Apache-2.0
//
// Programs on the emulated board, judged by what its GPIO controller saw. The machine boots once and runs them all; so
// this is one program that wants to run whole.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/emulated/Machine.h"
#include "board/model/BoardState.h"
#include "board/model/OxboModule.h"
#include "board/timeline/Difference.h"
#include "board/timeline/Timeline.h"
#include "board/timeline/VcdReader.h"
#include "tests/emulated/ArmTestPrograms.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace VelrixBoard;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

// Runs the programs that it is called with, two at a time, and leaves what they said in files. For each, its exit code,
// how many of its cases passed, and how many it has, go into a pipe at the end, where someone may wait for them.
constexpr const char* RUN_SUITES = R"(
mkfifo /tmp/suites.done
(
    export VELRIX_TEST_SHARE=100
    printf '%s\n' "$@" | xargs -n 1 -P 2 sh -c '
        log=/tmp/${2##*/}.log
        "$1" behind "$2" --gtest_brief=1 < /dev/null > "$log" 2>&1
        code=$?
        passed=$(sed -n "s/^.  PASSED  . \([0-9]*\) tests*\.$/\1/p" "$log")
        echo "$code ${passed:-0} $("$2" --gtest_list_tests | grep -c "^  ") $2" >> /tmp/suites
    ' sh "$0"
    sort -k 4 /tmp/suites > /tmp/suites.done
) > /dev/null 2>&1 &)";

// How a program ran, and what the board's signals did meanwhile.
struct Recording final : public BoardObserver {
    struct Event {
        std::string name;
        bool level;
        microseconds time;
    };

    explicit Recording(const BoardModel& model) : state(model) { state.Add(*this); }

    void OnChange(std::size_t signal, bool level, BoardTime time) override {
        events.push_back({state.Name(signal), level, std::chrono::duration_cast<microseconds>(time)});
        if (changed)
            changed(events.back());
    }

    void OnSettled(BoardTime time) override {
        if (settled)
            settled(time);
    }

    // "MS.green 1, OXBO_RL 0": all changes of the signals whose names begin so, in their order.
    std::string Order(const std::vector<std::string>& prefixes = {""}) const {
        std::string text;
        for (const Event& event : events)
            if (std::any_of(prefixes.begin(), prefixes.end(), [&](const auto& p) { return event.name.starts_with(p); }))
                text += (text.empty() ? "" : ", ") + event.name + (event.level ? " 1" : " 0");
        return text;
    }

    // When each change of the signal was.
    std::vector<microseconds> Times(const std::string& name) const {
        std::vector<microseconds> times;
        for (const Event& event : events)
            if (event.name == name)
                times.push_back(event.time);
        return times;
    }

    // All of it as a recording; every signal began low but those that the board has high.
    Timeline AsTimeline(const BoardState& before) const {
        Timeline timeline;
        for (std::size_t i = 0; i < state.Count(); ++i) {
            timeline.signals.push_back({SignalName(state.Name(i)), before.Level(i), {}});
            for (const Event& event : events)
                if (event.name == state.Name(i))
                    timeline.signals.back().changes.push_back({event.time, event.level});
        }
        timeline.end = events.empty() ? microseconds(0) : events.back().time;
        return timeline;
    }

    // The signals that are high, in the board's order.
    std::string High() const {
        std::string text;
        for (std::size_t i = 0; i < state.Count(); ++i)
            if (state.Level(i) && !state.IsInput(i))
                text += (text.empty() ? "" : ", ") + state.Name(i);
        return text;
    }

    BoardState state;
    std::vector<Event> events;
    std::function<void(const Event&)> changed; // before the module hears of it
    std::function<void(BoardTime)> settled;
    std::string output;
    std::string errors;
    MachineResult result;
};

// The program reads its clock, then writes; the host may take the processor away in between, so that the first of two
// writes is late and the interval short. Longer than this it hardly ever does.
constexpr microseconds LATE = milliseconds(20);

// The one machine of all tests.
class EmulatedBoard : public testing::Test {
protected:
    static void SetUpTestSuite() {
        CpioArchive files;
        scenes = ArmTestPrograms::Path("tests/emulated/board-scenes");
        gateway = ArmTestPrograms::Path("examples/gateway/gateway");
        probe = ArmTestPrograms::Path("tests/emulated/value-file-probe");
        suitePrograms = ArmTestPrograms::OtherPrograms();
        for (const std::string& program : suitePrograms)
            ArmTestPrograms::Add(files, program);
        ArmTestPrograms::Add(files, scenes);
        ArmTestPrograms::Add(files, probe);
        ArmTestPrograms::AddWhatTestsNeed(files);
        ArmTestPrograms::AddToolsOfOtherPrograms(files);
        const std::filesystem::path image = ArmTestPrograms::ImageFolder();
        lines.emplace(image / "lines.txt", Model());
        machine = std::make_unique<Machine>(image, files);
        machine->AwaitReady();
    }

    // The suites run behind the scenes on what these leave of the machine's two processors; a scene mostly waits. Each
    // test's program runs whole, but of long repetitions a share.
    static void StartSuites() {
        if (std::exchange(suitesRun, true))
            return;
        std::vector<std::string> words = {"sh", "-c", RUN_SUITES, scenes};
        words.insert(words.end(), suitePrograms.begin(), suitePrograms.end());
        EXPECT_EQ(Play(words)->result.exitCode, 0);
    }

    static void TearDownTestSuite() { machine.reset(); }

    // Runs a program with a module that is ready so long after its reset.
    static std::unique_ptr<Recording> Play(const std::vector<std::string>& words,
                                           std::optional<milliseconds> readyAfter = milliseconds(40),
                                           const std::function<void(Recording&)>& prepare = {}) {
        auto run = std::make_unique<Recording>(Model());
        OxboModule module(run->state, readyAfter, [](std::size_t s, bool level) { machine->DriveInput(s, level); });
        run->state.Add(module);
        MachineProgram program;
        program.words = words;
        program.parts = {&module};
        program.limit = seconds(400);
        program.output = [&run](std::string_view text) { run->output += text; };
        program.errors = [&run](std::string_view text) { run->errors += text; };
        if (prepare)
            prepare(*run);
        run->result = machine->Run(program, run->state, *lines);
        return run;
    }

    static std::unique_ptr<Recording> Scene(std::vector<std::string> words,
                                            std::optional<milliseconds> readyAfter = milliseconds(40)) {
        words.insert(words.begin(), scenes);
        auto run = Play(words, readyAfter);
        EXPECT_EQ(run->result.exitCode, 0) << run->errors;
        EXPECT_EQ(run->errors, "");
        return run;
    }

    // A reset of the module, which hears of each of its line's changes 20 ms late.
    static std::unique_ptr<Recording> LateScene() {
        return Play({scenes, "reset", "5000"}, milliseconds(300), [](Recording& recording) {
            recording.changed = [](const Recording::Event& event) {
                const auto end = std::chrono::steady_clock::now() + milliseconds(20);
                while (event.name == "OXBO_RESET1_N" && std::chrono::steady_clock::now() < end)
                    continue;
            };
        });
    }

    // The gateway on this board and at the same time on a virtual one, each told to end in the last of its states: when
    // it has shown green after the red of a lost connection, for longer than what is taken for a glitch.
    struct GatewayRuns {
        std::unique_ptr<Recording> here;
        TestSupport::BoardResult there;
        Timeline recordedThere;
    };

    class LastState final {
    public:
        // From changes of the network status LED, and any clock.
        bool Lasts(std::size_t changesOfRed, std::size_t changesOfGreen, microseconds now) {
            if (changesOfRed < 4 || changesOfGreen % 2 == 0)
                return false;
            begin = begin.value_or(now);
            return now - *begin >= 5 * LATE;
        }

    private:
        std::optional<microseconds> begin;
    };

    static TestSupport::BoardResult PlayGatewayOnVirtualBoard(const std::string& timeline) {
        TestSupport::PrivateBoard board;
        board.AddOption("--timeline", timeline);
        board.Start({GATEWAY});
        TestSupport::PrivateBoard::WaitFor([&board, state = LastState()]() mutable {
            std::istringstream changes(board.Changes());
            std::size_t red = 0, green = 0;
            for (std::string line; std::getline(changes, line);) {
                red += line.starts_with("NS.red ") ? 1 : 0;
                green += line.starts_with("NS.green ") ? 1 : 0;
            }
            const auto now = std::chrono::steady_clock::now().time_since_epoch();
            return state.Lasts(red, green, std::chrono::duration_cast<microseconds>(now));
        });
        board.Signal(SIGTERM);
        return board.Wait();
    }

    static GatewayRuns PlayGateways() {
        const TestSupport::TemporaryFolder folder;
        const std::string timeline = folder.Path("virtual.vcd");
        auto there = std::async(std::launch::async, PlayGatewayOnVirtualBoard, timeline);
        auto here = Play({gateway}, milliseconds(40), [](Recording& running) {
            running.settled = [&running, state = LastState(), sent = false](BoardTime time) mutable {
                const auto now = std::chrono::duration_cast<microseconds>(time);
                if (!sent && state.Lasts(running.Times("NS.red").size(), running.Times("NS.green").size(), now)) {
                    sent = true;
                    machine->Signal("TERM");
                }
            };
        });
        auto result = there.get();
        return {std::move(here), std::move(result), ReadVcd(timeline)};
    }

    // Played once, for all who look at them.
    static const GatewayRuns& Gateways() {
        static const GatewayRuns runs = PlayGateways();
        return runs;
    }

    static const BoardModel& Model() {
        static const BoardModel model;
        return model;
    }

    static inline std::optional<GpioLines> lines;
    static inline std::unique_ptr<Machine> machine;
    static inline std::string scenes;
    static inline std::string gateway;
    static inline std::string probe;
    static inline std::vector<std::string> suitePrograms;
    static inline bool suitesRun = false;
};

// How much longer than asked a step may last here: the loops turn every few milliseconds, and the host is busy.
constexpr microseconds SLOW = milliseconds(400);

void ExpectIntervals(const std::vector<microseconds>& times, microseconds least) {
    ASSERT_GE(times.size(), 2U);
    for (std::size_t i = 1; i < times.size(); ++i) {
        EXPECT_GE((times[i] - times[i - 1]).count(), (least - LATE).count())
            << "between changes " << i - 1 << " and " << i;
        EXPECT_LE((times[i] - times[i - 1]).count(), (least + SLOW).count())
            << "between changes " << i - 1 << " and " << i;
    }
}

// The scene of a module that needs 300 ms after its reset.
void ExpectTheModuleIsAwaited(const Recording& run) {
    // The ram-loader line stands before reset is released, and the module answers to the release alone.
    EXPECT_EQ(run.Order({"OXBO", "QOR"}), "OXBO_RESET1_N 1, OXBO_IRQ_N 0, OXBO_RESET1_N 0, OXBO_IRQ_N 1, OXBO_RL 1, "
                                          "OXBO_RESET1_N 1, OXBO_IRQ_N 0");
    const auto reset = run.Times("OXBO_RESET1_N");
    const auto irq = run.Times("OXBO_IRQ_N");
    const auto loader = run.Times("OXBO_RL");
    ASSERT_EQ(reset.size(), 3U);
    ASSERT_EQ(irq.size(), 3U);
    ASSERT_EQ(loader.size(), 1U);
    EXPECT_GE((reset[2] - reset[1]).count(), 1000);
    EXPECT_GE((reset[2] - loader[0]).count(), 1000);
    EXPECT_GE((irq[2] - reset[2]).count(), microseconds(milliseconds(300)).count());

    int milliseconds1 = 0;
    int milliseconds2 = 0;
    ASSERT_EQ(std::sscanf(run.output.c_str(), "ready %d ready %d", &milliseconds1, &milliseconds2), 2) << run.output;
    EXPECT_GE(milliseconds1, 290);
    EXPECT_LE(milliseconds1, 5000);
    EXPECT_GE(milliseconds2, 290);
    EXPECT_LE(milliseconds2, 5000);
}

// First of all: the emulator takes seconds longer to restart a machine that has run much code. The suites start in the
// new life.
TEST_F(EmulatedBoard, RestartsTheMachine) {
    const auto life = Play({"cat", "/proc/sys/kernel/random/boot_id"});

    const auto run = Play({scenes, "reboot"});

    EXPECT_EQ(run->result.why, MachineResult::Why::RESTARTED);
    EXPECT_TRUE(run->Order().starts_with("MS.green 1, NS.green 1")) << run->Order();
    const auto next = Play({"cat", "/proc/sys/kernel/random/boot_id"});
    EXPECT_EQ(next->result.exitCode, 0);
    EXPECT_EQ(next->output.size(), life->output.size());
    EXPECT_NE(next->output, life->output);
    ExpectTheModuleIsAwaited(*LateScene());
    StartSuites();
}

TEST_F(EmulatedBoard, LightsEveryColourInThePowerUpTest) {
    const auto run = Scene({"power-up"});

    // Each LED's own order; LEDs among one another change in the order in which they are updated.
    EXPECT_EQ(run->Order({"MS"}), "MS.green 1, MS.green 0, MS.red 1, MS.green 1, MS.red 0, MS.green 0");
    EXPECT_EQ(run->Order({"NS"}), "NS.green 1, NS.green 0, NS.red 1, NS.red 0");
    EXPECT_EQ(run->Order({"LINK_ACT1"}),
              "LINK_ACT1.green 1, LINK_ACT1.green 0, LINK_ACT1.yellow 1, LINK_ACT1.yellow 0");
    EXPECT_EQ(run->Order({"LINK_ACT2"}),
              "LINK_ACT2.green 1, LINK_ACT2.green 0, LINK_ACT2.yellow 1, LINK_ACT2.yellow 0");
    EXPECT_TRUE(run->Order().starts_with("MS.green 1, NS.green 1, LINK_ACT1.green 1, LINK_ACT2.green 1, MS.green 0"))
        << run->Order();
    for (const char* green : {"NS.green", "LINK_ACT1.green", "LINK_ACT2.green"})
        ExpectIntervals(run->Times(green), milliseconds(250));
    for (const char* second : {"MS.red", "NS.red", "LINK_ACT1.yellow", "LINK_ACT2.yellow"})
        ExpectIntervals(run->Times(second), milliseconds(250));

    // The module status LED stays green until the end of the process switches it off.
    const auto green = run->Times("MS.green");
    ASSERT_EQ(green.size(), 4U);
    EXPECT_GE((green[3] - green[2]).count(), (milliseconds(300) - LATE).count());
}

struct Pair {
    const char* ms;
    const char* msOrder; // of one and a half periods
    const char* ns;
    const char* nsOrder;
};
constexpr Pair FLASHING[] = {
    {"SetMsEnLedMissingConfiguration", "MS.green 1, MS.green 0, MS.red 1, MS.green 1, MS.red 0", "SetNsLedNoConnection",
     "NS.green 1, NS.green 0, NS.green 1"},
    {"SetMsEnLedIdle", "MS.green 1, MS.green 0, MS.green 1", //
     "SetNsLedTimeout", "NS.red 1, NS.red 0, NS.red 1"},
    {"SetMsEnLedInvalidConfiguration", "MS.red 1, MS.red 0, MS.red 1", //
     "SetNsLedConnectionEstablished", "NS.green 1"},
};

TEST_F(EmulatedBoard, FlashesWithHalvesOf500Ms) {
    for (const Pair& pair : FLASHING) {
        SCOPED_TRACE(pair.ms);
        const auto run = Scene({"indications", "1250", pair.ms, pair.ns});

        EXPECT_EQ(run->Order({"MS"}), pair.msOrder);
        EXPECT_EQ(run->Order({"NS"}), pair.nsOrder);
        EXPECT_EQ(run->Order({"LINK"}), "");
        for (const char* element : {"MS.green", "MS.red", "NS.green", "NS.red"})
            if (run->Times(element).size() > 1)
                ExpectIntervals(run->Times(element), milliseconds(500));
    }
}

constexpr Pair STEADY[] = {
    {"SetMsEnLedRunning", "MS.green 1", "SetNsLedFatalError", "NS.red 1"},
    {"SetMsEnLedFatalError", "MS.red 1", "SetNsLedPowerOff", ""},
    {"SetMsEnLedPowerOff", "", "SetNsLedConnectionEstablished", "NS.green 1"},
};

TEST_F(EmulatedBoard, KeepsSteadyIndicationsSteady) {
    for (const Pair& pair : STEADY) {
        SCOPED_TRACE(pair.ms);
        const auto run = Scene({"indications", "600", pair.ms, pair.ns});

        EXPECT_EQ(run->Order({"MS"}), pair.msOrder);
        EXPECT_EQ(run->Order({"NS"}), pair.nsOrder);
    }
}

TEST_F(EmulatedBoard, ResetsTheModuleAndWaitsUntilItIsReady) {
    ExpectTheModuleIsAwaited(*Scene({"reset", "5000"}, milliseconds(300)));
}

// The program holds the reset for a millisecond. The module answers at once, as far as the program can tell, even when
// the host gets round to it much later.
TEST_F(EmulatedBoard, LetsTheModuleReactInTimeHoweverBusyTheHostIs) {
    const auto run = LateScene();

    EXPECT_EQ(run->result.exitCode, 0) << run->errors;
    ExpectTheModuleIsAwaited(*run);
}

TEST_F(EmulatedBoard, ReturnsAtOnceFromAResetThatDoesNotWait) {
    const auto run = Scene({"reset", "0"}, std::nullopt);

    EXPECT_EQ(run->Order(), "OXBO_RESET1_N 1, OXBO_RESET1_N 0, OXBO_RL 1, OXBO_RESET1_N 1");
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(run->output.c_str(), "ready %d ready %d", &first, &second), 2) << run->output;
    EXPECT_LE(second, 400);
}

TEST_F(EmulatedBoard, GivesUpOnAModuleThatIsNotReadyInTime) {
    const auto run = Scene({"reset", "200"}, std::nullopt);

    EXPECT_EQ(run->Order(), "OXBO_RESET1_N 1, OXBO_RESET1_N 0, OXBO_RL 1, OXBO_RESET1_N 1");
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(run->output.c_str(), "timeout %d timeout %d", &first, &second), 2) << run->output;
    EXPECT_GE(first, 200);
    EXPECT_LE(first, 1200);
}

struct Ending {
    const char* event;
    const char* way;
    const char* leds; // from the event on
    const char* high;
};
// The ram-loader line stays as it is, both resets are held.
constexpr Ending ENDINGS[] = {
    {"normal", "shutdown", "", "OXBO_RL"},
    {"normal", "exit", "", "OXBO_RL"},
    {"fatal", "shutdown", "MS.red 1", "OXBO_RL, MS.red, NS.red"},
    {"fatal", "exit", "MS.red 1", "OXBO_RL, MS.red, NS.red"},
};

TEST_F(EmulatedBoard, LeavesTheFinalStateHoweverTheProcessEnds) {
    for (const Ending& ending : ENDINGS) {
        SCOPED_TRACE(std::string(ending.event) + " " + ending.way);
        const auto run = Scene({"end", ending.event, ending.way});

        EXPECT_EQ(run->High(), ending.high);
        EXPECT_EQ(run->Order({"OXBO_R"}), "OXBO_RL 1, OXBO_RESET1_N 1, OXBO_RESET1_N 0");
        // The module is put into reset before the LEDs say so, unless a fatal event was quicker.
        const std::string order = run->Order({"OXBO_RESET", "MS"});
        EXPECT_EQ(order, std::string(ending.event) == "fatal"
                             ? "OXBO_RESET1_N 1, MS.green 1, MS.green 0, MS.red 1, OXBO_RESET1_N 0"
                             : "OXBO_RESET1_N 1, MS.green 1, OXBO_RESET1_N 0, MS.green 0");
    }
}

TEST_F(EmulatedBoard, RunsTheGatewayFromStartToSigterm) {
    const auto& run = Gateways().here;

    EXPECT_EQ(run->result.exitCode, 0) << run->errors;
    EXPECT_EQ(run->errors, "");
    EXPECT_EQ(run->Order({"OXBO"}), "OXBO_RESET1_N 1, OXBO_IRQ_N 0, OXBO_RESET1_N 0, OXBO_IRQ_N 1");
    EXPECT_EQ(run->High(), "");
    const std::string order = run->Order({"MS", "OXBO_RESET"});
    EXPECT_TRUE(order.starts_with("MS.green 1, MS.green 0, MS.red 1, MS.green 1, MS.red 0, OXBO_RESET1_N 1")) << order;
    EXPECT_TRUE(order.ends_with("MS.green 1, OXBO_RESET1_N 0, MS.green 0")) << order;
    EXPECT_TRUE(run->Order({"NS"}).ends_with(", NS.green 0")) << run->Order({"NS"});

    const auto log = Play({"cat", "/mnt/share/logger"});
    EXPECT_NE(log->output.find("Connection established"), std::string::npos) << log->output;
    const auto trace = Play({"cat", "/var/log/apps/gateway.log"});
    EXPECT_NE(trace->output.find("Shutting down gateway"), std::string::npos) << trace->output;
}

TEST_F(EmulatedBoard, GoesOnAfterAProgramThatSignalsItsGroup) {
    EXPECT_EQ(Play({"sh", "-c", "kill -TERM 0; exit 3"})->result.exitCode, 143);
    EXPECT_EQ(Play({"true"})->result.exitCode, 0);
}

TEST_F(EmulatedBoard, NamesAProgramThatIsNotThere) {
    const auto missing = Play({"-no-such-program"});
    EXPECT_EQ(missing->result.exitCode, 127);
    EXPECT_EQ(missing->errors,
              "velrix-emulator: -no-such-program is neither a file here nor a command of the machine\n");
}

TEST_F(EmulatedBoard, ShowsTheGatewaysFatalEnd) {
    const auto run = Play({gateway}, std::nullopt);

    EXPECT_EQ(run->result.exitCode, 1);
    EXPECT_NE(run->errors.find("did not become ready"), std::string::npos) << run->errors;
    EXPECT_EQ(run->High(), "MS.red, NS.red");
}

// What runs on a workstation must run here, so the virtual board may be no kinder than the kernel.
TEST_F(EmulatedBoard, AnswersEveryUseOfAValueFileAsTheVirtualBoardDoes) {
    const auto here = Play({probe});
    const auto there = TestSupport::PrivateBoard().Run({VALUE_FILE_PROBE});

    EXPECT_EQ(here->result.exitCode, 0) << here->errors;
    EXPECT_EQ(there.exitCode, 0) << there.errors;
    EXPECT_NE(here->output.find("\ninput\n"), std::string::npos) << here->output;
    EXPECT_EQ(here->output, there.output);
}

TEST_F(EmulatedBoard, ShowsOfTheGatewayWhatTheVirtualBoardShows) {
    const auto& [here, there, recorded] = Gateways();

    EXPECT_EQ(there.exitCode, 0) << there.errors;
    ASSERT_NE(recorded.Find("MS_green"), nullptr);
    EXPECT_GT(recorded.Find("MS_green")->changes.size(), 6U);
    DifferenceOptions options;
    options.tolerance = SLOW;
    options.glitch = LATE;
    options.fromFirstChange = true;
    EXPECT_EQ(Difference(recorded, here->AsTimeline(BoardState(Model())), options), std::vector<std::string>());
}

TEST_F(EmulatedBoard, SendsEventsToTheSystemLogDaemon) {
    const auto run = Play({ArmTestPrograms::Path("tests/logging/app1")});

    EXPECT_EQ(run->result.exitCode, 0) << run->errors;
    const auto log = Play({"grep", "app1", "/var/log/messages"});
    std::istringstream records(log->output);
    std::string events;
    for (std::string line; std::getline(records, line);) // "Nov 21 08:15:30 board local1.info app1[123]: information"
        events += line.substr(line.find("board ") + 6, line.find(" app1[") - line.find("board ") - 6) +
                  line.substr(line.find("]: ") + 2) + "\n";
    EXPECT_EQ(events, "local1.info information\nlocal1.warn warning\nlocal1.err error\nlocal0.crit fatal\n"
                      "local1.crit fatal\n");
    const auto file = Play({"grep", "-c", "app1\\[", "/var/log/apps/app1.log"});
    EXPECT_EQ(file->output, "5\n");
}

TEST_F(EmulatedBoard, KnowsWhoItIs) {
    // An /etc of its own, since tests that run meanwhile have to find none of these files.
    const auto run = Play({"unshare", "-m", "sh", "-c",
                           "mount -t tmpfs identity /etc && cd /etc && printf 1a2b > serialnumber.product &&"
                           "printf v2.1.0 > version.product && printf 'mainboard 3.0.1' > hwrevision && exec $0",
                           ArmTestPrograms::Path("tests/identity/identity-scene")});

    EXPECT_EQ(run->result.exitCode, 0) << run->errors;
    EXPECT_EQ(run->output, "ProductInfo[SerialNumber=1a2b, version=2.1.0]\n"
                           "HardwareInfo[name=mainboard, version=3.0.1]\n");
}

TEST_F(EmulatedBoard, PassesTheSuitesOnTheRealKernel) {
    ASSERT_FALSE(suitePrograms.empty());
    StartSuites();

    const auto suites = Play({"timeout", "300", "cat", "/tmp/suites.done"});

    EXPECT_EQ(suites->result.exitCode, 0) << suites->errors;
    std::istringstream verdicts(suites->output);
    std::vector<std::string> ended;
    std::string program;
    for (int code = 0, passed = 0, cases = 0; verdicts >> code >> passed >> cases >> program;) {
        ended.push_back(program);
        EXPECT_EQ(code, 0) << program;
        EXPECT_GT(cases, 0) << program;
        // A case that is skipped has not passed.
        EXPECT_EQ(passed, cases) << program;
    }
    EXPECT_EQ(ended, suitePrograms);
    if (HasFailure())
        std::cout << Play({"sh", "-c", "cat /tmp/*-tests.log"})->output;
}

// Milliseconds; a clock of 31 bits of seconds overflows 200 ms later. After the suites, some of which read the clock
// too.
constexpr const char* BEFORE_2038 = "2147483647800";

TEST_F(EmulatedBoard, GoesOnPast2038) {
    const auto flashing = Scene({"at", BEFORE_2038, "indications", "1250", "SetMsEnLedIdle", "SetNsLedTimeout"});
    EXPECT_EQ(flashing->Order({"MS"}), "MS.green 1, MS.green 0, MS.green 1");
    EXPECT_EQ(flashing->Order({"NS"}), "NS.red 1, NS.red 0, NS.red 1");
    ExpectIntervals(flashing->Times("MS.green"), milliseconds(500));

    const auto waiting = Scene({"at", BEFORE_2038, "reset", "400"}, std::nullopt);
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(waiting->output.c_str(), "timeout %d timeout %d", &first, &second), 2) << waiting->output;
    EXPECT_GE(first, 400);
    EXPECT_LE(first, 1400);

    const auto record = Scene({"at", "4102444800042", "trace", "/tmp/late.log"});
    EXPECT_TRUE(record->output.starts_with("2100-01-01T00:00:0")) << record->output;
}

} // namespace

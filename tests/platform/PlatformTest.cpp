// SPDX-License-Identifier: Apache-2.0
//
// Platform has no seam: it opens the files of the device. Each case therefore runs the program platform-scenes on a
// private board and checks its calls in order, and the board's files afterwards.
#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velrix/platform/Platform.h>

#include "tests/support/PrivateBoard.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// The parts of the board in order of construction; an LED with its elements, "null" for a missing colour.
struct LedWiring {
    std::string name, green, red, yellow;
};
const std::vector<std::string> LINES = {"OXBO_IRQ_N",       "OXBO_MOD_ID0_SYNC", "OXBO_MOD_1",
                                        "OXBO_RL",          "OXBO_RESET1_N",     "QOR_BL_N",
                                        "QOR_DPRAM_BUSY_N", "QOR_DPRAM_IRQ_N",   "QOR_RESET0_N"};
const std::vector<LedWiring> LEDS = {{"LINK_ACT1", "LINK_ACT1.green", "null", "LINK_ACT1.yellow"},
                                     {"LINK_ACT2", "LINK_ACT2.green", "null", "LINK_ACT2.yellow"},
                                     {"MS", "MS.green", "MS.red", "null"},
                                     {"NS", "NS.green", "NS.red", "null"}};

const struct {
    const char* name;
    const char* path;
} FILES[] = {
    {"OXBO_IRQ_N", "/var/dev/gpio-inputs/oxboIrqN/value"},
    {"OXBO_MOD_ID0_SYNC", "/var/dev/gpio-inputs/oxboModId0Sync/value"},
    {"OXBO_MOD_1", "/var/dev/gpio-inputs/oxboMod1/value"},
    {"OXBO_RL", "/var/dev/gpio-outputs/oxboRamLoaderEnable/value"},
    {"OXBO_RESET1_N", "/var/dev/gpio-outputs/oxboResetN/value"},
    {"QOR_BL_N", "/var/dev/gpio-outputs/qorBootloaderEnableN/value"},
    {"QOR_DPRAM_BUSY_N", "/var/dev/gpio-inputs/qorDpramBusyN/value"},
    {"QOR_DPRAM_IRQ_N", "/var/dev/gpio-inputs/qorDpramIrqN/value"},
    {"QOR_RESET0_N", "/var/dev/gpio-outputs/qorResetN/value"},
    {"LINK_ACT1.green", "/sys/class/leds/ledLinkAct1Grn/brightness"},
    {"LINK_ACT1.yellow", "/sys/class/leds/ledLinkAct1Yel/brightness"},
    {"LINK_ACT2.green", "/sys/class/leds/ledLinkAct2Grn/brightness"},
    {"LINK_ACT2.yellow", "/sys/class/leds/ledLinkAct2Yel/brightness"},
    {"MS.green", "/sys/class/leds/ledGwStsGrn/brightness"},
    {"MS.red", "/sys/class/leds/ledGwStsRed/brightness"},
    {"NS.green", "/sys/class/leds/ledEthStsGrn/brightness"},
    {"NS.red", "/sys/class/leds/ledEthStsRed/brightness"},
};

// The calls that show a colour on an LED: " MS.green=1 MS.red=0 null=0".
std::string Show(const LedWiring& led, const std::string& color) {
    return " " + led.green + (color == "green" ? "=1 " : "=0 ") + led.red + (color == "red" ? "=1 " : "=0 ") +
           led.yellow + (color == "yellow" ? "=1" : "=0");
}

const LedWiring& Led(const std::string& name) {
    return *std::find_if(LEDS.begin(), LEDS.end(), [&](const LedWiring& led) { return led.name == name; });
}

std::string Show(const std::string& led, const std::string& color) {
    return Show(Led(led), color);
}

const std::string BEGIN_SHUT_DOWN = " {DEBUG Platform::ShutDown} {INFORMATION Shutting down platform-scenes}";
const std::string END_SHUT_DOWN = " {DEBUG Platform::ShutDown complete}";
const std::string HOLD_IN_RESET = " OXBO_RESET1_N=0 QOR_RESET0_N=0";

std::string AllOff() {
    return Show("MS", "off") + Show("NS", "off") + Show("LINK_ACT1", "off") + Show("LINK_ACT2", "off");
}

std::string Fatal() {
    return Show("MS", "red") + Show("NS", "red") + Show("LINK_ACT1", "off") + Show("LINK_ACT2", "off");
}

// The life of a board as calls. A missing file ends the construction: the files of the unfinished LED are closed, the
// finished parts are shut down and destroyed.
struct BoardCalls {
    std::string made;
    std::string end; // closing, in reverse order
    bool hasOxboReset = false, hasQorReset = false, isWhole = false;

    explicit BoardCalls(const std::string& missing = "") {
        for (const std::string& line : LINES) {
            if (!Open(line, missing))
                return;
            hasOxboReset = hasOxboReset || line == "OXBO_RESET1_N";
            hasQorReset = hasQorReset || line == "QOR_RESET0_N";
        }
        for (const LedWiring& led : LEDS) {
            std::string closed;
            for (const std::string& element : {led.green, led.red, led.yellow}) {
                const std::string before = end;
                if (!Open(element, missing)) {
                    made += closed;
                    end = endOfMade;
                    return;
                }
                closed = " close(" + element + ")" + closed;
            }
            made += Show(led, "off");
            endOfMade = end;
        }
        isWhole = Open("weblog", missing);
    }

    std::string ShutDown() const {
        return BEGIN_SHUT_DOWN + (hasOxboReset ? " OXBO_RESET1_N=0" : "") + (hasQorReset ? " QOR_RESET0_N=0" : "") +
               (isWhole ? AllOff() : "") + END_SHUT_DOWN;
    }

private:
    bool Open(const std::string& file, const std::string& missing) {
        made += " open(" + file + ")";
        if (file == missing) {
            made += "!";
            return false;
        }
        end = " close(" + file + ")" + end;
        if (std::find(LINES.begin(), LINES.end(), file) != LINES.end())
            endOfMade = end;
        return true;
    }

    std::string endOfMade;
};

using TestSupport::BoardResult;
using TestSupport::PrivateBoard;

BoardResult Play(PrivateBoard& board, std::vector<std::string> scene) {
    scene.insert(scene.begin(), SCENES_PROGRAM);
    return board.Run(scene);
}

// The calls of a step.
std::string Line(const std::string& output, const std::string& step) {
    const std::string begin = step + ":";
    std::size_t at = output.starts_with(begin) ? 0 : output.find("\n" + begin);
    if (at == std::string::npos)
        return "no line " + step + " in\n" + output;
    at = output.find(begin, at) + begin.size();
    return output.substr(at, output.find('\n', at) - at);
}

TEST(Platform, IsMadeOnFirstUseInOrderAndShutDownAgainAtTheEndOfTheProcess) {
    PrivateBoard board;
    board.SetSettings("");

    const BoardResult result = Play(board, {"life"});

    const BoardCalls calls;
    EXPECT_EQ(result.output, "no board yet:\n"
                             "first use: open(settings) close(settings)" +
                                 calls.made +
                                 "\n"
                                 "second use:\n"
                                 "ShutDown:" +
                                 calls.ShutDown() +
                                 "\n"
                                 "exit:" +
                                 calls.ShutDown() + calls.end);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(Platform, RunsOnTheDefaultsWithoutASettingsFile) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"life"});

    EXPECT_THAT(Line(result.output, "first use"),
                StartsWith(" open(settings)! {WARNING System::IO::FileNotFoundException: "));
    EXPECT_THAT(Line(result.output, "first use"), EndsWith("}" + BoardCalls().made));
    EXPECT_EQ(Line(result.output, "exit"), BoardCalls().ShutDown() + BoardCalls().end);
}

TEST(Platform, TakesEveryPathFromTheSettings) {
    // Each file is named after its section and key, to detect a wrong one.
    const struct {
        const char* name;
        const char* key;
    } keys[] = {{"OXBO_IRQ_N", "oxbo_pin:irq_n"},
                {"OXBO_MOD_ID0_SYNC", "oxbo_pin:mod_id_0_sync"},
                {"OXBO_MOD_1", "oxbo_pin:mod_1"},
                {"OXBO_RL", "oxbo_pin:ramloader_enable"},
                {"OXBO_RESET1_N", "oxbo_pin:reset_n"},
                {"QOR_BL_N", "qor_pin:bootloader_enable_n"},
                {"QOR_DPRAM_BUSY_N", "qor_pin:busy_n"},
                {"QOR_DPRAM_IRQ_N", "qor_pin:irq_n"},
                {"QOR_RESET0_N", "qor_pin:reset_n"},
                {"LINK_ACT1.green", "led:link_act_1_green"},
                {"LINK_ACT1.yellow", "led:link_act_1_yellow"},
                {"LINK_ACT2.green", "led:link_act_2_green"},
                {"LINK_ACT2.yellow", "led:link_act_2_yellow"},
                {"MS.green", "led:module_status_green"},
                {"MS.red", "led:module_status_red"},
                {"NS.green", "led:network_status_green"},
                {"NS.red", "led:network_status_red"},
                {"weblog", "web_log_file"}};
    const BoardCalls calls;
    std::string settings, section;
    std::string expected = calls.made + "\n" + calls.ShutDown() + "\n" + calls.end;
    settings += "web_log_file = \"/mnt/share/velrix-lines-web_log_file\"\n";
    for (const auto& row : keys) {
        const std::string key = row.key;
        const std::size_t colon = key.find(':');
        if (colon != std::string::npos) {
            if (key.substr(0, colon) != section)
                settings += "[" + (section = key.substr(0, colon)) + "]\n";
            settings += key.substr(colon + 1) + " = \"/var/dev/velrix-lines-" + key + "\"\n";
        }
        for (std::size_t at = 0; (at = expected.find(row.name, at)) != std::string::npos; at += key.size())
            expected.replace(at, std::string(row.name).size(), key);
    }
    PrivateBoard board;
    board.SetSettings(settings);

    const BoardResult result = Play(board, {"life"});

    EXPECT_EQ(Line(result.output, "first use") + "\n" + Line(result.output, "ShutDown") + "\n" +
                  Line(result.output, "exit"),
              " open(settings) close(settings)" + expected.substr(0, expected.find('\n')) + "\n" +
                  Line("\nShutDown:" + expected.substr(expected.find('\n') + 1), "ShutDown") + "\n" +
                  Line("\nShutDown:" + expected.substr(expected.find('\n') + 1), "ShutDown") +
                  expected.substr(expected.rfind('\n') + 1));
    EXPECT_EQ(result.exitCode, 0);
}

TEST(Platform, FailsWithEachFileThatIsMissingAndLeavesNothingOpen) {
    for (const auto& file : FILES) {
        SCOPED_TRACE(file.name);
        PrivateBoard board;
        board.SetSettings("");
        board.LeaveOut(file.path);

        board.Start({SCENES_PROGRAM, "fail", file.path});
        ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/bring-back").empty(); }));
        board.Control(std::string("fault ") + file.name + "=none");
        const BoardResult result = board.Wait();

        const BoardCalls calls(file.name);
        EXPECT_EQ(result.output, "first use: open(settings) close(settings)" + calls.made + calls.ShutDown() +
                                     calls.end +
                                     " threw <System::IO::FileNotFoundException> No such file or directory\n"
                                     "left open: 0\n"
                                     "next use: made\n"
                                     "exit:" +
                                     HOLD_IN_RESET + AllOff() + BoardCalls().end);
        EXPECT_EQ(result.exitCode, 0);
    }
}

TEST(Platform, FailsWhenTheWebLogCannotBeOpenedAndThenLeavesTheLedsAlone) {
    PrivateBoard board;
    board.SetSettings("");
    board.LeaveOut("/mnt/share");

    const BoardResult result = Play(board, {"fail"});

    const BoardCalls calls("weblog");
    EXPECT_EQ(result.output, "first use: open(settings) close(settings)" + calls.made + calls.ShutDown() + calls.end +
                                 " threw <System::IO::FileNotFoundException> No such file or directory\n"
                                 "left open: 0\n"
                                 "exit:");
    EXPECT_THAT(calls.ShutDown(), testing::Not(HasSubstr("MS.")));
}

TEST(Platform, FailsWithBadSettingsBeforeItOpensAnything) {
    const struct {
        const char* settings;
        const char* exception;
    } rows[] = {
        {"log_dir!", "System::FormatException: Unexpected char '!' at 0:8 when parsing /etc/velrix.conf"},
        {"[leds]\n", "System::Collections::Generic::KeyNotFoundException: leds"},
        {"[led]\nmodule_status_yellow=/x\n",
         "System::Collections::Generic::KeyNotFoundException: module_status_yellow"},
        {"[led]\n[led]\n", "System::ArgumentException: Key already exists"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.settings);
        PrivateBoard board;
        board.SetSettings(row.settings);

        const BoardResult result = Play(board, {"fail"});

        EXPECT_EQ(result.output, "first use: open(settings) close(settings)" + BEGIN_SHUT_DOWN + END_SHUT_DOWN +
                                     " threw <" + row.exception + ">\nleft open: 0\nexit:");
    }
}

TEST(Platform, FailsWhenAnLedCannotBeSwitchedOff) {
    PrivateBoard board;
    board.SetSettings("[led]\nmodule_status_red = /dev/full\n");

    const BoardResult result = Play(board, {"fail"});

    EXPECT_THAT(Line(result.output, "first use"),
                HasSubstr(" MS.green=0 full=! close(null) close(full) close(MS.green)" + BEGIN_SHUT_DOWN +
                          HOLD_IN_RESET + END_SHUT_DOWN));
    EXPECT_THAT(Line(result.output, "first use"), EndsWith(" threw <System::IO::IOException> No space left on device"));
    EXPECT_EQ(Line(result.output, "left open"), " 0");
}

TEST(Platform, IsMadeOnceByThreadsThatRace) {
    PrivateBoard board;
    board.SetSettings("");

    const BoardResult result = Play(board, {"race"});

    EXPECT_EQ(result.output.find("open(OXBO_IRQ_N)"), result.output.rfind("open(OXBO_IRQ_N)"));
    EXPECT_EQ(Line(result.output, "boards"),
              " same same same same same same same same" + HOLD_IN_RESET + AllOff() + BoardCalls().end);
}

TEST(Platform, LeavesTheFinalStateAndItsTraceWhenAProgramEndsWithoutShutDown) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"exit"});

    EXPECT_THAT(Line(result.output, "exit"), HasSubstr(HOLD_IN_RESET + AllOff()));
    EXPECT_EQ(result.exitCode, 0);
    for (const auto& file : FILES) {
        if (std::string(file.path).find("inputs") == std::string::npos) {
            EXPECT_EQ(board.Level(file.path), '0') << file.name;
        }
    }
    const std::string log = board.Content("/var/log/apps/platform-scenes.log");
    EXPECT_THAT(log, HasSubstr("WARNING platform-scenes["));
    EXPECT_THAT(log, HasSubstr("] Platform::ShutDown\n"));
    EXPECT_THAT(log, HasSubstr("] Shutting down platform-scenes\n"));
    EXPECT_THAT(log, EndsWith("] Platform::ShutDown complete\n"));
}

TEST(Platform, LeavesTheStatusLedsRedWhenAProgramEndsAfterAFatalEvent) {
    PrivateBoard board;

    Play(board, {"exit", "fatal"});

    for (const auto& file : FILES) {
        if (std::string(file.path).find("leds") != std::string::npos) {
            EXPECT_EQ(board.Level(file.path), std::string(file.name).ends_with(".red") ? '1' : '0') << file.name;
        }
    }
}

TEST(Platform, ShowsEachIndicationOnItsLedAloneAndMovesItOnInUpdateAlone) {
    const struct {
        const char* name;
        const char* led;
        const char *now, *at500, *at1000; // null: unchanged
    } rows[] = {
        {"SetMsEnLedPowerOff", "MS", "off", nullptr, nullptr},
        {"SetMsEnLedMissingConfiguration", "MS", "green", "red", "green"},
        {"SetMsEnLedIdle", "MS", "green", "off", "green"},
        {"SetMsEnLedRunning", "MS", "green", nullptr, nullptr},
        {"SetMsEnLedInvalidConfiguration", "MS", "red", "off", "red"},
        {"SetMsEnLedFatalError", "MS", "red", nullptr, nullptr},
        {"SetNsLedPowerOff", "NS", "off", nullptr, nullptr},
        {"SetNsLedConnectionEstablished", "NS", "green", nullptr, nullptr},
        {"SetNsLedNoConnection", "NS", "green", "off", "green"},
        {"SetNsLedFatalError", "NS", "red", nullptr, nullptr},
        {"SetNsLedTimeout", "NS", "red", "off", "red"},
    };
    PrivateBoard board;

    const BoardResult result = Play(board, {"indications"});

    for (const auto& row : rows) {
        const auto show = [&](const char* color) { return color ? Show(row.led, color) : std::string(); };
        // no change at 499 ms, the second colour at 500, no change at 999, the first colour at 1000
        EXPECT_EQ(Line(result.output, row.name), show(row.now) + " | |" + show(row.at500) + " | |" + show(row.at1000))
            << row.name;
    }
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), std::ssize(rows));
}

TEST(Platform, UpdatesMsBeforeNsAndOneStepAtATime) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"update-only"});

    EXPECT_EQ(result.output, "show:" + Show("NS", "red") + Show("MS", "green") +
                                 "\n"
                                 "10 s:\n"
                                 "Update:" +
                                 Show("MS", "off") + Show("NS", "off") +
                                 "\n"
                                 "Update:\n"
                                 "steady:" +
                                 Show("MS", "green") + Show("NS", "off") +
                                 "\n"
                                 "10 s and Update:\n"
                                 "exit:");
}

TEST(Platform, ShowsEveryColourOfEveryLedInThePowerUpTest) {
    const auto sleeps = [](int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += " sleep(12000)";
        return text;
    };
    PrivateBoard board;

    const BoardResult result = Play(board, {"power-up"});

    // A step of 250 ms is over at the 21st tick of 12 ms.
    EXPECT_EQ(result.output, "before:" + Show("MS", "red") + Show("NS", "red") +
                                 "\n"
                                 "PowerUpIndicatorTest:" +
                                 Show("MS", "green") + Show("NS", "green") + Show("LINK_ACT1", "green") +
                                 Show("LINK_ACT2", "green") + sleeps(21) + Show("MS", "red") + Show("NS", "red") +
                                 Show("LINK_ACT1", "yellow") + Show("LINK_ACT2", "yellow") + sleeps(21) +
                                 Show("MS", "green") + Show("NS", "off") + Show("LINK_ACT1", "off") +
                                 Show("LINK_ACT2", "off") + sleeps(1) +
                                 "\n"
                                 "10 s and Update:\n"
                                 "exit:");
}

TEST(Platform, ResetsTheOxboModuleAndWaitsForIt) {
    const auto high = [](int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += " OXBO_IRQ_N?1";
        return text;
    };
    const std::string low = " OXBO_IRQ_N?0";
    const std::string late = " threw <System::TimeoutException>";
    const struct {
        const char* what;
        bool ramLoader;
        const char* timeoutMs;
        const char* nanosecondsPerRead;
        int readyAtRead; // 0: never
        std::string expected;
    } rows[] = {
        {"no wait", true, "0", "1000000", 0, ""},
        {"no wait, ready", false, "0", "1000000", 1, ""},
        {"ready at once: no Update, however late", false, "100", "1000000000", 1, low},
        {"ready at the third read", true, "100", "1000000", 3, high(2) + low},
        {"late at 101 ms, not at 100 ms", false, "100", "1000000", 0, high(101) + late},
        {"parts of a millisecond do not count", false, "100", "100999999", 0, high(2) + late},
        {"101 ms are too late", false, "100", "101000000", 0, high(1) + late},
        {"the pulse does not count", false, "1", "1000000", 0, high(2) + late},
        {"ready is seen before the time is looked at", false, "100", "60000000", 2, high(1) + low},
        {"negative: over at once", false, "-1", "0", 0, high(1) + late},
        {"negative, by parts of a millisecond backwards", false, "-1", "-999999", 0, high(1) + late},
        {"negative: ready even so", true, "-5", "1000000", 1, low},
        {"clock set back", false, "1", "-1000000000", 4, high(3) + low},
        {"NS flashes meanwhile", false, "2000", "250000000", 5,
         high(2) + Show("NS", "off") + high(2) + Show("NS", "green") + low},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PrivateBoard board;

        const BoardResult result = Play(board, {"reset", row.ramLoader ? "true" : "false", row.timeoutMs,
                                                row.nanosecondsPerRead, std::to_string(row.readyAtRead)});

        const auto reads = std::count(row.expected.begin(), row.expected.end(), '?');
        // Once at the start; then in each pass once for the flashing LED and once for the wait, but not after the read
        // that finds the module ready.
        const bool ready = row.expected.find(low) != std::string::npos;
        const auto clockReadings = reads == 0 ? 0 : 1 + 2 * (reads - (ready ? 1 : 0));
        EXPECT_EQ(result.output, "OxboReset: OXBO_RESET1_N=0 OXBO_RL=" + std::string(row.ramLoader ? "1" : "0") +
                                     " sleep(1000) OXBO_RESET1_N=1" + row.expected + " reads " + std::to_string(reads) +
                                     " clock " + std::to_string(clockReadings) + "\nexit:");
    }
}

TEST(Platform, LetsWhatAPinThrowsOutAndLeavesTheRestUndone) {
    const std::string full = " threw <System::IO::IOException> No space left on device";
    const std::string broken = " threw <System::IO::IOException> Input/output error";
    PrivateBoard board;

    const std::string output = Play(board, {"pin-failures"}).output;

    EXPECT_EQ(Line(output, "OxboReset, OXBO_RESET1_N fails"), " OXBO_RESET1_N=!" + full);
    EXPECT_EQ(Line(output, "OxboReset, OXBO_RL fails"), " OXBO_RESET1_N=0 OXBO_RL=!" + full);
    EXPECT_EQ(Line(output, "OxboReset, OXBO_IRQ_N fails"),
              " OXBO_RESET1_N=0 OXBO_RL=0 sleep(1000) OXBO_RESET1_N=1 OXBO_IRQ_N?!" + broken);
    EXPECT_EQ(Line(output, "SetNsLedConnectionEstablished, NS.green fails"), " NS.green=!" + broken);
    EXPECT_EQ(Line(output, "PowerUpIndicatorTest, NS.green fails"), Show("MS", "green") + " NS.green=!" + broken);
    EXPECT_EQ(Line(output, "Update, MS.green fails"), " MS.green=!" + broken);
    EXPECT_EQ(Line(output, "ShutDown, OXBO_RESET1_N fails"), BEGIN_SHUT_DOWN + " OXBO_RESET1_N=!" + broken);
    EXPECT_EQ(Line(output, "ShutDown, QOR_RESET0_N fails"),
              BEGIN_SHUT_DOWN + " OXBO_RESET1_N=0 QOR_RESET0_N=!" + broken);
    EXPECT_EQ(Line(output, "ShutDown, MS.green fails"), BEGIN_SHUT_DOWN + HOLD_IN_RESET + " MS.green=!" + broken);
}

TEST(Platform, TracesWhatItsShutDownThrowsAtTheEndOfTheProcessAndEndsInOrder) {
    PrivateBoard board;
    board.SetSettings("[oxbo_pin]\nreset_n = /dev/full\n");

    const BoardResult result = Play(board, {"full-reset"});

    std::string closed = BoardCalls().end;
    closed.replace(closed.find("OXBO_RESET1_N"), std::string("OXBO_RESET1_N").size(), "full");
    EXPECT_THAT(Line(result.output, "exit"),
                StartsWith(BEGIN_SHUT_DOWN + " full=! {WARNING System::IO::IOException: "));
    EXPECT_THAT(Line(result.output, "exit"), EndsWith("}" + closed));
    EXPECT_EQ(result.exitCode, 0);
}

TEST(Platform, EndsInOrderInACancelledThread) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"end-in-a-cancelled-thread"});

    EXPECT_THAT(Line(result.output, "cancelled"), StartsWith(HOLD_IN_RESET));
    EXPECT_EQ(Line(result.output, "ended"), " after it");
    EXPECT_EQ(result.exitCode, 0);
}

TEST(Platform, ShowsAFatalEventOfAnotherThreadUntilTheEnd) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"fatal"});

    // Trace still shares the listener, and with it the LEDs, after the board's destruction.
    EXPECT_THAT(result.output, StartsWith("not added:\n"
                                          "error:\n"
                                          "fatal:" +
                                          Fatal() +
                                          "\n"
                                          "Update:\n"
                                          "SetMsEnLedRunning:" +
                                          Show("MS", "green") +
                                          "\n"
                                          "ShutDown:" +
                                          HOLD_IN_RESET + Fatal() +
                                          "\n"
                                          "ShutDown:" +
                                          HOLD_IN_RESET + Fatal() +
                                          "\n"
                                          "exit:" +
                                          HOLD_IN_RESET + Fatal() + " close(weblog) close(QOR_RESET0_N)"));
}

TEST(Platform, StaysUsableAfterShutDown) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"reset-after-shutdown"});

    EXPECT_EQ(result.output, "ShutDown:" + HOLD_IN_RESET + AllOff() +
                                 "\n"
                                 "OxboReset: OXBO_RESET1_N=0 OXBO_RL=1 sleep(1000) OXBO_RESET1_N=1\n"
                                 "SetMsEnLedRunning:" +
                                 Show("MS", "green") +
                                 "\n"
                                 "exit:" +
                                 HOLD_IN_RESET + AllOff() + BoardCalls().end);
}

TEST(Platform, GivesItsWebLogToTheApplication) {
    PrivateBoard board;

    Play(board, {"web-log"});

    EXPECT_EQ(board.Content("/mnt/share/logger"), ">start\n+from the board\n");
}

TEST(Platform, RebootsInAChildAndGoesOn) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"reboot"});

    EXPECT_EQ(result.output, "Reboot:\n"
                             "child ended with 0:\n"
                             "exit: handler" +
                                 HOLD_IN_RESET + AllOff() + BoardCalls().end);
    EXPECT_EQ(board.Reboots(), "/sbin/reboot\n");
}

TEST(Platform, EndsTheChildWithoutExitHandlersWhenTheRebootCommandCannotBeStarted) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"reboot", "no-command"});

    EXPECT_EQ(result.output, "Reboot: exec(/sbin/reboot)!\n"
                             "child ended with 1:\n"
                             "exit: handler" +
                                 HOLD_IN_RESET + AllOff() + BoardCalls().end);
    EXPECT_EQ(board.Reboots(), "");
}

TEST(Platform, SaysThatNoChildCouldBeMadeForTheReboot) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"reboot", "no-child"});

    EXPECT_EQ(result.output, "Reboot: threw <System::Exception: Could not fork reboot process>\n"
                             "no child:\n"
                             "exit: handler" +
                                 HOLD_IN_RESET + AllOff() + BoardCalls().end);
    EXPECT_EQ(board.Reboots(), "");
}

TEST(Platform, SurvivesEveryAllocationFailureInItsMaking) {
    PrivateBoard board;

    EXPECT_EQ(Play(board, {"allocations"}).output, "allocations: many\nfiles left open: no");
}

TEST(Platform, SurvivesEveryAllocationFailureInItsOperations) {
    PrivateBoard board;

    // Flashing, flashing, power-up test; a reset, an update and a shutdown without listeners do not allocate.
    const std::string output = Play(board, {"operation-allocations"}).output;
    EXPECT_EQ(Line(output, "allocations"), " some some some none none some");
    // One time stamp for the start, which stays; the others reuse one block.
    EXPECT_EQ(Line(output, "a long wait"), " one at most");
}

TEST(Platform, EndsWithoutAWordWhenThereIsNoMemoryForOne) {
    PrivateBoard board;

    const BoardResult result = Play(board, {"end-without-memory"});

    EXPECT_EQ(Line(result.output, "ended"), " always");
    EXPECT_EQ(result.exitCode, 0);
}

TEST(Platform, ShowsItsWebLogAndItsListenerAndLetsNobodyReplaceThem) {
    using Velrix::Platform;
    using WebLogMember = decltype((std::declval<Platform&>().webLog));
    using ListenerMember = decltype((std::declval<Platform&>().ledTraceListener));

    EXPECT_TRUE((std::is_convertible_v<WebLogMember, std::shared_ptr<Velrix::WebLog>>));
    EXPECT_TRUE((std::is_convertible_v<ListenerMember, std::shared_ptr<System::Diagnostics::TraceListener>>));
    EXPECT_FALSE((std::is_assignable_v<WebLogMember, std::shared_ptr<Velrix::WebLog>>));
    EXPECT_FALSE((std::is_assignable_v<ListenerMember, std::shared_ptr<Velrix::LedTraceListener>>));
}

TEST(Platform, HasTheTextOfItsClass) {
    PrivateBoard board;

    EXPECT_EQ(Play(board, {"text"}).output, "text: Velrix::Platform");
}

} // namespace

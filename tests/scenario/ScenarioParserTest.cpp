// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioParser.h"

#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "tests/scenario/Names.h"
#include "tests/support/TemporaryFolder.h"

using namespace VelrixBoard;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// A parsed step, in one line.
struct Understood {
    std::string operator()(const Do& step) const {
        return (step.at ? "at " + TextOf(*step.at) + " " : "") + Of(step.action);
    }
    std::string operator()(const When& step) const {
        return "when " + (step.condition ? TextOf(*step.condition) : "program starts") + " after " +
               TextOf(step.after) + " " + Of(step.action);
    }
    static std::string Of(const Action& action) {
        const ForEachKind text{
            [](const SetInput& a) { return "set " + a.line + (a.high ? " high" : " low"); },
            [](const InjectFault& a) { return "fault " + a.signal + " " + (a.fault ? ToString(*a.fault) : "none"); },
            [](const SetWebLogFull& a) { return std::string("web log ") + (a.isFull ? "full" : "not full"); },
            [](const SendSignal& a) { return "send " + std::to_string(a.signal); },
            [](const SetReadyTime& a) { return "ready " + (a.after ? std::to_string(a.after->count()) : "never"); },
            [](const SetClock& a) {
                return std::string("set clock ") + (a.change.isRelative ? "by " : "to ") +
                       std::to_string(a.change.time / std::chrono::seconds(1));
            },
        };
        return std::visit(text, action);
    }
    std::string operator()(const Await& step) const {
        return "within " + TextOf(step.within) + " " + TextOf(step.condition);
    }
    std::string operator()(const Wait& step) const { return "wait " + TextOf(step.length); }
    std::string operator()(const Never& step) const { return "never " + TextOf(step.conditions); }
    std::string operator()(const Pulses& step) const {
        return step.line + (step.high ? " high" : " low") + (step.atLeast ? " at least " + TextOf(*step.atLeast) : "") +
               (step.atMost ? " at most " + TextOf(*step.atMost) : "");
    }
};

} // namespace

TEST(ScenarioParser, UnderstandsEveryStep) {
    const struct {
        const char* text;
        const char* understood;
    } ROWS[] = {
        {"within 2s MS is steady green", "within 2.000 s MS is steady green"},
        {"within 2s MS is off", "within 2.000 s MS is off"},
        {"within 2s MS is green+red", "within 2.000 s MS is green+red"},
        {"within 2s LINK_ACT1 is steady yellow+green", "within 2.000 s LINK_ACT1 is steady green+yellow"},
        {"within 2s MS is flashing red+green 1s 1s", "within 2.000 s MS is flashing green+red 1.000 s 1.000 s"},
        {"within 2s MS is toggling green+red green 1s 1s",
         "within 2.000 s MS is toggling green+red green 1.000 s 1.000 s"},
        {"within 1.5s LINK_ACT1 is yellow", "within 1.500 s LINK_ACT1 is yellow"},
        {"within 5s NS is flashing green 500ms 500ms tolerance 60ms",
         "within 5.000 s NS is flashing green 500 ms 500 ms tolerance 60 ms"},
        {"within 5s NS is flashing red 500ms 400ms", "within 5.000 s NS is flashing red 500 ms 400 ms"},
        {"within 5s MS is toggling green red 500ms 500ms tolerance 0ms",
         "within 5.000 s MS is toggling green red 500 ms 500 ms tolerance 0.0 ms"},
        {"within 1min OXBO_RL is high", "within 60.000 s OXBO_RL is high"},
        {"within 10ms OXBO_IRQ_N is low", "within 10 ms OXBO_IRQ_N is low"},
        {"within 1s program exits with 0", "within 1.000 s program exits with 0"},
        {"within 1s program exits with 255", "within 1.000 s program exits with 255"},
        {"within 1s program is killed by SIGKILL", "within 1.000 s program is killed by KILL"},
        {"within 1s web log has %100", "within 1.000 s web log has \"%100\""},
        {"within 1s web log has \"+Device # ready\"", "within 1.000 s web log has \"+Device # ready\""},
        {R"(within 1s web log has "a \"b\" \\ c")", R"(within 1.000 s web log has "a \"b\" \\ c")"},
        {R"(within 1s web log has a"b\c)", R"(within 1.000 s web log has "a\"b\\c")"},
        {"within 1s web log has \"\"", "within 1.000 s web log has \"\""},
        {"within 1s system log has gateway", "within 1.000 s system log has \"gateway\""},
        {"within 1s reboot is called", "within 1.000 s reboot is called"},
        {"at 3s set OXBO_IRQ_N high", "at 3.000 s set OXBO_IRQ_N high"},
        {"set QOR_DPRAM_BUSY_N low", "set QOR_DPRAM_BUSY_N low"},
        {"set clock 2038-01-19T03:14:00Z", "set clock to 2147483640"},
        {"at 23h set clock forward 1d", "at 82800.000 s set clock by 86400"},
        {"set clock back 90s", "set clock by -90"},
        {"fault NS.red EIO", "fault NS.red EIO"},
        {"fault OXBO_RL slow:2s", "fault OXBO_RL slow:2s"},
        {"fault OXBO_RL slow:0.5s", "fault OXBO_RL slow:500ms"},
        {"fault OXBO_RL slow:250us", "fault OXBO_RL slow:250us"},
        {"fault OXBO_RL slow:60min", "fault OXBO_RL slow:3600s"},
        {"fault OXBO_RL ENOSPC", "fault OXBO_RL ENOSPC"},
        {"at 1s fault OXBO_IRQ_N missing", "at 1.000 s fault OXBO_IRQ_N missing"},
        {"fault OXBO_IRQ_N none", "fault OXBO_IRQ_N none"},
        {"fault web log ENOSPC", "web log full"},
        {"at 1s fault web log none", "at 1.000 s web log not full"},
        {"within 1s stdout has \"a b\"", "within 1.000 s stdout has \"a b\""},
        {"never stderr has a", "never stderr has \"a\""},
        {"when program starts after 3ms fault MS.red EIO", "when program starts after 3.0 ms fault MS.red EIO"},
        {"when MS is steady red send TERM", "when MS is steady red after 0.0 ms send 15"},
        {"module ready after 2s", "ready 2000"},
        {"at 1s module ready never", "at 1.000 s ready never"},
        {"send TERM", "send 15"},
        {"wait 250us", "wait 0.2 ms"},
        {"never MS is red", "never MS is red"},
        {"never program exits with 1 and MS is not red and OXBO_RL is low",
         "never program exits with 1 and MS is not red and OXBO_RL is low"},
        {"within 1s program ends", "within 1.000 s program ends"},
        {"when MS is not green+red send TERM", "when MS is not green+red after 0.0 ms send 15"},
        {"expect OXBO_RESET1_N pulses low", "OXBO_RESET1_N low"},
        {"expect OXBO_RESET1_N pulses low for at least 1ms", "OXBO_RESET1_N low at least 1.0 ms"},
        {"expect OXBO_RESET1_N pulses high for at most 2ms", "OXBO_RESET1_N high at most 2.0 ms"},
        {"expect OXBO_RESET1_N pulses low for at least 1ms and at most 1ms",
         "OXBO_RESET1_N low at least 1.0 ms at most 1.0 ms"},
        {"expect OXBO_RESET1_N pulses low for at least 1ms and at most 2ms",
         "OXBO_RESET1_N low at least 1.0 ms at most 2.0 ms"},
    };
    for (const auto& row : ROWS) {
        const Scenario scenario = ParseScenario("x", row.text, NAMES);
        ASSERT_EQ(scenario.steps.size(), 1U) << row.text;
        EXPECT_EQ(std::visit(Understood(), scenario.steps[0].what), row.understood);
        EXPECT_EQ(scenario.steps[0].text, row.text);
    }
}

TEST(ScenarioParser, PassesOverBlankLinesAndComments) {
    const Scenario scenario = ParseScenario("x", "# a board\n\n \twait 1s\t # a second\r\n#\nwait 2s", NAMES);

    ASSERT_EQ(scenario.steps.size(), 2U);
    EXPECT_EQ(scenario.steps[0].line, 3);
    EXPECT_EQ(scenario.steps[0].text, "wait 1s");
    EXPECT_EQ(scenario.steps[1].line, 5);
}

TEST(ScenarioParser, SaysWhereAndWhatItExpected) {
    const std::string colors = "steady, not, flashing, toggling, green, red, green+red or off";
    const std::string faults = "EIO, ENOSPC, EACCES, slow:TIME from 1us to 60min, missing or none";
    const struct {
        std::string text;
        std::string message;
    } ROWS[] = {
        {"\n  upon 2s", "x:2:3: expected within, at, set, fault, send, module, wait, when, expect, never, repeat or "
                        "include, found 'upon'"},
        {"", "x: has no steps; write one per line, such as \"within 2s program exits with 0\""},
        {"# nothing\n", "x: has no steps; write one per line, such as \"within 2s program exits with 0\""},
        {"within", "x:1:7: expected a time such as 500ms or 2s, found the end of the line"},
        {"within 2 MS is green", "x:1:8: expected a time such as 500ms or 2s, found '2'"},
        {"wait -1s", "x:1:6: expected a time such as 500ms or 2s, found '-1s'"},
        {"wait 2s 3s", "x:1:9: expected the end of the line, found '3s'"},
        {"within 1s PS is green",
         "x:1:11: expected MS, NS, LINK_ACT1, OXBO_IRQ_N, QOR_DPRAM_BUSY_N, OXBO_RL, OXBO_RESET1_N, "
         "program, stdout, stderr, web log, system log or reboot, found 'PS'"},
        {"within 1s MS green", "x:1:14: expected 'is', found 'green'"},
        {"within 1s MS is blue",
         "x:1:17: expected steady, not, flashing, toggling, green, red, green+red or off, found 'blue'"},
        {"within 1s MS is",
         "x:1:16: expected steady, not, flashing, toggling, green, red, green+red or off, found the end of the line"},
        {"within 1s MS is not steady red", "x:1:21: expected green, red, green+red or off, found 'steady'"},
        {"never MS is red or NS is red", "x:1:17: expected 'and' or the end of the line, found 'or'"},
        {"within 1s MS is red and NS is red", "x:1:21: expected the end of the line, found 'and'"},
        {"within 1s LINK_ACT1 is steady red", "x:1:31: expected green, yellow, green+yellow or off, found 'red'"},
        {"within 1s MS is flashing off 1s 1s", "x:1:26: expected green, red or green+red, found 'off'"},
        {"within 1s MS is toggling green 1s", "x:1:32: expected red or green+red, found '1s'"},
        {"within 1s MS is toggling green green 1s 1s", "x:1:32: expected red or green+red, found 'green'"},
        {"within 1s MS is toggling red+green green+red 1s 1s", "x:1:36: expected green or red, found 'green+red'"},
        {"within 1s MS is green+green", "x:1:17: expected " + colors + ", found 'green+green'"},
        {"within 1s MS is green+", "x:1:17: expected " + colors + ", found 'green+'"},
        {"within 1s MS is green+off", "x:1:17: expected " + colors + ", found 'green+off'"},
        {"within 1s MS is flashing red 1s 1s 1s", "x:1:36: expected 'tolerance' or the end of the line, found '1s'"},
        {"within 1s MS is flashing red 1s 1s tolerance 1s 1s", "x:1:49: expected the end of the line, found '1s'"},
        {"within 1s OXBO_RL is on", "x:1:22: expected high or low, found 'on'"},
        {"within 1s program exits with 256", "x:1:30: expected an exit code from 0 to 255, found '256'"},
        {"within 1s program exits with 1x", "x:1:30: expected an exit code from 0 to 255, found '1x'"},
        {"within 1s program exits with", "x:1:29: expected an exit code from 0 to 255, found the end of the line"},
        {"within 1s program fails", "x:1:19: expected ends, exits or is, found 'fails'"},
        {"within 1s program is killed by TREM", "x:1:32: expected a signal such as TERM or KILL, found 'TREM'"},
        {"within 1s web log has", "x:1:22: expected a text, found the end of the line"},
        {"within 1s web log has \"a", "x:1:23: the quotes that begin here do not end in this line"},
        {R"(within 1s web log has "a\")", "x:1:23: the quotes that begin here do not end in this line"},
        {R"(within 1s web log has "a\n")", R"(x:1:25: expected \" or \\ in quotes, found '\n')"},
        {"set OXBO_RL high", "x:1:5: expected OXBO_IRQ_N, QOR_DPRAM_BUSY_N or clock, found 'OXBO_RL'"},
        {"set clock",
         "x:1:10: expected forward, back or a moment such as 2038-01-19T03:14:00Z, found the end of the line"},
        {"set clock 2038-01-19",
         "x:1:11: expected forward, back or a moment such as 2038-01-19T03:14:00Z, found '2038-01-19'"},
        {"set clock back", "x:1:15: expected a time such as 500ms or 2s, found the end of the line"},
        {"set clock forward 1h 1h", "x:1:22: expected the end of the line, found '1h'"},
        {"set \"OXBO_IRQ_N\" up", "x:1:18: expected high or low, found 'up'"},
        {"at 1s wait 2s", "x:1:7: expected set, fault, send or module, found 'wait'"},
        {"fault MS.yellow EIO",
         "x:1:7: expected MS.green, MS.red, NS.green, NS.red, LINK_ACT1.green, LINK_ACT1.yellow, "
         "OXBO_IRQ_N, QOR_DPRAM_BUSY_N, OXBO_RL, OXBO_RESET1_N or web log, found 'MS.yellow'"},
        {"fault web log EIO", "x:1:15: expected ENOSPC or none, found 'EIO'"},
        {"fault MS.red EPERM", "x:1:14: expected " + faults + ", found 'EPERM'"},
        {"fault MS.red slow:fast", "x:1:14: expected " + faults + ", found 'slow:fast'"},
        {"fault MS.red slow:0s", "x:1:14: expected " + faults + ", found 'slow:0s'"},
        {"fault MS.red slow:61min", "x:1:14: expected " + faults + ", found 'slow:61min'"},
        {"fault OXBO_IRQ_N ENOSPC",
         "x:1:18: expected EIO, EACCES, slow:TIME from 1us to 60min, missing or none, found 'ENOSPC'"},
        {"fault MS.red", "x:1:13: expected " + faults + ", found the end of the line"},
        {"send", "x:1:5: expected a signal such as TERM or KILL, found the end of the line"},
        {"expect OXBO_RL is high", "x:1:16: expected 'pulses', found 'is'"},
        {"expect OXBO_RL pulses low for at 1ms", "x:1:34: expected least or most, found '1ms'"},
        {"expect OXBO_RL pulses low for at least 1ms or", "x:1:44: expected 'and' or the end of the line, found 'or'"},
        {"expect OXBO_RL pulses low at most 1ms", "x:1:27: expected 'for' or the end of the line, found 'at'"},
        {"expect OXBO_RL pulses low for at least 1ms and at least 2ms", "x:1:51: expected 'most', found 'least'"},
        {"at 2s send TERM\n  at 1999ms send KILL", "x:2:3: this step is always late: the steps above take until 2.000 "
                                                   "s; steps run in order, so put it above them"},
        {"at 2s send TERM\nwithin 1s reboot is called\nwait 1s\nat 2500ms send KILL",
         "x:4:1: this step is always late: the steps above take until 3.000 s; steps run in order, so put it above "
         "them"},
        {"expect OXBO_RL pulses low for at least 5ms and at most 1ms",
         "x:1:56: expected a time of at least 5.0 ms, found '1ms'"},
        {"\"within\" 1s MS is green", "x:1:1: expected within, at, set, fault, send, module, wait, when, expect, "
                                      "never, repeat or include, found 'within'"},
    };
    for (const auto& row : ROWS) {
        try {
            ParseScenario("x", row.text, NAMES);
            ADD_FAILURE() << "was accepted: " << row.text;
        } catch (const ScenarioError& error) {
            EXPECT_EQ(error.what(), row.message) << row.text;
        }
    }
}

TEST(ScenarioParser, PassesOverAByteOrderMark) {
    EXPECT_EQ(ParseScenario("x", "\xEF\xBB\xBFwait 1s", NAMES).steps.at(0).text, "wait 1s");
    try {
        ParseScenario("x", "\xEF\xBB\xBFwiat 1s", NAMES);
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_STREQ(error.what(), "x:1:1: expected within, at, set, fault, send, module, wait, when, expect, never, "
                                   "repeat or include, found 'wiat'");
    }
}

TEST(ScenarioParser, ShowsABinaryFileInPrintableCharacters) {
    const struct {
        std::string text;
        const char* found;
    } rows[] = {
        {"\x7F"
         "ELF\x02\x1B[31m\xFF",
         "found '\\x7FELF\\x02\\x1B[31m\\xFF'"},
        {"within \x1B[2J MS is red", "found '\\x1B[2J'"},
        {"wait 1s \x07", "'\\x07'"},
        {"web log has \"\\\x1B\"", "'\\\\x1B'"},
        {std::string(1000, 'x'), "xxx...'"},
    };
    for (const auto& row : rows)
        try {
            ParseScenario("x", row.text, NAMES);
            ADD_FAILURE() << row.found;
        } catch (const ScenarioError& error) {
            const std::string text = error.what();
            EXPECT_NE(text.find(row.found), std::string::npos) << text;
            EXPECT_LT(text.size(), 250U);
        }
}

TEST(ScenarioParser, KnowsWhereWhatAStepIsAboutBegins) {
    const Scenario scenario = ParseScenario("x",
                                            "at 1s fault MS.red EIO\n  send TERM\nwithin  1s web log has a\n"
                                            "never MS is red\n wait 1s",
                                            NAMES);

    std::string columns;
    for (const Step& step : scenario.steps)
        columns += std::to_string(step.column) + " ";
    EXPECT_EQ(columns, "7 3 12 7 2 ");
}

TEST(ScenarioParser, ReadsAFile) {
    const TestSupport::TemporaryFolder folder;
    const std::string advice = "; give a text file with one step per line";
    folder.Write("a.scenario", "wait 1s\nwait\n");

    try {
        ReadScenario(folder.Path("a.scenario"), NAMES);
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_EQ(error.what(),
                  folder.Path("a.scenario") + ":2:5: expected a time such as 500ms or 2s, found the end of the line");
    }
    try {
        ReadScenario(folder.Path("absent"), NAMES);
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_EQ(error.what(),
                  "cannot read the scenario " + folder.Path("absent") + ": No such file or directory" + advice);
    }
    try {
        ReadScenario(folder.Path(), NAMES);
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_EQ(error.what(), "cannot read the scenario " + folder.Path() + ": Is a directory" + advice);
    }
    folder.Write("good", "wait 1s");
    EXPECT_EQ(ReadScenario(folder.Path("good"), NAMES).steps.size(), 1U);
}

TEST(Scenario, KnowsSignalsWithAndWithoutTheirPrefix) {
    EXPECT_EQ(SignalNumber("TERM"), SIGTERM);
    EXPECT_EQ(SignalNumber("SIGKILL"), SIGKILL);
    EXPECT_EQ(SignalNumber("SIG"), std::nullopt);
    EXPECT_EQ(SignalNumber("term"), std::nullopt);
}

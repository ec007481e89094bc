// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelCommand.h"

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/panel/PanelPage.h"
#include "tests/panel/FakeControl.h"

namespace VelrixBoard {
namespace {

class PanelCommandTest : public testing::Test {
protected:
    BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    const PanelTarget target{state, control, [this](int signal) { control.SignalProgram(signal); },
                             [this] { control.RestartProgram(); }, [this] { control.log += "end\n"; }};
};

TEST_F(PanelCommandTest, DoesWhatThePageAsksFor) {
    const struct {
        const char* path;
        const char* body;
        const char* done;
    } rows[] = {
        {"/inputs/OXBO_MOD_1", R"({"level": true})", "drive OXBO_MOD_1 1\n"},
        {"/inputs/QOR_DPRAM_IRQ_N", R"({"level": false})", "drive QOR_DPRAM_IRQ_N 0\n"},
        {"/faults/NS.red", R"({"fault": "slow:2s"})", "fault NS.red slow:2s\n"},
        {"/faults/OXBO_RL", R"({"fault": null})", "fault OXBO_RL none\n"},
        {"/faults/OXBO_RL", R"({"fault": "none"})", "fault OXBO_RL none\n"},
        {"/module", R"({"readyAfterMs": 0})", "ready after 0\n"},
        {"/module", R"({"readyAfterMs": null})", "ready after never\n"},
        {"/program", R"({"signal": "TERM"})", "signal 15\n"},
        {"/program", R"({"signal": "KILL"})", "signal 9\n"},
        {"/inputs/OXBO_IRQ_N", R"({"driver": "module"})", "release OXBO_IRQ_N\n"},
        {"/program", R"({"restart": true})", "restart\n"},
        {"/board", R"({"end": true})", "end\n"},
    };
    for (const auto& row : rows) {
        control.log.clear();

        const PanelQueue::Work work = ReadPanelCommand(row.path, row.body, target);
        EXPECT_EQ(control.log, "") << row.path;
        work();

        EXPECT_EQ(control.log, row.done);
    }
}

TEST_F(PanelCommandTest, DrivesInputsAsThePanel) {
    ReadPanelCommand("/inputs/OXBO_MOD_1", R"({"level": true})", target)();

    EXPECT_EQ(control.drivers, (std::map<std::size_t, InputDriver>{{*state.Find("OXBO_MOD_1"), InputDriver::PANEL}}));
}

TEST_F(PanelCommandTest, RefusesWhatTheBoardDoesNotKnow) {
    const struct {
        const char* path;
        const char* body;
        int status;
        const char* reason;
    } rows[] = {
        {"/inputs/X", R"({"level": true})", 404, "X is neither a line nor an LED element"},
        {"/inputs/", R"({"level": true})", 404, "is neither a line"},
        {"/inputs/OXBO_MOD_1", "", 400, "the key \"level\""},
        {"/inputs/OXBO_MOD_1", "[true]", 400, "the key \"level\""},
        {"/inputs/OXBO_MOD_1", R"({"level": 1})", 400, "true or false"},
        {"/faults/MS.red", R"({"fault": 5})", 400, "such as \"EIO\""},
        {"/faults/MS.red", R"({"fault": "EAGAIN"})", 400, "EAGAIN"},
        {"/module", R"({"readyAfterMs": -1})", 400, "whole number"},
        {"/module", R"({"readyAfterMs": 600001})", 400, "whole number"},
        {"/module", R"({"readyAfterMs": 1.5})", 400, "whole number"},
        {"/program", R"({"signal": "STOP"})", 400, "TERM, INT, HUP or KILL"},
        {"/program", R"({"signal": 9})", 400, "TERM, INT, HUP or KILL"},
        {"/inputs/OXBO_IRQ_N", R"({"driver": "panel"})", 400, "has to be \"module\""},
        {"/program", R"({"restart": 1})", 400, "\"restart\" has to be true"},
        {"/board", R"({"end": false})", 400, "\"end\" has to be true"},
        {"/board", "{}", 400, "the key \"end\""},
        {"/", "{}", 404, "nothing of that name"},
    };
    for (const auto& row : rows) {
        try {
            ReadPanelCommand(row.path, row.body, target);
            ADD_FAILURE() << row.path << " " << row.body;
        } catch (const PanelError& error) {
            EXPECT_EQ(error.Status(), row.status) << row.path << " " << row.body;
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason));
        }
    }
    EXPECT_EQ(control.log, "");
}

// The page's list and the command's are the same.
TEST(PanelFaultsTest, OffersTheFaultsOfTheCommandLine) {
    const auto page = std::ranges::find(PanelFiles(), "index.html", &PanelFile::name);
    ASSERT_NE(page, PanelFiles().end());
    const std::size_t begin = page->content.find("<select id=\"fault-kind\">");
    const std::string list(page->content.substr(begin, page->content.find("</select>", begin) - begin));

    std::vector<std::string> kinds;
    const std::regex option("<option value=\"([^\"]+)\">");
    for (std::sregex_iterator match(list.begin(), list.end(), option), end; match != end; ++match)
        kinds.push_back((*match)[1]);

    std::set<Fault::Kind> offered;
    for (const std::string& kind : kinds)
        offered.insert(ParseFault(kind == "slow" ? "slow:3600000ms" : kind).kind);
    EXPECT_EQ(kinds.size(), 5u);
    EXPECT_EQ(offered, (std::set{Fault::Kind::IO_ERROR, Fault::Kind::NO_SPACE, Fault::Kind::NO_ACCESS,
                                 Fault::Kind::SLOW, Fault::Kind::MISSING}));
    EXPECT_THAT(std::string(page->content), testing::HasSubstr("max=\"3600000\"")); // slow:60min
}

} // namespace
} // namespace VelrixBoard

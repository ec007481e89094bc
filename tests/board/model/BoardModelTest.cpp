// SPDX-License-Identifier: Apache-2.0
#include "board/model/BoardModel.h"

#include <gtest/gtest.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

std::string LineText(const Line& line) {
    return line.label + (line.direction == Direction::INPUT ? " in " : " out ") + line.section + "." + line.key + " " +
           line.path + (line.level ? " 1" : " 0");
}

TEST(BoardModelTest, HasTheDevicesLinesOnTheirUsualPaths) {
    const std::string in = "/var/dev/gpio-inputs/", out = "/var/dev/gpio-outputs/";
    const std::string expected[] = {
        "OXBO_IRQ_N in oxbo_pin.irq_n " + in + "oxboIrqN/value 1",
        "OXBO_MOD_ID0_SYNC in oxbo_pin.mod_id_0_sync " + in + "oxboModId0Sync/value 0",
        "OXBO_MOD_1 in oxbo_pin.mod_1 " + in + "oxboMod1/value 0",
        "OXBO_RL out oxbo_pin.ramloader_enable " + out + "oxboRamLoaderEnable/value 0",
        "OXBO_RESET1_N out oxbo_pin.reset_n " + out + "oxboResetN/value 0",
        "QOR_BL_N out qor_pin.bootloader_enable_n " + out + "qorBootloaderEnableN/value 0",
        "QOR_DPRAM_BUSY_N in qor_pin.busy_n " + in + "qorDpramBusyN/value 1",
        "QOR_DPRAM_IRQ_N in qor_pin.irq_n " + in + "qorDpramIrqN/value 1",
        "QOR_RESET0_N out qor_pin.reset_n " + out + "qorResetN/value 0",
    };

    const BoardModel model;

    ASSERT_EQ(model.Lines().size(), std::size(expected));
    for (std::size_t i = 0; i < model.Lines().size(); ++i)
        EXPECT_EQ(LineText(model.Lines()[i]), expected[i]);
    EXPECT_EQ(model.WebLogFile(), "/mnt/share/logger");
}

TEST(BoardModelTest, HasTheFourLedsWithTheirTwoColoursEach) {
    const std::string leds = "/sys/class/leds/";
    const std::string expected[] = {
        "MS.green module_status_green " + leds + "ledGwStsGrn/brightness",
        "MS.red module_status_red " + leds + "ledGwStsRed/brightness",
        "NS.green network_status_green " + leds + "ledEthStsGrn/brightness",
        "NS.red network_status_red " + leds + "ledEthStsRed/brightness",
        "LINK_ACT1.green link_act_1_green " + leds + "ledLinkAct1Grn/brightness",
        "LINK_ACT1.yellow link_act_1_yellow " + leds + "ledLinkAct1Yel/brightness",
        "LINK_ACT2.green link_act_2_green " + leds + "ledLinkAct2Grn/brightness",
        "LINK_ACT2.yellow link_act_2_yellow " + leds + "ledLinkAct2Yel/brightness",
    };

    const BoardModel model;

    ASSERT_EQ(model.LedElements().size(), std::size(expected));
    for (std::size_t i = 0; i < model.LedElements().size(); ++i) {
        const LedElement& element = model.LedElements()[i];
        EXPECT_EQ(element.Name() + " " + element.key + " " + element.path, expected[i]);
    }
    EXPECT_EQ(model.Leds(), (std::vector<std::string>{"MS", "NS", "LINK_ACT1", "LINK_ACT2"}));
}

TEST(BoardModelTest, TakesPathsFromSettingsOnePerKeyOfItsSection) {
    BoardModel model;

    model.Apply("oxbo_pin", "irq_n", "/a");
    model.Apply("qor_pin", "irq_n", "/b");
    model.Apply("led", "network_status_red", "/c");
    model.Apply("", "web_log_file", "/d");
    model.Apply("", "reset_n", "/ignored");
    model.Apply("led", "reset_n", "/ignored");
    model.Apply("qor_pin", "network_status_green", "/ignored");
    model.Apply("led", "web_log_file", "/ignored");

    std::string changed;
    const BoardModel usual;
    for (std::size_t i = 0; i < model.Lines().size(); ++i)
        if (model.Lines()[i].path != usual.Lines()[i].path)
            changed += model.Lines()[i].label + "=" + model.Lines()[i].path + " ";
    for (std::size_t i = 0; i < model.LedElements().size(); ++i)
        if (model.LedElements()[i].path != usual.LedElements()[i].path)
            changed += model.LedElements()[i].Name() + "=" + model.LedElements()[i].path + " ";
    EXPECT_EQ(changed, "OXBO_IRQ_N=/a QOR_DPRAM_IRQ_N=/b NS.red=/c ");
    EXPECT_EQ(model.WebLogFile(), "/d");
}

TEST(BoardModelTest, SetsInitialLevelsOfInputsOnly) {
    BoardModel model;

    model.SetInitialLevel("OXBO_IRQ_N", false);
    model.SetInitialLevel("OXBO_MOD_1", true);

    EXPECT_FALSE(model.Lines()[0].level);
    EXPECT_TRUE(model.Lines()[2].level);
    const std::string inputs =
        "; the inputs are OXBO_IRQ_N OXBO_MOD_ID0_SYNC OXBO_MOD_1 QOR_DPRAM_BUSY_N QOR_DPRAM_IRQ_N";
    const struct {
        const char* label;
        const char* message;
    } refused[] = {{"OXBO_RL", "OXBO_RL is an output, which only the program drives"},
                   {"OXBO", "OXBO is no line of the board"}};
    for (const auto& row : refused) {
        try {
            model.SetInitialLevel(row.label, true);
            ADD_FAILURE() << row.label;
        } catch (const BoardError& error) {
            EXPECT_EQ(error.what(), row.message + inputs);
        }
    }
}

TEST(BoardModelTest, FindsLinesByLabel) {
    const BoardModel model;

    EXPECT_EQ(model.FindLine("OXBO_IRQ_N"), 0U);
    EXPECT_EQ(model.FindLine("QOR_RESET0_N"), 8U);
    EXPECT_EQ(model.FindLine("MS"), std::nullopt);
}

} // namespace
} // namespace VelrixBoard

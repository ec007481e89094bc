// SPDX-License-Identifier: Apache-2.0
#include "board/model/BoardModel.h"

#include <algorithm>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr auto IN = Direction::INPUT;
constexpr auto OUT = Direction::OUTPUT;

// Active-low inputs (_N) idle high: no interrupt, not busy. A module that is not ready yet holds its interrupt line
// high.
const std::vector<Line> LINES = {
    // label, direction, section, key, path, level
    {"OXBO_IRQ_N", IN, "oxbo_pin", "irq_n", "/var/dev/gpio-inputs/oxboIrqN/value", true},
    {"OXBO_MOD_ID0_SYNC", IN, "oxbo_pin", "mod_id_0_sync", "/var/dev/gpio-inputs/oxboModId0Sync/value", false},
    {"OXBO_MOD_1", IN, "oxbo_pin", "mod_1", "/var/dev/gpio-inputs/oxboMod1/value", false},
    {"OXBO_RL", OUT, "oxbo_pin", "ramloader_enable", "/var/dev/gpio-outputs/oxboRamLoaderEnable/value", false},
    {"OXBO_RESET1_N", OUT, "oxbo_pin", "reset_n", "/var/dev/gpio-outputs/oxboResetN/value", false},
    {"QOR_BL_N", OUT, "qor_pin", "bootloader_enable_n", "/var/dev/gpio-outputs/qorBootloaderEnableN/value", false},
    {"QOR_DPRAM_BUSY_N", IN, "qor_pin", "busy_n", "/var/dev/gpio-inputs/qorDpramBusyN/value", true},
    {"QOR_DPRAM_IRQ_N", IN, "qor_pin", "irq_n", "/var/dev/gpio-inputs/qorDpramIrqN/value", true},
    {"QOR_RESET0_N", OUT, "qor_pin", "reset_n", "/var/dev/gpio-outputs/qorResetN/value", false},
};

const std::string LED_SECTION = "led";

// A status LED has no yellow element and a link LED no red one.
const std::vector<LedElement> LED_ELEMENTS = {
    // LED, colour, key, path
    {"MS", Color::GREEN, "module_status_green", "/sys/class/leds/ledGwStsGrn/brightness"},
    {"MS", Color::RED, "module_status_red", "/sys/class/leds/ledGwStsRed/brightness"},
    {"NS", Color::GREEN, "network_status_green", "/sys/class/leds/ledEthStsGrn/brightness"},
    {"NS", Color::RED, "network_status_red", "/sys/class/leds/ledEthStsRed/brightness"},
    {"LINK_ACT1", Color::GREEN, "link_act_1_green", "/sys/class/leds/ledLinkAct1Grn/brightness"},
    {"LINK_ACT1", Color::YELLOW, "link_act_1_yellow", "/sys/class/leds/ledLinkAct1Yel/brightness"},
    {"LINK_ACT2", Color::GREEN, "link_act_2_green", "/sys/class/leds/ledLinkAct2Grn/brightness"},
    {"LINK_ACT2", Color::YELLOW, "link_act_2_yellow", "/sys/class/leds/ledLinkAct2Yel/brightness"},
};

} // namespace

const std::string BoardModel::OXBO_IRQ = "OXBO_IRQ_N";
const std::string BoardModel::OXBO_RESET = "OXBO_RESET1_N";
const std::string BoardModel::OXBO_RAM_LOADER = "OXBO_RL";

std::string_view ColorName(Color color) {
    constexpr std::string_view NAMES[] = {"green", "red", "yellow"};
    return NAMES[static_cast<std::size_t>(color)];
}

BoardModel::BoardModel() : lines(LINES), ledElements(LED_ELEMENTS), webLogFile("/mnt/share/logger") {}

std::vector<std::string> BoardModel::Leds() const {
    std::vector<std::string> leds;
    for (const LedElement& element : ledElements)
        if (std::find(leds.begin(), leds.end(), element.led) == leds.end())
            leds.push_back(element.led);
    return leds;
}

std::optional<std::size_t> BoardModel::FindLine(std::string_view label) const {
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (lines[i].label == label)
            return i;
    return std::nullopt;
}

void BoardModel::Apply(std::string_view section, std::string_view key, const std::string& path) {
    if (section.empty() && key == "web_log_file")
        webLogFile = path;
    for (Line& line : lines)
        if (line.section == section && line.key == key)
            line.path = path;
    if (section == LED_SECTION)
        for (LedElement& element : ledElements)
            if (element.key == key)
                element.path = path;
}

void BoardModel::SetInitialLevel(const std::string& label, bool level) {
    const auto found = FindLine(label);
    if (found && lines[*found].direction == IN) {
        lines[*found].level = level;
        return;
    }
    std::string inputs;
    for (const Line& line : lines)
        if (line.direction == IN)
            inputs += " " + line.label;
    throw BoardError(label + (found ? " is an output, which only the program drives" : " is no line of the board") +
                     "; the inputs are" + inputs);
}

} // namespace VelrixBoard

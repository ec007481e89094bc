// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/LedSection.h>

#include <System/CallbackFunc.h>

#include "settings/HandlerTable.h"

namespace Velrix::Settings {

using System::CallbackFunc;
using System::string_ptr;
using System::Collections::Generic::IDictionary;

namespace {

constexpr HandlerRow<LedSection, string_ptr> KEY_ROWS[] = {
    {"link_act_1_green", &Assign<LedSection, &LedSection::link_act_1_green>},
    {"link_act_1_yellow", &Assign<LedSection, &LedSection::link_act_1_yellow>},
    {"link_act_2_green", &Assign<LedSection, &LedSection::link_act_2_green>},
    {"link_act_2_yellow", &Assign<LedSection, &LedSection::link_act_2_yellow>},
    {"module_status_green", &Assign<LedSection, &LedSection::module_status_green>},
    {"module_status_red", &Assign<LedSection, &LedSection::module_status_red>},
    {"network_status_green", &Assign<LedSection, &LedSection::network_status_green>},
    {"network_status_red", &Assign<LedSection, &LedSection::network_status_red>},
};

using KeyHandlers = HandlerTable<LedSection>;

std::shared_ptr<KeyHandlers> CreateKeyHandlers() {
    return CreateHandlers(KEY_ROWS);
}

} // namespace

System::Lazy<std::shared_ptr<KeyHandlers>> LedSection::KEY_HANDLERS{
    CallbackFunc<std::shared_ptr<KeyHandlers>>::Create(&CreateKeyHandlers)};

LedSection::LedSection()
    : link_act_1_green("/sys/class/leds/ledLinkAct1Grn/brightness"),
      link_act_1_yellow("/sys/class/leds/ledLinkAct1Yel/brightness"),
      link_act_2_green("/sys/class/leds/ledLinkAct2Grn/brightness"),
      link_act_2_yellow("/sys/class/leds/ledLinkAct2Yel/brightness"),
      module_status_green("/sys/class/leds/ledGwStsGrn/brightness"),
      module_status_red("/sys/class/leds/ledGwStsRed/brightness"),
      network_status_green("/sys/class/leds/ledEthStsGrn/brightness"),
      network_status_red("/sys/class/leds/ledEthStsRed/brightness") {}

LedSection::~LedSection() = default;

std::shared_ptr<LedSection> LedSection::Create() {
    return Own(new LedSection);
}

std::shared_ptr<LedSection>
LedSection::FromSectionDictionary(std::shared_ptr<IDictionary<string_ptr, string_ptr>> section) {
    auto result = Create();
    HandlePairs(result, section);
    return result;
}

} // namespace Velrix::Settings

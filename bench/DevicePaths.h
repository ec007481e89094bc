// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <velrix/settings/SettingsFile.h>

namespace Bench {

// The defaults of a board with devices in place of its files, which every machine has and which cost the system as
// little as possible. The paths are as long as those of a board.
inline void UseDevices(Velrix::Settings::SettingsFile& settings) {
    using System::string_ptr;
    const string_ptr input = "/dev/../dev/../dev/../dev/../dev/zero";
    const string_ptr output = "/dev/../dev/../dev/../dev/../dev/null";
    auto& oxbo = *settings.oxbo_pin;
    auto& qor = *settings.qor_pin;
    auto& led = *settings.led;
    for (string_ptr* path : {&oxbo.irq_n, &oxbo.mod_1, &oxbo.mod_id_0_sync, &qor.busy_n, &qor.irq_n})
        *path = input;
    for (string_ptr* path :
         {&oxbo.ramloader_enable, &oxbo.reset_n, &qor.bootloader_enable_n, &qor.reset_n, &led.link_act_1_green,
          &led.link_act_1_yellow, &led.link_act_2_green, &led.link_act_2_yellow, &led.module_status_green,
          &led.module_status_red, &led.network_status_green, &led.network_status_red, &settings.web_log_file})
        *path = output;
}

} // namespace Bench

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Bench {

// What all write into their logs.
inline constexpr char RECORD[] = "The module is ready after 40 ms, firmware 1.2.3";

// The keys of a small table.
inline constexpr const char* KEYS[] = {
    "log_dir",      "temp_dir",         "user_config_dir", "persistent_data_dir", "module_firmware_dir",
    "web_log_file", "system_config_dir"};

// The same text, of which the optimizer knows nothing any more.
inline const char* Hide(const char* text) {
    asm volatile("" : "+r"(text));
    return text;
}

} // namespace Bench

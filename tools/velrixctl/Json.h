// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "tools/velrixctl/Console.h"

namespace VelrixTools {

// Keeps the order in which a command names things.
using Json = nlohmann::ordered_json;

// In one line, or indented. Bytes that are not UTF-8 become U+FFFD.
inline std::string TextOf(const Json& json, bool isIndented) {
    return json.dump(isIndented ? 2 : -1, ' ', false, Json::error_handler_t::replace);
}

inline void PrintJson(const Json& json) {
    Print(TextOf(json, true) + "\n");
}

} // namespace VelrixTools

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "tools/check/SettingsScan.h"

namespace VelrixTools {

struct SyntaxError {
    std::string rule;
    std::string text; // what is wrong, and what to write instead
    Span span;        // inside of the file, also where the file ends too early
};

// Says why the grammar does not fit.
SyntaxError ExplainStop(std::string_view text, const Stop& stop);

} // namespace VelrixTools

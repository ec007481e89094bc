// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/check/SettingsText.h"

namespace VelrixTools {

enum class Severity { ERROR, WARNING };

// Something in a settings file that is wrong, or right and probably not meant.
struct Finding {
    Severity severity;
    std::string rule; // short, for programs: "unknown-key"
    std::string text; // one line
    Location location;
    std::string sourceLine; // verbatim, without its end
};

const char* NameOf(Severity severity);

// As compilers report: "file:line:column: error: text", then the source line with a mark under the place. Of a long
// line the part around the place. Ends with a line end.
std::string Describe(const std::string& file, const Finding& finding, bool inColour);

} // namespace VelrixTools

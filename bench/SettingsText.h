// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Bench {

// Settings with names and values as they are in real files: paths, numbers, quoted text, here and there a comment or an
// empty line.
inline std::string MakeSettings(int lines, int sections) {
    std::string text;
    for (int line = 0; line < lines; ++line) {
        const std::string suffix = std::to_string(line);
        if (line % (lines / sections) == 0)
            text += "[section_" + suffix + "]\n";
        else if (line % 40 == 7)
            text += "# what the next keys are for\n";
        else if (line % 40 == 8)
            text += "\n";
        else if (line % 3 == 0)
            text += "line_" + suffix + "=/var/dev/gpio/" + suffix + "\n";
        else if (line % 3 == 1)
            text += "offset_" + suffix + " = 44000000 # hex\n";
        else
            text += "name_" + suffix + " = \"unit " + suffix + "_a\"\n";
    }
    return text;
}

} // namespace Bench

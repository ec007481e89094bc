// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace VelrixBoard {

// A parsed record of one of the program's logs.
struct LogText {
    enum class Weight { NORMAL, LIGHT, WARNING, ERROR };

    std::string text;
    Weight weight = Weight::NORMAL;
    std::optional<int> percent{}; // the position of a progress bar, 0 to 100; the text is then the bar's, if it has one
    bool beginsBar = false;
};

// A line of the web log, by its marker: "@whot" is a warning.
LogText ReadWebLogRecord(std::string_view record);

// A datagram of syslog(3), "<PRIORITY>TIME NAME[PID]: TEXT": "warning NAME: TEXT". Others stay unchanged.
LogText ReadSystemLogRecord(std::string_view record);

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace VelrixTools {

// A record of a web log, by its marker.
struct WebLogRecord {
    enum class Kind { START, END, BREAK, MESSAGE, WARNING, ERROR, TITLE, PERCENTAGE, OTHER };

    Kind kind = Kind::OTHER;
    std::string text;    // without the marker; verbatim for OTHER
    int percentage = 0;  // of PERCENTAGE
    bool isTorn = false; // its line end is missing

    static WebLogRecord Read(std::string_view line);
};

// Cuts the bytes of a log into records. A record longer than LONGEST is given in parts.
class WebLogReader final {
public:
    static constexpr std::size_t LONGEST = 65536;

    using Take = std::function<void(const WebLogRecord& record)>;

    explicit WebLogReader(Take ownTake) : take(std::move(ownTake)) {}

    void Read(std::string_view bytes);

    // What is left without a line end, as a torn record.
    void End();

private:
    const Take take;
    std::string rest;
};

} // namespace VelrixTools

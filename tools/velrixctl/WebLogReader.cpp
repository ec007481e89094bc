// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/WebLogReader.h"

#include <algorithm>
#include <utility>

namespace VelrixTools {

namespace {

using Kind = WebLogRecord::Kind;

struct Marker {
    std::string_view text;
    Kind kind;
    bool isWholeRecord;
};

constexpr Marker MARKERS[] = {
    {">start", Kind::START, true}, {">end", Kind::END, true},  {">br", Kind::BREAK, true}, {"+", Kind::MESSAGE, false},
    {"@w", Kind::WARNING, false},  {"@e", Kind::ERROR, false}, {"%", Kind::TITLE, false},
};

// A position has up to three digits; more are a title.
bool IsPercentage(std::string_view text) {
    return !text.empty() && text.size() <= 3 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

WebLogRecord WebLogRecord::Read(std::string_view line) {
    for (const Marker& marker : MARKERS) {
        if (marker.isWholeRecord ? line != marker.text : !line.starts_with(marker.text))
            continue;
        WebLogRecord record{marker.kind, std::string(line.substr(marker.text.size()))};
        if (record.kind == Kind::TITLE && IsPercentage(record.text)) {
            record.kind = Kind::PERCENTAGE;
            record.percentage = std::min(std::stoi(record.text), 100);
        }
        return record;
    }
    return {Kind::OTHER, std::string(line)};
}

void WebLogReader::Read(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t room = LONGEST - rest.size();
        const std::size_t end = bytes.substr(0, room).find('\n');
        const bool isWhole = end != std::string_view::npos;
        const std::size_t count = isWhole ? end : std::min(room, bytes.size());
        rest += bytes.substr(0, count);
        bytes.remove_prefix(count + (isWhole ? 1 : 0));
        if (isWhole || rest.size() == LONGEST)
            take(WebLogRecord::Read(std::exchange(rest, {})));
    }
}

void WebLogReader::End() {
    if (rest.empty())
        return;
    WebLogRecord record = WebLogRecord::Read(std::exchange(rest, {}));
    record.isTorn = true;
    take(record);
}

} // namespace VelrixTools

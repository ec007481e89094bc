// SPDX-License-Identifier: Apache-2.0
#include "board/views/LogText.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace VelrixBoard {

namespace {

using Weight = LogText::Weight;

constexpr struct {
    std::string_view record;
    const char* text;
} MARKS[] = {{">start", "Operation started"}, {">end", "Operation ended"}, {">br", ""}};

constexpr struct {
    std::string_view marker;
    const char* prefix;
    Weight weight;
} NOTES[] = {{"+", "", Weight::NORMAL}, {"@w", "Warning: ", Weight::WARNING}, {"@e", "Error: ", Weight::ERROR}};

constexpr struct {
    const char* name;
    Weight weight;
} SEVERITIES[] = {{"fatal", Weight::ERROR}, {"fatal", Weight::ERROR},     {"fatal", Weight::ERROR},
                  {"error", Weight::ERROR}, {"warning", Weight::WARNING}, {"info", Weight::NORMAL},
                  {"info", Weight::NORMAL}, {"debug", Weight::LIGHT}};

// By the numbers of <syslog.h>; 12 to 15 are free.
constexpr const char* FACILITIES[] = {"kern",   "user",   "mail",     "daemon", "auth",   "syslog", "lpr",    "news",
                                      "uucp",   "cron",   "authpriv", "ftp",    "12",     "13",     "14",     "15",
                                      "local0", "local1", "local2",   "local3", "local4", "local5", "local6", "local7"};
constexpr int FIRST_NOT_FATAL = 3; // severity

// "Nov  1 10:00:00 ", the time stamp of syslog(3).
constexpr std::string_view TIME_FORM = "Aaa dd 00:00:00 ";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool BeginsWithTime(std::string_view text) {
    if (text.size() < TIME_FORM.size())
        return false;
    for (std::size_t i = 0; i < TIME_FORM.size(); ++i) {
        const char form = TIME_FORM[i];
        const bool fits = form == '0'   ? IsDigit(text[i])
                          : form == 'd' ? IsDigit(text[i]) || text[i] == ' '
                          : form == 'A' ? text[i] >= 'A' && text[i] <= 'Z'
                          : form == 'a' ? text[i] >= 'a' && text[i] <= 'z'
                                        : text[i] == form;
        if (!fits)
            return false;
    }
    return true;
}

// "name[12]: text" without the process id, which is always the same.
std::string WithoutProcess(std::string_view text) {
    const std::size_t open = text.find('[');
    const std::size_t close = text.find("]:");
    if (open == std::string_view::npos || close == std::string_view::npos || open > close ||
        !std::all_of(text.begin() + open + 1, text.begin() + close, IsDigit))
        return std::string(text);
    return std::string(text.substr(0, open)) + std::string(text.substr(close + 1));
}

} // namespace

LogText ReadWebLogRecord(std::string_view record) {
    for (const auto& mark : MARKS)
        if (record == mark.record)
            return {mark.text, Weight::LIGHT};
    for (const auto& note : NOTES)
        if (record.starts_with(note.marker))
            return {note.prefix + std::string(record.substr(note.marker.size())), note.weight};
    if (!record.starts_with('%'))
        return {std::string(record)};
    const std::string_view rest = record.substr(1);
    if (rest.empty() || !std::all_of(rest.begin(), rest.end(), IsDigit))
        return {std::string(rest), Weight::NORMAL, 0, true};
    int percent = 100;
    std::from_chars(rest.data(), rest.data() + rest.size(), percent);
    return {"", Weight::NORMAL, std::min(percent, 100)};
}

LogText ReadSystemLogRecord(std::string_view record) {
    int priority = 0;
    const auto [end, error] = std::from_chars(record.data() + std::min<std::size_t>(1, record.size()),
                                              record.data() + record.size(), priority);
    const auto length = static_cast<std::size_t>(end - record.data());
    if (!record.starts_with('<') || error != std::errc() || priority < 0 || length >= record.size() ||
        record[length] != '>')
        return {std::string(record)};
    record.remove_prefix(length + 1);
    if (BeginsWithTime(record))
        record.remove_prefix(TIME_FORM.size());
    const auto& severity = SEVERITIES[priority & 7];
    // The library sends a fatal event to two facilities.
    const auto facility = static_cast<std::size_t>(priority >> 3);
    const std::string origin = (priority & 7) < FIRST_NOT_FATAL && facility < std::size(FACILITIES)
                                   ? std::string(" ") + FACILITIES[facility]
                                   : "";
    return {severity.name + origin + " " + WithoutProcess(record), severity.weight};
}

} // namespace VelrixBoard
